# Makes the changelog that Debian asks for of CHANGELOG.md: its headings are "## VERSION, DATE", and what isn't released
# yet has today's date.
function finish() {
  if (version == "") return
  print "\n -- The QuickDrawTVK authors <quickdrawtvk@example.org>  " date
}
/^## / {
  finish()
  if (version != "") print ""
  version = substr($2, 1, length($2) - 1)
  command = "LC_ALL=C date -Ru" ($3 ~ /^[0-9]/ ? " -d " $3 : "")
  command | getline date
  close(command)
  print "macpict (" version ") unstable; urgency=medium\n"
}
/^- / { print "  * " substr($0, 3) }
/^  / { print "  " $0 }
END { finish() }
