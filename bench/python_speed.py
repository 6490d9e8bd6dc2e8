#!/usr/bin/python3
"""Speed and memory of the Python package, run by hand (not a test):

  1. rksignal.decode into a DataFrame on a 1,000,000-line candump log
     (bench/make_decode_inputs.py), changed values and every write: rows/s,
     best of three, beside the tool decoding the same log to CSV;
  2. rksignal.dask.decode_files over 8 equal recordings with 1 and 2 worker
     processes (CSV outputs; the cluster started before the clock runs);
  3. rksignal.iter_decode over a generated log of about 1 GB: the peak
     resident memory of the process.

    make build && /usr/bin/python3 bench/python_speed.py [BUILD] [WORK]

BUILD is the build tree (default build), WORK a scratch folder (default
BUILD/python-bench).
"""

import os
import shutil
import subprocess
import sys
import tempfile
import textwrap
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, "build"))
WORK = os.path.abspath(sys.argv[2] if len(sys.argv) > 2 else os.path.join(BUILD, "python-bench"))
sys.path.insert(0, os.path.join(BUILD, "python"))

import rksignal  # noqa: E402
import rksignal.dask  # noqa: E402


def best_of(runs, action):
    best = None
    for _ in range(runs):
        started = time.perf_counter()
        result = action()
        seconds = time.perf_counter() - started
        best = seconds if best is None or seconds < best else best
    return best, result


def inputs():
    log = os.path.join(WORK, "bench.log")
    if not os.path.exists(log):
        subprocess.run([sys.executable, os.path.join(ROOT, "bench", "make_decode_inputs.py"), WORK, "1000000"],
                       check=True)
    return log, os.path.join(WORK, "bench.dbc")


def frame_speed(log, dbc):
    definitions = rksignal.load_definitions(dbc)
    for every in (False, True):
        seconds, frame = best_of(3, lambda: rksignal.decode(log, definitions, all=every))
        print("decode into a DataFrame%s: %d rows in %.3f s: %.2f M rows/s"
              % (" (every write)" if every else "", len(frame), seconds, len(frame) / seconds / 1e6))
        del frame
    tool = os.path.join(BUILD, "cli", "rksignal")
    seconds, _ = best_of(3, lambda: subprocess.run([tool, "decode", "--defs", dbc, "--format", "csv", log],
                                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
    print("the tool to CSV on the same log: %.3f s" % seconds)


def dask_speed(log, dbc):
    from distributed import Client, LocalCluster

    folder = os.path.join(WORK, "fleet")
    os.makedirs(folder, exist_ok=True)
    paths = []
    for index in range(8):
        path = os.path.join(folder, "recording%d.log" % index)
        if not os.path.exists(path):
            shutil.copyfile(log, path)
        paths.append(path)
    rates = {}
    for workers in (1, 2):
        with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
                Client(cluster) as client:
            rksignal.dask.decode_files(paths[:workers], dbc, client=client)  # warm the workers
            # With CSV outputs (about 150 MB each) and without any (decoding only).
            for output in ("csv", None):
                out = tempfile.mkdtemp(dir=WORK) if output else None
                seconds, summary = best_of(2, lambda: rksignal.dask.decode_files(paths, dbc, client=client,
                                                                                  out_dir=out))
                if out:
                    shutil.rmtree(out)
                assert (summary["error"] == "").all(), summary
                rates[workers, output] = summary["frames"].sum() / seconds
                print("decode_files, %d worker%s, 8 recordings, %s: %.3f s, %.2f M frames/s"
                      % (workers, "s" if workers > 1 else "", "CSV outputs" if output else "no output", seconds,
                         rates[workers, output] / 1e6))
    for output in ("csv", None):
        print("2 workers / 1 worker, %s: %.2fx (on %d cores)" % ("CSV outputs" if output else "no output",
                                                               rates[2, output] / rates[1, output], os.cpu_count()))


def iter_decode_memory(log, dbc):
    big = os.path.join(WORK, "big.log")
    if not os.path.exists(big) or os.path.getsize(big) < 1 << 30:
        # The log again and again: time goes back at each copy's start, which
        # a candump log may do.
        with open(big, "wb") as out:
            while out.tell() < 1 << 30:
                with open(log, "rb") as part:
                    shutil.copyfileobj(part, out, 1 << 24)
    script = textwrap.dedent("""
        import sys, time
        sys.path.insert(0, sys.argv[3])
        import rksignal
        rows, started = 0, time.perf_counter()
        for frame in rksignal.iter_decode(sys.argv[1], sys.argv[2], chunk_rows=1_000_000):
            rows += len(frame)
        # VmHWM, not ru_maxrss: the latter keeps the forking parent's size across exec.
        peak = [line.split()[1] for line in open("/proc/self/status") if line.startswith("VmHWM:")][0]
        print(rows, time.perf_counter() - started, int(peak) // 1024)
    """)
    done = subprocess.run([sys.executable, "-c", script, big, dbc, os.path.join(BUILD, "python")],
                          capture_output=True, text=True, check=True)
    rows, seconds, peak = done.stdout.split()
    print("iter_decode over %.2f GB: %s rows in %.1f s, peak resident memory %s MB"
          % (os.path.getsize(big) / 2**30, rows, float(seconds), peak))


def main():
    os.makedirs(WORK, exist_ok=True)
    log, dbc = inputs()
    frame_speed(log, dbc)
    dask_speed(log, dbc)
    iter_decode_memory(log, dbc)


if __name__ == "__main__":
    main()
