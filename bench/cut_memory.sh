#!/usr/bin/env bash
# Resident memory and rate of `rksignal cut --pre 10s` over a candump log of
# about 1 GB (the benchmark log of make_decode_inputs.py, 10,000 frames/s,
# repeated with its times shifted), against the rate of
# `decode --format none` on the same log. Builds the tool in Release first.
#
#   bench/cut_memory.sh [COPIES]     (23 copies of 1,000,000 lines: ~1 GB)
#
# BENCH_BUILD names another build tree to take the tool from (built there).
set -euo pipefail
cd "$(dirname "$0")/.."
copies=${1:-23}
build=${BENCH_BUILD:-build-bench}
work=$build/cut-memory
python=/usr/bin/python3

scripts/bootstrap.sh
[ -f "$build/CMakeCache.txt" ] || cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DRKSIGNAL_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target rksignal_tool >/dev/null
tool=$build/cli/rksignal

mkdir -p "$work"
[ -f "$work/bench.log" ] || "$python" bench/make_decode_inputs.py "$work" 1000000
if [ ! -f "$work/big.log" ] || [ "$(cat "$work/big.copies" 2>/dev/null)" != "$copies" ]; then
  # Each copy 100 s after the one before, so that time runs on.
  for ((k = 0; k < copies; ++k)); do
    awk -v shift=$((k * 100)) '{ printf "(%d%s\n", substr($0, 2, 10) + shift, substr($0, 12) }' "$work/bench.log"
  done > "$work/big.log"
  echo "$copies" > "$work/big.copies"
fi
size=$(stat -c %s "$work/big.log")
lines=$(wc -l < "$work/big.log")

# Wall-clock seconds and peak resident kilobytes of a command.
measure() {
  /usr/bin/time -f "%e %M" "$@" 2>&1 >/dev/null | tail -1
}

read -r decode_s decode_kb < <(measure sh -c "$tool decode --defs $work/bench.dbc --format none $work/big.log 2>/dev/null")
rm -rf "$work/windows"
read -r cut_s cut_kb < <(measure sh -c "$tool cut --defs $work/bench.dbc --trigger 'Frame0.Signal0 > 84' --edge \
  --pre 10s --post 2s $work/big.log -o $work/windows 2>/dev/null")
windows=$(($(wc -l < "$work/windows/windows.csv") - 1))

awk -v size="$size" -v lines="$lines" -v ds="$decode_s" -v dk="$decode_kb" -v cs="$cut_s" -v ck="$cut_kb" \
    -v windows="$windows" 'BEGIN {
  printf "input                      : %.2f GB, %d lines\n", size / 1e9, lines
  printf "decode --format none       : %10.0f lines/s  (%.1f s, peak RSS %.1f MB)\n", lines / ds, ds, dk / 1024
  printf "cut --pre 10s --post 2s    : %10.0f lines/s  (%.1f s, peak RSS %.1f MB, %d windows)\n", lines / cs, cs, ck / 1024, windows
  printf "cut rate / decode rate     : %10.2f\n", ds / cs
}'
