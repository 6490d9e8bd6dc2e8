#!/usr/bin/env bash
# Runs every fuzz target for SECONDS (default 60) and prints, per target, the
# executions reached and the findings: the crash, leak, timeout and
# out-of-memory inputs libFuzzer saved. Exits non-zero when there is one.
#
#   fuzz/run_all.sh [SECONDS] [TARGET...]
#
# Targets are the fuzz_<name> programs of the fuzz build (`make fuzz` builds
# them); name some to run only those. Each starts from its seeds
# (fuzz/corpus/<name>) and saved regressions (fuzz/regressions/<name>), which
# it only reads; what it learns goes to a working corpus in the build tree,
# which later runs continue from. Findings land in
# <build>/fuzz-work/findings/<name>/: a fixed one belongs in
# fuzz/regressions/<name>/.
#
# Environment: FUZZ_BUILD (default build-fuzz), FUZZ_JOBS (targets run at
# once, default 1), FUZZ_ARGS (further libFuzzer options).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
[ $# -gt 0 ] && shift
build=${FUZZ_BUILD:-$root/build-fuzz}
jobs=${FUZZ_JOBS:-1}
work=$build/fuzz-work

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for program in "$build"/fuzz/fuzz_*; do
    [ -x "$program" ] && [ -f "$program" ] || continue
    name=${program##*/fuzz_}
    [[ $name == replay_* ]] && continue
    targets+=("$name")
  done
fi
if [ ${#targets[@]} -eq 0 ]; then
  echo "run_all: no fuzz targets in $build/fuzz (run \`make fuzz\` first)" >&2
  exit 2
fi

run_target() {
  local name=$1
  local corpus=$work/corpus/$name findings=$work/findings/$name log=$work/logs/$name.log
  mkdir -p "$corpus" "$findings" "$work/logs"
  local seeds=()
  for place in "$root/fuzz/corpus/$name" "$root/fuzz/regressions/$name"; do
    [ -d "$place" ] && seeds+=("$place")
  done
  # A hang counts after 10 s; one input may use 2 GB.
  # shellcheck disable=SC2086
  "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$findings/" ${FUZZ_ARGS:-} \
    "$corpus" "${seeds[@]}" >"$log" 2>&1 || true
}

# Findings are counted from this run on; older ones stay where they are.
mkdir -p "$work"
started=$work/.run-started
touch "$started"

running=0
for name in "${targets[@]}"; do
  if [ ! -x "$build/fuzz/fuzz_$name" ]; then
    echo "run_all: no fuzz target $name" >&2
    exit 2
  fi
  echo "run_all: $name for ${seconds}s" >&2
  run_target "$name" &
  running=$((running + 1))
  if [ "$running" -ge "$jobs" ]; then
    wait -n
    running=$((running - 1))
  fi
done
wait

found() { # found <folder>: the findings saved there during this run
  find "$1" -maxdepth 1 -type f -newer "$started" \
    \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' -o -name 'oom-*' \)
}

stat() { # stat <log> <name>: a figure of libFuzzer's final statistics
  sed -n "s/^stat::$2: *//p" "$1" | tail -n 1
}

total_findings=0
printf '%-12s %14s %10s %8s %9s\n' target executions exec/s corpus findings
for name in "${targets[@]}"; do
  log=$work/logs/$name.log
  findings=$(found "$work/findings/$name" | wc -l)
  total_findings=$((total_findings + findings))
  printf '%-12s %14s %10s %8s %9s\n' "$name" "$(stat "$log" number_of_executed_units)" \
    "$(stat "$log" average_exec_per_sec)" "$(find "$work/corpus/$name" -type f | wc -l)" "$findings"
done
if [ "$total_findings" -ne 0 ]; then
  echo "findings (logs in $work/logs):"
  for name in "${targets[@]}"; do found "$work/findings/$name"; done
  exit 1
fi
