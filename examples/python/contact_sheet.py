"""All frames of a stack on one sheet, with levels that fit all of them.

    python3 contact_sheet.py stack.dcm sheet.png
"""
import math
import sys

import numpy as np

import pzel
import pzel.dask


def main(path, out, levels="1%"):
    movie = pzel.open(path)
    # The values of all frames together: counts are added up, frames are not held.
    zoom = max(1, 120 // max(movie.size))
    pictures = pzel.dask.render(movie, levels=levels, zoom=zoom).compute(scheduler="threads", num_workers=2)
    columns = math.ceil(math.sqrt(len(pictures) * 1.3))
    rows = math.ceil(len(pictures) / columns)
    height, width = pictures.shape[1:3]
    gap = 2
    sheet = np.full((rows * (height + gap) - gap, columns * (width + gap) - gap, *pictures.shape[3:]), 64, np.uint8)
    for i, picture in enumerate(pictures):
        y, x = i // columns * (height + gap), i % columns * (width + gap)
        sheet[y : y + height, x : x + width] = picture
    print(f"{len(pictures)} frames of {width} x {height}")
    pzel.save(out, sheet)


if __name__ == "__main__":
    main(*sys.argv[1:])
