#!/bin/bash
# All that is checked before a change is taken, in the order in which failures are likely:
# two cores need less than an hour and a half. The first step that fails ends the run, and
# the last line says which it was.
#   tools/ci.sh             all steps
#   tools/ci.sh lint fuzz   some of them
set -u
cd "$(dirname "$0")/.." || exit 1

# The same for all steps, or each would build anew what another has built.
export CMAKE_ARGS="-DCMAKE_COMPILE_WARNING_AS_ERROR=ON -DH5GATE_UNITY=ON"

step_test() { make test; }
step_lint() { make lint; }
step_long() { make test-long; }
step_sanitize() { make sanitize && make sanitize-threads; }
step_fuzz() { make fuzz CALLS=50000 MUTATIONS=100; }
step_docs() { make docs; }
# The first step was that of this machine's own release.
step_releases() { tools/test_releases.sh hdf5-1.8.6 debian13 clang; }
step_packages() { make deb && tools/test_packages.sh; }

steps=("$@")
[ $# -gt 0 ] || steps=(test lint long sanitize fuzz docs releases packages)
for step in "${steps[@]}"; do
  if ! declare -F "step_$step" > /dev/null; then
    echo "There is no step '$step'"
    exit 1
  fi
done

took() {
  printf '%d min %02d s' $((SECONDS / 60)) $((SECONDS % 60))
}

summary=()
for step in "${steps[@]}"; do
  echo "=== $step"
  SECONDS=0
  "step_$step" && result=passed || result=FAILED
  summary+=("$(printf '%-10s %s after %s' "$step" "$result" "$(took)")")
  echo "=== ${summary[-1]}"
  [ "$result" = passed ] || break
done

echo
printf '%s\n' "${summary[@]}"
[ "$result" = passed ]
