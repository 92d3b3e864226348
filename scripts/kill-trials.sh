#!/usr/bin/env bash
# Kill trials: saves of a large workspace are killed with SIGKILL at random moments, and every
# reopen must show either the state before the save or the state after it, never a mixture,
# and nothing may be left behind that a later run trips over.
#
#   scripts/kill-trials.sh [N]     (default 100 trials; uses build/app/kvedit, built if missing)
#
# Each trial imports one of two resource scripts of 32767 strings (every text differs between
# them) into the English default (one save of every string), kills the import after a random
# delay, then checks the workspace with `stats` and an export whose
# digest must be one of the two known ones.
set -euo pipefail
cd "$(dirname "$0")/.."
trials="${1:-100}"
kvedit="$PWD/build/app/kvedit"
[ -x "$kvedit" ] || scripts/build.sh

work="$(mktemp -d "${TMPDIR:-/tmp}/kvedit-kill-trials-XXXXXX")"
trap 'rm -rf "$work"' EXIT
export TMPDIR="$work/tmp"   # the importer's staging folders, to check they are cleaned
mkdir -p "$TMPDIR"

for v in A B; do
  awk -v v="$v" 'BEGIN {
    print "STRINGTABLE\nBEGIN"
    for (i = 1; i <= 32767; i++) printf "  %d \"String %d of version %s, with some words to make it longer\"\n", i, i, v
    print "END" }' > "$work/$v.rc"
done

ws="$work/big.kvw"
"$kvedit" new "$ws" --language de-DE >/dev/null
digest() { "$kvedit" export "$ws" "$work/check.rc" --table 3 >/dev/null && sha256sum < "$work/check.rc" | cut -d' ' -f1; }
start=$(date +%s%N)
"$kvedit" import "$ws" "$work/B.rc" >/dev/null 2>&1
duration_ms=$(( ($(date +%s%N) - start) / 1000000 ))
digestB=$(digest)
"$kvedit" import "$ws" "$work/A.rc" >/dev/null 2>&1
digestA=$(digest)
echo "one import (read, then one save of 32767 strings) takes about ${duration_ms} ms"

state=A old=0 new=0 failures=0
for ((i = 1; i <= trials; i++)); do
  next=$([ "$state" = A ] && echo B || echo A)
  "$kvedit" import "$ws" "$work/$next.rc" >/dev/null 2>&1 &
  pid=$!
  # The save comes last: most kills land between 40 % and 110 % of the usual duration.
  sleep "$(awk -v r="$RANDOM" -v d="$duration_ms" 'BEGIN { printf "%.3f", (0.4 + 0.7 * r / 32767) * d / 1000 }')"
  kill -KILL "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  if ! "$kvedit" stats "$ws" >/dev/null 2>"$work/stats.err"; then
    echo "trial $i: the workspace does not reopen: $(cat "$work/stats.err")"
    failures=$((failures + 1))
    continue
  fi
  d=$(digest)
  if [ "$d" = "$(eval echo \$digest$state)" ]; then
    old=$((old + 1))
  elif [ "$d" = "$(eval echo \$digest$next)" ]; then
    new=$((new + 1))
    state=$next
  else
    echo "trial $i: the workspace holds a mixture of the two states"
    failures=$((failures + 1))
  fi
done

# The next run of the importer removes what killed ones left in the temporary folder.
"$kvedit" import "$ws" "$work/$state.rc" >/dev/null 2>&1
left=$(find "$TMPDIR" -maxdepth 1 -name 'kvedit-rc-*' | wc -l)
echo "$trials trials: $old reopened as before the save, $new as after it, $failures failed; $left staging folders left"
[ "$failures" -eq 0 ] && [ "$left" -eq 0 ]
