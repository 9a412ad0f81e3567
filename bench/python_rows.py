"""The package beside what a Python user would write, in one run; printed as the tables of docs/performance.md.

Every row maps the same array to bytes. Contestants take turns; a figure is the shortest time of ours / the shortest of
the other. Before anything is timed a peer's picture is compared with ours; one that lies farther off than its
roundings and tables explain (1 level, 2 of a colour map, 12 of a curve of half as many entries) ends the benchmark.
"""
import argparse
import os
import random
import statistics
import subprocess
import sys
import time

import cv2
import matplotlib.cm
import matplotlib.colors
import numpy as np
import PIL.Image
import skimage.exposure

# Rows are timed on one processor, which the package finds out when it is imported; Dask has them all, in a process of
# its own.
PROCESSORS = os.sched_getaffinity(0)
if "--dask" not in sys.argv:
    os.sched_setaffinity(0, {min(PROCESSORS)})

import pzel  # noqa: E402

cv2.setNumThreads(1)
GAMMA = 1.8


def contestants(kind, array, low, high):
    """Name, function that makes a new picture, levels that it may be off."""
    scale = 255 / (high - low)
    image = pzel.Image(array)
    image.levels = (low, high)
    curve = pzel.Remapper(gamma=GAMMA) if kind == "table" else None
    norm = matplotlib.colors.Normalize(low, high, clip=True)
    table = curve.table if curve else None
    bytes_table = np.round(255 * (np.arange(256) / 255) ** (1 / GAMMA)).astype(np.uint8)

    def numpy_form():
        scaled = (np.clip(array, low, high) - low) / (high - low)
        return table[(scaled * 511).astype(int)] if curve else (scaled * 255 + 0.5).astype(np.uint8)

    def skimage_form():
        mapped = skimage.exposure.rescale_intensity(array, in_range=(low, high), out_range=np.uint8)
        return bytes_table[mapped.astype(np.uint8)] if curve else mapped.astype(np.uint8)

    def matplotlib_form():
        return matplotlib.cm.gray(norm(array), bytes=True)[..., 0] if array.ndim == 2 else None

    def opencv_form():
        mapped = cv2.addWeighted(array, scale, array, 0, -low * scale, dtype=cv2.CV_8U)
        return cv2.LUT(mapped, bytes_table) if curve else mapped

    def pillow_form():
        if array.dtype == np.uint8:
            levels = np.clip((np.arange(256) - low) * scale + 0.5, 0, 255).astype(np.uint8)
            return np.asarray(PIL.Image.fromarray(array).point(list(levels) * array.shape[2]))
        if array.dtype == np.float32:
            return np.asarray(PIL.Image.fromarray(array).point(lambda v: v * scale + (0.5 - low * scale)).convert("L"))
        return None

    def ours():
        return image.render(curve)

    all_of_them = [("NumPy", numpy_form, 1), ("scikit-image", skimage_form, 1 if not curve else 12),
                   ("OpenCV", opencv_form, 1 if not curve else 12)]
    if array.ndim == 2 and not curve:
        all_of_them.append(("Matplotlib", matplotlib_form, 2))
    if array.dtype != np.uint16 and not curve:
        all_of_them.append(("Pillow", pillow_form, 1))
    return ours, all_of_them, image, curve


def best(functions, seconds):
    """The shortest time of each, taking turns in a new order each round."""
    times = {name: [] for name in functions}
    end = time.perf_counter() + seconds
    rounds = 0
    while rounds < 5 or time.perf_counter() < end:
        for name in random.sample(list(functions), len(functions)):
            start = time.perf_counter()
            functions[name]()
            times[name].append(time.perf_counter() - start)
        rounds += 1
    return {name: min(some) for name, some in times.items()}


def figure(ratio, goal):
    text = f"{ratio:.2f}" if ratio >= 0.095 else f"{ratio:.3f}"
    return f"**{text}**" if goal is not None and ratio > goal else text


GOALS = {"NumPy": 0.1, "OpenCV": 1.0}
PEERS = ["NumPy", "scikit-image", "Matplotlib", "Pillow", "OpenCV"]


def mapping_table(seconds):
    print("| row | size | " + " | ".join(PEERS) + " | OpenCV, into an array that is there |")
    print("|---|---|" + "---:|" * (len(PEERS) + 1))
    for title, kind, dtype, shape, low, high in [
        ("16 bits, levels", "levels", np.uint16, (), 1000, 50000),
        ("float, levels", "levels", np.float32, (), 0.1, 0.8),
        ("colour of 8 bits, levels", "levels", np.uint8, (3,), 20, 230),
        ("16 bits, gamma by a table", "table", np.uint16, (), 1000, 50000),
    ]:
        for side in (512, 4096):
            rng = np.random.default_rng(1)
            size = (side, side, *shape)
            array = rng.random(size, np.float32) if dtype == np.float32 else rng.integers(0, np.iinfo(dtype).max + 1, size, dtype)
            ours, peers, image, curve = contestants(kind, array, low, high)
            wanted = ours()[..., ::-1] if shape else ours()
            for name, peer, off in peers:
                off_by = np.abs(peer().astype(int) - wanted).max()
                if off_by > off:
                    raise SystemExit(f"{title}: {name} shows something else, off by up to {off_by}")
            functions = {"ours": ours, **{name: peer for name, peer, _ in peers}}
            out = ours()
            functions["ours into"] = lambda: image.render(curve, out=out)
            if kind == "levels":
                scale, there = 255 / (high - low), np.empty(size, np.uint8)
                functions["OpenCV into"] = lambda: cv2.addWeighted(array, scale, array, 0, -low * scale, there, cv2.CV_8U)
            times = best(functions, seconds)
            cells = [figure(times["ours"] / times[name], GOALS.get(name)) if name in times else "" for name in PEERS]
            into = times["ours into"] / times["OpenCV into"] if "OpenCV into" in times else None
            print(f"| {title} | {side}² | " + " | ".join(cells) + f" | {figure(into, 1.0) if into else ''} |", flush=True)


def cost(function, seconds=0.5):
    """Seconds for one call: the shortest of many series."""
    series, end = [], time.perf_counter() + seconds
    while time.perf_counter() < end:
        start = time.perf_counter()
        for _ in range(200):
            function()
        series.append((time.perf_counter() - start) / 200)
    return min(series)


def call_table(program):
    """What a call costs beyond C++, whose own time for the same is told by a small program."""
    tiny = pzel.Image(np.zeros((8, 8), np.uint16))
    tiny.levels = (0, 9)
    comp = pzel.Comp(tiny)
    out = tiny.render()
    in_cpp = dict(line.split() for line in subprocess.run([program], capture_output=True, text=True, check=True).stdout.splitlines())
    print("| call | over C++, µs | goal |")
    print("|---|---:|---:|")
    for name, key, call in [
        ("Image.render of 8 × 8", "map", lambda: tiny.render(out=out)),
        ("Comp.render of 8 × 8", "map", lambda: comp.render(out=out)),
        ("Comp.black_white", "levels", lambda: comp.black_white(0)),
        ("Image.width", "width", lambda: tiny.width),
    ]:
        over = cost(call) * 1e6 - float(in_cpp[key]) / 1000
        print(f"| {name} | {'**' if over > 2 else ''}{over:.2f}{'**' if over > 2 else ''} | 2 |")
    small, large = np.zeros((32, 64), np.uint16), np.zeros((4096, 8192), np.uint16)
    ratio = statistics.median(cost(lambda: pzel.Image(large), 0.2) / cost(lambda: pzel.Image(small), 0.2) for _ in range(5))
    print(f"| wrapping 64 MB / wrapping 4 KB | {ratio:.2f} (ratio) | 1.1 |")


class Frames:
    """Frames that are made where they are wanted, as slow as reading is."""

    def __len__(self):
        return 24

    def __getitem__(self, index):
        return np.random.default_rng(index).random((2048, 2048), np.float32)


def dask_table():
    import distributed

    import pzel.dask

    times = {}
    for workers in (1, 2, 1, 2):
        with distributed.LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None) as cluster:
            with distributed.Client(cluster):
                movie = pzel.Movie(pzel.Comp(frames=Frames()))
                pzel.dask.render(movie, frames=range(4)).sum().compute()
                start = time.perf_counter()
                pzel.dask.render(movie, levels="1%").sum(axis=(1, 2)).compute()
                times.setdefault(workers, []).append(time.perf_counter() - start)
    print("| workers | time / that of one worker |")
    print("|---:|---:|")
    for workers, some in times.items():
        print(f"| {workers} | {min(some) / min(times[1]):.2f} |")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--dask", action="store_true", help="the table of workers alone")
    parser.add_argument("--calls", help="the program that tells what calls cost in C++")
    options = parser.parse_args()
    if options.dask:
        dask_table()
        sys.exit()
    print(f"OpenCV {cv2.__version__}, NumPy {np.__version__}; one of {os.cpu_count()} processors.\n")
    mapping_table(0.5 if options.quick else 4)
    print()
    call_table(options.calls)
    print()
    sys.stdout.flush()
    os.sched_setaffinity(0, PROCESSORS)
    subprocess.run([sys.executable, __file__, "--dask"], check=True)
