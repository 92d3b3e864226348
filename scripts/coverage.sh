#!/usr/bin/env bash
# Builds the tree with gcov coverage into its own folder (build-coverage/, Debug, no
# optimisation), runs the tests and reports the line and branch coverage of src/ (lcov; the
# HTML report goes to build-coverage/report/). --units leaves out the fuzz corpus replays, to
# measure what the unit tests alone cover; further arguments go to ctest (-R tst_rcreader).
#
#   scripts/coverage.sh [--units] [ctest arguments]
set -euo pipefail
cd "$(dirname "$0")/.."

# The package test builds an outside host with the system's plain flags against the installed
# library, which cannot link an instrumented one; it runs in the normal build.
exclude='^entry_package$'
if [ "${1:-}" = "--units" ]; then exclude='^(entry_package|fuzz_replay_.*)$'; shift; fi

scripts/install-deps.sh lcov
folder=build-coverage
cmake -S . -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS="--coverage -O0" -DCMAKE_EXE_LINKER_FLAGS="--coverage" \
  -DCMAKE_SHARED_LINKER_FLAGS="--coverage" -DKVEDIT_BUILD_BENCH=OFF >/dev/null
cmake --build "$folder" --parallel "$(nproc)"

# Branches gcc adds for exception unwinding are left out: no test could take them on purpose.
rc=(--rc lcov_branch_coverage=1 --rc geninfo_no_exception_branch=1)
find "$folder" -name '*.gcda' -delete
export QT_QPA_PLATFORM=offscreen
status=0
ctest --test-dir "$folder" --output-on-failure --parallel "$(nproc)" --timeout 1200 \
  -E "$exclude" "$@" || status=$?

# This lcov's geninfo warns of its own redefined subroutines on every run; those lines go.
lcov --quiet "${rc[@]}" --capture --directory "$folder" --output-file "$folder/all.info" 2>&1 >/dev/null \
  | { grep -v ' redefined at ' >&2 || true; }
lcov --quiet "${rc[@]}" --extract "$folder/all.info" "$PWD/src/*" --output-file "$folder/src.info" >/dev/null
genhtml --quiet "${rc[@]}" --output-directory "$folder/report" "$folder/src.info" >/dev/null
echo "Coverage of src/:"
lcov "${rc[@]}" --summary "$folder/src.info" 2>&1 | grep -E '^ *(lines|branches)'
exit "$status"
