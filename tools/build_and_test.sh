#!/bin/bash
# Builds this checkout in a folder of its own and runs all its tests there:
#   tools/build_and_test.sh FOLDER [CMAKE ARGUMENT...]
# What was built before is built upon. The tests' reports are FOLDER/reports/unit/*.xml
# and FOLDER/reports/python/*.xml. Nothing is written into the checkout.
set -eu

folder=$(realpath -m "$1")
shift
cd "$(dirname "$0")/.."

reports=$folder/reports
rm -rf "$reports"
mkdir -p "$reports/unit" "$reports/python"

cmake -S . -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Release -DH5GATE_TESTS=ON \
  -DH5GATE_UNITY=ON -DCMAKE_COMPILE_WARNING_AS_ERROR=ON "$@"
cmake --build "$folder"

failed=0
GTEST_OUTPUT=xml:$reports/unit/ ctest --test-dir "$folder" --no-tests=error --output-on-failure \
  --parallel "$(nproc)" || failed=1
PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$folder/python${PYTHONPATH:+:$PYTHONPATH} \
  /usr/bin/python3 -m pytest -p no:cacheprovider --junitxml="$reports/python/scripts.xml" \
  --numprocesses=auto --dist=loadfile tests/releases tests/scripts || failed=1
exit $failed
