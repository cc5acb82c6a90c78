#!/bin/bash
# Installs the Debian packages that are missing.
#   tools/setup.sh          to build, install and demonstrate
#   tools/setup.sh test     to test as well
#   tools/setup.sh bench    to measure as well
#   tools/setup.sh docs     to make the site of the documents as well
#   tools/setup.sh lint     to lint and format as well
#   tools/setup.sh deb      to make Debian packages and check them as well
#   tools/setup.sh releases to test with other compilers and releases as well
set -eu

packages=(
  g++ make cmake ninja-build libhdf5-dev libdeflate-dev
  python3 python3-dev python3-numpy pybind11-dev
)
# What is checked and measured against, and what the static checks have to read.
tested=(libgtest-dev libgmock-dev hdf5-tools pkgconf python3-h5py python3-hypothesis
  python3-pytest python3-pytest-xdist python3-scipy python3-matplotlib python3-tqdm
  python3-nbconvert python3-ipykernel python3-dask python3-distributed)
case "${1:-}" in
  test) packages+=("${tested[@]}") ;;
  bench) packages+=(python3-h5py python3-dask python3-matplotlib) ;;
  deb) packages+=(build-essential debhelper dh-python dpkg-dev git lintian debootstrap xz-utils) ;;
  docs) packages+=(python3-matplotlib python3-sphinx python3-myst-parser furo) ;;
  releases) packages+=("${tested[@]}" clang debootstrap xz-utils) ;;
  lint) packages+=("${tested[@]}" git clang-format clang-tidy black flake8 mypy shellcheck) ;;
esac

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
