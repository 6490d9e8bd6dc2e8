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

# Best of three runs: wall-clock seconds, then processor seconds (user +
# system). On a machine shared with other work, waiting for a core inflates
# the wall-clock time only.
best_of_three() {
  local best="1e9 1e9" TIMEFORMAT="%R %U %S" times
  for _ in 1 2 3; do
    times=$( { time "$@" >/dev/null 2>&1; } 2>&1 )
    best=$(echo "$times $best" | awk '{w = $1; c = $2 + $3; print (w < $4 ? w : $4), (c < $5 ? c : $5)}')
  done
  echo "$best"
}

read -r none none_cpu < <(best_of_three "$tool" decode --defs "$work/bench.dbc" --format none "$work/bench.log")
read -r csv csv_cpu < <(best_of_three "$tool" decode --defs "$work/bench.dbc" --format csv "$work/bench.log")
: > "$work/empty.log"
read -r load _ < <(best_of_three "$tool" decode --defs "$work/big.dbc" --format none "$work/empty.log")
read -r cm_lines cm_values cm_seconds < <("$python" bench/canmatrix_decode.py "$work/bench.dbc" "$work/bench.log" "$canmatrix_lines")

awk -v lines="$lines" -v none="$none" -v csv="$csv" -v load="$load" -v none_cpu="$none_cpu" -v csv_cpu="$csv_cpu" \
    -v cml="$cm_lines" -v cms="$cm_seconds" 'BEGIN {
  ours = lines / none; theirs = cml / cms
  printf "rksignal decode, --format none : %10.0f lines/s  (%d lines in %.3f s; %.0f lines/s of processor time)\n",
         ours, lines, none, lines / none_cpu
  printf "rksignal decode, --format csv  : %10.0f lines/s  (%.3f s, output to /dev/null; %.0f lines/s of processor time)\n",
         lines / csv, csv, lines / csv_cpu
  printf "canmatrix (Debian python3)     : %10.0f lines/s  (%d lines in %.3f s)\n", theirs, cml, cms
  printf "ratio rksignal/canmatrix       : %10.1f x (format none), %.1f x (csv)\n", ours / theirs, (lines / csv) / theirs
  printf "load a DBC of 1,000 frames     : %10.1f ms (whole run on an empty log)\n", load * 1000
}'
