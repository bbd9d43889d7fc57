"""Times macpict from a PICT file to a PNG against ImageMagick, GraphicsMagick and LibreOffice, and weighs its memory.

usage: playing.py PRODUCT PROGRAMS [FOLDER]; FOLDER, or else MACPICT_SAMPLES, holds more pictures.
"""

import collections
import math
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
PAGE = 794 * 1123  # the pixels of LibreOffice's PNGs, a page of A4
SHAPES = re.compile(r"^ *\d+  \w{4}  (?:Short)?(?:Line|LongText|D[HV]|(?:Frame|Paint|Erase|Invert|Fill)\w)", re.M)


class Failed(Exception):
    pass


def run(command):
    """The seconds that a command takes."""
    with tempfile.TemporaryFile() as log:
        start = time.perf_counter()
        process = subprocess.Popen([str(word) for word in command], stdout=log, stderr=log)
        process.wait()
        seconds = time.perf_counter() - start
        if process.returncode != 0:
            log.seek(0)
            raise Failed(f"{command[0]}: {log.read().decode(errors='replace').strip()[-300:]}")
    return seconds


def head(title, remark, columns):
    print(f"\n## {title}\n\n{remark}\n\n| {' | '.join(columns)} |\n|---|{'---:|' * (len(columns) - 3)}---|---|")


class Tools:
    """Each takes pictures, and makes PNGs or pixels without compression, in a folder of its own."""

    def __init__(self, product, programs, work):
        self.macpict, self.programs, self.work = product / "bin/macpict", programs, work
        for tool in ("ours", "encoded", "im", "gm"):
            (work / tool).mkdir()

    def each(self, pictures, command):
        return sum(run(command(picture)) for picture in pictures)

    def out(self, tool, picture, kind="png"):
        return self.work / tool / f"{picture.stem}.{kind}"

    def render(self, picture):
        return [self.macpict, "render", picture, self.out("ours", picture)]

    def ours(self, pictures):
        return self.each(pictures, self.render)

    def ours_at_once(self, pictures):
        """All pictures in one run."""
        return run([self.macpict, "render", *pictures, self.work / "ours"])

    def peak(self, picture):
        """The resident bytes of rendering a picture."""
        weigh = [self.programs / "weigh", *self.render(picture)]
        return int(subprocess.run(weigh, check=True, capture_output=True, text=True).stdout)

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
            taken[name].append(side(pictures))
    return {name: statistics.median(times) for name, times in taken.items()}


def met(is_met):
    return "yes" if is_met else "**no**"


def row(what, ours, others, aim):
    name, other = min(others.items(), key=lambda item: item[1])
    ratio = other / ours
    print(f"| {what} | {ours:.3f} s | {other:.3f} s {name} | {ratio:.2f} | at least {aim} | {met(ratio >= aim)} |", flush=True)


def size_of(png):
    return struct.unpack(">II", png.read_bytes()[16:24])


def unlike(a, b, onPage):
    """How far the pixels of two PNGs are from each other, of 1, in the mean. A picture amid a page is cut out of it, and
    both are brought to one size."""
    cut = ["-trim", "+repage", "-resize", "256x256!"] if onPage else []
    command = ["convert-im6.q16", "(", a, *cut, ")", "(", b, "-background", "white", "-flatten", *cut, ")",
               "-metric", "MAE", "-compare", "-format", "%[distortion]", "info:"]
    done = subprocess.run(command, capture_output=True, text=True)
    return float(done.stdout) if done.returncode == 0 else 1.0


def leave_out(picture, why):
    print(f"playing: {picture.resolve().name} is left out: {why}", file=sys.stderr)


def reads(tool, picture):
    try:
        tool([picture])
    except Failed as failure:
        leave_out(picture, failure)
        return False
    return True


def reads_all(tool, pictures):
    try:
        tool(pictures)
    except Failed as failure:
        print(f"playing: {failure}", file=sys.stderr)


def race(tools, what, pictures, isDrawn, aim=10):
    """A row for the pictures that all read, and that the others draw as we do."""
    if isDrawn:
        rivals = {"LibreOffice": (tools.libreoffice, lambda p: tools.work / f"{p.stem}.png")}
    else:
        rivals = {"ImageMagick": (tools.imagemagick, lambda p: tools.out("im", p)),
                  "GraphicsMagick": (tools.graphicsmagick, lambda p: tools.out("gm", p))}
    kept = [p for p in pictures if reads(tools.ours, p)]
    if isDrawn:
        kept = [p for p in kept if math.prod(size_of(tools.out("ours", p))) <= PAGE or
                leave_out(p, "LibreOffice would draw fewer pixels of it, on a page")]
        reads_all(tools.libreoffice, kept)
        kept = [p for p in kept if (tools.work / f"{p.stem}.png").exists() or leave_out(p, "soffice makes no PNG")]
    else:
        kept = [p for p in kept if all(reads(tool, p) for tool, _ in rivals.values())]
    limit = 0.25 if isDrawn else 0.02
    far = {p: max(unlike(tools.out("ours", p), png(p), isDrawn) for _, png in rivals.values()) for p in kept}
    for p in kept:
        if far[p] > limit:
            leave_out(p, f"drawn otherwise, by {100 * far[p]:.0f}%")
    kept = [p for p in kept if far[p] <= limit]
    if not kept:
        return print(f"| {what}: nobody else reads one of {len(pictures)} as we do | | | | | |")
    if len(pictures) > 1:
        what += f", {len(kept)} of {len(pictures)}"
    taken = turns({"ours": tools.ours_at_once if isDrawn else tools.ours, **{name: tool for name, (tool, _) in rivals.items()}}, kept)
    ours = taken.pop("ours")
    row(f"{what} (off by {100 * statistics.mean(far[p] for p in kept):.1f}%)", ours, taken, aim)
    png = tools.encode(kept)
    print(f"| {what}: compressing and writing the PNG | {png:.3f} s | | | | |")
    if not isDrawn:
        raw = {name: lambda ps, tool=tool: tool(ps, "ppm") for name, (tool, _) in rivals.items()}
        row(f"{what}, without the PNG", ours - png, turns(raw, kept), 10)


def floor(what, picture):
    """What has to be done in any case: the file read, and as much memory as the port takes filled."""
    def side(_):
        start = time.perf_counter()
        picture.read_bytes()
        b"\xff" * (4096 * 4096 * 4)
        return time.perf_counter() - start

    taken = turns({"least": side}, [picture])["least"]
    print(f"| {what}: reading the file and filling a port's memory | {taken:.3f} s | | | | |")


def start(tools, dot):
    """What a process costs that renders one pixel. An empty program is what the machine asks for any."""
    sides = {"ours": tools.ours, "ImageMagick": tools.imagemagick, "empty": lambda _: run(["true"])}
    taken = collections.defaultdict(list)
    for _ in range(50):
        for name, side in sides.items():
            taken[name].append(1000 * side([dot]))
    ours, imagemagick, empty = (statistics.median(taken[name]) for name in sides)
    print(f"| one pixel, start included | {ours:.2f} ms | {imagemagick:.2f} ms ImageMagick | {imagemagick / ours:.2f} "
          f"| at least 2 | {met(imagemagick >= 2 * ours)} |")
    print(f"| one pixel, start included, beyond an empty program | {ours - empty:.2f} ms | {empty:.2f} ms the empty program "
          f"| | at most 2 ms | {met(ours - empty <= 2)} |")


def two_at_once(tools, photograph):
    """Files side by side on two processors, against one after another."""
    copies = [tools.work / f"copy{i}.pict" for i in range(4)]
    for copy in copies:
        copy.symlink_to(photograph)
    sides = {n: lambda _, n=n: run([tools.macpict, "render", "-j", n, "--force", *copies, tools.work / "ours"]) for n in "12"}
    taken = turns(sides, copies)
    ratio = taken["1"] / taken["2"]
    print(f"| four photographs, two at a time | {taken['2']:.3f} s | {taken['1']:.3f} s one at a time "
          f"| {ratio:.2f} | at least 1.8 | {met(ratio >= 1.8)} |")


def size(tools, photograph):
    """The bytes of the PNG; quality 65 is zlib's level 6, its filter chosen for each row."""
    level6 = tools.work / "im" / "level6.png"
    run(["convert-im6.q16", f"pict:{photograph}", "-quality", "65", level6])
    ours, theirs = (p.stat().st_size / 2**20 for p in (tools.out("ours", photograph), level6))
    print(f"| photograph of 4096x4096: its PNG | {ours:.2f} MiB | {theirs:.2f} MiB zlib's level 6 | {theirs / ours:.2f} "
          f"| at least {1 / 1.1:.2f} | {met(ours <= 1.1 * theirs)} |")


def weigh(tools, what, picture, baseline, most=2.5):
    """Peaks of memory as multiples of the picture's bytes and the port's pixels."""
    peak = tools.peak(picture)
    width, height = size_of(tools.out("ours", picture))
    parts = picture.stat().st_size + 4 * width * height
    multiple = (peak - baseline) / parts
    print(f"| {what} | {(peak - baseline) / 2**20:.1f} MiB | {parts / 2**20:.1f} MiB | {multiple:.2f} | at most {most} | {met(multiple <= most)} |")


def main(product, programs, folder=None):
    with tempfile.TemporaryDirectory() as name:
        work = pathlib.Path(name)
        made = work / "pictures"
        made.mkdir()
        subprocess.run([programs / "pictures", made], check=True)
        tools = Tools(product, programs, work)
        photograph, shapes, dot, large = (made / f"{stem}.pict" for stem in ("photograph", "shapes", "dot", "large"))
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

        reads_all(tools.libreoffice, [dot])  # makes its profile
        head("Playing", "A process from a PICT file to a PNG: macpict against ImageMagick and "
             "GraphicsMagick, or LibreOffice for pictures that hold shapes, lines or text. Samples are summed over all "
             "that each side reads and draws alike; where LibreOffice starts once for all of them, so does macpict. How far the others' pixels "
             "are from ours is told, in the mean; LibreOffice smoothes edges and puts a picture on a page, so for that "
             "both are cut out and brought to one size. Samples of more pixels than its page has are left out. What of our time is the PNG is measured in a process that "
             "renders the same picture; \"without\" it stands against the others writing a PPM.",
             ["what", "ours", "other side", "other / ours", "aim", "met?"])
        race(tools, "photograph of 4096x4096", [photograph], False, aim=8)
        size(tools, photograph)
        floor("photograph of 4096x4096", photograph)
        two_at_once(tools, photograph)
        start(tools, dot)
        race(tools, "100,000 shapes", [shapes], True)
        if bits:
            race(tools, "samples of pixels", bits, False)
        if drawn:
            race(tools, "samples with shapes", drawn, True)

        baseline = tools.peak(dot)
        head("Memory of playing", "Peak resident memory of macpict, less that of rendering one pixel "
             f"({baseline / 2**20:.1f} MiB), as a multiple of the picture's bytes and the port's pixels.",
             ["what", "peak", "picture and port", "multiple", "aim", "met?"])
        weigh(tools, "photograph of 4096x4096", photograph, baseline)
        weigh(tools, "100,000 shapes", shapes, baseline)
        weigh(tools, "an oval of 20000x20000", large, baseline, 1.3)
        if samples:
            rendered = [p for p in samples if tools.out("ours", p).exists()]
            largest = max(rendered, key=lambda p: math.prod(size_of(tools.out("ours", p))))
            weigh(tools, "the largest of the samples", largest, baseline)


main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), *(sys.argv[3:4] or [os.environ.get("MACPICT_SAMPLES")]))
