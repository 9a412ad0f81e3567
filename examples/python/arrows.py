"""The gradient of a picture as arrows over it: a vector field is an image of two channels.

    python3 arrows.py picture.png arrows.png
"""
import sys

import numpy as np

import pzel


def smoothed(values, times):
    """Means over growing neighbourhoods, so that the arrows tell of forms and not of grain."""
    for _ in range(times):
        for axis in (0, 1):
            values = (np.roll(values, 1, axis) + values + np.roll(values, -1, axis)) / 3
    return values


def main(path, out):
    movie = pzel.open(path)
    picture = movie[0]
    grey = picture.image.to_yuv().plane(0) if picture.image.channels == 3 else picture.image.array()
    down, right = np.gradient(smoothed(grey.astype(np.float32), 12))
    field = pzel.Image(np.stack([right, down]), layout="planar", kind=pzel.Kind.VECTOR)
    arrows = pzel.Comp(field, name="gradient")
    arrows.vector_step = 2
    arrows.overlay_colour = 4  # yellow
    picture.levels = "0.5%"
    picture.remapper = pzel.Remapper(gamma=0.6)  # darker, so that the arrows stand out
    movie.append(arrows)
    pzel.save(out, movie.compose())


if __name__ == "__main__":
    main(*sys.argv[1:])
