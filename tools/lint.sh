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
  shift
  "$@" || failed=1
}

check 'C++ format' clang-format --dry-run -Werror "${cpp[@]}"
check 'Python format' black --quiet --diff --check "${python[@]}"
check 'Python style' flake8 "${python[@]}"
check 'types of the package' mypy --strict python/zembra
check 'types of the examples' mypy --strict examples
check 'types of the scripts' \
  mypy bench tests/packages tests/releases tests/scripts tests/tools tools
check 'types of the installation tests' mypy tests/install  # has a conftest of its own
check 'shell scripts' shellcheck "${shell[@]}"
check layers tools/check_layers.py
check 'lengths of tests' \
  awk 'FNR == 601 { print FILENAME ": has over 600 lines"; found = 1 } END { exit found }' \
  "${tests[@]}"
check clang-tidy tools/tidy.py build-lint
exit $failed
