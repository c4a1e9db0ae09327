#!/bin/sh
# Builds the benchmarks in Release, runs them once and writes the tables and the plot:
#   bench/results/bench.json   raw Google Benchmark output
#   bench/results/memory.md    bytes per node (arbor_bench_memory)
#   bench/results/table.md     the markdown tables (also printed)
#   bench/results/cost.png     cost per item against N for W1-W4, log-log
# Environment: BUILD_DIR (default build/release), FILTER (a --benchmark_filter regex, default
# all cases), MIN_TIME (seconds per case, default 0.05), REPS (repetitions of every case, default
# 5; the tables give the median).
set -eu
cd "$(dirname "$0")/.."
build=${BUILD_DIR:-build/release}
results=bench/results

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DARBOR_BUILD_BENCH=ON
cmake --build "$build" -j2 --target arbor_bench arbor_bench_memory

mkdir -p "$results"
"$build/bench/arbor_bench" \
    --benchmark_filter="${FILTER:-.}" \
    --benchmark_min_time="${MIN_TIME:-0.05}" \
    --benchmark_repetitions="${REPS:-5}" \
    --benchmark_report_aggregates_only=true \
    --benchmark_out="$results/bench.json" \
    --benchmark_out_format=json
"$build/bench/arbor_bench_memory" > "$results/memory.md"
python3 bench/table.py "$results/bench.json" --memory "$results/memory.md" \
    --plot "$results/cost.png" > "$results/table.md" || status=$?
cat "$results/table.md"
exit "${status:-0}"
