#!/bin/bash
# Checks what users install:
#   tools/test_packages.sh         both
#   tools/test_packages.sh debs    the packages of `make deb`, in a clean Debian
#   tools/test_packages.sh wheel   what `pip install .` builds, in Debian 13
#
# What cannot be had on a machine is skipped, with the reason. The chroots are kept in
# $H5GATE_CLEAN_DEBIAN (build/clean-debian) and $H5GATE_DEBIAN13 (build/debian13).
set -u
cd "$(dirname "$0")/.." || exit 1
checks=("$@")
[ $# -gt 0 ] || checks=(debs wheel)

tools/setup.sh deb || echo "What needs debootstrap is skipped."
# shellcheck disable=SC1091  # a file of the system
suite=$(. /etc/os-release && echo "${VERSION_CODENAME:-stable}")

check() {
  case $1 in
    debs) tools/in_debian.sh "${H5GATE_CLEAN_DEBIAN:-build/clean-debian}" "$suite" \
      /src/h5gate/tests/packages/debs.sh ;;
    wheel) tools/in_debian.sh "${H5GATE_DEBIAN13:-build/debian13}" trixie \
      /src/h5gate/tests/packages/wheel.sh ;;
    *) echo "there is no check '$1'; $0 lists them at its top" && return 1 ;;
  esac
}

mkdir -p build
failed=0
for name in "${checks[@]}"; do
  log=build/test_packages_$name.log
  check "$name" > "$log" 2>&1
  case $? in
    0) echo "$name: passed" ;;
    77) echo "$name: skipped, $(tail -n 1 "$log")" ;;
    *)
      failed=1
      tail -n 40 "$log"
      echo "$name: FAILED; $log says more"
      ;;
  esac
done
exit "$failed"
