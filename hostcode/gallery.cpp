// gallery: the examples of the reference with their pictures, and sample files, on one page.
#include <cstdio>

#include "hostcode/commands.h"
#include "hostcode/examples.h"
#include "hostcode/gallery.html.h"
#include "pages/page.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/png.h"

namespace fs = std::filesystem;

namespace {

std::string escaped(const std::string& text) {
  std::string html;
  for (const char c : text) {
    html += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : std::string(1, c);
  }
  return html;
}

std::string base64(std::string_view bytes) {
  constexpr const char* kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t j = i; j < i + 3; ++j)
      group = group << 8 | (j < bytes.size() ? static_cast<std::uint8_t>(bytes[j]) : 0);
    for (std::size_t j = 0; j < 4; ++j) text += i + j > bytes.size() ? '=' : kDigits[group >> (18 - 6 * j) & 63];
  }
  return text;
}

std::string figure(const fs::path& png, const std::string& caption) {
  return "<figure><img alt=\"" + escaped(caption) + "\" src=\"data:image/png;base64," + base64(readFile(png)) +
         "\"><figcaption>" + escaped(caption) + "</figcaption></figure>\n";
}

std::string sectionOf(const Example& example, const std::string& id, const fs::path& folder) {
  std::string html = "<section id=\"" + id + "\">\n<h3>" + escaped(example.title) + "</h3>\n<pre>" +
                     escaped(example.code) + "</pre>\n<div>\n";
  for (const std::string& name : example.saved) {
    if (name.ends_with(".png")) html += figure(folder / name, name);
  }
  std::string printed;
  for (const std::string& line : example.printed) printed += escaped(line) + "\n";
  if (!printed.empty()) html += "<pre>" + printed + "</pre>\n";
  return html + "</div>\n</section>\n";
}

// A sample is played at its size, or smaller where it is very large.
std::string sampleOf(Session& session, const fs::path& file, const fs::path& folder) {
  const runtime::Object canvas = session.played("The picture \"" + file.string() + "\"", readPicture(file), kMostShown);
  const fs::path png = folder / ("sample-" + file.stem().string() + ".png");
  writePNG(png, session.imageOf(canvas));
  return figure(png, file.filename().string());
}

}  // namespace

Status makeGallery(const GalleryOptions& options) {
  const fs::path folder = options.folder;
  makeFolder(folder);
  Session session;
  session.requireQuickDraw();
  std::string index, html, chapter;
  std::size_t number = 0;
  for (Example& example : readExamples()) {
    runExample(session, example, folder);
    const std::string id = "example-" + std::to_string(++number);
    if (example.page != chapter) {
      const std::string heading = escaped(fs::path(example.page).stem().string());
      index += (chapter.empty() ? "" : "</ul>\n") + ("<h2>" + heading) + "</h2>\n<ul>\n";
      html += "<h2>" + heading + "</h2>\n";
      chapter = example.page;
    }
    index += "<li><a href=\"#" + id + "\">" + escaped(example.title) + "</a></li>\n";
    html += sectionOf(example, id, folder);
    for (const std::string& name : example.saved) std::printf("%-20s %s\n", name.c_str(), example.title.c_str());
  }
  index += "</ul>\n";
  Status status = kDone;
  if (!options.samples.empty()) html += "<h2>Samples</h2>\n";
  for (const fs::path sample : options.samples) {
    try {
      html += workOn(sample.string(), [&] { return sampleOf(session, sample, folder); });
    } catch (const Failure& error) {
      complain(error.what());
      status = kFailed;
    }
  }
  writeFile(folder / "index.html", filled(filled(std::string(kGalleryPage), "index", index), "examples", html));
  std::printf("%-20s all of them on one page\n", "index.html");
  return status;
}
