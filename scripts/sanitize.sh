#!/usr/bin/env bash
# Builds the whole tree with AddressSanitizer and UndefinedBehaviorSanitizer into its own folder
# (build-sanitize/, gcc by default, clang-16 with --clang) and runs every test under them. Any
# report fails the run; the only reports let through are the third-party ones listed, each with
# its reason, in scripts/sanitize-*.supp.
#
#   scripts/sanitize.sh [--clang] [ctest arguments, e.g. -R tst_rcreader]
set -euo pipefail
cd "$(dirname "$0")/.."

compiler=gcc
if [ "${1:-}" = "--clang" ]; then compiler=clang; shift; fi

if [ "$compiler" = clang ]; then
  # Debian 12's default clang (14) cannot build against this standard library; 16 can.
  scripts/install-deps.sh clang-16 libclang-rt-16-dev
  cxx=clang++-16
  folder=build-sanitize-clang
else
  scripts/install-deps.sh
  cxx=g++
  folder=build-sanitize
fi

flags="-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer -O1 -g"
cmake -S . -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" \
  -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=address,undefined" \
  -DKVEDIT_BUILD_BENCH=OFF >/dev/null
cmake --build "$folder" --parallel "$(nproc)"

supp="$PWD/scripts"
export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1:suppressions=$supp/sanitize-asan.supp"
export LSAN_OPTIONS="suppressions=$supp/sanitize-lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:suppressions=$supp/sanitize-ubsan.supp"
# The package test builds an outside host with the system's plain flags against the installed
# library, which cannot load an instrumented one; it runs in the normal build.
ctest --test-dir "$folder" --output-on-failure --parallel "$(nproc)" --timeout 1200 -E '^entry_package$' "$@"
