#!/bin/bash
# Builds h5gate and runs its tests with every HDF5 and every compiler that it is made for:
#   tools/test_releases.sh               all of them
#   tools/test_releases.sh hdf5-1.8.6    some of them
#
#   system       HDF5, compiler and Python of this machine
#   hdf5-1.8.6   the oldest HDF5, built from the sources beside this checkout; of the
#                Python tests those that do without h5py, which belongs to another HDF5
#   debian13     Debian 13 in a chroot: the newest HDF5, compiler, Python and NumPy
#   clang        HDF5 and Python of this machine, compiled by clang
#
# What cannot be had on a machine is skipped, with the reason; a test that fails fails the
# run. Builds are kept in build/releases, the chroot in $H5GATE_DEBIAN13 (build/debian13),
# HDF5 1.8.6 in $H5GATE_HDF5_186 (build/hdf5-1.8.6): the next run is a short one.
set -u

cd "$(dirname "$0")/.." || exit 1
releases=("$@")
[ $# -gt 0 ] || releases=(system hdf5-1.8.6 debian13 clang)
builds=$PWD/build/releases
mkdir -p "$builds"

# What cannot be tested says why and ends with this status.
skipped=77
skip() {
  echo "$1"
  return "$skipped"
}

hdf5_186=${H5GATE_HDF5_186:-$PWD/build/hdf5-1.8.6}
inside=(tools/in_debian.sh "${H5GATE_DEBIAN13:-$PWD/build/debian13}" trixie)

# What a release needs, where it is not there yet.
prepare() {
  local installer=../shared/hdf5-1.8.6/install.sh
  case $1 in
    hdf5-1.8.6)
      [ -e "$installer" ] || skip "there is no $installer" || return
      "$installer" "$hdf5_186"
      ;;
    debian13)
      "${inside[@]}" true || return
      "${inside[@]}" /src/h5gate/tools/setup.sh test || skip "its packages cannot be installed"
      ;;
    clang) command -v clang++ > /dev/null || skip "there is no clang++" ;;
  esac
}

test_hdf5_186() {
  # What a process leaves behind when it ends, those tests look at through h5py.
  PYTHONPATH=$PWD/tools/absent_h5py PYTEST_ADDOPTS=--ignore=tests/scripts/test_shutdown.py \
    tools/build_and_test.sh "$builds/hdf5-1.8.6" "-DHDF5_ROOT=$hdf5_186"
}

test_debian13() {
  "${inside[@]}" /src/h5gate/tools/build_and_test.sh /src/build
  local status=$?
  mkdir -p "$builds/debian13"
  cp -r "${inside[1]}/src/build/reports" "$builds/debian13/"
  return "$status"
}

test_clang() {
  # Each source by itself: elsewhere one may live on what another includes.
  CC=clang CXX=clang++ tools/build_and_test.sh "$builds/clang" -DH5GATE_UNITY=OFF
}

test_release() {
  prepare "$1" || return
  case $1 in
    system) tools/build_and_test.sh "$builds/system" ;;
    hdf5-1.8.6) test_hdf5_186 ;;
    debian13) test_debian13 ;;
    clang) test_clang ;;
    *) echo "there is no release '$1'; $0 lists them at its top" && return 1 ;;
  esac
}

tools/setup.sh || exit
tools/setup.sh releases || echo "What needs them is skipped."

# Mostly downloads and what runs on one core: all at once. What fails here fails again below,
# where it is told.
for release in "${releases[@]}"; do
  prepare "$release" > /dev/null 2>&1 &
done
wait

failed=0
statuses=()
for release in "${releases[@]}"; do
  log=$builds/$release.log
  echo "Testing $release, which $log tells about"
  rm -rf "$builds/$release/reports"
  test_release "$release" > "$log" 2>&1
  status=$?
  statuses+=("$status")
  if [ "$status" -ne 0 ] && [ "$status" -ne "$skipped" ]; then
    failed=1
    tail -n 60 "$log"
  fi
done

# --- The table; the reasons of skipped tests stand below what was counted ----------------

counted() {
  /usr/bin/python3 tools/count_tests.py "$builds/$1/reports/$2"
}

line() {
  printf '%-12s %-8s %-38s %s\n' "$@"
}

echo
line release result "unit tests" "Python tests"
for i in "${!releases[@]}"; do
  release=${releases[i]}
  if [ "${statuses[i]}" -eq "$skipped" ]; then
    line "$release" skipped "$(tail -n 1 "$builds/$release.log")" ""
    continue
  fi
  unit=$(counted "$release" unit)
  python=$(counted "$release" python)
  [ "${statuses[i]}" -eq 0 ] && result=passed || result=FAILED
  line "$release" "$result" "${unit%%$'\n'*}" "${python%%$'\n'*}"
  printf '%s\n%s\n' "$unit" "$python" | grep '^  ' | sort -u
done
exit "$failed"
