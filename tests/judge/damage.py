"""Gives pzel-render files that are damaged, cut, spliced, or claim what they cannot hold, and judges how it ends.

It must end by itself within limits, with status 0 and a whole picture or with status 1 and one line that names the
file, and leave nothing behind. Every run is told by seed and number, so that it can be repeated alone.
"""
import argparse
import collections
import multiprocessing
import os
import random
import shlex
import shutil
import struct
import sys
import zlib
from pathlib import Path

from PIL import Image

import makes
from program import Program, info

CPU = 2.0  # seconds, for files below 1 MB
MEMORY = 1 << 30
PER_BYTE = 8  # what a picture may need of memory, for each byte that it honestly holds
LARGEST = 120_000  # bytes of a file that is worth damaging
EXTREMES = (0, 1, 0x7F, 0x80, 0xFF, 0x7FFF, 0x8000, 0xFFFE, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF)
OPTIONS = (["-o", "out.png"],) * 5 + (["--info"], ["--frames", "0-2", "-o", "out.png"], ["--frame", "1", "-o", "out.png"])
SMALL = 150  # runs of the small part


# Damages: bytes and a random source to bytes.

def flip(data, pick, _):
    for _ in range(pick.choice((1, 1, 2, 5, 20))):
        data[place(data, pick)] ^= 1 << pick.randrange(8)


def overwrite(data, pick, _):
    at, count = place(data, pick), pick.choice((1, 2, 4, 16, 200))
    data[at:at + count] = pick.choice((bytes(count), b"\xff" * count, pick.randbytes(count)))[:max(len(data) - at, 0)]


def extreme(data, pick, _):
    for _ in range(pick.choice((1, 1, 2, 4))):
        code = pick.choice("BHHII")
        value = pick.choice(EXTREMES) & (1 << 8 * struct.calcsize(code)) - 1
        at = place(data, pick) & ~pick.choice((0, 1, 3))
        if at + struct.calcsize(code) <= len(data):
            struct.pack_into(pick.choice("<>") + code, data, at, value)


def digits(data, pick, _):
    """Numbers in text heads become other numbers."""
    at = [n for n in range(min(len(data), 4000)) if 48 <= data[n] < 58]
    for n in pick.sample(at, min(len(at), pick.choice((1, 2, 6)))):
        data[n] = pick.choice(b"0123456789-.")


def cut(data, pick, _):
    del data[place(data, pick):]


def remove(data, pick, _):
    at = place(data, pick)
    del data[at:at + pick.choice((1, 2, 4, 8, 100, 1000))]


def repeat(data, pick, _):
    at, count = place(data, pick), pick.choice((1, 4, 12, 100, 1000))
    to = place(data, pick)
    data[to:to] = data[at:at + count]


def splice(data, pick, other):
    data[place(data, pick):] = other[place(other, pick):]


def append(data, pick, other):
    data += pick.choice((pick.randbytes(pick.randrange(1, 300)), other, bytes(1000)))


Image.MAX_IMAGE_PIXELS = None
DAMAGES = (flip, flip, overwrite, extreme, extreme, extreme, digits, cut, remove, repeat, splice, append)


def place(data, pick):
    """A place in a file; every second one near its head, where the structure is."""
    return pick.randrange(max(1, min(len(data), pick.choice((64, 512, 3000, len(data), len(data), len(data))))))


LEAST = 16  # bytes that a damage needs


def damaged(number, seed, files):
    """The number-th damaged file: its source, its bytes and the options of its run."""
    pick = random.Random(f"{seed}/{number}")
    groups = sorted({f.parent.name for f in files})
    group = pick.choice(groups)
    source, other = pick.choice([f for f in files if f.parent.name == group]), pick.choice(files)
    data = bytearray(source.read_bytes())
    for change in pick.choices(DAMAGES, k=pick.choice((1, 1, 1, 2, 3))):
        if len(data) < LEAST:  # too little was left by the one before
            break
        change(data, pick, other.read_bytes())
    return source, bytes(data), pick.choice(OPTIONS)


# Heads that claim more than their file holds.

def claims():
    """Small files of every format that claim enormous pictures: name and bytes."""
    for side in (60000, 30000):
        for bits, compression in ((8, 1), (1, 1), (8, 5), (8, 8), (8, 32773), (8, 7), (16, 1)):
            tags, strips = makes.page(makes.noise((20, 50), "uint8"), 8, 1)
            tags.update({256: side, 257: side, 258: [bits], 259: compression, 278: side})
            yield f"{side}-{bits}-{compression}.tif", makes.tiffBytes([(tags, strips)])
            tags.update({322: side // 16 * 16, 323: side // 16 * 16})
            yield f"{side}-{bits}-{compression}-tile.tif", makes.tiffBytes([(tags, strips)])
        for bits, kind in ((8, 0), (8, 2), (16, 6), (1, 0)):
            png = bytearray(makes.pngBytes(makes.noise((5, 6), "uint8"), 8, 0))
            png[16:33] = struct.pack(">IIBBBBB", side, side, bits, kind, 0, 0, 0) + struct.pack(">I", 0)
            png[29:33] = struct.pack(">I", zlib.crc32(png[12:29]))
            yield f"{side}-{bits}-{kind}.png", bytes(png)
        yield f"{side}.bmp", struct.pack("<2sIIIIiiHHIIIIII", b"BM", 2048, 0, 54, 40, side, side, 1, 24, 0, 0, 0, 0, 0, 0) + bytes(2000)
        yield f"{side}.gif", struct.pack("<6sHHBBB", b"GIF89a", side, side, 0x80, 0, 0) + bytes(6) + struct.pack(
            "<cHHHHBB", b",", 0, 0, side, side, 0, 2) + b"\x02\x44\x01\x00;"
        yield f"{side}.pgm", b"P5 %d %d 255\n" % (side, side) + bytes(2000)
        yield f"{side}.pbm", b"P1 %d %d\n" % (side, side) + b"1 0 " * 500
        yield f"{side}.pfm", b"PF\n%d %d\n-1\n" % (side, side) + bytes(2000)
        for marker in (0xC0, 0xC2):
            yield f"{side}-{marker:x}.jpg", b"\xff\xd8\xff\xdb\0\x43\0" + b"\x10" * 64 + struct.pack(
                ">BBHBHHB", 255, marker, 17, 8, side, side, 3) + bytes([1, 0x11, 0, 2, 0x11, 0, 3, 0x11, 0]) + (
                b"\xff\xda\0\x0c\3\1\0\2\0\3\0\0\x3f\0") + b"\x55" * 1500 + b"\xff\xd9"
        cards = [f"SIMPLE  = {'T':>20}", f"BITPIX  = {16:>20}", f"NAXIS   = {2:>20}", f"NAXIS1  = {side:>20}", f"NAXIS2  = {side:>20}", "END"]
        yield f"{side}.fits", "".join(c.ljust(80) for c in cards).ljust(2880).encode() + bytes(2880)
        for frames, syntax in ((1, "1.2.840.10008.1.2.1"), (30000, "1.2.840.10008.1.2.1"), (1, "1.2.840.10008.1.2.5")):
            yield f"{side}-{frames}-{syntax[-1]}.dcm", dicomClaim(side, frames, syntax)


def dicomClaim(side, frames, syntax):
    import io
    from pydicom.encaps import encapsulate
    set_ = makes.dataSet(makes.noise((8, 8), "uint16"), Rows=side, Columns=side, NumberOfFrames=frames)
    set_.file_meta.TransferSyntaxUID, set_.is_little_endian, set_.is_implicit_VR = syntax, True, False
    if syntax.endswith(".5"):
        set_.PixelData = encapsulate([struct.pack("<16I", 2, 64, 90, *[0] * 13) + bytes([0x81, 0]) * 30])
        set_["PixelData"].is_undefined_length = True
    out = io.BytesIO()
    set_.save_as(out, write_like_original=False)
    return out.getvalue()


# Judging.

def honestBytes(program, file):
    """What the picture takes that a file honestly holds; 0 where the program does not tell."""
    with program.run(file, "--info") as run:
        lines = info(run.out)
    try:
        width, height = map(int, lines["size"][0].split(" x "))
        size = {"bit": 1 / 8, "uint8": 1, "int8": 1, "uint16": 2, "int16": 2}.get(lines["element type"][0], 4)
        return int(width * height * int(lines["channels"][0].split()[0]) * size)
    except (KeyError, ValueError, IndexError):
        return 0


def judge(program, file, run, mustFail=False):
    """What is wrong with the end of a run over a file, or None."""
    scale = 10 if program.sanitized else 1
    if run.hung:
        return f"hangs: no end within {program.seconds:.0f} s"
    for report in ("ERROR: AddressSanitizer", "runtime error:", "LeakSanitizer"):
        if report in run.err:
            return "sanitizer: " + next(line for line in run.err.splitlines() if report in line)
    if run.status not in (0, 1):
        return f"ends by signal {-run.status}" if run.status < 0 else f"ends with status {run.status}"
    if run.orphans:
        return f"leaves processes behind: {', '.join(run.orphans)}"
    if run.status == 1 and (run.err.count("\n") != 1 or file.name not in run.err):
        return f"fails without one line that names the file: {run.err[:300]!r}"
    if run.status == 0 and run.err:
        return f"succeeds, but complains: {run.err[:200]!r}"
    if mustFail and run.status == 0:
        return "shows what the file cannot hold"
    for name, path in run.files.items():
        if f"-> {name}" not in run.out:
            return f"leaves {name} behind (status {run.status})"
        try:
            with Image.open(path) as picture:
                picture.load()
        except Exception as error:  # whatever the other reader dislikes
            return f"writes {name}, which cannot be read: {error}"
    if run.status == 0 and not run.files and "size:" not in run.out:
        return "succeeds without a result"
    small = file.stat().st_size < 1 << 20
    if small and (run.cpu > CPU * scale or run.rss > MEMORY * (4 if program.sanitized else 1)):
        honest = 0 if mustFail else honestBytes(program, file)
        seconds, memory = scale * (CPU + honest / 30e6), MEMORY + PER_BYTE * honest
        if run.cpu > seconds or (run.rss > memory and not program.sanitized):
            return f"takes {run.cpu:.1f} s and {run.rss >> 20} MiB for a picture of {honest >> 20} MiB"
    return None


class Judge:
    """One damaged file or one claim by its number; runs in a process of its own."""

    def __init__(self, program, seed, files, keep, always):
        self.program, self.seed, self.files = program, seed, files
        self.keep, self.always = keep, always  # the folder, and whether files stay there that do not fail
        self.claims = list(claims())

    def file(self, number):
        """The bytes of a case, how it is called, its format, and the options of its run. Claims count down from -1."""
        if number < 0:
            name, data = self.claims[-1 - number]
            return data, name, "claims", ["-o", "out.png"]
        source, data, options = damaged(number, self.seed, self.files)
        return data, source.name, source.parent.name, options

    def __call__(self, number):
        data, name, group, options = self.file(number)
        kept = self.keep / f"{os.getpid()}" / f"{self.seed}_{number}_{name}"
        kept.parent.mkdir(exist_ok=True)
        kept.write_bytes(data)
        with self.program.run(kept, *options) as run:
            wrong = judge(self.program, kept, run, number < 0)
        saved = self.keep / kept.name
        kept.rename(saved) if wrong or self.always else kept.unlink()
        return number, group, name, wrong, run, shlex.join([self.program.path, str(saved), *options])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", default="build/apps/pzel-render")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=20_000, help="damaged files; the claims come on top")
    parser.add_argument("--small", action="store_true", help=f"a fixed part: {SMALL} damaged files and the claims of 30,000 rows")
    parser.add_argument("--only", type=int, metavar="NUMBER", help="repeats one run of the seed")
    parser.add_argument("--keep", type=Path, default=Path("build-damage"), help="where files stay that fail")
    parser.add_argument("--samples", type=Path, default=Path("build-samples"))
    options = parser.parse_args()
    program, keep = Program(options.program), options.keep.resolve()
    shutil.rmtree(keep if options.only is None else keep / "made", ignore_errors=True)
    made = [m.file for m in makes.make(keep / "made") if m.file.exists()]
    given = [f for f in sorted(options.samples.rglob("*")) if f.suffix in (".dcm", ".png", ".gif", ".tif", ".jpg")]
    for file in [f for f in given if f.stat().st_size < LARGEST // 4 and "charset" not in str(f)]:
        group = keep / "made" / {".dcm": "dicom", ".tif": "tiff", ".jpg": "jpeg"}.get(file.suffix, file.suffix[1:])
        made.append(Path(shutil.copy(file, group / f"sample-{file.name}")))
    files = sorted({f for f in made if f.stat().st_size <= LARGEST})
    judged = Judge(program, options.seed, files, keep, options.only is not None)
    numbers = [*range(-len(judged.claims), 0), *range(options.count)]
    if options.small:
        numbers = [*(n for n in numbers if n < 0 and judged.claims[-1 - n][0].startswith("30000")), *range(SMALL)]
    if options.only is not None:
        numbers = [options.only]
    print(f"{len(numbers)} runs over damages of {len(files)} files, seed {options.seed}"
          + (", sanitized" if program.sanitized else ""), flush=True)
    counts, slowest, failed = collections.defaultdict(collections.Counter), (0, ""), 0
    with multiprocessing.Pool() as pool:
        for number, group, name, wrong, run, command in pool.imap_unordered(judged, numbers, 4):
            counts[group]["failed" if wrong else "refused" if run.status else "shown"] += 1
            slowest = max(slowest, (run.cpu, name))
            failed += bool(wrong)
            if wrong or judged.always:
                line = f"--seed {options.seed} --only {number}: {group} {name}: {wrong or 'as it should'}\n  {command}"
                print(line, flush=True)
                with (keep / "failures.txt").open("a") as list_:
                    list_.write(line + "\n")
    for group, count in sorted(counts.items()):
        print(f"{group:8}" + "".join(f"{count[k]:8} {k}" for k in ("shown", "refused", "failed")))
    print(f"slowest: {slowest[1]}, {slowest[0]:.2f} s of processor time; {failed} of {len(numbers)} runs failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
