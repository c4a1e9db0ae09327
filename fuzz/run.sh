#!/usr/bin/env bash
# Builds the fuzz target with clang in build/fuzz and fuzzes for N seconds (default 60).
# Exits non-zero when the fuzzer finds a crash, a leak or a failed check; the input that caused
# it is left in build/fuzz/fuzz/ as crash-*, leak-* or timeout-*.
#
#   fuzz/run.sh [seconds] [extra libFuzzer flags...]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=${1:-60}
shift || true

cmake -S . -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
    -DARBOR_SANITIZE=ON -DARBOR_WERROR=ON -DARBOR_BUILD_FUZZ=ON -DARBOR_BUILD_EXAMPLES=OFF
cmake --build build/fuzz -j 2 --target arbor_fuzz_operations

mkdir -p build/fuzz/fuzz/corpus
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    build/fuzz/fuzz/arbor_fuzz_operations -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix=build/fuzz/fuzz/ "$@" build/fuzz/fuzz/corpus fuzz/corpus
