"""Compares what pzel-render shows with what independent readers find in the same files, value by value.

pydicom, astropy, tifffile, Pillow and ffmpeg judge sample files; of files from makes.py the values are known. One
line a file: ok; told (the program says what it changed or left out); refused, a sample, with its reason; WRONG; or
unjudged, where no reader here can tell. Ends with 1 where anything is WRONG.
"""
import argparse
import collections
import io
import multiprocessing
import random
import re
import shutil
import subprocess
import sys
import warnings
from dataclasses import replace
from functools import partial
from pathlib import Path

import numpy as np
from PIL import Image, ImageOps

import makes
from makes import Made
from program import Program, info

PACKAGES = Path("/usr/lib/python3/dist-packages")
SAMPLES = [Path(__file__).parents[2].resolve() / "build-samples", PACKAGES / "imageio", PACKAGES / "nibabel", PACKAGES / "astropy"]
MOST_FRAMES = 12  # of a file that are compared
MOST_READ_OUT = 4  # frames of a file that are compared as text
MOST_VALUES = 200_000
LARGEST = 10 << 20
CUTS = 2  # of each file
VIDEO_NEAR = 4  # levels that two conversions of the same colours may be apart
warnings.filterwarnings("ignore")
Image.MAX_IMAGE_PIXELS = None


# The judges: a sample file to its frames.

def dicom(file):
    import pydicom
    import gdcm
    from pydicom.pixel_data_handlers import util
    gdcm.Trace.WarningOff()
    gdcm.Trace.ErrorOff()
    set_ = pydicom.dcmread(file, force=True)
    if not any(key in set_ for key in ("PixelData", "FloatPixelData", "DoubleFloatPixelData")):
        return Made(file, refused=True)
    values, kind, near = set_.pixel_array, set_.PhotometricInterpretation, 0
    stack = int(set_.get("NumberOfFrames", 1) or 1) > 1
    if kind == "PALETTE COLOR":
        values = util.apply_color_lut(values, set_)
    elif kind.startswith("YBR_FULL") or kind == "RGB" and re.search(rb"JFIF\0|\xff\xc0.{9}[^\x11]", set_.PixelData[:900], re.DOTALL):
        # Neither this mark nor colours of a coarser grid than the first one go with red, green and blue.
        kind = "YBR_FULL"
        values, near = util.convert_color_space(values, kind, "RGB", None if not stack else set_.NumberOfFrames), 6
    elif kind.startswith("MONO"):
        slope = float(set_.get("RescaleSlope", set_.get("DoseGridScaling", 1)))
        intercept = float(set_.get("RescaleIntercept", 0))
        if (slope, intercept) != (1, 0):
            values = (values * slope + intercept).astype(np.float32)
        elif set_.BitsAllocated == 1:
            values = values.astype(bool)
    if set_.file_meta.get("TransferSyntaxUID", "").startswith("1.2.840.10008.1.2.4.5"):
        near = 6
    return Made(file, list(values) if stack else [values], near, lowIsWhite=kind == "MONOCHROME1")


def fits(file):
    from astropy.io import fits as reader
    with reader.open(file, memmap=False) as hdus:
        pictures = [h.data for h in hdus if h.is_image and h.data is not None and h.data.ndim >= 2]
        if not pictures:
            return Made(file, refused=True)
        shape = pictures[0].shape[-2:]
        frames = [plane[::-1] for p in pictures if p.shape[-2:] == shape for plane in p.reshape(-1, *shape)]
    return Made(file, frames)


def tiff(file):
    import tifffile
    with tifffile.TiffFile(file) as pages:
        frames = [(page.asarray(), page) for page in pages.pages]
    planes = lambda page: page.planarconfig == 2 and page.samplesperpixel > 1
    return Made(file, [np.moveaxis(values, 0, -1) if planes(page) else values for values, page in frames])


def pillow(file):
    with Image.open(file) as picture:
        picture.load()
        if picture.format == "PNG" and file.read_bytes()[24] == 16 and picture.mode != "I":
            return Made(file)
        frames = []
        for number in range(getattr(picture, "n_frames", 1)):
            picture.seek(number)
            frame = ImageOps.exif_transpose(picture)
            if picture.format == "GIF":
                values = np.asarray(frame.convert("RGBA"))
                frames.append(np.ma.array(values[..., :3], mask=np.repeat(values[..., 3:] == 0, 3, 2)))
                continue
            frame = frame.convert({"P": "RGB", "PA": "RGB"}.get(frame.mode, frame.mode))
            values = np.asarray(frame)
            frames.append(values[..., 0] if frame.mode == "LA" else values[..., :3] if frame.mode == "RGBA" else values)
        return Made(file, frames, near=3 if picture.format in ("JPEG", "MPO", "WEBP") else 0)


def video(file):
    """The first frames, one in the middle and the last one, as ffmpeg decodes them."""
    count = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-select_streams", "v:0", "-of", "csv=p=0",
                            "-show_entries", "stream=nb_read_frames", file], capture_output=True, text=True).stdout
    count = re.match(r"\d+", count)
    if not count:
        return Made(file, refused=True)
    last = int(count[0]) - 1
    numbers = sorted({n for n in (0, 1, 2, last // 2, last) if n <= last})
    wanted = "+".join(f"eq(n\\,{n})" for n in numbers)
    # Turned here: ffmpeg would make the colours of what is turned already.
    turn = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v:0", "-of", "csv=p=0", "-show_entries",
                           "stream_side_data=rotation", file], capture_output=True, text=True).stdout
    turn = re.match(r"-?\d+", turn)
    turns = int(turn[0]) // 90 if turn else 0
    data = makes.run("ffmpeg", "-v", "error", "-noautorotate", "-i", file, "-vf", f"select='{wanted}'", "-vsync", "passthrough",
                     "-sws_flags", "bilinear+accurate_rnd+full_chroma_int", "-pix_fmt", "rgb24", "-f", "image2pipe",
                     "-c:v", "ppm", "-").stdout
    frames, stream = {}, io.BytesIO(data)
    for number in numbers:
        stream.readline()
        width, height = map(int, stream.readline().split())
        stream.readline()
        stored = np.frombuffer(stream.read(width * height * 3), np.uint8).reshape(height, width, 3)
        frames[number] = np.rot90(stored, turns)
    frames["count"] = last + 1
    return Made(file, frames, VIDEO_NEAR)


JUDGES = {"dicom": (dicom, ".dcm"), "fits": (fits, ".fits .fits.gz"), "tiff": (tiff, ".tif .tiff"),
          "png": (pillow, ".png"), "jpeg": (pillow, ".jpg .jpeg"), "gif": (pillow, ".gif"), "pnm": (pillow, ".ppm .pgm .pbm"),
          "other": (pillow, ".bmp .webp .jp2"), "video": (video, ".mp4 .avi .mkv .ogg .mpeg .mpg .ts .webm .mov")}


def samples(format_):
    for folder in SAMPLES:
        for file in sorted(folder.rglob("*")):
            if file.is_file() and file.name.lower().endswith(tuple(JUDGES[format_][1].split())) and file.stat().st_size < LARGEST:
                yield Made(file, format=format_, sample=True)


def judged(made):
    """With the frames that another reader finds, where they are not known."""
    if made.frames is None and not made.refused:
        try:
            found = JUDGES[made.format][0](made.file)
        except Exception as error:  # readers fail over files in many ways; such a file is not judged
            return replace(made, told=f"{type(error).__name__}: {error}".split("\n")[0])
        return replace(found, format=made.format, told=made.told, options=made.options, whole=made.whole, sample=made.sample)
    return made


# Comparing.

def mapped(values, low, high):
    """The display's rule: a value between two levels to a byte."""
    if values.dtype.kind == "b":
        return values * np.uint8(255)
    scale = np.float32(255.0 / (high - low))
    within = np.ma.filled(values, 0).astype(float)
    within = np.clip(np.where(np.isnan(within), low, within), low, high)
    shown = np.clip((within - low).astype(np.float32) * scale + np.float32(0.5), 0, 255).astype(np.uint8)
    return np.ma.array(shown, mask=np.ma.getmask(values))


def levels(frames):
    """Levels that show values as far as 8 bits can: the whole range, and one narrow enough to tell neighbours apart."""
    values = np.concatenate([np.ma.compressed(f).ravel() for f in frames])
    if values.dtype.kind == "b" or values.dtype == np.uint8:
        return [(0, 255)]
    whole = values.dtype.kind in "iu"
    values = values[np.isfinite(values.astype(float))].astype(float)
    if not values.size:
        return [(0, 1)]
    low, middle, high = (np.floor(v) if whole else float(f"{v:.6g}") for v in np.percentile(values, (0, 50, 100)))
    narrow = (middle - 127, middle + 128) if whole else (middle, middle + max((high - middle) / 9, 1e-6))
    return [(low, high if high > low else low + 1), narrow]


class Difference(Exception):
    pass


def expect(right, text):
    if not right:
        raise Difference(text)


def pictures(program, made, *options):
    """The written pictures in the order of their frames, and the lines of the run."""
    with program.run(made.file, *made.options, "-o", "out.png", *options) as run:
        expect(run.status == 0, f"{' '.join(options)} ends with status {run.status}: {reason(run, made)}")
        expect(not run.err, f"complains: {run.err[:200]}")
        shown = [Image.open(run.files[name]) for name in sorted(run.files)]
        return [np.asarray(p.convert({"1": "L", "P": "RGB"}.get(p.mode, p.mode))) for p in shown], run.out


def reason(run, made):
    return run.err.strip().split("\n")[0].replace("pzel-render: ", "").replace(f"{made.file}: ", "")[:200]


def compareFrames(program, made, lines, notes):
    """Every pixel through levels. Gives the largest difference in levels, how large it might be, and the frames."""
    sparse = isinstance(made.frames, dict)
    numbers = [n for n in made.frames if n != "count"] if sparse else list(range(len(made.frames)))
    frames = [made.frames[n] for n in numbers[:MOST_FRAMES]]
    count, near, kind = int(lines["frames"][0]), made.near, lines["element type"][0]
    wanted = made.frames["count"] if sparse else len(made.frames)
    if count != wanted:
        expect(re.search("left out|frames|pages|pictures", notes), f"{count} frames instead of {wanted}, and does not tell")
    numbers = [n for n in numbers[:MOST_FRAMES] if n < count]
    frames = frames[:len(numbers)]
    if kind == "uint8" and frames[0].dtype == np.uint16 and notes:  # said, and as near as bytes can be
        frames, near = [(f / 257).round().astype(np.uint8) for f in frames], max(near, 1)
    options = []
    if made.lowIsWhite and "kept" in notes:
        options = ["--invert"]
    elif made.lowIsWhite:
        frames = [~f if f.dtype.kind == "b" else np.iinfo(f.dtype).max - f for f in frames]
    # In order, and in another one with some frames twice; then from one row to another.
    mixed = random.Random(7).choices(numbers, k=len(numbers))[::-1] + numbers[-1:]
    runs = [(numbers, numbers, ())] + ([(sorted(set(mixed)), mixed, ())] if len(numbers) > 1 else [])
    height, width = frames[0].shape[:2]
    rows = min(random.Random(made.file.name).choice((1, height // 3)), height - 1), height - 1 - height // 4
    runs.append((numbers[:1], numbers[:1], ("--area", f"0,{rows[0]},{width - 1},{rows[1]}")))
    worst, truthOf = 0, dict(zip(numbers, frames))
    for low, high in levels(frames):
        scale = [] if frames[0].dtype.kind == "b" else ["--levels", f"{float(low)!r}:{float(high)!r}"]
        for which, order, part in runs:
            shown, text = pictures(program, made, *options, "--ranges", ",".join(map(str, order)), *scale, *part)
            truths = [truthOf[n][rows[0]:rows[1] + 1] if part else truthOf[n] for n in which]
            allowed = max(near, 1) if kind == "float" or "to float" in text else near
            for number, truth, picture in zip(which, truths, shown):
                if truth.ndim == 2 and picture.ndim == 3 and (picture == picture[..., :1]).all():
                    picture = picture[..., 0]
                if truth.ndim == 3 and picture.ndim == 2 and (truth == truth[..., :1]).all():
                    truth = truth[..., 0]  # greys that the judge tells as colour
                expect(picture.shape == truth.shape, f"frame {number}: {picture.shape} instead of {truth.shape}")
                apart = np.ma.filled(np.ma.abs(picture.astype(int) - mapped(truth, low, high)), 0)
                worst = max(worst, int(apart.max()))
                way = " of some rows" if part else " in another order" if order is mixed else ""
                expect(apart.max() <= allowed, f"frame {number}{way} is up to {apart.max()} levels off in "
                                               f"{100 * (apart > allowed).mean():.1f} % of its values, levels {low:g}:{high:g}")
    return worst, near, list(zip(numbers, frames))


def comparePixels(program, made, lines, frames):
    """Values as text: all of small pictures, the upper rows of large ones."""
    for number, truth in frames[:MOST_READ_OUT]:
        rows = min(len(truth), max(1, MOST_VALUES // max(truth[0].size, 1)))
        part = f"0-{truth.shape[1] - 1},0-{rows - 1}".replace("0-0", "0")
        layout = ("planar", "interleaved")[len(made.file.name) % 2]
        with program.run(made.file, *made.options, "--frame", number, "--pixel", part, "--layout", layout) as run:
            expect(run.status == 0, f"--pixel ends with status {run.status}: {reason(run, made)}")
            text = re.sub(r"^.*?: pixels? [0-9,-]+:", "", run.out, 1, re.DOTALL).replace(",", " ")
        told, truth = np.array(text.split(), float), truth[:rows]
        if told.size == 3 * truth.size:
            truth = np.repeat(truth[..., None], 3, 2)
        expect(told.size == truth.size, f"--pixel tells {told.size} values of {truth.size}")
        right = np.ma.getdata(truth).astype(np.float32 if lines["element type"][0] == "float" else np.float64)
        told = told.reshape(right.shape).astype(right.dtype)
        wrong = (told != right) & ~(np.isnan(told) & np.isnan(right)) & ~np.ma.getmaskarray(truth)
        if wrong.any():
            place = tuple(np.argwhere(wrong)[0])
            raise Difference(f"--pixel of frame {number}, row, column {place}: {told[place]:.9g} instead of {right[place]:.9g}, "
                             f"and {wrong.sum() - 1} more of {wrong.size}")


def compareWindows(program, made):
    shown = re.findall(r"levels (\S+?):(\S+?),", pictures(program, made, "--all", "--per-frame")[1])
    for number, (window, own) in enumerate(zip(made.windows, shown)):
        expect(np.allclose(window, [float(v) for v in own], 0, 0.51), f"frame {number} has the window {own} instead of {window}")


def compareCuts(program, made):
    """What is left of a file is refused, or shows all that the file does; what is shown on request is told."""
    def shown(file, *options):
        with program.run(file, *made.options, "--all", "-o", "out.png", *options) as run:
            expect("ended its reader" not in run.err, f"ends its reader, cut to {left} bytes")
            return run.status == 0 and {name: path.read_bytes() for name, path in run.files.items()}, run.out

    data, cut, pick = made.file.read_bytes(), made.file.with_name(f"part-{made.file.name}"), random.Random(made.file.name)
    left = len(data)
    whole = shown(made.file)[0]
    for left in (pick.randrange(1, len(data)) for _ in range(CUTS)):
        cut.write_bytes(data[:left])
        expect(shown(cut)[0] in (False, whole), f"is shown, but not as the whole, cut to {left} bytes")
        part, text = shown(cut, "--partial")
        expect(part in (False, whole) or re.search("cut short|damaged|what is left", text), f"does not tell of its cut to {left} bytes")
    cut.unlink()


def verdict(program, made):
    """One of ok, told, refused, WRONG and unjudged, and what there is to say."""
    expect(made.file.exists() or "@" in made.file.name, f"{made.file} is not there")
    made = judged(made)
    with program.run(made.file, *made.options, "-o", "out.png", "--all" if made.refused else "--info") as run:
        if run.status == 1:
            right = made.refused and re.search(made.told, reason(run, made), re.IGNORECASE)
            return "ok" if right else "refused" if made.sample and not made.refused else "WRONG", reason(run, made)
        if run.status:
            return "WRONG", f"ends with status {run.status}: {reason(run, made)}"
        lines = info(run.out)
    if made.refused:
        return "WRONG", "is shown, although there is no whole picture in it"
    if made.frames is None:
        return "unjudged", made.told
    notes = "; ".join(lines.get("conversion", []))
    try:
        worst, near, frames = compareFrames(program, made, lines, notes)
        if not near and "yuv" not in lines["channels"][0]:
            comparePixels(program, made, lines, frames)
        if made.windows:
            compareWindows(program, made)
        if made.whole and not made.sample and made.file.exists():
            compareCuts(program, made)
        expect(not made.told or re.search(made.told, notes, re.IGNORECASE), f"does not tell of {made.told}: {notes or 'nothing'}")
    except Difference as difference:
        return "WRONG", f"{difference}{' (tells: ' + notes + ')' if notes else ''}"
    apart = f"up to {worst} levels apart" if worst else ""
    return ("told", "; ".join(filter(None, (notes, apart)))) if notes else ("ok", apart)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--program", default="build/apps/pzel-render")
    parser.add_argument("--keep", type=Path, default=Path("build-compare"), help="where the made files stay")
    parser.add_argument("--made", action="store_true", help="only files of known values, and no samples")
    parser.add_argument("formats", nargs="*", metavar="FORMAT", help=f"all, or some of {' '.join(JUDGES)}")
    options = parser.parse_args()
    if unknown := set(options.formats) - set(JUDGES):
        parser.error(f"no such format: {' '.join(unknown)}")
    formats = options.formats or list(JUDGES)
    counts = collections.defaultdict(collections.Counter)
    with multiprocessing.Pool() as pool:
        for format_ in formats:
            shutil.rmtree(options.keep / format_, ignore_errors=True)
            cases = [*makes.make(options.keep.resolve(), [format_]), *([] if options.made else samples(format_))]
            for made, (word, text) in zip(cases, pool.imap(partial(verdict, Program(options.program)), cases)):
                counts[format_][word] += 1
                print(f"{word:8} {made.file}{': ' + text if text else ''}", flush=True)
    for format_ in formats:
        print(f"{format_:8}" + "".join(f"{counts[format_][w]:6} {w}" for w in ("ok", "told", "refused", "unjudged", "WRONG")))
    return 1 if any(count["WRONG"] for count in counts.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
