#!/usr/bin/env bash
# Speed of `rksignal decode` on a 1,000,000-line candump log over 100 frames x
# 8 signals, with output suppressed and with CSV output, against canmatrix
# decoding the same log (on its first lines: it is far slower), and the time
# to load a DBC of 1,000 frames. Builds the tool in Release first.
#
#   bench/decode_log.sh [LINES] [CANMATRIX_LINES]
set -euo pipefail
cd "$(dirname "$0")/.."
lines=${1:-1000000}
canmatrix_lines=${2:-50000}
work=build-bench/decode-log
python=/usr/bin/python3 # Debian's Python packages are seen by the system Python only

scripts/bootstrap.sh
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DRKSIGNAL_TESTS=OFF >/dev/null
cmake --build build-bench -j "$(nproc)" --target rksignal_tool >/dev/null
tool=build-bench/cli/rksignal

[ -f "$work/bench.log" ] && [ "$(wc -l < "$work/bench.log")" -eq "$lines" ] ||
  "$python" bench/make_decode_inputs.py "$work" "$lines"

# Best of three wall-clock runs, in seconds.
best_of_three() {
  local best=""
  for _ in 1 2 3; do
    local start end
    start=$(date +%s.%N)
    "$@"
    end=$(date +%s.%N)
    best=$(echo "$start $end ${best:-1e9}" | awk '{t = $2 - $1; print (t < $3) ? t : $3}')
  done
  echo "$best"
}

none=$(best_of_three sh -c "$tool decode --defs $work/bench.dbc --format none $work/bench.log 2>/dev/null")
csv=$(best_of_three sh -c "$tool decode --defs $work/bench.dbc --format csv $work/bench.log >/dev/null 2>&1")
: > "$work/empty.log"
load=$(best_of_three sh -c "$tool decode --defs $work/big.dbc --format none $work/empty.log 2>/dev/null")
read -r cm_lines cm_values cm_seconds < <("$python" bench/canmatrix_decode.py "$work/bench.dbc" "$work/bench.log" "$canmatrix_lines")

awk -v lines="$lines" -v none="$none" -v csv="$csv" -v load="$load" \
    -v cml="$cm_lines" -v cms="$cm_seconds" 'BEGIN {
  ours = lines / none; theirs = cml / cms
  printf "rksignal decode, --format none : %10.0f lines/s  (%d lines in %.3f s)\n", ours, lines, none
  printf "rksignal decode, --format csv  : %10.0f lines/s  (%.3f s, output to /dev/null)\n", lines / csv, csv
  printf "canmatrix (Debian python3)     : %10.0f lines/s  (%d lines in %.3f s)\n", theirs, cml, cms
  printf "ratio rksignal/canmatrix       : %10.1f x (format none), %.1f x (csv)\n", ours / theirs, (lines / csv) / theirs
  printf "load a DBC of 1,000 frames     : %10.1f ms (whole run on an empty log)\n", load * 1000
}'
