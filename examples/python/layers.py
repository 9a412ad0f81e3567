"""A movie of three layers: a CT slice, the outline of its bone in red, and a coloured map of its dense parts over it.

    python3 layers.py CT.dcm layers.png
"""
import sys

import numpy as np

import pzel


def main(path, out):
    movie = pzel.open(path, levels=(-200, 400))
    image = movie[0].image

    outline = pzel.Comp(image.mask(250, 4000).outline(), name="bone")
    outline.overlay_colour = 1  # red

    # Values as colours of one's own: blue is first in a record, so the array is built red first and copied once.
    part = np.clip((image.array() + 100) / 400, 0, 1)
    colours = np.stack([part, part**2, 1 - part], axis=2)
    map_ = pzel.Comp(pzel.Image((colours * 255).astype(np.uint8), order="rgb", copy=True), name="density")
    map_.opacity = 0.35

    movie.extend([map_, outline])
    for comp in movie:
        print(comp, comp.opacity)
    pzel.save(out, movie.compose(zoom=4))


if __name__ == "__main__":
    main(*sys.argv[1:])
