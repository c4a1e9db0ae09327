#!/usr/bin/env bash
# ThreadSanitizer run of the whole test suite, the sanitizer given through the compiler and linker
# flags as distributions do (not the project's option). The value tests intern, find and create
# names from eight threads at once: interning is the one part of the library that is safe from
# several threads; everything else must simply run clean. Configures build/tsan, builds the tests
# and runs them; fails on any report.
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
# The build runs the test programs to list their tests, so the options apply from here on.
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$PWD/.ci/tsan.supp"
cmake --build build/tsan -j 2
ctest --test-dir build/tsan -j 2 --output-on-failure --no-tests=error -LE 'bench|fuzz'
