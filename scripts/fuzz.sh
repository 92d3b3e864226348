#!/usr/bin/env bash
# Fuzzes each target in fuzz/ with libFuzzer (clang-16, AddressSanitizer and
# UndefinedBehaviorSanitizer) for a while, starting from a seed corpus made of the test data and
# fuzz/corpus/. A crash, a hang (a run over 20 s) or a leak of our own stops a target with its
# input saved in fuzz/crashers/<target>/, which the normal build then replays in every test run.
#
#   scripts/fuzz.sh [--minutes N] [target ...]      (targets: rc xliff workspace; default all)
set -euo pipefail
cd "$(dirname "$0")/.."

minutes=10
targets=()
while [ $# -gt 0 ]; do
  case "$1" in
    --minutes) minutes="$2"; shift 2 ;;
    --minutes=*) minutes="${1#--minutes=}"; shift ;;
    -h|--help) sed -n '2,7p' "$0"; exit 0 ;;
    *) targets+=("$1"); shift ;;
  esac
done
[ ${#targets[@]} -eq 0 ] && targets=(rc xliff workspace)

# Debian 12's default clang (14) cannot build against this standard library; 16 can.
scripts/install-deps.sh clang-16 libclang-rt-16-dev

folder=build-fuzz
flags="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer -O1 -g"
cmake -S . -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++-16 \
  -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" \
  -DKVEDIT_FUZZ=ON -DKVEDIT_BUILD_TESTS=OFF -DKVEDIT_BUILD_BENCH=OFF >/dev/null
cmake --build "$folder" --parallel "$(nproc)" --target $(printf 'kvedit_fuzz_%s ' "${targets[@]}")

seeds="$folder/seeds"
rm -rf "$seeds"
mkdir -p "$seeds/rc" "$seeds/xliff" "$seeds/workspace"
cp tests/io/data/app/app.rc tests/io/data/lang/*.rc tests/io/data/compile/*.rc tests/io/data/rc/*.rc "$seeds/rc/"
# The XLIFF cases sit in subfolders; their paths become the seeds' names so none is lost.
find tests/io/data/xliff -name '*.xlf' | while read -r f; do
  cp "$f" "$seeds/xliff/$(echo "${f#tests/io/data/xliff/}" | tr / _)"
done

supp="$PWD/scripts"
export ASAN_OPTIONS="detect_leaks=1:suppressions=$supp/sanitize-asan.supp"
export LSAN_OPTIONS="suppressions=$supp/sanitize-lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:suppressions=$supp/sanitize-ubsan.supp"

status=0
for t in "${targets[@]}"; do
  corpus="$folder/corpus/$t"
  mkdir -p "$corpus" "fuzz/crashers/$t"
  echo "== $t: $minutes minute(s)"
  if ! "$folder/fuzz/kvedit_fuzz_$t" "$corpus" "$seeds/$t" "fuzz/corpus/$t" \
      -max_total_time=$((minutes * 60)) -timeout=20 -rss_limit_mb=2048 -max_len=65536 \
      -artifact_prefix="fuzz/crashers/$t/" -print_final_stats=1 2>"$folder/$t.log"; then
    status=1
    echo "!! $t failed; see $folder/$t.log and fuzz/crashers/$t/"
    tail -40 "$folder/$t.log"
  else
    grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb)' "$folder/$t.log" || true
  fi
done
exit $status
