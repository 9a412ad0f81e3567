"""Files as movies, and pictures as files, by the readers and encoders that the library's other hosts use."""

import os

import numpy

from . import _pzel

has_files = hasattr(_pzel, "_Reader")
_MISSING = "this build of pzel reads and writes no files: it was built without the hosts' readers (PZEL_BUILD_APPS)"


def _paths(path):
    """Absolute: a reader may be sent to a process that stands in another folder."""
    if isinstance(path, (str, os.PathLike)):
        return os.path.abspath(os.fspath(path))
    return [os.path.abspath(os.fspath(one)) for one in path]


class Reader:
    """The frames of a file as a sequence of images, read one by one when they are asked for.

    path: a file, a folder or a pattern whose files are the frames of one picture, or a list of files.
    page: the page, image or header unit of the file. order: what files follow one another by: 'auto', 'position',
    'instance', 'name' or 'given'.
    purpose: 'picture', 'vectors' (both channels of two) or 'mask' (of a palette the numbers).
    planar: channels as planes instead of pixel by pixel.

    reader[i] is an Image, blue first, with the levels that the file asks for. Threads may share a reader; it reads
    one frame at a time. Raises ValueError naming the file and the reason.
    """

    def __init__(self, path, *, page=None, order="auto", purpose="picture", planar=False):
        if not has_files:
            raise NotImplementedError(_MISSING)
        self._arguments = (_paths(path), page, order, purpose, planar)
        self._reader = _pzel._Reader(*self._arguments)

    def __len__(self):
        return len(self._reader)

    def __getitem__(self, frame):
        if frame < 0:
            frame += len(self)
        if not 0 <= frame < len(self):
            raise IndexError(f"there is no frame {frame}")
        return self._reader.read(frame)

    @property
    def conversions(self):
        """What reading changed or left out, one line each, of all frames that were read up to now."""
        return self._reader.conversions

    @property
    def info(self):
        """What the file tells: format, frames, width, height, channels, type, model, frame_rate, window, …"""
        return self._reader.info

    def __reduce__(self):
        path, page, order, purpose, planar = self._arguments
        return _restore_reader, (path, page, order, purpose, planar)

    def __repr__(self):
        return f"<pzel.Reader {self._arguments[0]!r}, {len(self)} frames>"


def _restore_reader(path, page, order, purpose, planar):
    return Reader(path, page=page, order=order, purpose=purpose, planar=planar)


def open(path, *, levels=None, name=None, page=None, order="auto", purpose="picture", planar=False):
    """A movie of one component that shows a file, read frame by frame when a frame is wanted.

    path, page, order, purpose, planar: see Reader. levels: see Image.levels; by default those that the file asks for,
    else those of the data of the first frame. They stay while frames change.

    What reading changed stands in movie.conversions. Raises ValueError naming the file and the reason.
    """
    reader = Reader(path, page=page, order=order, purpose=purpose, planar=planar)
    info = reader.info
    title = name if name is not None else os.path.basename(str(info["file"]).rstrip("/"))
    comp = _pzel.Comp(frames=reader, name=title)
    if levels is not None:
        comp.levels = levels
    if purpose == "picture" and info["low_is_white"]:
        comp.image
        comp.remapper = _pzel.Remapper(invert=True)
    return _pzel.Movie(comp, name=title)


def _pixels(picture):
    """Rows for an encoder: grey, or colour blue first, without a copy where render() made them."""
    if isinstance(picture, (_pzel.Comp, _pzel.Movie, _pzel.Image)):
        picture = picture.render()
    array = numpy.asarray(picture)
    if array.dtype == bool and array.ndim == 2:
        return numpy.packbits(array, axis=1), array.shape[1], "bits"
    if array.dtype == numpy.uint8 and array.ndim == 2:
        return numpy.ascontiguousarray(array), array.shape[1], "grey8"
    if array.dtype == numpy.uint16 and array.ndim == 2:
        return numpy.ascontiguousarray(array), array.shape[1], "grey16"
    if array.ndim == 3 and array.shape[2] == 3 and array.dtype == numpy.uint8:
        return numpy.ascontiguousarray(array[..., ::-1]), array.shape[1], "bgr24"
    if array.ndim == 3 and array.shape[2] == 3 and array.dtype == numpy.uint16:
        return numpy.ascontiguousarray(array), array.shape[1], "rgb48"
    raise ValueError(
        f"a picture is bool, uint8 or uint16, (h, w) or (h, w, 3), not {array.dtype} {array.shape}: use render()"
    )


def save(path, picture, *, quality=90, compression=1):
    """Writes a picture as PNG, JPEG or TIFF, by the ending of the name; the file appears whole or not at all.

    picture: a movie, component or image (as render() shows it), or an array, (h, w) or (h, w, 3) red first, of uint8,
    uint16 (not JPEG), or bool for bits. quality: of JPEG, 1 … 100. compression: of PNG and TIFF, 0 … 9.
    Raises ValueError naming the file and the reason.
    """
    if not has_files:
        raise NotImplementedError(_MISSING)
    rows, width, kind = _pixels(picture)
    _pzel._save(os.fspath(path), rows, width, kind, quality, compression)


def png(picture):
    """The bytes of a PNG file, or None in a build that writes none."""
    if not has_files:
        return None
    rows, width, kind = _pixels(picture)
    return _pzel._png(rows, width, kind)
