"""Lets tesseract read a page of words drawn by macpict, and the same page drawn by FreeType.

    legibility.py MACPICT FONT.ttf
"""
import os
import subprocess
import sys
import tempfile

from PIL import Image, ImageDraw, ImageFont

WORDS = """
Daylight Installer window people through between another because thought example general picture country against
problem nothing looking without another's usually quickly mountain village science company system program number
letters writing drawing printer monitor network library kitchen weather harbour journey natural history success
student teacher morning evening summer winter spring autumn yellow orange purple silver golden middle bottom corner
square circle triangle pattern colour shadow outline bright quiet simple modern ancient famous public private
market office street bridge tunnel island forest desert valley river ocean planet engine signal battery machine
message record memory folder document keyboard version chapter novel poetry theatre
""".split()
SIZES = (9, 10, 12)
COLUMNS, ROWS = 5, 20
ENLARGED = 4
MARGIN = 2  # words that may be read less


def place(index, size):
    return 10 + index % COLUMNS * size * 8, 2 * size + index // COLUMNS * size * 2


def ours(macpict, folder, size, width, height):
    lines = [f"picture version 2 frame (0, 0, {width}, {height})", "TxFont 21", f"TxSize {size}"]
    for index, word in enumerate(WORDS):
        h, v = place(index, size)
        lines.append(f'LongText at ({h}, {v}) text "{word}"')
    text, picture, image = (os.path.join(folder, name) for name in ("page.txt", "page.pict", "page.png"))
    with open(text, "w", encoding="utf-8") as file:
        file.write("\n".join(lines + ["OpEndPic", ""]))
    subprocess.run([macpict, "assemble", text, picture], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([macpict, "render", picture, image], check=True, stdout=subprocess.DEVNULL)
    return Image.open(image).convert("L")


def freetypes(font, size, width, height):
    page = Image.new("L", (width, height), 255)
    draw = ImageDraw.Draw(page)
    draw.fontmode = "1"
    face = ImageFont.truetype(font, size)
    for index, word in enumerate(WORDS):
        draw.text(place(index, size), word, fill=0, font=face, anchor="ls")
    return page


def read(page, folder):
    image = os.path.join(folder, "enlarged.png")
    page.resize((page.width * ENLARGED, page.height * ENLARGED), Image.NEAREST).save(image)
    found = subprocess.run(["tesseract", image, "-", "--psm", "6"], check=True, capture_output=True, text=True).stdout
    return len(set(WORDS) & set(found.split()))


def main(macpict, font):
    assert len(set(WORDS)) == COLUMNS * ROWS, len(set(WORDS))
    failed = False
    with tempfile.TemporaryDirectory() as folder:
        for size in SIZES:
            width, height = 10 + COLUMNS * size * 8, (ROWS + 1) * size * 2
            mine = read(ours(macpict, folder, size, width, height), folder)
            theirs = read(freetypes(font, size, width, height), folder)
            print(f"legibility: at {size} points {mine} of {len(WORDS)} words are read, of FreeType's {theirs}")
            failed |= mine < theirs - MARGIN
    sys.exit(1 if failed else 0)


main(*sys.argv[1:])
