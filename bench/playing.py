"""Times macpict from a PICT file to a PNG against ImageMagick, GraphicsMagick and LibreOffice, and weighs its memory.

usage: playing.py PRODUCT PROGRAMS [FOLDER]; FOLDER, or else MACPICT_SAMPLES, holds more pictures.
"""

import collections
import os
import pathlib
import re
import statistics
import struct
import subprocess
import sys
import tempfile
import time

ROUNDS = 3
SHAPES = re.compile(r"^ *\d+  \w{4}  (?:Short)?(?:Line|LongText|D[HV]|(?:Frame|Paint|Erase|Invert|Fill)\w)", re.M)


class Failed(Exception):
    pass


def run(command):
    """The seconds that a command takes, and its peak of resident bytes."""
    with tempfile.TemporaryFile() as log:
        start = time.perf_counter()
        process = subprocess.Popen([str(word) for word in command], stdout=log, stderr=log)
        _, status, usage = os.wait4(process.pid, 0)
        seconds = time.perf_counter() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            log.seek(0)
            raise Failed(f"{command[0]}: {log.read().decode(errors='replace').strip()[-300:]}")
    return seconds, usage.ru_maxrss * 1024


def head(title, remark, columns):
    print(f"\n## {title}\n\n{remark}\n\n| {' | '.join(columns)} |\n|---|{'---:|' * (len(columns) - 3)}---|---|")


class Tools:
    """Each takes pictures and a folder for their PNGs, or for pixels without compression."""

    def __init__(self, product, programs, work):
        self.macpict, self.programs, self.work = product / "bin/macpict", programs, work
        os.environ["MACPICT_BUNDLE"] = str(product / "QuickDrawTVK.bundle")

    def each(self, pictures, command):
        runs = [run(command(picture)) for picture in pictures]
        return sum(seconds for seconds, _ in runs), max(peak for _, peak in runs)

    def out(self, tool, picture, kind="png"):
        return self.work / f"{tool}-{picture.stem}.{kind}"

    def ours(self, pictures):
        return self.each(pictures, lambda p: [self.macpict, "render", p, self.out("ours", p)])

    def imagemagick(self, pictures, kind="png"):
        return self.each(pictures, lambda p: ["convert-im6.q16", f"pict:{p}", f"{kind}:{self.out('im', p, kind)}"])

    def graphicsmagick(self, pictures, kind="png"):
        return self.each(pictures, lambda p: ["gm", "convert", f"pict:{p}", f"{kind}:{self.out('gm', p, kind)}"])

    def libreoffice(self, pictures):
        """All pictures in one run, so that it starts once."""
        profile = f"-env:UserInstallation=file://{self.work}/profile"
        done = run(["soffice", profile, "--headless", "--convert-to", "png", "--outdir", self.work, *pictures])
        if not all((self.work / f"{p.stem}.png").exists() for p in pictures):
            raise Failed("soffice: no PNG")
        return done

    def encode(self, pictures):
        """What of our time is the PNG's."""
        command = lambda p: [self.programs / "encode", p, self.out("encoded", p)]
        return sum(float(subprocess.run(command(p), check=True, capture_output=True, text=True).stdout) for p in pictures)


def turns(sides, pictures):
    taken = collections.defaultdict(list)
    for _ in range(ROUNDS):
        for name, side in sides.items():
            taken[name].append(side(pictures)[0])
    return {name: statistics.median(times) for name, times in taken.items()}


def row(what, ours, others, aim):
    name, other = min(others.items(), key=lambda item: item[1])
    met = "yes" if other / ours >= aim else "**no**"
    print(f"| {what} | {ours:.3f} s | {other:.3f} s {name} | {other / ours:.2f} | at least {aim} | {met} |", flush=True)


def size_of(png):
    return struct.unpack(">II", png.read_bytes()[16:24])


def unlike(a, b):
    """How far the pixels of two PNGs are from each other, of 1, in the mean; the second is brought to the first's size."""
    width, height = size_of(a)
    other = ["(", b, "-background", "white", "-flatten", "-resize", f"{width}x{height}!", ")"]
    command = ["convert-im6.q16", a, *other, "-metric", "MAE", "-compare", "-format", "%[distortion]", "info:"]
    return float(subprocess.run(command, check=True, capture_output=True, text=True).stdout)


def readable(tools, pictures, rivals):
    """The pictures that we and all rivals that read any can read, and those rivals."""
    names = {name: [p for p in pictures if not fails(rival, p)] for name, rival in rivals.items()}
    able = {name: rival for name, rival in rivals.items() if names[name]}
    kept = [p for p in pictures if not fails(tools.ours, p) and all(p in names[name] for name in able)]
    return kept, able


def fails(tool, picture):
    try:
        tool([picture])
    except Failed as failure:
        print(f"playing: {picture.name} is left out: {failure}", file=sys.stderr)
        return True
    return False


def race(tools, what, pictures, isDrawn):
    rivals = {"LibreOffice": tools.libreoffice} if isDrawn else {
        "ImageMagick": tools.imagemagick, "GraphicsMagick": tools.graphicsmagick}
    kept, able = readable(tools, pictures, rivals)
    if not kept:
        return print(f"| {what}: nobody else reads any of {len(pictures)} | | | | | |")
    prefix = {"ImageMagick": "im-", "GraphicsMagick": "gm-", "LibreOffice": ""}
    far = {name: statistics.mean(unlike(tools.out("ours", p), tools.work / f"{prefix[name]}{p.stem}.png") for p in kept)
           for name in able}
    told = ", ".join(f"{name} {100 * distance:.2f}%" for name, distance in far.items())
    if len(pictures) > 1:
        what += f" ({len(kept)} of {len(pictures)})"
    taken = turns({"ours": tools.ours, **able}, kept)
    ours = taken.pop("ours")
    row(f"{what}; pixels are off by: {told}", ours, taken, 10)
    png = tools.encode(kept)
    print(f"| {what}: compressing and writing the PNG | {png:.3f} s | | | | |")
    raw = {name: lambda ps, rival=rival: rival(ps, "ppm") for name, rival in able.items() if not isDrawn}
    if raw:
        row(f"{what}, without the PNG", ours - png, turns(raw, kept), 10)


def weigh(tools, what, picture, baseline):
    """Peaks of memory as multiples of the picture's bytes and the port's pixels."""
    peak = tools.ours([picture])[1]
    width, height = size_of(tools.out("ours", picture))
    parts = picture.stat().st_size + 4 * width * height
    multiple = (peak - baseline) / parts
    met = "yes" if multiple <= 2.5 else "**no**"
    print(f"| {what} | {(peak - baseline) / 2**20:.1f} MiB | {parts / 2**20:.1f} MiB | {multiple:.2f} | at most 2.5 | {met} |")


def main(product, programs, folder=None):
    with tempfile.TemporaryDirectory() as name:
        work = pathlib.Path(name)
        made = work / "pictures"
        made.mkdir()
        subprocess.run([programs / "pictures", made], check=True)
        tools = Tools(product, programs, work)
        photograph, shapes, dot = (made / f"{stem}.pict" for stem in ("photograph", "shapes", "dot"))
        found = []
        if folder:
            found = sorted(p for p in pathlib.Path(folder).rglob("*") if p.suffix.lower() in (".pict", ".pct", ".pic"))
            if not found:
                sys.exit(f"playing: there is no picture below \"{folder}\".")
        # A name of its own for each, since all PNGs go into one folder.
        samples = [made / f"sample{i}.pict" for i in range(len(found))]
        for link, target in zip(samples, found):
            link.symlink_to(target.resolve())
        listings = [subprocess.run([tools.macpict, "list", p], capture_output=True).stdout.decode(errors="replace")
                    for p in samples]
        drawn = [p for p, listing in zip(samples, listings) if SHAPES.search(listing)]
        bits = [p for p in samples if p not in drawn]

        fails(tools.libreoffice, dot)  # makes its profile
        head("Playing", "A process from a PICT file to a PNG: macpict, at 32 bits, against ImageMagick and "
             "GraphicsMagick, or LibreOffice for pictures that hold shapes, lines or text. Samples are summed over all "
             "that each side reads, LibreOffice starting once for all of them. How far pixels are from ours in the mean "
             "is told; LibreOffice smoothes edges, and its picture is brought to our size for that. What of our time is the PNG "
             "is measured in a process that renders the same picture; \"without\" it stands against the others writing a "
             "PPM.", ["what", "ours", "other side", "other / ours", "aim", "met?"])
        race(tools, "photograph of 4096x4096", [photograph], False)
        race(tools, "100,000 shapes", [shapes], True)
        if bits:
            race(tools, "samples of pixels", bits, False)
        if drawn:
            race(tools, "samples with shapes", drawn, True)

        # Our own part ends with the peak of each run; a process that renders one pixel is what all of them begin with.
        baseline = tools.ours([dot])[1]
        head("Memory of playing", "Peak resident memory of macpict, less that of rendering one pixel "
             f"({baseline / 2**20:.1f} MiB), as a multiple of the picture's bytes and the port's pixels.",
             ["what", "peak", "picture and port", "multiple", "aim", "met?"])
        weigh(tools, "photograph of 4096x4096", photograph, baseline)
        weigh(tools, "100,000 shapes", shapes, baseline)
        if samples:
            largest = max((p for p in samples if not fails(tools.ours, p)),
                          key=lambda p: size_of(tools.out("ours", p))[0] * size_of(tools.out("ours", p))[1])
            weigh(tools, "the largest of the samples", largest, baseline)


main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), *(sys.argv[3:4] or [os.environ.get("MACPICT_SAMPLES")]))
