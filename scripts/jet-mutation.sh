#!/usr/bin/env bash
# Runs the damaged-copy test of the Jet reader over many more cases than the
# test suite does (it takes 10 per fixture), and prints the tally of each
# fixture: how many copies were read to their end and how many failed, by
# the data engine's error number, and the slowest case.
#
#   scripts/jet-mutation.sh [BUILD_DIR] [CASES_PER_FIXTURE] [FIRST_SEED]
#
# Defaults: build, 75 cases for each of the four fixtures, seeds from 1000.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
cases="${2:-75}"
seed="${3:-1000}"
tests="$build/tests/dbcontract_tests"

if [[ ! -x "$tests" ]]; then
  echo "jet-mutation: $tests not found; build the target dbcontract_tests first" >&2
  exit 2
fi

log="$(mktemp)"
trap 'rm -f "$log"' EXIT
status=0
VORN_SOURCE_DIR="$root" VORN_JET_MUTATIONS="$cases" VORN_JET_MUTATION_SEED="$seed" \
  "$tests" --gtest_filter='Fixtures/JetMutationTest.*' >"$log" 2>&1 || status=$?

grep '^\[ MUTATION \]' "$log" | sed 's/^\[ MUTATION \] //'
if [[ $status -ne 0 ]]; then
  echo "jet-mutation: some cases did not read or fail cleanly:" >&2
  grep -E 'Failure|seed [0-9]+:' "$log" >&2 || true
fi
exit "$status"
