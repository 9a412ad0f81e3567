"""Many frames and files on many processors: pictures as a delayed array, or written where they are made.

Frames and files do not depend on each other, so Dask does it; there is no engine here. What a task gets is the movie
(of files their paths, not their pixels), a frame number and the levels; what it gives back is the picture, or the name
of the file that it wrote. Levels that speak of the whole movie are found by adding up counts of values, frame by frame.
"""

from __future__ import annotations

import atexit
import collections
import os
import pickle
import threading
import uuid

import cloudpickle  # type: ignore[import]
import dask
import dask.array
import numpy

from . import _files, _pzel

_FAN_IN = 16  # counts that one task adds up
_KEPT = 4  # movies that a thread keeps open


class _Frozen:
    """A movie on its way: its buffers are not copied when it is pickled, nor when it is made again."""

    def __init__(self, data, buffers, token):
        self.data, self.buffers, self.token = data, buffers, token

    @classmethod
    def of(cls, movie):
        buffers = []
        # Frames and curves that a notebook defines travel by what they are, not by their name.
        data = cloudpickle.dumps(movie, protocol=5, buffer_callback=buffers.append)
        return cls(data, buffers, uuid.uuid4().hex)

    def __reduce_ex__(self, protocol):
        buffers = self.buffers if protocol >= 5 else [bytes(memoryview(one)) for one in self.buffers]
        return _Frozen, (self.data, buffers, self.token)

    def thaw(self):
        """The movie of this thread: one is one thread's at a time, and a worker may have several."""
        movies = _movies.setdefault(threading.get_ident(), collections.OrderedDict())
        if self.token not in movies:
            movies[self.token] = pickle.loads(self.data, buffers=self.buffers)
            while len(movies) > _KEPT:
                movies.popitem(last=False)
        movies.move_to_end(self.token)
        return movies[self.token]

    def __dask_tokenize__(self):
        return self.token


_movies: dict[int, collections.OrderedDict] = {}  # of each thread
atexit.register(_movies.clear)  # threads of a pool do not end before the interpreter


def _image(frozen, frame):
    movie = frozen.thaw()
    movie.current_frame = frame
    return movie[0].image


def _channels(image):
    """Of luminance and colour differences the luminance; else all."""
    return image.plane(0) if image.model == _pzel.Model.YUV and image.channels > 1 else image.array()


# Counts are sparse: the values that occur, ascending, and how often.


def _exact_counts(frozen, frame):
    image = _image(frozen, frame)
    histogram = _pzel.Histogram()
    histogram.add(image, 0 if image.model == _pzel.Model.YUV and image.channels > 1 else None)
    counts = histogram.counts
    there = numpy.flatnonzero(counts)
    return histogram.edges[:-1][there], counts[there].astype(numpy.int64)


def _keys(image):
    """32-bit keys of the finite values that order as the values do."""
    values = _channels(image)
    values = numpy.ascontiguousarray(values[numpy.isfinite(values)])
    bits = values.view(numpy.uint32)
    return numpy.where(bits >> 31, ~bits, bits | numpy.uint32(0x80000000))


def _value(key):
    bits = numpy.uint32(key ^ 0x80000000 if key >> 31 else ~key & 0xFFFFFFFF)
    return float(bits.view(numpy.float32))


def _sparse(parts):
    counts = numpy.bincount(parts, minlength=1)
    there = numpy.flatnonzero(counts)
    return there.astype(numpy.int64), counts[there]


def _upper_counts(frozen, frame):
    return _sparse(_keys(_image(frozen, frame)) >> 16)


def _lower_counts(frozen, frame, halves):
    keys = _keys(_image(frozen, frame))
    return [_sparse(keys[keys >> 16 == half] & 0xFFFF) for half, _ in halves]


def _extremes(frozen, frame):
    image = _image(frozen, frame)
    told = image.statistics(0 if image.model == _pzel.Model.YUV and image.channels > 1 else None)
    return told["count"], told["minimum"], told["maximum"]


def _add_counts(parts):
    values, places = numpy.unique(numpy.concatenate([values for values, _ in parts]), return_inverse=True)
    sums = numpy.zeros(len(values), numpy.int64)
    numpy.add.at(sums, places, numpy.concatenate([counts for _, counts in parts]))
    return values, sums


def _add_lower(parts):
    return [_add_counts(same) for same in zip(*parts)]


def _add_extremes(parts):
    there = [part for part in parts if part[0]]
    if not there:
        return 0, 0.0, 1.0
    return sum(part[0] for part in there), min(part[1] for part in there), max(part[2] for part in there)


def _reduced(parts, add):
    while len(parts) > 1:
        parts = [dask.delayed(add)(parts[i : i + _FAN_IN]) for i in range(0, len(parts), _FAN_IN)]
    return parts[0]


def _widened(low, high):
    """A range of one value is moved apart: by one, or by what a float of that size can tell."""
    return low, high if high > low else low + max(1.0, abs(low) * 1e-6)


def _ranks(counts, percent):
    total = int(counts.sum())
    clipped = min(int(total * percent / 100), total - 1)
    return clipped, total - 1 - clipped


def _at(values, counts, rank):
    """The value of a rank, and the rank among those that are equal to it."""
    place = int(numpy.searchsorted(numpy.cumsum(counts), rank, side="right"))
    return values[place], rank - int(counts[:place].sum())


def _range_of_counts(counted, percent):
    values, counts = counted
    low, high = (float(_at(values, counts, rank)[0]) for rank in _ranks(counts, percent))
    return _widened(low, high)


def _halves(counted, percent):
    values, counts = counted
    if not len(values):
        return []
    return [_at(values, counts, rank) for rank in _ranks(counts, percent)]


def _range_of_halves(halves, lower):
    if not halves:
        return 0.0, 1.0
    ends = []
    for (half, rank), (values, counts) in zip(halves, lower):
        ends.append(_value(int(half) << 16 | int(_at(values, counts, rank)[0])))
    return _widened(*ends)


def _whole_levels(plan, levels, image):
    """One pair for all pictures, delayed where it must be found; None: what each movie brings along."""
    if levels is None or not isinstance(levels, str) or levels == "full":
        return levels
    if levels == "data":
        if image.dtype.itemsize == 1:
            return "data"  # all of 8 bits, whatever the values
        count = dask.delayed(_extremes)
        extremes = _reduced([count(*one) for one in plan], _add_extremes)
        return dask.delayed(lambda found: _widened(found[1], found[2]))(extremes)
    if not levels.endswith("%"):
        raise ValueError(f"levels are 'data', 'full', '0.35%' or (low, high), not {levels!r}")
    percent = float(levels[:-1])
    if not 0 <= percent < 50:
        raise ValueError("the percentage of levels is at least 0 and less than 50")
    if image.dtype.itemsize < 4:
        count = dask.delayed(_exact_counts)
        return dask.delayed(_range_of_counts)(_reduced([count(*one) for one in plan], _add_counts), percent)
    count, look = dask.delayed(_upper_counts), dask.delayed(_lower_counts)
    halves = dask.delayed(_halves)(_reduced([count(*one) for one in plan], _add_counts), percent)
    lower = _reduced([look(*one, halves) for one in plan], _add_lower)
    return dask.delayed(_range_of_halves)(halves, lower)


def _picture(frozen, frame, levels, how):
    movie = frozen.thaw()
    movie.current_frame = frame
    if levels is not None:
        movie[0].levels = levels
    return movie.render(**how)


def _array(frozen, frame, levels, how):
    return numpy.ascontiguousarray(_picture(frozen, frame, levels, how))


def _written(frozen, frame, levels, how, path):
    _files.save(path, _picture(frozen, frame, levels, how))
    return path


def _plan(source, frames):
    """(movie, frame) of every picture, and the movies on their way."""
    if isinstance(source, _pzel.Movie):
        movies = [source]
    elif isinstance(source, (str, os.PathLike)):
        movies = [_files.open(source)]
    else:
        movies = [_files.open(path) for path in source]
    if not movies:
        raise ValueError("there is nothing to render")
    plan = []
    for movie in movies:
        frozen = dask.delayed(_Frozen.of(movie), pure=True)
        chosen = movie.frames() if frames is None else frames
        for frame in chosen:
            if not 0 <= frame < movie.length:
                raise IndexError(f"{movie.name} has no frame {frame}")
            plan.append((frozen, frame))
    return movies, plan


def render(source, frames=None, *, levels=None, out=None, zoom=1, area=None, depth=None):
    """Pictures of many frames or files, made by Dask's workers.

    source: a Movie; a path, folder or pattern as pzel.open takes it; or a list of paths, each a movie of its own.
    Workers read files by themselves: they must see the same paths.
    frames: numbers; by default those that the movie selects.
    levels: of the lowest component, the same for all pictures: 'data' and '0.35%' of the values of all frames
    together, 'full', or (low, high); None: those that each movie has.
    out: the name of the files that workers write, with a place for the number, such as 'out/frame_{:04}.png'; numbers
    count the pictures from 0.
    zoom, area, depth: see Movie.compose.

    Returns a dask.array of uint8, (n, h, w) or (n, h, w, 3) red first; with `out` a Delayed list of names. The bytes
    are those that one process makes. Raises ValueError naming what does not fit.
    """
    movies, plan = _plan(source, frames)
    how = {"zoom": zoom, "area": area, "depth": depth}
    if not plan:
        raise ValueError("there is nothing to render")
    image = movies[0][0].image
    if levels is not None and len(movies) > 1 and isinstance(levels, str) and levels.endswith("%"):
        types = {movie[0].image.dtype for movie in movies}
        if len({one.itemsize == 4 for one in types}) > 1:
            raise ValueError("levels of all files together need one kind of values: " + ", ".join(map(str, types)))
    chosen = _whole_levels(plan, levels, image)
    if out is not None:
        if out.format(0) == out.format(1):
            raise ValueError(f"{out!r} has no place for the number: 'frame_{{:04}}.png' has")
        write = dask.delayed(_written, pure=True)
        paths = [os.path.abspath(out.format(i)) for i in range(len(plan))]
        return dask.delayed(list)([write(m, f, chosen, how, path) for (m, f), path in zip(plan, paths)])
    shapes = {movie.render(**how).shape for movie in movies}
    if len(shapes) > 1:
        raise ValueError(f"pictures of different shapes make no array: {sorted(shapes)}; write them with out=")
    make = dask.delayed(_array, pure=True)
    shape = shapes.pop()
    parts = [dask.array.from_delayed(make(m, f, chosen, how), shape, numpy.uint8) for m, f in plan]
    return dask.array.stack(parts)
