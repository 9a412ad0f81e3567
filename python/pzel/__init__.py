"""In-memory images and movies, and their way to the screen, over NumPy arrays that are shared and never copied.

An Image is pixels and the levels they are shown with; a Comp is a layer that shows an image, or frames; a Movie shows
layers together. pzel.open(path) gives a movie of a file, movie.render(frame) a picture as an array, pzel.save writes it.

Colour: records hold blue first, pictures come out red first. Image(array) takes blue first (order='rgb' says that red
is); array(), plane(0), black_white(0) and set_black_white are in the order of the record; rgb(), render(), compose(),
levels and save() are red first. Where the two differ there is a view ([..., ::-1]), never a copy.

Threads: distinct objects may be used in distinct threads, and long calls let other threads run. A movie is one thread's
at a time, with its components; so is an Image and what reads it while it is changed.
"""

from ._pzel import (
    Channel,
    Comp,
    Component,
    DataType,
    Event,
    Histogram,
    Image,
    Kind,
    Model,
    Movie,
    Observation,
    Play,
    Remapper,
    rgb_to_hsi,
)
from . import _pickle
from ._files import Reader, has_files, open, save
from ._show import show, view

__all__ = [
    "Channel",
    "Comp",
    "Component",
    "DataType",
    "Event",
    "Histogram",
    "Image",
    "Kind",
    "Model",
    "Movie",
    "Observation",
    "Play",
    "Reader",
    "Remapper",
    "has_files",
    "open",
    "rgb_to_hsi",
    "save",
    "show",
    "view",
]

_pickle.register()
