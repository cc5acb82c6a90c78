#!/bin/bash
# In a clean Debian, as root: the packages in build/deb install, work, and go without a
# trace. tools/test_packages.sh runs it.
set -eux
here=$(realpath "$(dirname "$0")")
root=$here/../..
export DEBIAN_FRONTEND=noninteractive

ours=(python3-zembra libh5gate-dev libh5gate1)
packages=("$root"/build/deb/*.deb)
version=$(dpkg-deb --field "${packages[0]}" Version)
work=$(mktemp -d)

list_packages() {
  dpkg-query --show --showformat '${Package} ${db:Status-Status}\n'
}
list_files() {
  find / -xdev \( -path /src -o -path /proc \) -prune -o \
    \( -iname '*h5gate*' -o -iname '*zembra*' \) -print
}

dpkg --purge "${ours[@]}"  # an interrupted run may have left them
apt-get update --quiet
list_packages > "$work/before"
[ -z "$(list_files)" ]

apt-get install --quiet --yes --no-install-recommends "${packages[@]}"
libraries=$(dirname "$(dpkg --listfiles libh5gate1 | grep 'libh5gate\.so\.1$')")
zembra --version
(cd / && python3 -m zembra "$here/round_trip.py" "$work/trip.h5" "$version" "$libraries")

# What the packages bring, as a project of one's own finds it.
tools=(cmake g++ make pkgconf)
apt-get install --quiet --yes --no-install-recommends "${tools[@]}"
examples=/usr/share/doc/libh5gate-dev/examples
mkdir "$work/make"
make -C "$work/make" -f "$root/tests/install/pkgconfig.mk" "SOURCES=$examples"
for name in own_host embedded_host; do
  cmake -S "$examples/$name" -B "$work/$name"
  cmake --build "$work/$name"
done
for folder in "$work/make" "$work/own_host"; do
  "$folder/own_host" "$work/own.h5" | grep 'double 3-by-2, the first 1.5, the last 6.5'
done
for folder in "$work/make" "$work/embedded_host"; do
  "$folder/embedded_host" "$work/embedded.h5" | grep 'link speed'
done

apt-get purge --quiet --yes --autoremove "${ours[@]}" "${tools[@]}"
list_packages | diff "$work/before" -
rm -r "$work"
[ -z "$(list_files)" ]
