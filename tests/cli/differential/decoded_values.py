"""What the canmatrix comparisons share: candump lines of numbered ticks,
the values `rksignal decode --all --format csv` gives for them, and the
tolerance the values are compared with."""

import contextlib
import csv
import io
import math
import subprocess


def quiet_canmatrix_formats():
    """canmatrix.formats, or None when canmatrix is not installed (it lists
    the formats it lacks on import)."""
    try:
        with contextlib.redirect_stdout(io.StringIO()), contextlib.redirect_stderr(io.StringIO()):
            import canmatrix.formats
        return canmatrix.formats
    except ImportError:
        return None


def tick_time(tick):
    """The log's "sec.usec" of the tick-th line: a millisecond apart."""
    return "%d.%06d" % (1000 + tick // 1000, tick % 1000 * 1000)


def log_line(time, ident, extended, data):
    id_text = ("%08X" if extended else "%03X") % ident
    return "(%s) can0 %s%s%s" % (time, id_text, "##0" if len(data) > 8 else "#", bytes(data).hex().upper())


def decodable(frame):
    """Whether canmatrix can decode the frame at all (it cannot when a
    signal lies beyond the frame's size)."""
    try:
        frame.decode(bytes(frame.size))
        return frame.size > 0
    except Exception:
        return False


def tool_values(tool, dbc_path, log_path, with_source=False):
    """(time text, instance) -> value (and J1939 source address), and the
    tool's error output; None for the values when the tool failed."""
    run = subprocess.run([tool, "decode", "--defs", dbc_path, "--all", "--format", "csv", log_path],
                         capture_output=True, text=True)
    if run.returncode != 0:
        return None, run.stderr.strip()
    values = {}
    for row in csv.DictReader(io.StringIO(run.stdout)):
        hours, minutes, rest = row["time"][-15:].split(":")  # "hh:mm:ss.uuuuuu"
        total = int(hours) * 3600 + int(minutes) * 60 + float(rest)
        key = ("%d.%06d" % (int(total), round((total - int(total)) * 1e6)), row["instance"])
        value = float(row["value"]) if row["value"] not in ("", "nan", "-nan") else float("nan")
        values[key] = (value, int(row["source"])) if with_source else value
    return values, run.stderr


def same(a, b):
    if math.isnan(a) and math.isnan(b):
        return True
    return abs(a - b) <= 1e-9 * max(1.0, abs(a), abs(b))
