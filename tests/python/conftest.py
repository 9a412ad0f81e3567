"""What the tests of the package share: sample files, and where the package is taken from (PYTHONPATH)."""
import os
import pathlib

import pytest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SAMPLES = pathlib.Path(os.environ.get("PZEL_SAMPLES", ROOT / "build-samples"))


@pytest.fixture
def pictures():
    return SAMPLES / "usr/lib/python3/dist-packages/skimage/data"


@pytest.fixture
def dicom():
    return SAMPLES / "usr/lib/python3/dist-packages/pydicom/data/test_files"
