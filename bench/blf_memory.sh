#!/usr/bin/env bash
# Memory and speed of `rksignal decode` on a large generated BLF file (2 GB by
# default): its peak resident memory must stay bounded (under 200 MB) and its
# rate, in frames a second, at least half that of the same frames as a
# candump log. Not a test: it writes gigabytes and takes minutes. Builds the
# tool in Release first.
#
#   bench/blf_memory.sh [MEGABYTES]
set -euo pipefail
cd "$(dirname "$0")/.."
megabytes=${1:-2048}
lines=1000000
work=build-bench/blf-memory
python=/usr/bin/python3

scripts/bootstrap.sh
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DRKSIGNAL_TESTS=OFF >/dev/null
cmake --build build-bench -j "$(nproc)" --target rksignal_tool >/dev/null
tool=$PWD/build-bench/cli/rksignal

[ -f "$work/bench.log" ] && [ "$(wc -l < "$work/bench.log")" -eq "$lines" ] ||
  "$python" bench/make_decode_inputs.py "$work" "$lines"
cd "$work"

# The log repeated COUNT times, each copy later than the one before.
repeat() {
  for ((n = 0; n < $1; n++)); do
    awk -v shift=$((n * span)) '{ split(substr($1, 2), t, "."); printf "(%d.%s %s %s\n", t[1] + shift, t[2], $2, $3 }' bench.log
  done
}

# The BLF has the size asked for.
"$tool" convert bench.log -o one.blf
span=$(( $(tail -1 bench.log | sed 's/^(\([0-9]*\)\..*/\1/') - $(head -1 bench.log | sed 's/^(\([0-9]*\)\..*/\1/') + 1 ))
copies=$(( (megabytes * 1048576 + $(stat -c %s one.blf) - 1) / $(stat -c %s one.blf) ))
if [ ! -f big.blf ] || [ "$(cat big.copies 2>/dev/null)" != "$copies" ]; then
  repeat "$copies" | "$tool" convert - -o big.blf
  echo "$copies" > big.copies
fi
# The candump rate over 10 copies, long enough to time.
[ -f ten.log ] || repeat 10 > ten.log

measure() { # prints "seconds peak_kb"
  /usr/bin/time -f "%e %M" "$tool" decode --defs bench.dbc --format none "$1" 2>&1 >/dev/null | tail -1
}
read -r log_seconds log_kb < <(measure ten.log)
read -r blf_seconds blf_kb < <(measure big.blf)
frames=$((copies * lines))
"$python" - "$((10 * lines))" "$log_seconds" "$log_kb" "$frames" "$blf_seconds" "$blf_kb" "$(stat -c %s big.blf)" <<'PY'
import sys
lines, log_s, log_kb, frames, blf_s, blf_kb, size = sys.argv[1:]
log_rate = int(lines) / max(float(log_s), 1e-3)
blf_rate = int(frames) / max(float(blf_s), 1e-3)
print(f"candump log: {int(lines):,} frames in {float(log_s):.2f} s = {log_rate:,.0f} frames/s, peak {int(log_kb) / 1024:.0f} MB")
print(f"BLF {int(size) / 2**20:,.0f} MB: {int(frames):,} frames in {float(blf_s):.2f} s = {blf_rate:,.0f} frames/s, "
      f"peak {int(blf_kb) / 1024:.0f} MB")
print(f"rate ratio BLF/candump: {blf_rate / log_rate:.2f} (at least 0.5); peak under 200 MB: {int(blf_kb) < 200 * 1024}")
PY
