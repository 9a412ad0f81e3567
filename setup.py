"""`pip install .` and wheels: CMake builds and installs, scikit-build packs what it installed into pzel/."""
import pathlib
import re
import sys

from skbuild import setup

root = pathlib.Path(__file__).resolve().parent
version = re.search(r"project\(pzel VERSION ([0-9.]+)", (root / "CMakeLists.txt").read_text())[1]

setup(
    name="pzel",
    version=version,
    description="In-memory images and movies, and their way to the screen, over NumPy arrays",
    python_requires=">=3.9",
    install_requires=["numpy"],
    extras_require={"dask": ["dask", "distributed"]},
    packages=["pzel"],
    package_dir={"pzel": "python/pzel"},
    package_data={"pzel": ["*.pyi", "py.typed"]},
    cmake_install_dir="python/pzel",
    cmake_languages=["CXX"],
    cmake_install_target="pzel-python-install",
    cmake_args=[
        "-DPZEL_BUILD_PYTHON=ON",
        "-DPZEL_BUILD_TESTS=OFF",
        "-DPZEL_BUILD_VIEW=OFF",
        f"-DPython3_EXECUTABLE={sys.executable}",
    ],
)
