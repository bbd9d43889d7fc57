"""The conformance set's page, and what readers make of its pictures. Called by script/conformance."""

import argparse
import collections
import datetime
import html
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import zipfile

from PIL import Image

HERE = pathlib.Path(__file__).resolve().parent.parent
RESULTS = HERE / "conformance/results.json"
VERDICTS = ("exact", "close", "wrong", "refused")
TIMEOUT = 20  # seconds for a picture
SLACK = 8  # how far a component may be off in what is close
NEAR_INK = 64  # and how far from an ink's


# ---- judging


def pixels_of(path):
    """Size and rows of red, green and blue; what is transparent lies on white."""
    with Image.open(path) as image:
        image = image.convert("RGBA")
    white = Image.new("RGBA", image.size, "white")
    flat = Image.alpha_composite(white, image).convert("RGB")
    data = list(flat.getdata())
    width, height = flat.size
    return flat.size, [data[y * width : (y + 1) * width] for y in range(height)]


def inside(areas, x, y):
    return any(left <= x < right and top <= y < bottom for left, top, right, bottom in areas)


def has_ink(rows, area, slack):
    left, top, right, bottom = area["box"]
    return any(
        all(abs(a - b) <= slack for a, b in zip(rows[y][x], area["ink"]))
        for y in range(top, bottom)
        for x in range(left, right)
    )


def is_exact(entry, is_, expected):
    areas = [area["box"] for area in entry["areas"]]
    tolerance = entry["tolerance"]
    for y, (row, want) in enumerate(zip(is_, expected)):
        if row == want:
            continue
        for x, (a, b) in enumerate(zip(row, want)):
            if a != b and any(abs(c - d) > tolerance for c, d in zip(a, b)) and not inside(areas, x, y):
                return False
    return all(has_ink(is_, area, 0) for area in entry["areas"])


def is_within(rows, others, areas, slack):
    """Whether each pixel lies between the least and the greatest of the others within a pixel of it."""
    height, width = len(rows), len(rows[0])
    for y in range(height):
        for x in range(width):
            if inside(areas, x, y):
                continue
            near = [
                others[j][i]
                for j in range(max(y - 1, 0), min(y + 2, height))
                for i in range(max(x - 1, 0), min(x + 2, width))
            ]
            for c, value in enumerate(rows[y][x]):
                values = [pixel[c] for pixel in near]
                if not min(values) - slack <= value <= max(values) + slack:
                    return False
    return True


def is_close(entry, is_, expected):
    boxes = [area["box"] for area in entry["areas"]]
    around = [(left - 1, top - 1, right + 1, bottom + 1) for left, top, right, bottom in boxes]
    slack = max(SLACK, entry["tolerance"])
    return (
        is_within(is_, expected, around, slack)
        and is_within(expected, is_, around, slack)
        and all(has_ink(is_, area, NEAR_INK) for area in entry["areas"])
    )


def verdict(entry, folder, out):
    if not out.is_file() or out.stat().st_size == 0:
        return "refused"
    try:
        size, is_ = pixels_of(out)
    except Exception:  # whatever a broken PNG makes of its reader
        return "refused"
    wanted = [pixels_of(folder / name) for name in entry["expected"]]
    wanted = [rows for other, rows in wanted if other == size]
    for test, word in ((is_exact, "exact"), (is_close, "close")):
        # An area's box is in the first one's pixels.
        if any(test(entry, is_, rows) for rows in wanted):
            return word
    return "wrong"


# ---- readers


def run_command(command, source, out):
    """Whether it ended well; whatever it started ends with it."""
    words = [str(word).replace("{in}", str(source)).replace("{out}", str(out)) for word in command]
    with subprocess.Popen(
        words, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True
    ) as process:
        try:
            return process.wait(TIMEOUT) == 0
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return False


def drawn_by_command(command, folder, entries, work):
    for number, entry in enumerate(entries):
        out = work / f"{number}.png"
        if run_command(command, folder / entry["picture"], out):
            yield entry, out
        else:
            yield entry, work / "none"


FACTOR = 8  # LibreOffice smooths edges: it draws larger, and a pixel is the middle one of its block


def drawn_by_office(folder, entries, work):
    """LibreOffice puts a picture on a page. It is asked for the page as a document, the page is cut to the picture, and
    that document is exported with so many pixels to a dot."""
    profile = work / "profile"
    sources, pages, images = work / "sources", work / "pages", work / "images"
    for each in (sources, pages, images):
        each.mkdir()
    office = ["soffice", f"-env:UserInstallation=file://{profile}", "--headless"]

    def convert(form, to, files):
        """Many at once. One that ends the program is tried again alone, and the others go on after it."""
        command = [*office, "--convert-to", form, "--outdir", to]
        while files:
            try:
                subprocess.run([*command, *files], capture_output=True, check=False, timeout=TIMEOUT + len(files))
            except subprocess.TimeoutExpired:
                pass
            done = [i for i, file in enumerate(files) if (to / (file.stem + "." + form.split(":")[0])).exists()]
            files = files[done[-1] + 1 if done else 0 :]
            if files:
                print(f"conformance: LibreOffice doesn't make {files[0].name} with others", file=sys.stderr)
                run_command([*command, files[0]], "", "")
            files = files[1:]

    names = {}
    for number, entry in enumerate(entries):
        source = folder / entry["picture"]
        names[number] = sources / (f"{number}." + source.name.split(".", 1)[1])
        shutil.copy(source, names[number])
    # An ending of two parts leaves one of them in the name that is made.
    convert("fodg", pages, list(names.values()))
    sizes = collections.defaultdict(list)
    for number, source in names.items():
        page = pages / (source.stem + ".fodg")
        if not page.exists():
            continue
        text = page.read_text()
        frame = re.search(r'<draw:frame[^>]* svg:width="([^"]*)" svg:height="([^"]*)"', text)
        if frame is None:
            continue
        text = re.sub(r'svg:x="[^"]*" svg:y="[^"]*"', 'svg:x="0cm" svg:y="0cm"', text)
        text = re.sub(r'fo:margin-(top|bottom|left|right)="1cm"', r'fo:margin-\1="0cm"', text)
        text = re.sub(
            r'fo:page-width="[^"]*" fo:page-height="[^"]*"',
            f'fo:page-width="{frame[1]}" fo:page-height="{frame[2]}"',
            text,
        )
        page = page.rename(pages / f"{number}.fodg")
        page.write_text(text)
        with Image.open(folder / entries[number]["expected"][0]) as expected:
            sizes[expected.size].append(page)
    for (width, height), files in sizes.items():
        # Its frame has a dot more on both sides than the picture.
        data = {
            "PixelWidth": {"type": "long", "value": str(FACTOR * (width + 1))},
            "PixelHeight": {"type": "long", "value": str(FACTOR * (height + 1))},
        }
        convert("png:draw_png_Export:" + json.dumps(data), images, files)
    for number, entry in enumerate(entries):
        large, out = images / f"{number}.png", work / f"{number}.png"
        if large.exists():
            with Image.open(large) as image, Image.open(folder / entry["expected"][0]) as expected:
                width, height = expected.size
                box = (0, 0, FACTOR * width, FACTOR * height)
                # The nearest to the middle of each block.
                image.convert("RGBA").crop(box).resize((width, height), Image.NEAREST).save(out)
        yield entry, out


def judged(folder, entries, draw):
    details = []
    with tempfile.TemporaryDirectory() as work:
        for entry, out in draw(folder, entries, pathlib.Path(work)):
            details.append(
                {"family": entry["family"], "name": entry["name"], "verdict": verdict(entry, folder, out)}
            )
            if len(details) % 50 == 0:
                print(f"conformance: {len(details)} of {len(entries)}", file=sys.stderr)
    return details


def counted(details):
    families = {}
    for each in details:
        counts = families.setdefault(each["family"], dict.fromkeys(VERDICTS, 0))
        counts[each["verdict"]] += 1
    return families


def total(families):
    return {verdict: sum(counts[verdict] for counts in families.values()) for verdict in VERDICTS}


def print_table(families):
    print(f"{'family':<12}" + "".join(f"{word:>9}" for word in VERDICTS))
    for name, counts in [*families.items(), ("all", total(families))]:
        print(f"{name:<12}" + "".join(f"{counts[word]:>9}" for word in VERDICTS))


def run(options):
    index = json.loads((options.folder / "index.json").read_text())
    command = options.command
    if not any("{in}" in word for word in command) or not any("{out}" in word for word in command):
        sys.exit("conformance: the command needs {in} and {out}; -- convert pict:{in} png:{out} would work.")
    if shutil.which(command[0]) is None:
        sys.exit(f"conformance: there is no program {command[0]}; the path of one would work.")
    details = judged(
        options.folder, index["entries"], lambda folder, entries, work: drawn_by_command(command, folder, entries, work)
    )
    families = counted(details)
    print_table(families)
    for each in details:
        if options.list and each["verdict"] != "exact":
            print(f"{each['verdict']:<8} {each['family']}/{each['name']}")
    if options.json:
        options.json.write_text(json.dumps({"command": command, "families": families, "entries": details}, indent=1))
    return 0 if total(families)["exact"] == len(details) else 1


def first_line(command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()[0]


def measure(options):
    """Asks the readers on this machine, and writes down what came of it."""
    index = json.loads((options.folder / "index.json").read_text())
    by_command = lambda *command: lambda folder, entries, work: drawn_by_command(command, folder, entries, work)
    word = lambda pattern, command: re.search(pattern, first_line(command))[0]
    version = (HERE / "VERSION").read_text().strip()
    readers = [
        ("macpict", version, "macpict render {in} {out}", by_command(HERE / "build/bin/macpict", "render", "{in}", "{out}")),
        (
            "LibreOffice",
            word(r"[\d.]+", ["soffice", "--version"]),
            f"soffice --convert-to fodg, the page cut to the picture, then png of {FACTOR} times its size, of which the middle pixels count",
            drawn_by_office,
        ),
        (
            "ImageMagick",
            word(r"\d[\d.-]+", ["convert-im6.q16", "-version"]),
            "convert pict:{in} png:{out}",
            by_command("convert-im6.q16", "pict:{in}", "png:{out}"),
        ),
        (
            "GraphicsMagick",
            word(r"\d[\d.]+", ["gm", "version"]),
            "gm convert pict:{in} png:{out}",
            by_command("gm", "convert", "pict:{in}", "png:{out}"),
        ),
    ]
    results = {"date": datetime.date.today().isoformat(), "pictures": len(index["entries"]), "readers": []}
    for name, number, how, draw in readers:
        print(f"conformance: {name} {number}", file=sys.stderr)
        details = judged(options.folder, index["entries"], draw)
        families = counted(details)
        print(f"\n{name} {number}")
        print_table(families)
        results["readers"].append(
            {
                "name": name,
                "version": number,
                "how": how,
                "families": families,
                "all": total(families),
                "not exact": {
                    verdict: [f"{e['family']}/{e['name']}" for e in details if e["verdict"] == verdict]
                    for verdict in VERDICTS[1:]
                },
            }
        )
    RESULTS.write_text(json.dumps(results, indent=1) + "\n")
    readme = HERE / "conformance/README.md"
    text = readme.read_text()
    marks = "<!-- results -->"
    before, _, after = text.split(marks)
    readme.write_text(before + marks + "\n" + markdown_table(results) + marks + after)
    return 0


def markdown_table(results):
    lines = [
        f"Measured on {results['date']} by `script/conformance measure`, of {results['pictures']} pictures:",
        "",
        "| reader | exact | close | wrong | refused |",
        "|---|---:|---:|---:|---:|",
    ]
    for reader in results["readers"]:
        counts = " | ".join(str(reader["all"][verdict]) for verdict in VERDICTS)
        lines.append(f"| {reader['name']} {reader['version']} | {counts} |")
    return "\n".join(lines) + "\n"


# ---- the page

PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<!-- Nothing but the page and its images is ever asked for. -->
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; img-src 'self' file: data:; style-src 'unsafe-inline'">
<title>A conformance set for readers of PICT</title>
<style>
{style}
nav ul {{ display: flex; flex-wrap: wrap; gap: 0.25rem 1rem; margin: 0 0 1rem; padding: 0; list-style: none; }}
.scroll {{ overflow-x: auto; }}
table {{ border-collapse: collapse; }}
caption {{ text-align: left; padding-bottom: 0.25rem; }}
th, td {{ padding: 0.125rem 0.75rem 0.125rem 0; text-align: right; white-space: nowrap; }}
th:first-child, td:first-child {{ text-align: left; }}
thead th {{ color: var(--faint); font-weight: 400; border-bottom: 1px solid var(--line); }}
tbody tr:last-child > * {{ border-top: 1px solid var(--line); font-weight: 600; }}
.grid {{ display: grid; grid-template-columns: repeat(auto-fill, minmax(min(100%, 17rem), 1fr)); gap: 1rem; margin: 0; padding: 0; list-style: none; }}
.grid > li {{
  display: flex; flex-direction: column; gap: 0.375rem; min-width: 0; padding: 0.625rem;
  background: var(--panel); border: 1px solid var(--line); border-radius: 0.5rem; content-visibility: auto; contain-intrinsic-size: auto 20rem;
}}
h3 {{ margin: 0; font-size: 1rem; }}
h3 a {{ color: inherit; text-decoration: none; }}
.grid p {{ margin: 0; font-size: 0.9375rem; }}
.grid .faint {{ font-size: 0.8125rem; }}
.seen {{ position: relative; outline: 1px solid var(--line); align-self: center; background: var(--well); line-height: 0; }}
.seen img {{ display: block; width: 100%; height: 100%; image-rendering: pixelated; }}
.seen i {{ position: absolute; border: 1px dashed #d0207a; }}
@media (max-width: 48rem) {{
  caption, tbody th {{ white-space: normal; }}
  tbody th {{ min-width: 7.5rem; }}
  th, td {{ padding-right: 0.5rem; }}
}}
details {{ margin-top: auto; }}
summary {{ cursor: pointer; font-size: 0.8125rem; color: var(--faint); }}
details pre {{ max-height: 20rem; font-size: 0.75rem; }}
</style>
</head>
<body>
<header>
<h1>A conformance set for readers of PICT</h1>
<p>{count} small pictures for QuickDraw, each with its text, its bytes and the pixels that it shows by the rule that it
names; no Mac has been asked. <a href="README.md">How to use it</a>, <a href="index.json">all of it as data</a>; it is in the public domain
(<a href="LICENSE">CC0 1.0</a>). Where a dashed line goes round an area, fonts differ: in it something of the ink's colour is asked for, and
around it what is shown.</p>
</header>
{results}
<nav aria-label="Families"><ul>
{links}
</ul></nav>
<main>
{families}
</main>
</body>
</html>
"""


def results_html(index):
    if not RESULTS.exists():
        return ""
    results = json.loads(RESULTS.read_text())
    titles = {family["name"]: family["title"] for family in index["families"]}
    names = [f"{html.escape(reader['name'])}<br>{html.escape(reader['version'])}" for reader in results["readers"]]
    head = "".join(f'<th scope="col">{name}' for name in names)
    cell = lambda counts: " / ".join(str(counts[verdict]) for verdict in VERDICTS)
    rows = []
    for name, title in titles.items():
        if not all(name in reader["families"] for reader in results["readers"]):
            continue
        cells = "".join(f"<td>{cell(reader['families'][name])}" for reader in results["readers"])
        rows.append(f'<tr><th scope="row"><a href="#{name}">{html.escape(title)}</a>{cells}</tr>')
    cells = "".join(f"<td>{cell(reader['all'])}" for reader in results["readers"])
    rows.append(f'<tr><th scope="row">All {results["pictures"]}{cells}</tr>')
    how = "; ".join(f"{html.escape(r['name'])}: <code>{html.escape(r['how'])}</code>" for r in results["readers"])
    return (
        f'<section aria-label="Readers"><h2>What readers make of it</h2><div class="scroll"><table>'
        f"<caption class=\"faint\">Exact / close / wrong / refused, measured on {results['date']}</caption>"
        f'<thead><tr><th scope="col">Family{head}</tr></thead><tbody>{"".join(rows)}</tbody></table></div>'
        f'<p class="faint">Close is what differs at edges alone: <a href="README.md">the README</a> says how. {how}.</p></section>'
    )


def entry_html(folder, entry):
    place = f"{entry['family']}/{entry['name']}"
    with Image.open(folder / entry["expected"][0]) as image:
        width, height = image.size
    scale = max(1, min(256 // width, 192 // height))
    percent = lambda part, all_: f"{100 * part / all_:.3f}%"
    areas = "".join(
        f'<i style="left:{percent(l, width)};top:{percent(t, height)};width:{percent(r - l, width)};height:{percent(b - t, height)}"></i>'
        for l, t, r, b in (area["box"] for area in entry["areas"])
    )
    judged_ = entry["judged"] + (f" of {entry['tolerance']}" if entry["tolerance"] else "")
    text = (folder / entry["text"]).read_text()
    shown = text if len(text) < 4000 else text[:4000] + "..."
    files = [("text", entry["text"]), ("picture", entry["picture"])] + [
        ("pixels" if i == 0 else "at 72 dpi", name) for i, name in enumerate(entry["expected"])
    ]
    links = ", ".join(f'<a href="{name}">{what}</a>' for what, name in files)
    return (
        f'<li id="{place}"><h3><a href="#{place}">{html.escape(entry["name"])}</a></h3>'
        f'<div class="seen" style="width:{width * scale}px;max-width:100%;aspect-ratio:{width}/{height}">'
        f'<img src="{entry["expected"][0]}" alt="{html.escape(entry["shows"])}" loading="lazy" width="{width * scale}" height="{height * scale}">{areas}</div>'
        f'<p>{html.escape(entry["shows"])}</p>'
        f'<p class="faint">{html.escape(entry["rule"])}<br>{width} × {height}, judged {judged_}: {links}</p>'
        f"<details><summary>Its text</summary><pre>{html.escape(shown)}</pre></details></li>"
    )


def page(options):
    folder = options.folder
    index = json.loads((folder / "index.json").read_text())
    families = collections.defaultdict(list)
    for entry in index["entries"]:
        families[entry["family"]].append(entry)
    links, sections = [], []
    for family in index["families"]:
        name, title, entries = family["name"], html.escape(family["title"]), families[family["name"]]
        links.append(f'<li><a href="#{name}">{title}</a> <span class="faint">{len(entries)}</span></li>')
        items = "\n".join(entry_html(folder, entry) for entry in entries)
        sections.append(f'<section><h2 id="{name}">{title}</h2>\n<ul class="grid">\n{items}\n</ul></section>')
    text = PAGE.format(
        style=(HERE / "pages/page.css").read_text(),
        count=len(index["entries"]),
        results=results_html(index),
        links="\n".join(links),
        families="\n".join(sections),
    )
    (folder / "index.html").write_text(text)
    for name in ("README.md", "LICENSE", "results.json"):
        if (HERE / "conformance" / name).exists():
            shutil.copy(HERE / "conformance" / name, folder / name)
    # The same bytes each time, whenever they are made.
    archive = folder / "pict-conformance.zip"
    archive.unlink(missing_ok=True)
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED) as out:
        for path in sorted(path for path in folder.rglob("*") if path.is_file() and path != archive):
            about = zipfile.ZipInfo("pict-conformance/" + path.relative_to(folder).as_posix(), (2026, 1, 1, 0, 0, 0))
            about.compress_type, about.external_attr = zipfile.ZIP_DEFLATED, 0o644 << 16
            out.writestr(about, path.read_bytes())
    print(f"{len(index['entries'])} pictures: {folder}/index.html, {archive}")
    return 0


def main():
    parser = argparse.ArgumentParser(prog="script/conformance")
    commands = parser.add_subparsers(required=True)
    for name, work in (("page", page), ("run", run), ("measure", measure)):
        command = commands.add_parser(name)
        command.add_argument("folder", type=pathlib.Path)
        command.set_defaults(work=work)
        if name == "run":
            command.add_argument("--json", type=pathlib.Path, help="keeps what became of each picture")
            command.add_argument("--list", action="store_true", help="names the pictures that are not exact")
    # After two dashes comes somebody else's command, with options of its own.
    words = sys.argv[1:]
    end = words.index("--") if "--" in words else len(words)
    options = parser.parse_args(words[:end])
    options.command = words[end + 1 :]
    return options.work(options)


if __name__ == "__main__":
    sys.exit(main())
