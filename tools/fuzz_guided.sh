#!/bin/bash
# Sequences of calls that coverage guides: clang's libFuzzer, where there is a clang.
#   tools/fuzz_guided.sh [CALLS]
# What it finds goes to build-guided/crash-*, which build/bin/fuzz_calls --shrink takes.
set -eu
cd "$(dirname "$0")/.."

if ! command -v clang++ > /dev/null; then
  echo 'There is no clang++: no calls are guided by coverage'
  exit 0
fi
calls_in_input=100
cmake --preset guided
cmake --build --preset guided
mkdir -p build-guided/corpus
build-guided/bin/guided_calls build-guided/corpus -runs=$((${1:-100000} / calls_in_input)) \
  -max_len=$((calls_in_input * 24 + 1)) -len_control=0 -rss_limit_mb=4096 -malloc_limit_mb=2048 \
  -timeout=60 -close_fd_mask=3 -artifact_prefix="$PWD/build-guided/"
