#!/bin/bash
# Installs the Debian packages that building and testing need, if any is missing.
#   tools/setup.sh          to build, test, demonstrate, measure
#   tools/setup.sh lint     to lint and format as well
#   tools/setup.sh releases to test with other compilers and releases as well
set -eu

packages=(
  build-essential g++ cmake ninja-build
  libhdf5-dev hdf5-tools libboost-dev libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-dev python3-numpy python3-h5py python3-pytest python3-scipy pybind11-dev
)
if [ "${1:-}" = lint ]; then
  packages+=(git clang-format clang-tidy)
elif [ "${1:-}" = releases ]; then
  packages+=(clang debootstrap xz-utils)
fi

if ! command -v dpkg-query > /dev/null; then
  echo "This is not a Debian system; what is needed goes by these names there: ${packages[*]}" >&2
  exit 0
fi

missing=()
for package in "${packages[@]}"; do
  # Not installed and not known at all look different, and both mean missing.
  state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2> /dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo > /dev/null; then
    echo "These packages are missing, and installing them takes root: ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi
echo "Installing ${missing[*]}"
"${as_root[@]}" apt-get update --quiet
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install --quiet --yes --no-install-recommends "${missing[@]}"
