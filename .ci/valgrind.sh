#!/usr/bin/env bash
# Valgrind memcheck over every unit-test program of a build tree (build/default unless given):
# fails on any memory error or definite leak. The random runs are shortened by the programs
# themselves when they find themselves under Valgrind.
#
#   .ci/valgrind.sh [build-dir]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:-build/default}

status=0
for program in "$build"/tests/arbor_*_tests; do
    [[ -x "$program" ]] || continue
    name=$(basename "$program")
    log="$build/valgrind-$name.log"
    start=$SECONDS
    if valgrind --quiet --error-exitcode=99 --suppressions=.ci/valgrind.supp \
        --leak-check=full --show-leak-kinds=definite \
        --errors-for-leak-kinds=definite --log-file="$log" \
        "$program" --gtest_brief=1 >/dev/null 2>&1; then
        printf '%-28s clean (%ds)\n' "$name" $((SECONDS - start))
    else
        printf '%-28s FAILED (%ds), see %s\n' "$name" $((SECONDS - start)) "$log"
        sed -n 1,40p "$log"
        status=1
    fi
done
exit $status
