"""A CT slice between three pairs of levels, side by side: as the data ask, soft tissue, bone with a tone curve.

    python3 levels.py CT.dcm levels.png
"""
import sys

import numpy as np

import pzel


def main(path, out):
    movie = pzel.open(path)
    for line in movie.conversions:
        print("on reading:", line)
    slice_ = movie[0]
    pictures = [movie.render().copy()]

    slice_.levels = (-160, 240)  # Hounsfield units
    pictures.append(movie.render().copy())

    slice_.levels = (100, 1200)
    slice_.remapper = pzel.Remapper(gamma=1.4)
    pictures.append(movie.render().copy())

    # What is shown and what is read out come from one image: no copy of it was made.
    values = slice_.image.array()
    print(f"{values.shape[1]} x {values.shape[0]}, {values.min():g} … {values.max():g}, bone: {(values > 250).mean():.1%}")
    sheet = np.hstack(pictures).repeat(3, axis=0).repeat(3, axis=1)
    pzel.save(out, sheet)


if __name__ == "__main__":
    main(*sys.argv[1:])
