"""Pictures in notebooks, and in the window where that is installed."""

import html
import os
import pathlib
import shutil
import subprocess
import tempfile
import threading

from . import _files, _pzel


def _text(levels):
    pairs = list(dict.fromkeys(levels))
    return ", ".join(f"{low:g} … {high:g}" for low, high in pairs) or "none"


def _row(comp):
    image = comp.image
    if image is None:
        return [comp.name, "no image", "", "", ""]
    size = f"{image.width} × {image.height}" + (f" × {image.channels}" if image.channels > 1 else "")
    what = f"{size}, {'bits' if image.type == _pzel.DataType.BIT else image.dtype}"
    x, y = comp.location
    return [comp.name, what, _text(image.levels), f"{comp.opacity:.0%} at {x}, {y}", str(comp.frame_count)]


def _table(components):
    head = ["name", "image", "levels", "opacity and place", "frames"]
    lines = ["<tr>" + "".join(f"<th>{title}</th>" for title in head) + "</tr>"]
    for comp in components:
        lines.append("<tr>" + "".join(f"<td>{html.escape(cell)}</td>" for cell in _row(comp)) + "</tr>")
    return "<table>" + "".join(lines) + "</table>"


def _repr_png(self):
    try:
        return _files.png(self)
    except ValueError:  # nothing that can be shown: the text remains
        return None


def _repr_html(self):
    """The picture and a table of what it holds beside it."""
    import base64

    components = list(self) if isinstance(self, _pzel.Movie) else [self]
    try:
        table = _table(components)
    except ValueError:
        return None
    picture = _repr_png(self)
    if picture is None:
        return table
    data = base64.b64encode(picture).decode()
    return (
        '<div style="display: flex; gap: 1em; align-items: flex-start">'
        f'<img src="data:image/png;base64,{data}" alt="{html.escape(self.name)}"/>{table}</div>'
    )


_pzel.Comp._repr_png_ = _repr_png
_pzel.Comp._repr_html_ = _repr_html
_pzel.Movie._repr_png_ = _repr_png
_pzel.Movie._repr_html_ = _repr_html
_pzel.Image._repr_png_ = _repr_png


def show(*things):
    """Shows movies, components, images and arrays in a notebook, one after the other.

    Outside of one it prints what they are. Arrays are shown as pzel.Image(array) shows them, of the data's range.
    """
    for thing in things:
        if not isinstance(thing, (_pzel.Comp, _pzel.Movie)):
            thing = _pzel.Comp(thing)
        try:
            from IPython import get_ipython  # type: ignore[import]
            from IPython.display import display  # type: ignore[import]
        except ImportError:
            get_ipython = None
        if get_ipython is not None and get_ipython() is not None:
            display(thing)
        else:
            print(thing)


def view(movie):
    """Opens a movie, component, image or array in the window of pzel-view, which goes on by itself.

    The window reads files: the movie's own where it shows one as it is, else a picture of the movie as it is now,
    a temporary file that goes with the window (and stays where Python ends before). Returns the process. Raises FileNotFoundError where pzel-view is not installed.
    """
    program = os.environ.get("PZEL_VIEW") or shutil.which("pzel-view")
    if program is None:
        raise FileNotFoundError("pzel-view is not installed: it is neither on PATH nor named by PZEL_VIEW")
    frames = movie[0].frames if isinstance(movie, _pzel.Movie) and len(movie) == 1 else None
    path = frames._arguments[0] if isinstance(frames, _files.Reader) else None
    if isinstance(path, str):
        return subprocess.Popen([program, path])
    shown = movie if isinstance(movie, (_pzel.Movie, _pzel.Comp)) else _pzel.Comp(movie)
    descriptor, name = tempfile.mkstemp(prefix="pzel-", suffix=".png")
    os.close(descriptor)
    try:
        _files.save(name, shown)
        process = subprocess.Popen([program, name])
    except BaseException:
        os.unlink(name)
        raise

    def sweep():
        process.wait()
        pathlib.Path(name).unlink(missing_ok=True)

    threading.Thread(target=sweep, daemon=True).start()
    return process
