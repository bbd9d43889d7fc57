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

DRAWN = ["demo", "shapes", "lines", "polygons", "text", "pen-colors", "export"]
BITS = [f"bits-{depth}" for depth in (1, 2, 4, 8, 16, 32)]
TOLERANCE = 0.75  # pixels: LibreOffice rounds curves to whole ones

# What the readers take wrong though it is right. Only the check that is named is left out.
INVERT = "LibreOffice paints inverted shapes black: their colour is not checked"
CORNERS = "LibreOffice draws round rectangles with square corners: their form is not checked, their box is"
FACES = "LibreOffice drops outline, shadow, condense and extend: bold, italic and underline are checked"
BITMAP = "ImageMagick reads bits without a colour table as all black: its pixels are not compared"
COUNTS = "ImageMagick expects byte counts of two bytes in rows of 202 to 250 bytes, not above 250: not compared"
FIVE = "both readers widen the 5 bits of a component to 8 in their own ways: the 5 are compared"
left_out = collections.Counter()


class Mark(NamedTuple):
    """What one opcode draws, or one element of an SVG. Lengths are in pixels."""

    kind: str  # fill, stroke, text or image
    color: tuple | None  # None: any
    points: list
    width: float = 0  # of a stroke, or the size of a text
    words: tuple = ()  # of a text, with its style


def box(points):
    xs, ys = zip(*points)
    return [min(xs), min(ys), max(xs), max(ys)]


def form(points):
    """The box, and as a length the area: it tells an oval from a rectangle."""
    left, top, right, bottom = box(points)
    area = abs(sum(x0 * y1 - x1 * y0 for (x0, y0), (x1, y1) in zip(points, points[1:] + points[:1]))) / 2
    return [left, top, right, bottom, area / max(right - left + bottom - top, 1)]


def course(points):
    return list(itertools.chain(*points))


def outline(shape, left, top, right, bottom, start=0, arc=360):
    """Of a box. Angles go clockwise from the top, and 45 degrees points to the corner in a box of any form."""
    if shape in ("Rect", "RRect"):
        return [(left, top), (right, top), (right, bottom), (left, bottom)]
    x, y = (left + right) / 2, (top + bottom) / 2
    turns = [math.radians(angle) for angle in range(start, start + arc + 1)]
    return [(x + (right - x) * math.sin(turn), y - (bottom - y) * math.cos(turn)) for turn in turns]


def curve(*ends):
    """Points of a Bézier curve behind its first one."""
    for t in (0.25, 0.5, 0.75, 1):
        u = 1 - t
        yield tuple(u**3 * a + 3 * u * u * t * b + 3 * u * t * t * c + t**3 * d for a, b, c, d in zip(*ends))


def listing(macpict, pict):
    """Of each opcode: the line, its offset, name, numbers and the rest, which is a colour or a text."""
    lines = subprocess.run([macpict, "list", pict], check=True, capture_output=True, text=True).stdout.splitlines()
    for line in lines[1:]:
        offset, name, numbers, rest = re.fullmatch(r' *(\d+)  [0-9A-F]{4}  (\w+)([^"#]*)(.*)', line).groups()
        yield line.strip(), int(offset), name, [int(n) for n in re.findall(r"-?\d+", numbers)], rest


def expected(opcodes):
    """The marks of a picture, each with its line and what to measure of it."""
    front, back, pen, size, face = (0, 0, 0), (255, 255, 255), (1, 1), 12, 0
    end = at = (0, 0)

    def along(points):
        """Where a stroke's middle runs: the pen hangs right of a point and below, and LibreOffice halves it downwards."""
        return [(x + pen[0] // 2, y + pen[1] // 2) for x, y in points]

    for line, _, name, n, rest in opcodes:
        nib = (pen[0] + pen[1]) / 2
        shape = re.fullmatch("(Frame|Paint|Erase|Invert)(Rect|RRect|Oval|Arc|Poly)", name)
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
            verb, what = shape.groups()
            color = {"Erase": back, "Invert": None}.get(verb, front)
            left_out[INVERT] += verb == "Invert"
            left_out[CORNERS] += what == "RRect"
            if what == "Poly":
                points = list(zip(n[::2], n[1::2]))
            elif verb == "Frame":  # the pen hangs inside the box
                points = outline(what, n[0], n[1], n[2] - pen[0], n[3] - pen[1], *n[4:])
            else:
                points = outline(what, *n)
                if what == "Arc":
                    points.append(((n[0] + n[2]) / 2, (n[1] + n[3]) / 2))
            mark = Mark("stroke", color, along(points), nib) if verb == "Frame" else Mark("fill", color, points)
            yield line, mark, {"Poly": course, "RRect": box}.get(what, form)
        elif re.fullmatch("(Short)?Line(From)?", name):
            start = end if name.endswith("From") else n[:2]
            end = (start[0] + n[-2], start[1] + n[-1]) if name.startswith("Short") else n[-2:]
            if start[0] == end[0] or start[1] == end[1]:  # comes as the rectangle that the pen covers
                left, top, right, bottom = box([start, end])
                yield line, Mark("fill", front, [(left, top), (right + pen[0], bottom + pen[1])]), box
            else:
                yield line, Mark("stroke", front, along([start, end]), nib), course
        elif re.fullmatch("LongText|DHText|DVText|DHDVText", name):
            dh, dv = n if len(n) == 2 else (n[0], 0) if name == "DHText" else (0, n[0])
            at = (dh, dv) if name == "LongText" else (at[0] + dh, at[1] + dv)
            left_out[FACES] += face > 7
            text = re.sub(r"\\x(..)", lambda code: bytes.fromhex(code[1]).decode("mac_roman"), rest[1:-1])
            yield line, Mark("text", front, [at], size, (text, *(bool(face & bit) for bit in (1, 2, 4)))), course
        elif re.fullmatch("(Pack|Direct)?Bits(Rect|Rgn)", name):
            yield line, Mark("image", None, [n[7:9], n[9:11]]), box
        elif name not in ("HeaderOp", "Clip", "OvSize", "TxMode", "OpEndPic"):  # these draw nothing
            raise SystemExit(f"interop: there is no check for {name} yet.")


def drawn(svg):
    """The picture's size and its marks, measured from its own corner: LibreOffice puts it amid a page."""
    tag = "{http://www.w3.org/2000/svg}"
    root = ElementTree.parse(svg).getroot()
    unit = float(root.get("viewBox").split()[2]) / float(root.get("width").removesuffix("mm")) * 25.4 / 72
    graphic = root.find(f".//{tag}g[@class='Graphic']")
    frame = graphic.find(f".//{tag}rect[@class='BoundingBox']")
    left, top = float(frame.get("x")), float(frame.get("y"))

    def measured(points):
        return [(round((x - left) / unit, 2), round((y - top) / unit, 2)) for x, y in points]

    def color(element, name):
        return tuple(int(n) for n in re.findall(r"\d+", element.get(name)))

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
        width = float(element.get("stroke-width", 0)) / unit
        return Mark(kind, color(element, kind), measured(points), width)

    def text(element):
        paragraph, position, run = list(element.iter(f"{tag}tspan"))
        style = [paragraph.get(k) == v for k, v in
                 (("font-weight", "700"), ("font-style", "italic"), ("text-decoration", "underline"))]
        size = float(paragraph.get("font-size").removesuffix("px")) / unit
        return Mark("text", color(run, "fill"), measured([(float(position.get("x")), float(position.get("y")))]), size,
                    (run.text, *style))

    def image(element):
        x, y, width, height = (float(element.get(k)) for k in ("x", "y", "width", "height"))
        return Mark("image", None, measured([(x, y), (x + width, y + height)]))

    read = {f"{tag}path": path, f"{tag}text": text, f"{tag}image": image}
    size = [float(frame.get(k)) / unit for k in ("width", "height")]
    return size, [read[element.tag](element) for element in graphic.find(f".//{tag}g[@clip-path]")]


def agree(want, seen, measure):
    a, b = ([*measure(mark.points), mark.width] for mark in (want, seen))
    near = len(a) == len(b) and all(abs(x - y) <= TOLERANCE for x, y in zip(a, b))
    return near and want.kind == seen.kind and want.color in (None, seen.color) and want.words == seen.words


def pixels(source, bits, data=None):
    """An image as ImageMagick reads it, down to the high bits of each component; none if it can't."""
    mask = str(0xFFFF ^ (0xFFFF >> bits))
    command = ["convert", source, "-evaluate", "And", mask, "-depth", "16", "ppm:-"]
    return subprocess.run(command, input=data, capture_output=True).stdout or None


def compare_pixels(check, folder, name, opcode):
    """A picture that is bits and nothing else with the PNG of what went into it."""
    _, offset, opcode, (depth, *_), _ = opcode
    at = 512 + offset + (6 if opcode.startswith("Direct") else 2)
    row = int.from_bytes((folder / f"{name}.pict").read_bytes()[at : at + 2], "big")
    bits = 5 if depth == 16 else 8
    left_out[FIVE] += depth == 16
    ours = pixels(folder / f"{name}.png", bits)
    href = re.search('href="data:image/png;base64,([^"]*)', (folder / f"{name}.svg").read_text())
    seen = {"LibreOffice": pixels("-", bits, base64.b64decode(href[1])) if href else None}
    wrong = BITMAP if row < 0x8000 else COUNTS if 200 < row & 0x3FFF <= 250 else None
    if wrong:
        left_out[wrong] += 1
    else:
        seen["ImageMagick"] = pixels(f"pict:{folder / name}.pict", bits)
    for reader, theirs in seen.items():
        check(ours and ours == theirs, f"{name}.pict: {reader} sees other pixels than {name}.png has")
    return [reader for reader, theirs in seen.items() if ours and ours == theirs]


def main(folder, macpict):
    results = collections.Counter()

    def check(passed, message):
        results[bool(passed)] += 1
        if not passed:
            print(message)
        return passed

    for name in DRAWN + BITS:
        pict, svg = folder / f"{name}.pict", folder / f"{name}.svg"
        if not check(pict.exists() and svg.exists(), f"{name}.pict: not in the gallery, or LibreOffice can't read it"):
            continue
        opcodes = list(listing(macpict, pict))
        size, marks = drawn(svg)
        frame = box([next(n for _, _, opcode, n, _ in opcodes if opcode == "Clip")[i : i + 2] for i in (0, 2)])
        # LibreOffice's box goes up to a pixel beyond the frame.
        check(all(abs(a - b - 0.5) <= TOLERANCE for a, b in zip(size, frame[2:])), f"{name}.pict: wrong size {size}")
        found = collections.Counter()
        for want, seen in itertools.zip_longest(expected(opcodes), marks):
            line, mark, measure = want or ("nothing", None, None)
            if check(mark and seen and agree(mark, seen, measure), f"{name}.pict: {line}\n  but LibreOffice: {seen}"):
                what = re.search("Line|Poly|Text|Bits", line)
                found[{"Line": "lines", "Poly": "polygons", "Text": "texts", "Bits": "images"}[what[0]] if what else "shapes"] += 1
        summary = ", ".join(f"{count} {what}" for what, count in found.items()) + " found"
        if name in BITS:
            bits = next(opcode for opcode in opcodes if "Bits" in opcode[2])
            summary += "; the same pixels in " + (" and ".join(compare_pixels(check, folder, name, bits)) or "no reader")
        print(f"{name}.pict: {summary}")
    for reason, count in left_out.items():
        if count:
            print(f"known: {reason} ({count})")
    print(f"{results[True]} passed, {results[False]} failed")
    return 1 if results[False] else 0


sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2]))
