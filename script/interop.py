"""Compares what macpict lists of the gallery's pictures with what LibreOffice and ImageMagick read from them."""

import base64
import collections
import itertools
import math
import pathlib
import re
import subprocess
import sys
from typing import NamedTuple
from xml.etree import ElementTree

DRAWN = ["rectangles", "ovals", "round-rectangles", "wedges", "polygons", "lines", "pen", "colors", "text", "landscape",
         "export", "exported"]
BITS = [f"bits-{depth}" for depth in (1, 2, 4, 8, 16, 32)]
TOLERANCE = 0.75  # pixels: LibreOffice rounds the points of curves to whole ones

# What a reader takes wrong though it is right, and the one check that goes without for it.
INVERT = "LibreOffice paints inverted shapes black: their colour is not checked"
CORNERS = "LibreOffice draws round rectangles with square corners: their box is checked, their area is not"
FACES = "LibreOffice drops outline, shadow, condense and extend: bold, italic and underline are checked"
FIVE = "both readers widen components of 5 bits to 8 in ways of their own: the 5 bits are compared"
BITMAP = "ImageMagick reads bits without a colour table as all black: it is not asked"
COUNTS = "ImageMagick takes byte counts of rows of 202 to 250 bytes for words, as above 250: it is not asked"
known = collections.Counter()


class Mark(NamedTuple):
    """What one opcode should draw, or what one element of an SVG draws, in pixels."""

    kind: str  # fill, stroke, text or image
    color: tuple | None  # none: any
    points: list
    width: float = 0  # of a stroke; of a text its size
    words: tuple = ()  # of a text, and its style


def course(points):
    return list(itertools.chain(*points))


def box(points):
    xs, ys = zip(*points)
    return [min(xs), min(ys), max(xs), max(ys)]


def form(points):
    """The box, and the area as a length: it tells an oval from a rectangle."""
    left, top, right, bottom = box(points)
    area = abs(sum(x0 * y1 - x1 * y0 for (x0, y0), (x1, y1) in zip(points, points[1:] + points[:1]))) / 2
    return [left, top, right, bottom, area / max(right - left + bottom - top, 1)]


def outline(shape, left, top, right, bottom, start=0, arc=360):
    if shape in ("Rect", "RRect"):
        return [(left, top), (right, top), (right, bottom), (left, bottom)]
    # Angles go clockwise from the top, and 45 degrees points to the corner of a box of any form.
    x, y = (left + right) / 2, (top + bottom) / 2
    turns = [math.radians(angle) for angle in range(start, start + arc + 1)]
    return [(x + (right - x) * math.sin(turn), y - (bottom - y) * math.cos(turn)) for turn in turns]


def listing(macpict, pict):
    """The frame, and of each opcode its line, offset, name, numbers, and the colour or text after them."""
    numbers = lambda text: [int(n) for n in re.findall(r"-?\d+", text)]
    run = subprocess.run([macpict, "list", pict], check=True, capture_output=True, text=True)
    head, *lines = run.stdout.splitlines()
    opcodes = [re.fullmatch(r' *(\d+)  \w{4}  (\w+)([^"#]*)(.*)', line).groups() for line in lines]
    frame = numbers(re.search(r"frame \((.*?)\)", head)[1])
    return frame, [(line.strip(), int(o[0]), o[1], numbers(o[2]), o[3]) for line, o in zip(lines, opcodes)]


def expected(opcodes):
    """For each opcode that draws: what it is, its line, its mark, and what to measure of that."""
    front, back, pen, size, face = (0, 0, 0), (255, 255, 255), (1, 1), 12, 0
    end = at = (0, 0)

    def stroke(points):
        # The pen hangs right of a point and below; LibreOffice draws along its middle, rounded down.
        middle = [(x + pen[0] // 2, y + pen[1] // 2) for x, y in points]
        return Mark("stroke", front, middle, (pen[0] + pen[1]) / 2)

    for line, _, name, n, rest in opcodes:
        shape = re.fullmatch("(Frame|Paint|Erase|Invert)(Same)?(Rect|RRect|Oval|Arc|Poly)", name)
        if name in ("RGBFgCol", "RGBBkCol"):
            color = tuple(int(rest[i : i + 2], 16) for i in (1, 5, 9))
            front, back = (color, back) if name == "RGBFgCol" else (front, color)
        elif name == "PnSize":
            pen = n
        elif name == "TxSize":
            size = n[0]
        elif name == "TxFace":
            face = n[0]
        elif shape:
            verb, same, what = shape.groups()
            if same:
                n = [*rect, *n]
            elif what != "Poly":
                rect = n[:4]
            known[INVERT] += verb == "Invert"
            known[CORNERS] += what == "RRect"
            points = list(zip(n[::2], n[1::2])) if what == "Poly" else outline(what, *n)
            if verb == "Frame":  # the pen stays inside a box
                mark = stroke(points if what == "Poly" else outline(what, *n[:2], n[2] - pen[0], n[3] - pen[1], *n[4:]))
            else:
                middle = [((n[0] + n[2]) / 2, (n[1] + n[3]) / 2)] if what == "Arc" else []
                mark = Mark("fill", {"Erase": back, "Invert": None}.get(verb, front), points + middle)
            yield "polygon" if what == "Poly" else "shape", line, mark, {"Poly": course, "RRect": box}.get(what, form)
        elif re.fullmatch("(Short)?Line(From)?", name):
            start = end if name.endswith("From") else n[:2]
            end = (start[0] + n[-2], start[1] + n[-1]) if name.startswith("Short") else n[-2:]
            if start[0] == end[0] or start[1] == end[1]:  # LibreOffice fills what the pen covers
                left, top, right, bottom = box([start, end])
                yield "line", line, Mark("fill", front, [(left, top), (right + pen[0], bottom + pen[1])]), box
            else:
                yield "line", line, stroke([start, end]), course
        elif re.fullmatch("LongText|DHText|DVText|DHDVText", name):
            move = n if len(n) == 2 else (n[0], 0) if name == "DHText" else (0, n[0])
            at = move if name == "LongText" else (at[0] + move[0], at[1] + move[1])
            known[FACES] += face > 7
            text = re.sub(r"\\x(..)", lambda code: bytes.fromhex(code[1]).decode("mac_roman"), rest[1:-1])
            yield "text", line, Mark("text", front, [at], size, (text, face & 1, face & 2, face & 4)), course
        elif re.fullmatch("(Pack|Direct)?Bits(Rect|Rgn)", name):
            yield "image", line, Mark("image", None, [n[7:9], n[9:11]]), box
        elif name not in ("HeaderOp", "Clip", "OvSize", "TxMode", "OpEndPic"):
            raise SystemExit(f"interop: there is no check for {name} yet.")


def curve(*ends):
    """Points of a Bézier curve, without its first."""
    for t in (0.25, 0.5, 0.75, 1):
        u = 1 - t
        yield tuple(u**3 * a + 3 * u * u * t * b + 3 * u * t * t * c + t**3 * d for a, b, c, d in zip(*ends))


def drawn(svg):
    """The picture's size and its marks, measured from its own corner: LibreOffice puts it amid a page."""
    tag = "{http://www.w3.org/2000/svg}"
    root = ElementTree.parse(svg).getroot()
    unit = float(root.get("viewBox").split()[2]) / float(root.get("width").removesuffix("mm")) * 25.4 / 72
    graphic = root.find(f".//{tag}g[@class='Graphic']")
    number = lambda element, key: float(element.get(key, "0").removesuffix("px"))
    frame = graphic.find(f".//{tag}rect[@class='BoundingBox']")
    left, top = number(frame, "x"), number(frame, "y")

    def mark(kind, color, points, width=0.0, words=()):
        points = [(round((x - left) / unit, 2), round((y - top) / unit, 2)) for x, y in points]
        return Mark(kind, color and tuple(int(n) for n in re.findall(r"\d+", color)), points, width / unit, words)

    def path(element):
        points = []
        for command, run in re.findall("([MLC])([^MLCZ]*)", element.get("d")):
            pairs = [(float(x), float(y)) for x, y in re.findall(r"(-?[\d.]+),(-?[\d.]+)", run)]
            if command == "C":
                for a, b, c in zip(pairs[::3], pairs[1::3], pairs[2::3]):
                    points += curve(points[-1], a, b, c)
            else:
                points += pairs
        kind = "stroke" if element.get("fill") == "none" else "fill"
        return mark(kind, element.get(kind), points, number(element, "stroke-width"))

    def text(element):
        paragraph, position, run = element.iter(f"{tag}tspan")
        styles = (("font-weight", "700", 1), ("font-style", "italic", 2), ("text-decoration", "underline", 4))
        words = (run.text, *(bit if paragraph.get(key) == value else 0 for key, value, bit in styles))
        at = number(position, "x"), number(position, "y")
        return mark("text", run.get("fill"), [at], number(paragraph, "font-size"), words)

    def image(element):
        x, y, width, height = (number(element, key) for key in ("x", "y", "width", "height"))
        return mark("image", None, [(x, y), (x + width, y + height)])

    read = {f"{tag}path": path, f"{tag}text": text, f"{tag}image": image}
    marks = [read[element.tag](element) for element in graphic.find(f".//{tag}g[@clip-path]")]
    return [number(frame, "width") / unit, number(frame, "height") / unit], marks


def near(a, b):
    return len(a) == len(b) and all(abs(x - y) <= TOLERANCE for x, y in zip(a, b))


def agree(want, seen, measure):
    same = want.kind == seen.kind and want.color in (None, seen.color) and want.words == seen.words
    return same and near([*measure(want.points), want.width], [*measure(seen.points), seen.width])


def readings(folder, name, opcode):
    """The pixels of a picture that holds bits and nothing else: ours, from its PNG, and those of each reader."""
    _, offset, opcode, (depth, *_), _ = opcode
    at = 512 + offset + (6 if opcode.startswith("Direct") else 2)
    row = int.from_bytes((folder / f"{name}.pict").read_bytes()[at : at + 2], "big")
    known[FIVE] += depth == 16
    # A colour table has components of 16 bits; QuickDraw's pixels have the high ones, while readers round.
    mask = 0xF800 if depth == 16 else 0xFF00

    def pixels(source, data=None):
        command = ["convert", source, "-evaluate", "And", str(mask), "-depth", "16", "ppm:-"]
        return subprocess.run(command, input=data, capture_output=True).stdout

    png = re.search('href="data:image/png;base64,([^"]*)', (folder / f"{name}.svg").read_text())
    theirs = {"LibreOffice": pixels("png:-", base64.b64decode(png[1])) if png else b""}
    wrong = BITMAP if row < 0x8000 else COUNTS if 200 < row & 0x3FFF <= 250 else None
    known[wrong] += 1
    if not wrong:
        theirs["ImageMagick"] = pixels(f"pict:{folder / name}.pict")
    return pixels(f"{folder / name}.png"), theirs


def main(folder, macpict):
    results = collections.Counter()

    def check(passed, message):
        results[bool(passed)] += 1
        if not passed:
            print(message)
        return bool(passed)

    for name in DRAWN + BITS:
        file = f"{name}.pict"
        if not check((folder / f"{name}.svg").exists(), f"{file}: not in the gallery, or LibreOffice can't read it"):
            continue
        (left, top, right, bottom), opcodes = listing(macpict, folder / file)
        size, marks = drawn(folder / f"{name}.svg")
        # LibreOffice's box is a pixel larger than the frame each way.
        check(near(size, [right - left + 1, bottom - top + 1]), f"{file}: LibreOffice sees a size of {size}")
        found = collections.Counter()
        for want, seen in itertools.zip_longest(expected(opcodes), marks):
            what, line, mark, measure = want or ("mark", "nothing", None, None)
            ok = mark and seen and agree(mark, seen, measure)
            found[what] += check(ok, f"{file}: {line}\n  but LibreOffice sees {seen or 'nothing'}")
        summary = ", ".join(f"{count} {what}{'s' * (count != 1)}" for what, count in found.items()) + " found"
        if name in BITS:
            ours, theirs = readings(folder, name, next(opcode for opcode in opcodes if "Bits" in opcode[2]))
            wrong = f"{file}: other pixels than in {name}.png in "
            same = [reader for reader, pixels in theirs.items() if check(ours and pixels == ours, wrong + reader)]
            summary += f"; same pixels in {' and '.join(same) or 'no reader'}"
        print(f"{file}: {summary}")
    for reason in filter(None, +known):
        print(f"known: {reason} ({known[reason]})")
    print(f"{results[True]} passed, {results[False]} failed")
    return 1 if results[False] else 0


sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2]))
