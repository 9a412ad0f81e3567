"""The stubs say what the built module holds, and help reads as text."""
import os
import pathlib
import pydoc
import site
import subprocess
import sys

import pytest

import pzel

HERE = pathlib.Path(__file__).parent


@pytest.mark.skipif("LD_PRELOAD" in os.environ, reason="mypy under a sanitizer tells of mypy")
def test_stubs_are_the_module():
    pytest.importorskip("mypy")
    place = str(pathlib.Path(pzel.__file__).parent.parent)
    command = [sys.executable, "-m", "mypy.stubtest", "pzel", "--concise", "--allowlist", HERE / "stubtest.allow"]
    # Where packages are installed mypy looks by itself, and refuses to be told.
    paths = {} if place in site.getsitepackages() else {"MYPYPATH": place, "PYTHONPATH": place}
    run = subprocess.run(command, capture_output=True, text=True, cwd="/", env={**os.environ, **paths})
    assert run.returncode == 0, run.stdout + run.stderr


def test_everything_public_has_a_text():
    for name in set(pzel.__all__) - {"has_files"}:
        thing = getattr(pzel, name)
        assert thing.__doc__, name
        if isinstance(thing, type) and not issubclass(thing, int) and thing.__module__.startswith("pzel"):
            silent = [key for key, member in vars(thing).items() if key[0] != "_" and not member.__doc__]
            assert not silent, (name, silent)
    text = pydoc.render_doc(pzel.Movie)
    assert "C++: ComposeMovie" in text and "C++: SetBlackWhite" in text
