#!/bin/bash
# In Debian 13, as root: pip builds a wheel of the checkout, which is not to be written to,
# out of nothing but Debian's packages; it works in a virtual environment and goes without
# a trace. tools/test_packages.sh runs it.
set -eux
here=$(realpath "$(dirname "$0")")
root=$(realpath "$here/../..")
export DEBIAN_FRONTEND=noninteractive

"$root/tools/setup.sh"
backend=(python3-scikit-build-core python3-venv)
if ! apt-get install --quiet --yes --no-install-recommends "${backend[@]}"; then
  echo "${backend[*]} cannot be installed"
  exit 77
fi

work=$(mktemp -d)
python3 -m venv --system-site-packages "$work/venv"
pip=("$work/venv/bin/pip" --no-input --disable-pip-version-check)
cd /
"${pip[@]}" install --no-index --no-build-isolation "$root"
version=$("${pip[@]}" show zembra | sed -n 's/^Version: //p')
"$work/venv/bin/zembra" --version
"$work/venv/bin/python" -m zembra "$here/round_trip.py" "$work/trip.h5" "$version" "$work/venv"

"${pip[@]}" uninstall --yes zembra
[ -z "$(find "$work/venv" -iname '*h5gate*' -o -iname '*zembra*')" ]
rm -r "$work"
