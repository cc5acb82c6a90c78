#!/bin/bash
# Looks at everything that git knows: C++, Python and shell, and where the files stand.
# The folder build-lint is to be configured with the preset `lint`, and its target
# zembra_package built: mypy needs the stubs that it makes.
set -eu
cd "$(dirname "$0")/.."

files() { git ls-files -z "$@"; }
mapfile -d '' cpp < <(files '*.cpp' '*.hpp')
mapfile -d '' python < <(files '*.py' '*.pyi')
mapfile -d '' tests < <(files 'tests/*.cpp' 'tests/*.hpp' 'tests/*.py')
mapfile -d '' shell < <(files | xargs -0 awk '
  FNR == 1 && /^#!.*[\/ ](ba|da)?sh( |$)/ { printf "%s%c", FILENAME, 0 } { nextfile }')

failed=0
check() {
  echo "--- $1"
  "$@" || failed=1
}

check clang-format --dry-run -Werror "${cpp[@]}"
check black --quiet --diff --check "${python[@]}"
check flake8 "${python[@]}"
check mypy --strict python/zembra
check mypy bench examples tests/scripts tests/tools tools
check shellcheck "${shell[@]}"
check tools/check_layers.py
check awk 'FNR == 601 { print FILENAME ": has over 600 lines"; found = 1 } END { exit found }' \
  "${tests[@]}"
check tools/tidy.py build-lint
exit $failed
