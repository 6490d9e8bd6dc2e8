#!/usr/bin/python3
"""Real DBC files: `rksignal decode` against canmatrix.

Every DBC of a folder (the real files of ../shared/realworld/dbc) must load;
random frames of every message, with every multiplexer value the file names,
must decode to the physical values canmatrix (Debian's python3-canmatrix)
gives, except where canmatrix is known to decode wrongly (EXCLUDED, each by
name with the reason).

    /usr/bin/python3 realworld_dbc_compare.py TOOL DBC_FOLDER WORKDIR

Exits 77 (skipped) when the folder or canmatrix is missing.
"""

import contextlib
import io
import os
import random
import sys

from decoded_values import decodable, log_line, quiet_canmatrix_formats, same, tick_time, tool_values

SKIP = 77

# (file, frame or "frame.signal") -> why canmatrix's values are not the
# reference there.
EXCLUDED = {
    ("opendbc__mazda_3_2019.dbc", "CAM_KEEP_ALIVE_1.NEW_SIGNAL_4"):
        "the field reaches beyond its 8-byte frame: canmatrix reads the bits that exist as a shorter number, "
        "rksignal gives no value",
    ("cantools__multiplex_2.dbc", "Extended"):
        "two plain multiplexers and no SG_MUL_VAL_: canmatrix selects every branch by the last one and drops "
        "the first multiplexer itself",
    ("cantools__multiplex_2_dumped.dbc", "Extended"):
        "two plain multiplexers and no SG_MUL_VAL_: canmatrix selects every branch by the last one and drops "
        "the first multiplexer itself",
}

# Excluded by rule, each excluded frame or signal printed by name:
COMPLEX_MUX = ("extended multiplexing (SG_MUL_VAL_): canmatrix drops the multiplexers, nested branches and the "
               "branches without an SG_MUL_VAL_ line; the unit tests check these frames against the DBC rules")
MISFILED = ("canmatrix cannot read this BO_ line (29-bit identifier without bit 31) and files its signals under "
            "the frame before")

PAYLOADS_PER_FRAME = 6


def set_raw(data, signal, raw, size_bytes):
    """Writes `raw` into the signal's bits of `data` (a bytearray), laid out
    as canmatrix reads them."""
    for k in range(signal.size):
        bit = (raw >> k) & 1
        if signal.is_little_endian:
            position = signal.start_bit + k
            byte, shift = position // 8, position % 8
        else:
            index = signal.start_bit + signal.size - 1 - k
            byte, shift = index // 8, 7 - index % 8
        if byte >= size_bytes:
            return
        data[byte] = (data[byte] & ~(1 << shift)) | (bit << shift)


def multiplexer_values(frame):
    """Multiplexer signal -> the raw values that select some branch."""
    values = {}
    plain = [s for s in frame.signals if s.is_multiplexer and s.muxer_for_signal is None]
    for signal in frame.signals:
        if signal.multiplex is None or signal.multiplex == "Multiplexor" and signal.muxer_for_signal is None:
            continue
        muxer = signal.muxer_for_signal or (plain[0].name if plain else None)
        if muxer is None:
            continue
        chosen = values.setdefault(muxer, set())
        if signal.mux_val_grp:
            for low, high in signal.mux_val_grp:
                chosen.update({int(low), int(high), (int(low) + int(high)) // 2})
        elif isinstance(signal.mux_val, int):
            chosen.add(signal.mux_val)
    return values


def payloads(rng, frame):
    size = frame.size
    result = [bytearray(rng.randrange(256) for _ in range(size)) for _ in range(PAYLOADS_PER_FRAME)]
    by_name = {s.name: s for s in frame.signals}
    for muxer, values in multiplexer_values(frame).items():
        for value in sorted(values):
            data = bytearray(rng.randrange(256) for _ in range(size))
            if muxer in by_name:
                set_raw(data, by_name[muxer], value, size)
            result.append(data)
    return result


def physical(value):
    try:
        return float(value)
    except (TypeError, ValueError):
        return None


def signal_names(dbc_path):
    """Frame name -> the SG_ names the file gives it (and every long name
    of a SystemSignalLongSymbol attribute, which replace them)."""
    names, frame, long_names = {}, None, set()
    for line in open(dbc_path, encoding="utf-8", errors="replace"):
        words = line.split()
        if words[:1] == ["BO_"] and len(words) > 2:
            frame = words[2].rstrip(":")
            names[frame] = long_names
        elif words[:1] == ["SG_"] and frame is not None and len(words) > 1:
            names[frame] = names[frame] | {words[1]}
        elif words[:2] == ["BA_", '"SystemSignalLongSymbol"'] and len(words) > 5:
            long_names.add(words[5].strip('";'))
    return {frame: signals | long_names for frame, signals in names.items()}


def build_log(rng, db, dbc_name, dbc_path):
    """The log lines, canmatrix's values, (time, instance) -> value, and
    the frames and instances left out, name -> reason."""
    lines, expected, skipped = [], {}, {}
    tick = 0
    file_names = signal_names(dbc_path)
    for frame in db.frames:
        reason = EXCLUDED.get((dbc_name, frame.name))
        if reason is None and frame.is_complex_multiplexed:
            reason = COMPLEX_MUX
        if reason:
            skipped[frame.name] = reason
            continue
        if not decodable(frame):
            continue
        ident = frame.arbitration_id.id
        extended = frame.arbitration_id.extended
        for data in payloads(rng, frame):
            tick += 1
            time = tick_time(tick)
            lines.append(log_line(time, ident, extended, data))
            decoded = frame.decode(bytes(data))
            seen = set()
            for name, signal in decoded.items():
                instance = frame.name + "." + name
                reason = EXCLUDED.get((dbc_name, instance))
                if reason is None and frame.name in file_names and name not in file_names[frame.name]:
                    reason = MISFILED
                if reason:
                    skipped[instance] = reason
                if reason or signal.signal.size > 64 or name in seen:
                    continue
                seen.add(name)
                value = physical(signal.phys_value)
                if value is not None:
                    expected[(time, frame.name + "." + name)] = value
    return "\n".join(lines) + "\n", expected, skipped


def main():
    tool, folder, workdir = sys.argv[1], sys.argv[2], sys.argv[3]
    if not os.path.isdir(folder):
        print("skipped: %s is absent (the real-world files live beside the repository)" % folder)
        return SKIP
    formats = quiet_canmatrix_formats()
    if formats is None:
        print("skipped: canmatrix is not installed (Debian's python3-canmatrix)")
        return SKIP
    os.makedirs(workdir, exist_ok=True)
    rng = random.Random(20261124)
    only = sys.argv[4:]
    total, differing, failures = 0, 0, []
    for name in sorted(os.listdir(folder)):
        if not name.lower().endswith(".dbc") or (only and name not in only):
            continue
        if (name, None) in EXCLUDED:
            print("%s: excluded: %s" % (name, EXCLUDED[(name, None)]))
            continue
        path = os.path.join(folder, name)
        try:
            with contextlib.redirect_stdout(io.StringIO()), contextlib.redirect_stderr(io.StringIO()):
                db = formats.loadp_flat(path)
        except Exception as problem:  # the tool must still load it
            db = None
            reason = "canmatrix cannot read it (%s)" % type(problem).__name__
        log_text, expected, skipped = build_log(rng, db, name, path) if db else ("", {}, {})
        log_path = os.path.join(workdir, name + ".log")
        with open(log_path, "w") as log:
            log.write(log_text)
        ours, messages = tool_values(tool, path, log_path)
        if ours is None:
            failures.append("%s: does not load: %s" % (name, messages))
            continue
        if db is None:
            print("%s: loads; not compared: %s" % (name, reason))
            continue
        problems = []
        for key, value in expected.items():
            if key not in ours:
                problems.append("%s %s: canmatrix %r, rksignal none" % (name, key, value))
            elif not same(ours[key], value):
                problems.append("%s %s: canmatrix %r, rksignal %r" % (name, key, value, ours[key]))
        for key in set(ours) - set(expected):
            frame = key[1].split(".")[0]
            if frame not in skipped and key[1] not in skipped:
                problems.append("%s %s: rksignal %r, canmatrix none" % (name, key, ours[key]))
        total += len(expected)
        differing += len(problems)
        for problem in problems[:5]:
            print(problem)
        print("%s: %d values, %d differences" % (name, len(expected), len(problems)))
        for what, reason in sorted(skipped.items()):
            print("  excluded %s: %s" % (what, reason))
    for failure in failures:
        print(failure)
    print("all files: %d values compared, %d differences, %d files failed to load" % (total, differing, len(failures)))
    return 0 if differing == 0 and not failures else 1


if __name__ == "__main__":
    sys.exit(main())
