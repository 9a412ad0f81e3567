"""The scripts that users copy from, each on real data: they run as they stand, and their pictures show something."""
import os
import pathlib
import shutil
import subprocess
import sys

import numpy as np
import pytest

import pzel

pytestmark = pytest.mark.skipif("LD_PRELOAD" in os.environ, reason="whole programs, whose calls other tests make")
EXAMPLES = pathlib.Path(__file__).resolve().parent.parent.parent / "examples/python"


def run(name, *arguments):
    done = subprocess.run([sys.executable, EXAMPLES / name, *map(str, arguments)], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    return done.stdout


def picture(path):
    image = pzel.Reader(path)[0]
    return image.rgb() if image.channels == 3 else image.array()


def test_levels_of_a_slice(tmp_path, dicom):
    assert "bone: 8.3%" in run("levels.py", dicom / "CT_small.dcm", tmp_path / "x.png")
    data, tissue, bone = np.hsplit(picture(tmp_path / "x.png")[::3, ::3], 3)
    values = pzel.open(dicom / "CT_small.dcm")[0].image.array()
    assert (tissue[values >= 240] == 255).all() and (tissue[values <= -160] == 0).all()
    assert (bone[values <= 100] == 0).all() and (np.diff(data.ravel()[np.argsort(values.ravel())].astype(int)) >= 0).all()


def test_contact_sheet_of_a_stack(tmp_path, pictures):
    pytest.importorskip("dask")
    run("contact_sheet.py", pictures / "no_time_for_that_tiny.gif", tmp_path / "x.png")
    frames = pzel.Reader(pictures / "no_time_for_that_tiny.gif")
    sheet = picture(tmp_path / "x.png")
    assert sheet.size >= sum(frame.width * frame.height for frame in frames)
    assert sheet.std() > 20


def test_gradient_as_arrows(tmp_path, pictures):
    run("arrows.py", pictures / "coins.png", tmp_path / "x.png")
    drawn = picture(tmp_path / "x.png")
    yellow = (drawn == (255, 255, 0)).all(axis=2)
    assert 0.005 < yellow.mean() < 0.2 and drawn.shape[:2] == picture(pictures / "coins.png").shape


def test_three_layers(tmp_path, dicom):
    run("layers.py", dicom / "CT_small.dcm", tmp_path / "x.png")
    drawn = picture(tmp_path / "x.png")
    red = (drawn == (255, 0, 0)).all(axis=2)
    assert drawn.shape == (512, 512, 3) and 0.005 < red.mean() < 0.1
    assert drawn[2, 2, 2] > drawn[2, 2, 0]  # air is blue in the map


def test_a_folder_by_dask(tmp_path, pictures):
    pytest.importorskip("distributed")
    (tmp_path / "in").mkdir()
    for name in ("coffee.png", "moon.png", "README.txt"):
        shutil.copy(pictures / name, tmp_path / "in")
    said = run("folder.py", tmp_path / "in", tmp_path / "out", 1)
    assert "README.txt: is of no known" in said
    for i, name in enumerate(("coffee.png", "moon.png")):
        assert np.array_equal(picture(tmp_path / f"out/picture_{i:03}.png"), pzel.open(pictures / name).render())
