# Shared by the scripts; to be sourced. Names the packages of each part and installs what is missing.

BUILD_PACKAGES="g++ cmake ninja-build"
# What the hosts are built on, what readers read with, and what is written with.
APP_PACKAGES="libcli11-dev nlohmann-json3-dev libfreetype-dev fonts-dejavu-core"
APP_PACKAGES="$APP_PACKAGES libopenimageio-dev libcfitsio-dev libavformat-dev libavcodec-dev libswscale-dev"
APP_PACKAGES="$APP_PACKAGES libdcmtk-dev libopenjp2-7-dev libcharls-dev"
APP_PACKAGES="$APP_PACKAGES libtiff-dev libjpeg62-turbo-dev libisal-dev libdeflate-dev zlib1g-dev libpng-dev libgif-dev libtbb-dev"
# What the host with a window is built on.
VIEW_PACKAGES="qt6-base-dev"
TEST_PACKAGES="libgtest-dev python3"
# The Python package: what it is built with, and what its tests use. Debian's Python, whatever else is on PATH.
PYTHON=/usr/bin/python3
PYTHON_PACKAGES="python3-dev pybind11-dev python3-numpy"
PYTHON_TEST_PACKAGES="python3-pytest mypy python3-pil python3-dask python3-distributed"
PYTHON_WHEEL_PACKAGES="python3-build python3-skbuild python3-setuptools python3-wheel python3-venv python3-pip"
FUZZ_PACKAGES="clang-14 libclang-rt-14-dev"
JUDGE_PACKAGES="python3-numpy python3-pydicom python3-gdcm python3-astropy python3-tifffile python3-pil python3-imageio python3-nibabel dcmtk libtiff-tools ffmpeg"

# Runs a command as root: directly, or through sudo. Ends the script where neither is possible.
as_root() {
  if [ "$(id -u)" = 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "$0: needs root or sudo to run: $*" >&2
    exit 1
  fi
}

# Runs a command silently; shows the end of what it said where it fails.
quietly() {
  local log
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1; then
    echo "$0: this failed: $*" >&2
    tail -n 15 "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}

# Installs those of the named packages that are missing.
install_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "Installing ${missing[*]}"
  quietly as_root apt-get update
  quietly as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# Puts a file into a page, in the place of what stands between the marks of a name: <!-- NAME --> ... <!-- end of NAME -->
#   put_between PAGE NAME FILE
put_between() {
  sed -i -e "/^<!-- $2 -->\$/,/^<!-- end of $2 -->\$/ { /^<!-- $2 -->\$/ { r $3
    b }; /^<!-- end of $2 -->\$/ !d }" "$1"
}
