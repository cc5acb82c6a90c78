#!/bin/bash
# Makes the Debian packages, in build/deb, of what git knows in this checkout, which stays
# as it is. Their version stands in CMakeLists.txt, what it changes and since when in CHANGELOG.md.
set -eu
cd "$(dirname "$0")/.."
packages=$PWD/build/deb
source=$packages/source

version=$(sed -n 's/^project(h5gate VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
day=$(sed -n "s/^## \[$version\] - //p" CHANGELOG.md)
if [ -z "$day" ]; then
  echo "CHANGELOG.md does not say when $version, the version in CMakeLists.txt, was released" >&2
  exit 1
fi

rm -rf "$packages"
mkdir -p "$source"
git ls-files -z | xargs -0 cp --parents --target-directory "$source"
cd "$source"
cat > debian/changelog << END
h5gate ($version) unstable; urgency=medium

$(sed -n "/^## \[$version\]/,/^## /{s/^-/  */p; s/^  [^*]/  &/p}" CHANGELOG.md |
  fmt --tagged-paragraph --width=78)

 -- $(sed -n 's/^Maintainer: //p' debian/control)  $(date --utc --rfc-email --date "$day")
END

# debhelper gives a build a home of its own, where the cache of an earlier one would be missed.
if command -v ccache > /dev/null; then
  CCACHE_DIR=$(ccache --get-config cache_dir)
  export CCACHE_DIR
fi
DEB_BUILD_OPTIONS="nocheck noautodbgsym ${DEB_BUILD_OPTIONS:-}" dpkg-buildpackage -b -us -uc
lintian --fail-on error "$packages"/*.changes
rm -rf "$source"
ls "$packages"/*.deb
