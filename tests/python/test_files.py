"""Files through the package, beside other readers of the same files, and what is shown in a notebook."""
import pathlib
import pickle
import subprocess
import sys
import time

import numpy as np
import pytest

import pzel

pytestmark = pytest.mark.skipif(not pzel.has_files, reason="a build without readers")


def test_files_are_what_others_read(pictures):
    PIL = pytest.importorskip("PIL.Image")
    for name in ("coffee.png", "moon.png", "color.png"):
        want = np.asarray(PIL.open(pictures / name))
        movie = pzel.open(pictures / name)
        assert np.array_equal(movie.render(), want[..., :3] if want.ndim == 3 else want)
        colour = want.ndim == 3
        assert np.array_equal(movie[0].image.rgb() if colour else movie[0].image.array(), movie.render())


def test_frames_come_one_by_one_and_conversions_are_told(dicom, pictures):
    dose = pzel.open(dicom / "rtdose.dcm")
    assert dose.length == 15 and any("float" in line for line in dose.conversions)
    kept, levels = dose[0].image.array(), dose[0].levels
    before = kept.copy()
    pictures_of_all = [dose.render(frame).copy() for frame in dose.frames()]
    assert np.array_equal(kept, before) and dose[0].levels == levels
    assert len({picture.tobytes() for picture in pictures_of_all}) > 5
    again = pickle.loads(pickle.dumps(dose, 5))
    assert np.array_equal(again.render(7), pictures_of_all[7]) and len(pickle.dumps(dose, 5)) < 2000
    stack = pzel.Reader([pictures / "chessboard_GRAY.png"] * 3)
    assert len(stack) == 3 and np.array_equal(stack[-1].array(), stack[0].array())
    with pytest.raises(IndexError):
        stack[3]
    planar = pzel.Reader(pictures / "coffee.png", planar=True)[0]
    assert planar.shape == (3, 400, 600) and np.array_equal(planar.rgb(), pzel.open(pictures / "coffee.png").render())


def test_errors_name_the_file(tmp_path):
    (tmp_path / "empty.png").touch()
    with pytest.raises(ValueError, match="empty.png"):
        pzel.open(tmp_path / "empty.png")
    with pytest.raises(ValueError, match="missing.dcm"):
        pzel.open(tmp_path / "missing.dcm")
    with pytest.raises(ValueError, match=r"x\.bmp.*\.png"):
        pzel.save(tmp_path / "x.bmp", np.zeros((3, 3), np.uint8))
    with pytest.raises(ValueError, match="no/x.png"):
        pzel.save(tmp_path / "no/x.png", np.zeros((3, 3), np.uint8))
    with pytest.raises(ValueError, match="float64"):
        pzel.save(tmp_path / "x.png", np.zeros((3, 3)))


@pytest.mark.parametrize("ending", ["png", "tif"])
def test_what_is_saved_comes_back(tmp_path, ending):
    random = np.random.default_rng(1)
    path = tmp_path / f"x.{ending}"
    for array in (random.integers(0, 256, (7, 9), np.uint8), random.integers(0, 256, (7, 9, 3), np.uint8),
                  random.integers(0, 65536, (7, 9), np.uint16), random.integers(0, 65536, (7, 9, 3), np.uint16),
                  random.random((7, 9)) < 0.5):
        pzel.save(path, array)
        image = pzel.Reader(path)[0]
        back = image.unpack() if array.dtype == bool else image.rgb() if array.ndim == 3 else image.array()
        assert back.dtype == array.dtype and np.array_equal(back, array)


def test_notebooks_see_the_picture_and_what_it_holds(tmp_path):
    movie = pzel.Movie(pzel.Comp(np.arange(48, dtype=np.float32).reshape(6, 8), name="<ramp>"), name="film")
    (tmp_path / "x.png").write_bytes(movie._repr_png_())
    assert np.array_equal(pzel.Reader(tmp_path / "x.png")[0].array(), movie.render())
    html = movie._repr_html_()
    assert "&lt;ramp&gt;" in html and "8 × 6" in html and "0 … 47" in html and "data:image/png" in html
    assert pzel.Movie()._repr_png_() is None and "no image" in pzel.Comp()._repr_html_()


def test_the_window_is_started_with_the_file_itself(tmp_path, monkeypatch, pictures):
    monkeypatch.setenv("PATH", str(tmp_path))
    monkeypatch.delenv("PZEL_VIEW", raising=False)
    movie = pzel.open(pictures / "coffee.png")
    with pytest.raises(FileNotFoundError, match="not installed"):
        pzel.view(movie)
    program = tmp_path / "pzel-view"
    program.write_text(f"#!/bin/sh\necho \"$1\" > {tmp_path}/seen\n/bin/cp \"$1\" {tmp_path}/shown.png\n")
    program.chmod(0o755)
    pzel.view(movie).wait()
    assert (tmp_path / "seen").read_text().strip() == str(pictures / "coffee.png")
    pzel.view(np.eye(4, dtype=np.uint8)).wait()
    assert np.array_equal(pzel.Reader(tmp_path / "shown.png")[0].array(), np.eye(4) * 1)
    temporary = pathlib.Path((tmp_path / "seen").read_text().strip())
    for _ in range(100):
        if not temporary.exists():
            break
        time.sleep(0.05)
    assert not temporary.exists()
