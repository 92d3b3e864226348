#!/usr/bin/env bash
# Builds and runs the benchmarks: synthetic workspaces of 1000, 8000 and 32767 strings, every
# figure as the median of repeated runs with the minimum and maximum beside it. Prints one table,
# writes the same as JSON to bench/results/latest.json and sets it beside
# bench/results/reference.json when that exists.
#   scripts/bench.sh             the table (about three minutes on two cores)
#   scripts/bench.sh --growth    also 4000 and 16000 strings, then how each figure grows with them
#   scripts/bench.sh --quick     fewer runs; --sizes 1000,32767 other sizes; --help for the rest
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target kvedit_bench kvedit --parallel "$(nproc)"
args=(--json bench/results/latest.json)
if [ -f bench/results/reference.json ]; then
  args+=(--compare bench/results/reference.json)
fi
exec build/bench/kvedit_bench "${args[@]}" "$@"
