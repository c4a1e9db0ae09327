#!/usr/bin/env bash
# ThreadSanitizer run of the value tests, whose token tests intern, find and create names (and
# ask for the "#text" token) from eight threads at once: interning is the one part of the library
# that is safe from several threads. Configures build/tsan, builds arbor_values_tests only and
# runs it; fails on any data race report.
#
#   .ci/tsan.sh [--fresh]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

flags="-fsanitize=thread -fno-omit-frame-pointer"
cmake -S . -B build/tsan "$@" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DARBOR_WERROR=ON \
    -DARBOR_SANITIZE=OFF -DARBOR_BUILD_EXAMPLES=OFF \
    -DCMAKE_CXX_FLAGS="$flags" \
    -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=thread" \
    -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=thread"
# The build runs the test binary to list its tests, so the options apply from here on.
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$PWD/.ci/tsan.supp"
cmake --build build/tsan -j 2 --target arbor_values_tests
ctest --test-dir build/tsan -L values --output-on-failure --no-tests=error
