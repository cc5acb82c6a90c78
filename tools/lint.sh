#!/bin/bash
# Checks the formatting of every C++ file that git knows, then runs the static
# checks on every source that the build in the given folder compiles.
set -eu
build=$(realpath "${1:-build}")
cd "$(dirname "$0")/.."

failed=0
git ls-files -z '*.cpp' '*.hpp' | xargs -0 clang-format --dry-run -Werror || failed=1

# Which warnings are errors is for the compiler that builds it to say, not for clang.
# Only our own: the compilation database may know generated sources as well.
git ls-files '*.cpp' | while read -r source; do
  if grep -q "\"file\": \"$PWD/$source\"" "$build/compile_commands.json"; then
    printf '%s\0' "$source"
  fi
done | xargs -0 -P2 -n1 clang-tidy --quiet --extra-arg=-Wno-error -p "$build" || failed=1

exit $failed
