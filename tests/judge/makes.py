"""Makes small files of every format that pzel-render reads, with the values that must be seen in them.

One function for each format; each writes into a folder and yields a Made for each file. TIFF and PNG are written
here byte by byte, because no library writes their odd kinds; the values of a file are never read back from it.
"""
import io
import struct
import subprocess
import warnings
import zlib
from dataclasses import dataclass, field, replace
from pathlib import Path

import numpy as np
import pydicom
from PIL import Image
from pydicom.dataset import Dataset, FileMetaDataset
from pydicom.encaps import encapsulate
from pydicom.sequence import Sequence
from pydicom.uid import UID, generate_uid

warnings.filterwarnings("ignore")


@dataclass
class Made:
    file: Path
    frames: list = None  # arrays of rows, columns and, of colour, 3 channels; bool: bits; None: nobody can tell
    near: float = 0  # how many of 255 levels lossy coding may be off
    options: tuple = ()  # of the program
    refused: bool = False  # must not be shown at all
    told: str = ""  # the report must hold this (any one of the words between bars)
    windows: list = field(default_factory=list)  # low and high that each frame asks to be shown
    lowIsWhite: bool = False  # the values are kept and shown inverted, or turned over
    format: str = ""
    sample: bool = False  # nobody here has made it
    whole: bool = True  # what is left of it after a cut is less than it


def noise(shape, dtype, seed=1, most=None):
    """Random values over the whole range of a type, its ends included; of floats also ordinary ones."""
    random = np.random.default_rng(seed)
    if np.dtype(dtype).kind == "f":
        return random.normal(100, 50, shape).astype(dtype)
    if np.dtype(dtype).kind == "b":
        return random.random(shape) < 0.4
    ends = np.iinfo(dtype)
    low, high = (ends.min, ends.max) if most is None else (0, most)
    values = random.integers(low, high, shape, dtype, endpoint=True)
    values.flat[:2] = low, high
    return values


def smooth(height, width, channels=0, top=255):
    """A soft picture that lossy coding hardly changes."""
    y, x = np.mgrid[:height, :width]
    planes = [x / width, y / height, (x + y) / (width + height)][:max(channels, 1)]
    picture = np.stack([np.round(30 + p * (top - 60)) for p in planes], -1)
    return (picture if channels else picture[..., 0]).astype(np.uint8 if top < 256 else np.uint16)


def colours(palette, index):
    """Palette colours of indices; indices outside take the nearest entry."""
    return palette[np.clip(index.astype(np.int64), 0, len(palette) - 1)]


def pack(rows, bits):
    """Rows of small values to bytes, most significant bit first, each row starting with a byte."""
    flat = rows.reshape(rows.shape[0], -1).astype(np.uint32)
    return np.packbits(((flat[..., None] >> np.arange(bits - 1, -1, -1)) & 1).reshape(flat.shape[0], -1), 1).tobytes()


def run(*command, **more):
    return subprocess.run([str(c) for c in command], check=True, capture_output=True, **more)


# TIFF. Tags are numbers here; the chief ones: 258 bits, 259 compression, 262 photometric, 277 samples, 278 rows.

def directory(tags, at, order, big):
    """A directory that shall stand at a place, and where in it the entries begin; long values are put before them."""
    word, room, values, entries = ("Q", 8, bytearray(), []) if big else ("I", 4, bytearray(), [])
    for tag, value in sorted(tags.items()):
        if isinstance(value, bytes):
            kind, count, data = 2 if tag == 270 else 7, len(value), value
        else:
            value = value if isinstance(value, (list, tuple)) else [value]
            kind, code = (4, "I") if max(value) > 65535 or tag in (273, 279, 324, 325) else (3, "H")
            count, data = len(value), struct.pack(f"{order}{len(value)}{code}", *value)
        if len(data) > room:
            place = struct.pack(order + word, at + len(values))
            values += data + bytes(len(data) % 2)
            data = place
        entries.append(struct.pack(order + "HH" + word, tag, kind, count) + data.ljust(room, b"\0"))
    return bytes(values), struct.pack(order + ("Q" if big else "H"), len(entries)) + b"".join(entries)


def tiffBytes(pages, order="<", big=False):
    """Pages of (tags, strips) to a TIFF file. Pixels stand behind their directory, so that a cut loses them first."""
    word = order + ("Q" if big else "I")
    head = struct.pack(order + "2sH", b"II" if order == "<" else b"MM", 43 if big else 42)
    out = bytearray(head + (struct.pack(order + "HH", 8, 0) if big else b"") + bytes(8 if big else 4))
    link = len(out) - (8 if big else 4)
    for tags, strips in pages:
        places, counts = (324, 325) if 322 in tags else (273, 279)
        tags = {**tags, places: [0] * len(strips), counts: [len(s) for s in strips]}
        at = len(out) + sum(len(part) for part in directory(tags, 0, order, big)) + (8 if big else 4)
        at += at % 2
        tags[places] = [at + sum(len(s) + len(s) % 2 for s in strips[:i]) for i in range(len(strips))]
        values, entries = directory(tags, len(out), order, big)
        struct.pack_into(word, out, link, len(out) + len(values))
        out += values + entries
        link = len(out)
        out += bytes(at - len(out)) + b"".join(s + bytes(len(s) % 2) for s in strips)
    return bytes(out)


def page(values, bits, photometric, **tags):
    """The tags and the one strip of an uncompressed page."""
    height, width = values.shape[:2]
    samples = values.shape[2] if values.ndim == 3 else 1
    base = {256: width, 257: height, 258: [bits] * samples, 259: 1, 262: photometric, 277: samples, 278: height}
    data = pack(values, bits) if bits in (1, 2, 4, 12) else np.ascontiguousarray(values).tobytes()
    return {**base, **{int(k[1:]): v for k, v in tags.items()}}, [data]


def laid(values, bits, form, order, tiled, apart):
    """The tags and the pieces of a page: strips of ten rows or tiles, samples together or apart."""
    def coded(block):
        if bits % 8 == 0 and bits != 24:
            return block.astype(block.dtype.newbyteorder(order)).tobytes()
        packed = pack(block, bits)
        return packed if bits != 24 or order == ">" else np.frombuffer(packed, np.uint8).reshape(-1, 3)[:, ::-1].tobytes()

    more = {"t322": 16, "t323": 16} if tiled else {"t278": 10}
    tags = page(values, bits, 1 if values.ndim == 2 else 2, t339=[form] * (values.ndim * 2 - 3), t284=1 + apart, **more)[0]
    high, wide = (16, 16) if tiled else (10, values.shape[1])
    pieces = []
    for plane in np.moveaxis(values, -1, 0) if apart else [values]:
        edge = np.pad(plane, [(0, -plane.shape[0] % 16 * tiled), (0, -plane.shape[1] % 16 * tiled)] + [(0, 0)] * (plane.ndim - 2))
        pieces += [coded(edge[top:top + high, left:left + wide])
                   for top in range(0, edge.shape[0], high) for left in range(0, edge.shape[1], wide)]
    return tags, pieces


def tiffs(folder):
    import tifffile

    def write(name, frames, pages, order="<", big=False, **more):
        (folder / name).write_bytes(tiffBytes(pages, order, big))
        return Made(folder / name, frames, **more)

    def save(name, values, frames=None, **more):
        tifffile.imwrite(folder / name, values, **more)
        return Made(folder / name, frames if frames is not None else [values])

    for dtype in "uint8 int8 uint16 int16 uint32 int32 float32 float64".split():
        grey = noise((29, 33), dtype)
        yield save(f"{dtype}.tif", grey)
        colour = noise((13, 17, 3), dtype, 2)
        yield save(f"{dtype}-colour.tif", colour, photometric="rgb")
        yield save(f"{dtype}-deflate-big.tif", grey, compression="zlib", byteorder=">", rowsperstrip=5)
    stack = noise((4, 21, 30), np.uint16, 3)
    yield save("pages.tif", stack, list(stack), photometric="minisblack")
    yield save("bigtiff.tif", stack, list(stack), photometric="minisblack", bigtiff=True)
    yield save("tiles.tif", noise((70, 90), np.uint16, 4), tile=(32, 16))
    for bits, dtype, form in ((2, "u1", 1), (4, "u1", 1), (7, "u1", 1), (8, "u1", 1), (10, "u2", 1), (12, "u2", 1), (14, "u2", 1),
                              (16, "u2", 1), (24, "u4", 1), (32, "u4", 1), (12, "i2", 2), (64, "i8", 2), (32, "f4", 3), (64, "f8", 3)):
        for way in range(6):  # of one sample and of three, in strips and tiles, together and apart
            shape, most = ((37, 45, 3) if way >= 2 else (37, 45)), min(2**bits - 1, 2**32 - 1)
            values = noise(shape, dtype, bits + way, 2**20 if bits == 64 else None if form == 2 else most)
            if (bits, form) == (12, 2):
                values >>= 4
            order = "<>"[(bits // 2 + way) % 2]
            told = {"windows": [(0, most)]} if form == 1 and bits in (10, 12, 14) and way == 0 else {}
            yield write(f"laid-{bits}-{form}-{way}.tif", [values], [laid(values, bits, form, order, way % 2 == 1, way >= 4)], order, way == 3, **told)
    planes = noise((3, 40, 31), np.uint16, 6)
    yield save("planes-tiles.tif", planes, [np.moveaxis(planes, 0, -1)], photometric="rgb", planarconfig="separate",
               tile=(16, 16), compression="zlib")
    small = np.array([[1e-17, 3e-5, -1e-12], [np.inf, -np.inf, np.nan]], np.float32)
    yield save("tiny-numbers.tif", small)
    yield save("far.tif", 4000000000 + noise((9, 31), np.uint32, 3, 200))
    yield save("above-2-24.tif", np.array([[2**24 + 1, 2**32 - 1], [7, 2**31 + 1]], np.uint32))
    words, bytes8 = noise((24, 35), np.uint16, 7), smooth(48, 48, 3)
    tifffile.imwrite(folder / "plain16.tif", words)
    tifffile.imwrite(folder / "plain8.tif", bytes8, photometric="rgb")
    for coding in "lzw lzw:2 zip:2 packbits lzma zstd".split():
        for plain, values in (("plain16", words), ("plain8", bytes8)):
            file = folder / f"{plain}-{coding.replace(':', '-')}.tif"
            run("tiffcp", "-c", coding, "-r", 7, folder / f"{plain}.tif", file)
            yield Made(file, [values])
    tifffile.imwrite(folder / "plainf.tif", noise((24, 35), np.float32, 8))
    run("tiffcp", "-c", "zip:3", folder / "plainf.tif", folder / "float-predicted.tif")
    yield Made(folder / "float-predicted.tif", [noise((24, 35), np.float32, 8)])
    run("tiffcp", "-c", "jpeg:95", "-t", "-w", 16, "-l", 16, folder / "plain8.tif", folder / "jpeg.tif")
    yield Made(folder / "jpeg.tif", [bytes8], near=12)
    Image.fromarray(bytes8).save(folder / "jpeg-colour.tif", compression="jpeg", quality=95)
    yield Made(folder / "jpeg-colour.tif", [bytes8], near=12)
    bits = noise((19, 37), bool, 9)
    for name, photometric in (("bits", 1), ("bits-white-0", 0)):
        white = {"lowIsWhite": photometric == 0}
        yield write(f"{name}.tif", [bits], [page(bits, 1, photometric)], **white)
        tags, strips = page(bits, 1, photometric)
        bare = {tag: value for tag, value in tags.items() if tag not in (258, 277)}
        yield write(f"{name}-no-depth.tif", [bits], [(bare, strips)], **white)
        turned = [bytes(int(f"{b:08b}"[::-1], 2) for b in strips[0])]
        yield write(f"{name}-low-bit-first.tif", [bits], [({**tags, 266: 2}, turned)], **white)
        for coding in ("g3", "g4"):
            run("tiffcp", "-c", coding, folder / f"{name}.tif", folder / f"{name}-{coding}.tif")
            yield Made(folder / f"{name}-{coding}.tif", [bits], **white)
    for bits, dtype in ((8, np.uint8), (16, np.uint16)):
        values = noise((20, 22), dtype, 10)
        yield write(f"white-0-{bits}.tif", [values], [page(values, bits, 0)], lowIsWhite=True)
    for bits in (4, 8):
        index, palette = noise((14, 15), np.uint8, 12, 2**bits - 1), noise((2**bits, 3), np.uint8, 13)
        table = [int(v) * 257 for v in palette.T.ravel()]
        yield write(f"palette-{bits}.tif", [palette[index]], [page(index, bits, 3, t320=table)], told="palette")
    alpha = noise((9, 10, 4), np.uint8, 14)
    yield write("alpha.tif", [alpha[..., :3]], [page(alpha, 8, 2, t338=2)], told="alpha|left out")
    clear = np.minimum(np.round(alpha[..., :3] * 255.0 / np.maximum(alpha[..., 3:], 1)), 255).astype(np.uint8)
    yield write("alpha-multiplied.tif", [np.ma.array(clear, mask=np.repeat(alpha[..., 3:] == 0, 3, 2))], [page(alpha, 8, 2, t338=1)], near=1, told="alpha")
    yield write("extra.tif", [alpha[..., :3]], [page(alpha, 8, 2, t338=0)], told="left out|channels")
    cmyk = noise((9, 10, 4), np.uint8, 15).astype(np.float64)
    shown = np.round((255 - cmyk[..., :3]) * (255 - cmyk[..., 3:]) / 255).astype(np.uint8)
    yield write("cmyk.tif", [shown], [page(cmyk.astype(np.uint8), 8, 5, t332=1)], near=2, told="cmyk|ink")
    lab = np.array([[[255, 0, 0], [0, 0, 0], [128, 0, 0]]], np.uint8)  # white, black, a middle grey
    yield write("cielab.tif", [np.array([[[255] * 3, [0] * 3, [119] * 3]], np.uint8)], [page(lab, 8, 8)], near=4, told=r"lab|L\*a")
    luma = smooth(16, 16)
    blocks = luma.reshape(8, 2, 8, 2).transpose(0, 2, 1, 3).reshape(8, 8, 4)
    data = np.concatenate([blocks, np.full((8, 8, 2), 128, np.uint8)], -1).tobytes()
    tags = page(np.zeros((16, 16, 3), np.uint8), 8, 6, t530=[2, 2])[0]
    yield write("ycbcr.tif", [np.repeat(luma[..., None], 3, 2)], [(tags, [data])], near=2)
    upright = smooth(12, 20, 3)
    for orientation in range(1, 9):
        stored = stand(upright, orientation)
        yield write(f"orientation-{orientation}.tif", [upright], [page(stored, 8, 2, t274=orientation)])
    tags, strips = page(noise((40, 30), np.uint8, 16), 8, 1)
    rows = [strips[0][i * 300:(i + 1) * 300] for i in range(4)]
    yield write("strips-behind.tif", [noise((40, 30), np.uint8, 16)], [({**tags, 278: 10}, rows)])
    yield write("missing-strip.tif", None, [({**tags, 278: 10}, rows[:3] + [b""])], refused=True)
    yield write("short-strip.tif", None, [({**tags, 278: 10}, rows[:3] + [rows[3][:150]])], refused=True)
    pages = [page(noise((9, 8), np.uint8, n), 8, 0 if n == 2 else 1, t254=int(n == 1)) for n in range(5)]
    yield write("pages-differ.tif", [noise((9, 8), np.uint8, n) for n in (0, 3, 4)], pages, told="left out")
    yield Made(folder / "pages-differ.tif@page=2", [noise((9, 8), np.uint8, 2)], lowIsWhite=True)
    slices = noise((2, 14, 15), np.uint16, 17)
    file = tiffBytes([page(slices[0], 16, 1, t270=b"ImageJ=1.53\nimages=2\n\0")])
    for name, more, known in (("slices.tif", slices[1].tobytes(), {"frames": list(slices)}), ("slice-missing.tif", b"", {"refused": True})):
        (folder / name).write_bytes(file + more)
        yield Made(folder / name, **known)
    damaged = bytearray((folder / "plain16-lzw.tif").read_bytes())
    with tifffile.TiffFile(folder / "plain16-lzw.tif") as tiff:
        at = tiff.pages[0].dataoffsets[0]
    damaged[at:at + 60] = bytes(60)
    (folder / "damaged-strip.tif").write_bytes(damaged)
    yield Made(folder / "damaged-strip.tif", refused=True)
    left = words.copy()
    left[:7] = 0
    yield Made(folder / "damaged-strip.tif", [left], options=("--partial",), whole=False)
    yield write("sizes-differ.tif", None, [page(noise((4 + n, 6), np.uint8), 8, 1) for n in range(2)])
    for source in ("uint16", "plain8-lzw", "tiles", "bits-g4", "jpeg", "uint8-deflate-big"):
        with tifffile.TiffFile(folder / f"{source}.tif") as tiff:
            first = tiff.pages[0]
            tags = {t.code: t.value for t in first.tags.values() if t.dtype in (1, 3, 4, 7) and t.code not in PLACES}
            strips = [tiff.filehandle.seek(o) * 0 or tiff.filehandle.read(n)
                      for o, n in zip(first.dataoffsets, first.databytecounts)]
            whole = tiffBytes([(tags, strips)], tiff.byteorder)
        for part in (0.5, 0.97):
            cut = folder / f"cut-{int(part * 100)}-{source}.tif"
            cut.write_bytes(whole[:int(len(whole) * part)])
            yield Made(cut, refused=True)


PLACES = (273, 279, 324, 325)  # tags that tell where strips and tiles are, and how long


def stand(upright, orientation):
    """How a picture is stored whose orientation mark makes it stand upright."""
    turns = {1: lambda p: p, 2: np.fliplr, 3: lambda p: np.rot90(p, 2), 4: np.flipud, 5: lambda p: p.swapaxes(0, 1),
             6: lambda p: np.rot90(p, 1), 7: lambda p: np.rot90(p, 2).swapaxes(0, 1), 8: lambda p: np.rot90(p, -1)}
    return np.ascontiguousarray(turns[orientation](upright))


# PNG: chunks, rows without filters, interlaced pictures as seven smaller ones.

def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def pngBytes(values, bits, colourType, interlaced=False, extra=b""):
    passes = [(0, 0, 8, 8), (0, 4, 8, 8), (4, 0, 8, 4), (0, 2, 4, 4), (2, 0, 4, 2), (0, 1, 2, 2), (1, 0, 2, 1)]
    raw = b""
    for top, left, down, right in passes if interlaced else [(0, 0, 1, 1)]:
        part = values[top::down, left::right]
        for row in part if part.size else ():
            raw += b"\0" + (pack(row[None], bits) if bits < 8 else row.astype(f">u{bits // 8}").tobytes())
    head = struct.pack(">IIBBBBB", values.shape[1], values.shape[0], bits, colourType, 0, 0, int(interlaced))
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + extra + chunk(b"IDAT", zlib.compress(raw)) + chunk(b"IEND", b"")


def pngs(folder):
    for interlaced in (False, True):
        for colourType, samples, depths in ((0, 1, (1, 2, 4, 8, 16)), (2, 3, (8, 16)), (3, 1, (1, 2, 4, 8)),
                                            (4, 2, (8, 16)), (6, 4, (8, 16))):
            for bits in depths:
                shape = (23, 29) if samples == 1 else (23, 29, samples)
                values = noise(shape, np.uint16 if bits == 16 else np.uint8, bits, 2**bits - 1)
                truth, extra, told = values, b"", ""
                if colourType == 3:
                    palette = noise((2**bits, 3), np.uint8, 3)
                    truth, extra, told = palette[values], chunk(b"PLTE", palette.tobytes()), "palette"
                elif samples in (2, 4):
                    truth, told = values[..., :3] if samples == 4 else values[..., 0], "alpha"
                elif bits == 1:
                    truth = values.astype(bool)
                file = folder / f"type{colourType}-{bits}{'-interlaced' if interlaced else ''}.png"
                file.write_bytes(pngBytes(values, bits, colourType, interlaced, extra))
                yield Made(file, [truth], told=told)
    grey = noise((6, 7), np.uint16, 20)
    file = folder / "transparent-colour.png"
    file.write_bytes(pngBytes(grey, 16, 0, extra=chunk(b"tRNS", struct.pack(">H", int(grey[0, 0])))))
    yield Made(file, [grey])
    exif = Image.Exif()
    for orientation in (1, 3, 6):
        upright, exif[0x0112] = smooth(12, 20, 3), orientation
        file = folder / f"orientation-{orientation}.png"
        Image.fromarray(stand(upright, orientation)).save(file, exif=exif, dpi=(72, 144))
        yield Made(file, [upright], told="pixels are 1.99")
        yield Made(file, [stand(upright, orientation)], options=("--as-stored",), told="pixels are 1.99", whole=False)
    # Frames of any place and size, over those before them or instead of them; colours count by how much of them is seen.
    pick, canvas, shown, parts, count = np.random.default_rng(4), np.zeros((13, 21, 4)), [], [], 0
    for n in range(14):
        (top, bottom), (left, right) = [sorted(pick.choice(side + 1, 2, False)) if n % 9 else (0, side) for side in (13, 21)]
        values, disposal, blend = pick.integers(0, 256, (bottom - top, right - left, 4)), int(pick.integers(3)), int(pick.integers(2))
        values[..., 3] = np.where(pick.random(values.shape[:2]) < 0.3, pick.choice([0, 255]), values[..., 3])
        before, area = canvas.copy(), canvas[top:bottom, left:right]
        front = values[..., 3:] / 255
        back = area[..., 3:] / 255 * (1 - front) * blend
        seen = np.round((values[..., :3] * front + area[..., :3] * back) / np.maximum(front + back, 1e-9))
        seen = np.where(front + back > 0, seen, values[..., :3])
        area[..., :3] = np.where((front == 0) & (blend == 1), area[..., :3], seen)
        area[..., 3:] = np.round(255 * (front + back))
        shown.append(canvas[..., :3].astype(np.uint8))
        if disposal == 1 or disposal == 2 and n == 0:
            area[:] = 0
        elif disposal == 2:
            canvas = before
        head = struct.pack(">IIIIIHHBB", count, right - left, bottom - top, left, top, 1, 10, disposal, blend)
        data = zlib.compress(b"".join(b"\0" + row.astype(np.uint8).tobytes() for row in values))
        parts += [chunk(b"fcTL", head), chunk(b"fdAT", struct.pack(">I", count + 1) + data) if n else chunk(b"IDAT", data)]
        count += 2 if n else 1
    head = chunk(b"IHDR", struct.pack(">IIBBBBB", 21, 13, 8, 6, 0, 0, 0)) + chunk(b"acTL", struct.pack(">II", 14, 0))
    (folder / "animated.png").write_bytes(b"\x89PNG\r\n\x1a\n" + head + b"".join(parts) + chunk(b"IEND", b""))
    yield Made(folder / "animated.png", shown, near=1)
    whole = (folder / "type2-8.png").read_bytes()
    for n in range(9):
        data, at = bytearray(whole), 8 + n * (len(whole) - 8) // 9
        data[at] ^= 1 << n % 8
        (folder / f"flipped-{n}.png").write_bytes(data)
        yield Made(folder / f"flipped-{n}.png", refused=True)
    whole = (folder / "type2-16.png").read_bytes()
    (folder / "cut.png").write_bytes(whole[:len(whole) * 3 // 5])
    yield Made(folder / "cut.png", refused=True)


def animation(count, size=(24, 40)):
    """Colour frames of which each changes a part of the one before."""
    frames = [smooth(*size, 3)]
    for n in range(1, count):
        frames.append(frames[-1].copy())
        frames[-1][n * 3:n * 3 + 8, n * 4:n * 4 + 9] = (50 * n % 256, 255 - 30 * n, 90)
    return frames


def jpegs(folder):
    def save(name, values, near=6, mode=None, truth=None, told="", **more):
        Image.fromarray(values, mode).save(folder / name, quality=97, **more)
        return Made(folder / name, [values if truth is None else truth], near, told=told)

    grey, colour = smooth(40, 56), smooth(40, 56, 3)
    yield save("grey.jpg", grey)
    yield save("colour.jpg", colour)
    yield save("full-colour.jpg", colour, subsampling=0)
    yield save("progressive.jpg", colour, progressive=True)
    yield save("one.jpg", colour[:1, :1])
    ink = np.concatenate([255 - colour, np.full((40, 56, 1), 40, np.uint8)], -1)
    yield save("cmyk.jpg", ink, 6, "CMYK", np.round(colour * (215 / 255)).astype(np.uint8), "cmyk|ink")
    exif = Image.Exif()
    for orientation in range(1, 9):
        exif[0x0112], stored = orientation, stand(colour, orientation)
        yield save(f"orientation-{orientation}.jpg", stored, truth=colour, exif=exif, subsampling=0, dpi=(72, 144),
                   told="pixels 2 times")
        yield Made(folder / f"orientation-{orientation}.jpg", [stored], 6, ("--as-stored",), whole=False)
    whole = (folder / "full-colour.jpg").read_bytes()
    (folder / "part.jpg").write_bytes(whole[:len(whole) * 3 // 4])
    left = np.ma.array(colour.copy(), mask=np.zeros(colour.shape, bool))
    left.mask[8:39], left.data[39:] = True, 0
    yield Made(folder / "part.jpg", [left], 6, ("--partial",), whole=False)
    whole = (folder / "colour.jpg").read_bytes()
    (folder / "cut.jpg").write_bytes(whole[:len(whole) * 3 // 5])
    yield Made(folder / "cut.jpg", refused=True)


def gifs(folder):
    frames = [Image.fromarray(f).quantize(64) for f in animation(5)]
    frames[0].save(folder / "plain.gif")
    for disposal in (0, 1, 2):
        frames[0].save(folder / f"animated-{disposal}.gif", save_all=True, append_images=frames[1:], duration=40,
                       disposal=disposal, optimize=False)
    # Frames of any place, size and order of rows, with holes, that stay, are cleared or taken back.
    pick, canvas, parts = np.random.default_rng(9), np.zeros((17, 23, 3), np.uint8), []
    colour = pick.integers(0, 256, (4, 3), np.uint8)
    out = bytearray(b"GIF89a" + struct.pack("<HHBBB", 23, 17, 0x81, 0, 0) + colour.tobytes())
    for n in range(24):
        (top, bottom), (left, right) = [sorted(pick.choice(side + 1, 2, False).tolist()) for side in (17, 23)]
        height, width, disposal, hole, interlaced = bottom - top, right - left, int(pick.integers(4)), int(pick.integers(-1, 4)), n % 2
        index = noise((height, width), np.uint8, n, 3)
        before, shown = canvas.copy(), canvas[top:bottom, left:right]
        shown[index != hole] = colour[index[index != hole]]
        parts.append(canvas.copy())
        if disposal == 2:
            shown[:] = 0
        elif disposal == 3:
            canvas = before
        out += b"!\xf9\4" + bytes([disposal << 2 | int(hole >= 0), 10, 0, max(hole, 0), 0])
        if interlaced:
            index = index[[*range(0, height, 8), *range(4, height, 8), *range(2, height, 4), *range(1, height, 2)]]
        # Codes of three bits, a fresh table after every second value: as simple as it can be written.
        codes = [c for pair in range(0, index.size, 2) for c in [4, *index.ravel()[pair:pair + 2].tolist()]] + [5]
        bits = "".join(f"{c:03b}" for c in reversed(codes))
        data = int(bits, 2).to_bytes((len(bits) + 7) // 8, "little")
        blocks = b"".join(bytes([len(data[i:i + 255])]) + data[i:i + 255] for i in range(0, len(data), 255))
        out += struct.pack("<cHHHHB", b",", left, top, width, height, 0x40 * interlaced) + b"\2" + blocks + b"\0"
    (folder / "parts.gif").write_bytes(bytes(out) + b";")
    yield Made(folder / "parts.gif", parts)
    for name in ("plain", *(f"animated-{d}" for d in range(3))):  # readers disagree about a first frame of disposal 3
        yield Made(folder / f"{name}.gif")


def plains(folder):
    """PNM and PFM."""
    def write(name, head, data, truth, **more):
        (folder / name).write_bytes(head.encode() + data)
        return Made(folder / name, [truth], **more)

    bits = noise((9, 21), bool)
    yield write("bits.pbm", "P4\n# a comment\n21 9\n", np.packbits(bits, 1).tobytes(), bits, lowIsWhite=True)
    yield write("bits-text.pbm", "P1\n21 9\n", "\n".join("".join(map(str, r.astype(int))) for r in bits).encode(), bits, lowIsWhite=True)
    every = np.arange(65536).reshape(256, 256).astype(np.uint16)
    yield write("every16.pgm", "P5 256 256 65535\n", every.astype(">u2").tobytes(), every)
    for most in (1, 3, 15, 100, 255, 256, 1000, 65535):
        dtype = np.uint8 if most < 256 else np.uint16
        for magic, shape in ((5, (11, 14)), (6, (11, 14, 3))):
            values = noise(shape, dtype, most, most)
            name, head = f"P{magic}-{most}.p{'gp'[magic - 5]}m", f"P{magic}\n14 11\n{most}\n"
            yield write(name, head, values.astype(values.dtype.newbyteorder(">")).tobytes(), values)
            named = f"P7\nWIDTH 14\nHEIGHT 11\nDEPTH {1 + magic % 5 * 2}\nMAXVAL {most}\n# of bytes\nENDHDR\n"
            yield write(name[:-2] + "am", named, values.astype(values.dtype.newbyteorder(">")).tobytes(), values, windows=[(0, most)] * (magic == 5))
            text = " ".join(map(str, values.ravel())).encode() + b"\n"
            yield write("text-" + name, head.replace(f"P{magic}", f"P{magic - 3}"), text, values)
    for magic, shape in (("Pf", (7, 9)), ("PF", (7, 9, 3))):
        for scale, order in ((-1, "<"), (1, ">")):
            values = noise(shape, np.float32, 4)
            yield write(f"{magic}{order == '<'}.pfm", f"{magic}\n9 7\n{scale}.0\n", values[::-1].astype(order + "f4").tobytes(), values)
    first, last = noise((7, 13), np.uint8, 1), noise((7, 13), np.uint8, 2)
    data = first.tobytes() + b"P6 1 1 255\nabcP5 13 7 255\n" + last.tobytes()
    stack = write("stack.pgm", "P5 13 7 255\n", data, first, told="left out", whole=False)
    yield replace(stack, frames=[first, last])
    yield Made(folder / "stack.pgm@page=1", [np.frombuffer(b"abc", np.uint8).reshape(1, 1, 3)])
    yield Made(folder / "stack.pgm@page=3", refused=True)
    yield write("cut.pgm", "P5 100 100 255\n", bytes(7000), None, refused=True)


def others(folder):
    """BMP, WebP, JPEG 2000, EXR, HDR, DPX."""
    grey, colour = smooth(30, 41), smooth(30, 40, 3)

    def save(name, values, near=0, **more):
        Image.fromarray(values).save(folder / name, **more)
        return Made(folder / name, [values], near)

    yield save("grey.bmp", grey)
    yield save("colour.bmp", colour)
    yield save("lossless.webp", colour, lossless=True)
    yield save("lossy.webp", colour, 12, quality=95)
    yield save("grey.jp2", grey, irreversible=False)
    yield save("colour.jp2", colour, irreversible=False)
    yield save("sixteen.jp2", noise((30, 41), np.uint16), irreversible=False)
    yield save("lossy.j2k", colour, 6, irreversible=True, quality_mode="dB", quality_layers=[50])
    floats = np.abs(noise((14, 18, 3), np.float32))
    planes = np.moveaxis(floats[..., [1, 2, 0]], -1, 0).tobytes()  # green, blue, red
    run("ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "gbrpf32le", "-s", "18x14", "-i", "-", "-format", "float",
        folder / "floats.exr", input=planes)
    yield Made(folder / "floats.exr", [floats])
    run("ffmpeg", "-v", "error", "-y", "-i", folder / "colour.bmp", "-pix_fmt", "rgb24", folder / "colour.dpx")
    yield Made(folder / "colour.dpx", [colour])
    mantissa = noise((9, 10, 3), np.uint8, 5, 255) | 128
    data = np.concatenate([mantissa, np.full((9, 10, 1), 130, np.uint8)], -1).tobytes()
    (folder / "flat.hdr").write_bytes(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 9 +X 10\n" + data)
    yield Made(folder / "flat.hdr", [(mantissa / 64.0).astype(np.float32)], near=1)


def fitses(folder):
    from astropy.io import fits

    def write(name, hdus, frames, **more):
        fits.HDUList(hdus).writeto(folder / name, overwrite=True)
        return Made(folder / name, [np.asarray(f)[::-1] for f in frames], **more)

    for dtype in ("uint8", "int16", "int32", "int64", "float32", "float64"):
        values = noise((25, 31), dtype, 1, 2**20 if dtype == "int64" else None)
        yield write(f"{dtype}.fits", [fits.PrimaryHDU(values)], [values])
    for dtype in ("int8", "uint16", "uint32"):
        yield write(f"{dtype}.fits", [fits.PrimaryHDU(noise((25, 31), dtype))], [noise((25, 31), dtype)])
    odd = np.array([[1e-17, np.nan, -3e-30], [np.inf, -np.inf, 1e30]], np.float32)
    yield write("odd-floats.fits", [fits.PrimaryHDU(odd)], [odd])
    for name, values, shown in (("long-words", [[-5], [1999999999]], "i4"), ("longer-words", [[-5, 7], [2**60 + 1, -2**62]], "f4"),
                                ("long-floats", [[1e300, -1e300], [0.1, -3]], "f4")):
        values = np.array(values, "f8" if name == "long-floats" else "i8")
        yield write(f"{name}.fits", [fits.PrimaryHDU(values)], [values.astype(shown)])
    scaled = fits.PrimaryHDU(noise((12, 13), np.int16, 2, 1000))
    scaled.header["BSCALE"], scaled.header["BZERO"] = 0.25, -3.5
    yield write("scaled.fits", [scaled], [(noise((12, 13), np.int16, 2, 1000) * 0.25 - 3.5).astype(np.float32)], told="times")
    blank = noise((8, 9), np.int16, 3, 500)
    blanked = fits.PrimaryHDU(blank)
    blanked.header["BLANK"] = int(blank[2, 3])
    truth = blank.astype(np.float32)
    truth[blank == blank[2, 3]] = np.nan
    yield write("blank.fits", [blanked], [truth])
    cube = noise((4, 11, 12), np.int16, 4)
    yield write("cube.fits", [fits.PrimaryHDU(cube)], list(cube))
    pictures = [fits.ImageHDU(f) for f in cube]
    yield write("extensions.fits", [fits.PrimaryHDU(), *pictures], list(cube), whole=False)  # nothing tells how many there were
    table = fits.BinTableHDU.from_columns([fits.Column("n", "J", array=np.arange(5))])
    yield write("table-between.fits", [fits.PrimaryHDU(cube[0]), table, fits.ImageHDU(cube[1])], list(cube[:2]), whole=False)
    for n, hdu in enumerate((fits.PrimaryHDU(cube[0]), fits.ImageHDU(noise((5, 6), np.float32)))):
        file = folder / "hdus-differ.fits"
        if n == 0:
            fits.HDUList([hdu, fits.ImageHDU(noise((5, 6), np.float32))]).writeto(file, overwrite=True)
        yield Made(Path(f"{file}@hdu={n}"), [hdu.data[::-1]])
    yield Made(Path(f"{file}@hdu=2"), refused=True, told="0 to 1")
    for coding in ("RICE_1", "GZIP_1", "GZIP_2", "HCOMPRESS_1"):
        values = smooth(40, 44, top=4000)
        hdu = fits.CompImageHDU(values.astype(np.int16), compression_type=coding)
        yield write(f"packed-{coding}.fits", [fits.PrimaryHDU(), hdu], [values])
    yield write("gzipped.fits.gz", [fits.PrimaryHDU(cube[0])], [cube[0]])
    whole = (folder / "float32.fits").read_bytes()
    (folder / "cut.fits").write_bytes(whole[:2880 + 25 * 31 * 2])
    yield Made(folder / "cut.fits", refused=True)


# DICOM: data sets built element by element.

def dataSet(values=None, bits=None, stored=None, **elements):
    """A secondary capture with pixels (frames, rows, columns, channels) as far as they are given."""
    set_ = Dataset()
    set_.file_meta = FileMetaDataset()
    set_.SOPClassUID, set_.SOPInstanceUID = "1.2.840.10008.5.1.4.1.1.7", generate_uid(entropy_srcs=["judge"])
    set_.file_meta.MediaStorageSOPClassUID, set_.file_meta.MediaStorageSOPInstanceUID = set_.SOPClassUID, set_.SOPInstanceUID
    set_.Modality, set_.PatientName, set_.PatientID = "OT", "Judge", "1"
    if values is not None:
        size = values.dtype.itemsize * 8
        set_.Rows, set_.Columns = values.shape[-3:-1] if elements.get("SamplesPerPixel") == 3 else values.shape[-2:]
        set_.SamplesPerPixel, set_.PhotometricInterpretation = 1, "MONOCHROME2"
        set_.BitsAllocated, set_.BitsStored = bits or size, stored or bits or size
        set_.HighBit, set_.PixelRepresentation = set_.BitsStored - 1, int(values.dtype.kind == "i")
        set_.PixelData = values.tobytes() + bytes(values.nbytes % 2)
    for name, value in elements.items():
        setattr(set_, name, value)
    return set_


def item(**elements):
    one = Dataset()
    for name, value in elements.items():
        setattr(one, name, value)
    return one


def table(first, entries):
    data = np.asarray(entries, "<u2").tobytes()
    return Sequence([item(LUTDescriptor=[len(entries), first, 16], LUTData=data, ModalityLUTType="US")])


def dicoms(folder):
    def save(name, set_, frames, syntax="1.2.840.10008.1.2.1", **more):
        file = folder / f"{name}.dcm"
        uid = UID(syntax)
        set_.file_meta.TransferSyntaxUID = uid
        set_.is_little_endian, set_.is_implicit_VR = uid.is_little_endian, uid.is_implicit_VR
        if "PixelData" in set_:
            set_["PixelData"].VR = "OB" if uid.is_compressed else "OW"
        set_.save_as(file, write_like_original=False)
        return Made(file, frames, **more)

    def grey(name, values, truth=None, syntax="1.2.840.10008.1.2.1", bits=None, stored=None, made=None, **elements):
        frames = [values if truth is None else truth]
        return save(name, dataSet(values, bits, stored, **elements), frames, syntax, **(made or {}))

    for dtype in ("uint8", "int8", "uint16", "int16", "uint32", "int32"):
        yield grey(dtype, noise((17, 18), dtype))
    twelve = noise((16, 15), np.uint16, 2, 4095)
    yield grey("implicit", twelve, syntax="1.2.840.10008.1.2", stored=12)
    big = dataSet(twelve.astype(">u2"), None, 12)
    yield save("big-endian", big, [twelve], "1.2.840.10008.1.2.2")
    yield grey("deflated", twelve, syntax="1.2.840.10008.1.2.1.99", stored=12)
    for signed in (0, 1):
        for bits, high in ((12, 15), (12, 13), (12, 11), (8, 11), (10, 9), (1, 0), (16, 15)):
            cells = noise((16, 15), np.uint16, bits + high)
            truth = (cells >> (high + 1 - bits)).astype(np.int32) & (2**bits - 1)
            truth -= (truth >> (bits - 1) << bits) * signed
            yield grey(f"{bits}-bits-to-{high}-{signed}", cells, truth, stored=bits, HighBit=high, PixelRepresentation=signed)
    yield grey("seven-of-8", noise((8, 8), np.uint8, 5), noise((8, 8), np.uint8, 5) & 127, stored=7)
    yield grey("monochrome1", twelve, stored=12, PhotometricInterpretation="MONOCHROME1", made={"lowIsWhite": True})
    yield grey("rescaled", twelve, (twelve * 2.5 - 1000).astype(np.float32), stored=12, RescaleSlope="2.5",
               RescaleIntercept="-1000", made={"told": "times"})
    yield grey("padding", twelve, stored=12, PixelPaddingValue=0)
    yield grey("spacing", twelve, stored=12, PixelSpacing=["2", "1"], made={"told": "pixels are 0.5 times"})
    yield grey("window", twelve, stored=12, WindowCenter=["600", "7"], WindowWidth=["401", "1"], made={"windows": [(399.5, 799.5)]})
    yield grey("window-empty", twelve, stored=12, WindowCenter="600", WindowWidth="0", made={"windows": [(0, 4095)]})
    yield grey("window-exact", twelve, stored=12, WindowCenter="600", WindowWidth="400", VOILUTFunction="LINEAR_EXACT",
               made={"windows": [(400, 800)]})
    yield grey("window-sigmoid", twelve, stored=12, WindowCenter="600", WindowWidth="400", VOILUTFunction="SIGMOID",
               made={"told": "sigmoid"})
    squares = (np.arange(256) ** 2 // 2).astype(np.uint16)
    index = noise((10, 12), np.uint8, 6)
    yield grey("modality-table", index, squares[index], ModalityLUTSequence=table(0, squares), made={"told": "table"})
    shifted = squares[np.clip(index.astype(int) - 40, 0, 99)]
    yield grey("modality-table-short", index, shifted, ModalityLUTSequence=table(40, squares[:100]), made={"told": "table"})
    yield grey("voi-table", index, VOILUTSequence=table(20, squares[:100]), made={"told": "table", "windows": [(20, 119)]})
    for name, key, dtype in (("float", "FloatPixelData", np.float32), ("double", "DoubleFloatPixelData", np.float64)):
        values = noise((9, 11), dtype, 7)
        set_ = dataSet(values, SOPClassUID="1.2.840.10008.5.1.4.1.1.30", **{key: values.tobytes()})
        del set_.PixelData, set_.BitsStored, set_.HighBit, set_.PixelRepresentation
        yield save(name, set_, [values])
    for height, width in ((5, 13), (6, 8)):  # frames that start within a byte, and at one
        masks = noise((3, height, width), bool, 8)
        set_ = dataSet(masks[0].astype(np.uint8), 1, 1, NumberOfFrames=3)
        set_.PixelData = np.packbits(masks.ravel(), bitorder="little").tobytes()
        set_.PixelData += bytes(len(set_.PixelData) % 2)
        yield save(f"masks-{height}", set_, list(masks))
    # Colour: planes, palettes, luminance.
    colour = smooth(24, 32, 3)
    rgb = {"SamplesPerPixel": 3, "PhotometricInterpretation": "RGB", "PlanarConfiguration": 0}
    yield save("colour", dataSet(colour, **rgb), [colour])
    planes = dataSet(colour, **{**rgb, "PlanarConfiguration": 1})
    planes.PixelData = np.moveaxis(colour, -1, 0).tobytes()
    yield save("colour-planes", planes, [colour])
    yield save("colour-16", dataSet(noise((8, 9, 3), np.uint16), **rgb), [noise((8, 9, 3), np.uint16)])
    ycc = np.asarray(Image.fromarray(colour).convert("YCbCr"))
    yield save("ybr", dataSet(ycc, **{**rgb, "PhotometricInterpretation": "YBR_FULL"}), [colour], near=3)
    half = dataSet(ycc, **{**rgb, "PhotometricInterpretation": "YBR_FULL_422"})
    pairs = ycc.reshape(24, 16, 2, 3)
    half.PixelData = np.stack([pairs[:, :, 0, 0], pairs[:, :, 1, 0], pairs[:, :, 0, 1], pairs[:, :, 0, 2]], -1).tobytes()
    yield save("ybr-422", half, [colour], near=12)
    for name, dtype, stored, entries, first, wide in (
            ("256", np.uint8, 8, 256, 0, 16), ("first-10", np.uint8, 8, 100, 10, 16), ("8-bit-entries", np.uint8, 8, 256, 0, 8),
            ("4-of-8", np.uint8, 4, 16, 0, 16), ("16-bit-indices", np.uint16, 16, 256, 0, 16),
            ("12-of-16", np.uint16, 12, 4096, 0, 16), ("65536", np.uint16, 16, 65536, 0, 16),
            ("signed-first", np.int16, 16, 200, -100, 16)):
        index = noise((20, 21), dtype, entries, None if dtype == np.int16 else min(2**stored - 1, entries + 60))
        index = np.clip(index, -150, 150) if dtype == np.int16 else index
        palette = noise((entries, 3), np.uint16 if wide == 16 else np.uint8, 9)
        set_ = dataSet(index, None, stored, PhotometricInterpretation="PALETTE COLOR")
        for c, key in enumerate(("Red", "Green", "Blue")):
            tag = pydicom.tag.Tag(0x0028, 0x1101 + c)
            set_.add_new(tag, "SS" if dtype == np.int16 else "US", [entries % 65536, first, wide])
            setattr(set_, f"{key}PaletteColorLookupTableData", np.ascontiguousarray(palette[:, c]).tobytes())
        yield save(f"palette-{name}", set_, [colours(palette, index.astype(int) - first)], told="palette")
    ramps = np.concatenate([np.linspace(0, 40000, 101).round(), np.full(50, 40000), [1, 2, 3, 4, 5]]).astype(int)
    set_ = dataSet(noise((20, 21), np.uint8, 10, 155), PhotometricInterpretation="PALETTE COLOR")
    pieces = struct.pack("<14H", 0, 1, 0, 1, 100, 40000, 1, 50, 40000, 0, 5, 1, 2, 3) + struct.pack("<2H", 4, 5)
    for c, key in enumerate(("Red", "Green", "Blue")):
        set_.add_new(pydicom.tag.Tag(0x0028, 0x1101 + c), "US", [156, 0, 16])
        setattr(set_, f"Segmented{key}PaletteColorLookupTableData", pieces)
    truth = ramps[noise((20, 21), np.uint8, 10, 155)]
    yield save("palette-segmented", set_, [np.repeat(truth[..., None], 3, 2).astype(np.uint16)], told="palette", near=1)
    # Stacks: plain, and with a rescale and a window for each frame.
    stack = noise((3, 14, 15), np.uint16, 11, 4095)
    yield save("stack", dataSet(stack, None, 12, NumberOfFrames=3), list(stack))
    groups = [item(PixelValueTransformationSequence=Sequence([item(RescaleSlope=str(n + 1), RescaleIntercept=str(-100 * n),
                                                                   RescaleType="US")]),
                   FrameVOILUTSequence=Sequence([item(WindowCenter=str(500 + 100 * n), WindowWidth="201")])) for n in range(3)]
    set_ = dataSet(stack, None, 12, NumberOfFrames=3, SOPClassUID="1.2.840.10008.5.1.4.1.1.4.1",
                   SharedFunctionalGroupsSequence=Sequence([item(PixelMeasuresSequence=Sequence([item(PixelSpacing=["2", "1"])]))]), PerFrameFunctionalGroupsSequence=Sequence(groups))
    yield save("enhanced", set_, [(f * (n + 1.0) - 100 * n).astype(np.float32) for n, f in enumerate(stack)], told="pixels are 0.5 times",
               windows=[(399.5 + 100 * n, 599.5 + 100 * n) for n in range(3)])
    # Compressed: each frame may have several fragments.
    def packed(name, values, codes, syntax, near=0, truth=None, pieces=1, offsets=True, count=None, made=None, **elements):
        frames = [values] if len(codes) == 1 else list(values)
        set_ = dataSet(values, None, elements.pop("stored", None), **elements)
        if len(codes) > 1:
            set_.NumberOfFrames = count or len(codes)
        set_.PixelData = encapsulate(codes, pieces, offsets)
        set_["PixelData"].is_undefined_length = True
        return save(name, set_, frames if truth is None else truth, syntax, **{"near": near, **(made or {})})

    def coded(values, kind, **more):
        out = io.BytesIO()
        Image.fromarray(values).save(out, kind, **more)
        return out.getvalue()

    ybr = {**rgb, "PhotometricInterpretation": "YBR_FULL_422"}
    films = np.stack(animation(3))
    grey8 = smooth(24, 32)
    yield packed("jpeg-grey", grey8, [coded(grey8, "JPEG", quality=97)], "1.2.840.10008.1.2.4.50", 4)
    yield packed("jpeg", colour, [coded(colour, "JPEG", quality=97)], "1.2.840.10008.1.2.4.50", 4, **ybr)
    yield packed("jpeg-stack", films, [coded(f, "JPEG", quality=97, subsampling=0) for f in films], "1.2.840.10008.1.2.4.50", 20, **ybr)
    yield packed("jpeg-pieces", films, [coded(f, "JPEG", quality=97, subsampling=0) for f in films], "1.2.840.10008.1.2.4.50", 20,
                 pieces=3, **ybr)
    yield packed("j2k", twelve, [coded(twelve, "JPEG2000", irreversible=False, no_jp2=True)], "1.2.840.10008.1.2.4.90", stored=16)
    yield packed("j2k-colour", colour, [coded(colour, "JPEG2000", irreversible=False, no_jp2=True, mct=1)],
                 "1.2.840.10008.1.2.4.90", **{**rgb, "PhotometricInterpretation": "YBR_RCT"})
    from pydicom.pixel_data_handlers.rle_handler import rle_encode_frame
    yield packed("rle", twelve, [rle_encode_frame(twelve)], "1.2.840.10008.1.2.5", stored=12)
    yield packed("rle-stack", films, [rle_encode_frame(f) for f in films], "1.2.840.10008.1.2.5", **rgb)
    codes = [rle_encode_frame(f) for f in films]
    yield packed("rle-stack-no-table", films, codes, "1.2.840.10008.1.2.5", offsets=False, **rgb)
    yield packed("rle-frame-missing", films, codes[:2], "1.2.840.10008.1.2.5", made={"refused": True, "told": "holds 2 of 3 frames"},
                 count=3, **rgb)
    for name, told, elements in (("frame-missing", "holds 1 of 2 frames", {"NumberOfFrames": 2}), ("cut-short", "cut short", {"Rows": 32}),
                                 ("hsv", "HSV", {"PhotometricInterpretation": "HSV"}), ("twelve", "12 bits are not", {"BitsAllocated": 12}),
                                 ("no-palette", "table is not described", {"PhotometricInterpretation": "PALETTE COLOR"})):
        yield grey(name, twelve, stored=12, made={"refused": True, "told": told}, **elements)
    yield save("no-picture", dataSet(), None, refused=True, told="holds no picture")
    yield packed("mpeg2", grey8, [b"1234"], "1.2.840.10008.1.2.4.100", made={"refused": True, "told": "MPEG2"})
    for name, tool in (("jpeg-ls", ["dcmcjpls"]), ("jpeg-lossless", ["dcmcjpeg", "+e1"])):
        for source, truth in (("stack", list(stack)), ("int16", [noise((17, 18), np.int16)]), ("colour", [colour])):
            run(*tool, folder / f"{source}.dcm", folder / f"{name}-{source}.dcm")
            yield Made(folder / f"{name}-{source}.dcm", truth)
    for source in ("uint16", "stack", "jpeg", "j2k", "rle", "jpeg-ls-int16", "palette-256"):
        whole = (folder / f"{source}.dcm").read_bytes()
        at = whole.rindex(b"\xe0\x7f\x10\x00")
        (folder / f"cut-{source}.dcm").write_bytes(whole[:at + (len(whole) - at) * 2 // 3])
        yield Made(folder / f"cut-{source}.dcm", refused=True)


def videos(folder):
    moving = ["ffmpeg", "-v", "error", "-y", "-fflags", "+bitexact", "-f", "lavfi", "-i", "testsrc2=s=64x48:r=10:d=1.2"]
    for name, codec in (("h264.mp4", ["libx264", "-g", "5", "-bf", "2", "-pix_fmt", "yuv420p"]), ("mpeg4.avi", ["mpeg4"]),
                        ("ffv1.mkv", ["ffv1", "-pix_fmt", "yuv444p"]), ("theora.ogg", ["libtheora", "-g", "6"]),
                        ("mpeg2.ts", ["mpeg2video"]), ("vp8.webm", ["libvpx"]), ("vp9.mkv", ["libvpx-vp9"]),
                        ("mpeg1.mpg", ["mpeg1video", "-r", "25"]), ("mjpeg.avi", ["mjpeg", "-pix_fmt", "yuvj420p"]),
                        ("full-range.mp4", ["libx264", "-pix_fmt", "yuvj420p"]), ("rgb.mkv", ["libx264rgb", "-crf", "0"]),
                        ("ten-bits.mkv", ["ffv1", "-pix_fmt", "yuv420p10le"]), ("grey.mkv", ["ffv1", "-pix_fmt", "gray"]),
                        ("bt709.mp4", ["libx264", "-pix_fmt", "yuv420p", "-colorspace", "bt709"]),
                        ("wide-pixels.mp4", ["libx264", "-pix_fmt", "yuv420p", "-vf", "setsar=2/1"]),
                        ("uneven.mkv", ["libx264", "-vf", "select='not(mod(n\\,3))+eq(n\\,1)',crop=63:47", "-vsync", "vfr"])):
        run(*moving, "-c:v", *codec, "-threads", "1", "-flags:v", "+bitexact", "-fflags", "+bitexact", folder / name)
        yield Made(folder / name, told="aspect|shape|square" if name.startswith("wide") else "")
    for turn in (90, 180, 270):
        file = folder / f"turned-{turn}.mp4"
        run("ffmpeg", "-v", "error", "-y", "-i", folder / "h264.mp4", "-c", "copy", "-metadata:s:v:0", f"rotate={turn}", file)
        yield Made(file, told="" if turn else "")
    whole = (folder / "h264.mp4").read_bytes()
    (folder / "cut.mp4").write_bytes(whole[:len(whole) * 2 // 3])
    yield Made(folder / "cut.mp4", refused=True)


FORMATS = {"tiff": tiffs, "png": pngs, "jpeg": jpegs, "gif": gifs, "pnm": plains, "other": others, "fits": fitses,
           "dicom": dicoms, "video": videos}


def make(folder, formats=FORMATS):
    """All files of the formats, each in a folder of its name."""
    for name in formats:
        (folder / name).mkdir(parents=True, exist_ok=True)
        for made in FORMATS[name](folder / name):
            made.format = name
            yield made
