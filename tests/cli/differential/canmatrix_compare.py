#!/usr/bin/python3
"""Differential test: `rksignal decode` against canmatrix.

Generates DBC files and candump logs, decodes them with the rksignal tool
(`--all --format csv`) and with canmatrix (Debian's python3-canmatrix), and
compares every decoded physical value of every frame.

    /usr/bin/python3 canmatrix_compare.py TOOL WORKDIR

Cases:
  random   a few hundred random signal layouts (both byte orders, signed and
           unsigned, 1..64 bits, factors and offsets, standard, extended and
           CAN FD frames) and random payloads;
  j1939    canmatrix's own j1939.dbc (357 frames), random payloads, random
           priorities, source and destination addresses, and the groups
           longer than 8 bytes sent with the transport protocol (broadcast
           and connection mode); rksignal's source column is checked too.
"""

import os
import random
import sys

from decoded_values import decodable, log_line, quiet_canmatrix_formats, same, tick_time, tool_values

quiet_canmatrix_formats()
import canmatrix  # noqa: E402
import canmatrix.formats  # noqa: E402

FACTORS = ["1", "0.5", "0.1", "0.25", "0.001", "2.5", "0.0625", "1E-005", "10"]
OFFSETS = ["0", "-40", "100.5", "-0.5", "1000"]


def motorola_bits(start, length):
    """Bit numbers (byte*8+bit) a big-endian field occupies, msb first."""
    bits, n = [], start
    for _ in range(length):
        bits.append(n)
        n = n + 15 if n % 8 == 0 else n - 1
    return bits


def place_signal(rng, used, size_bits, fd):
    """A free position for a random field, or None."""
    for _ in range(50):
        length = rng.choice([1, 2, 3, 4, 7, 8, 10, 12, 16, 20, 24, 31, 32, 33, 48, 63, 64])
        big = rng.random() < 0.5
        start = rng.randrange(size_bits)
        bits = motorola_bits(start, length) if big else list(range(start, start + length))
        if any(b < 0 or b >= size_bits or b in used for b in bits):
            continue
        if fd and (max(bits) // 8 - min(bits) // 8) >= 8:
            continue  # CAN FD signals are decoded from at most eight bytes
        used.update(bits)
        return start, length, big
    return None


def random_dbc(rng, messages):
    lines = ['VERSION ""', "", "NS_ :", "", "BS_:", "", "BU_: ECU", ""]
    attributes, frames = [], []
    for m in range(messages):
        kind = rng.choice(["std", "std", "ext", "fd"])
        ident = rng.randrange(0x800) if kind != "ext" else rng.randrange(0x800, 1 << 29)
        while any(f[0] == ident for f in frames):
            ident += 1
        size = 64 if kind == "fd" else 8
        raw_id = ident | (0x80000000 if kind == "ext" else 0)
        lines.append("BO_ %d Msg%d: %d ECU" % (raw_id, m, size))
        used = set()
        for s in range(rng.randrange(1, 9)):
            placed = place_signal(rng, used, size * 8, kind == "fd")
            if placed is None:
                continue
            start, length, big = placed
            sign = "-" if rng.random() < 0.4 and length > 1 else "+"
            lines.append(' SG_ Sig%d : %d|%d@%d%s (%s,%s) [0|0] "" ECU'
                         % (s, start, length, 0 if big else 1, sign, rng.choice(FACTORS), rng.choice(OFFSETS)))
        lines.append("")
        if kind == "fd":
            attributes.append('BA_ "VFrameFormat" BO_ %d 14;' % raw_id)
        frames.append((ident, kind == "ext", kind == "fd", size))
    lines.append('BA_DEF_ BO_ "VFrameFormat" ENUM "StandardCAN","ExtendedCAN","reserved","J1939PG","reserved",'
                 '"reserved","reserved","reserved","reserved","reserved","reserved","reserved","reserved",'
                 '"reserved","StandardCAN_FD","ExtendedCAN_FD";')
    lines.extend(attributes)
    return "\n".join(lines) + "\n", frames


def random_log(rng, frames, count):
    lines = []
    for i in range(count):
        ident, extended, _, size = rng.choice(frames)
        lines.append(log_line(tick_time(i), ident, extended, bytes(rng.randrange(256) for _ in range(size))))
    return "\n".join(lines) + "\n"


def canmatrix_values(dbc_path, log_text):
    """(time text, instance) -> physical value, as canmatrix decodes them."""
    db = canmatrix.formats.loadp_flat(dbc_path, dbcImportEncoding="utf-8")
    by_id = {(f.arbitration_id.id, f.arbitration_id.extended): f for f in db.frames}
    values = {}
    for line in log_text.splitlines():
        stamp, _, frame = line.split(" ")
        ident_text, data_text = frame.split("#", 1)
        data_text = data_text[2:] if data_text.startswith("#") else data_text
        frame_def = by_id.get((int(ident_text, 16), len(ident_text) == 8))
        if frame_def is None:
            continue
        data = bytes.fromhex(data_text)
        time = stamp.strip("()")
        decoded = frame_def.decode(data)
        for signal in frame_def.signals:
            # rksignal skips signals of more than 64 bits (text fields) and
            # keeps only the first of two signals of one name in a frame.
            if signal.name not in decoded or signal.size > 64:
                continue
            # Both take the names of the SystemSignalLongSymbol attributes.
            instance = (time, frame_def.name + "." + signal.name)
            if instance not in values:
                values[instance] = float(decoded[signal.name].phys_value)
    return values


def j1939_log(rng, db, count):
    """Log lines of j1939.dbc's groups and what canmatrix decodes from them:
    (time, instance) -> (value, source address)."""
    singles = [f for f in db.frames if f.size <= 8 and decodable(f)]
    longer = [f for f in db.frames if f.size > 8 and decodable(f)]
    lines, expected = [], {}

    def add(can_id, data, reassembled=None):
        time = tick_time(len(lines))
        lines.append(log_line(time, can_id, True, data))
        decoded_from = [(canmatrix.ArbitrationId(can_id, extended=True), data)]
        if reassembled:
            decoded_from.append(reassembled)
        for arbitration, payload in decoded_from:
            frame = db.frame_by_id(arbitration) or db.frame_by_pgn(arbitration.pgn)
            if frame is None or frame.size != len(payload):
                continue
            for name, signal in frame.decode(payload).items():
                if signal.signal.size <= 64:
                    expected.setdefault((time, frame.name + "." + name), (float(signal.phys_value), can_id & 0xFF))

    for _ in range(count):
        frame = rng.choice(singles)
        source, priority = rng.randrange(254), rng.randrange(8)
        can_id = (frame.arbitration_id.id & 0x03FFFF00) | priority << 26 | source
        if (can_id >> 16) & 0xFF < 240:  # PDU1: any destination
            can_id = (can_id & ~0xFF00) | rng.randrange(256) << 8
        add(can_id, bytes(rng.randrange(256) for _ in range(frame.size)))
    for frame in longer * 3:
        data = bytes(rng.randrange(256) for _ in range(frame.size))
        pgn = frame.arbitration_id.pgn
        packets = (frame.size + 6) // 7
        source, destination = rng.randrange(254), rng.randrange(254)
        broadcast = rng.random() < 0.5
        to = 0xFF if broadcast else destination
        announce = [0x20 if broadcast else 0x10, frame.size & 0xFF, frame.size >> 8, packets, 0xFF,
                    pgn & 0xFF, (pgn >> 8) & 0xFF, pgn >> 16]
        add(0x1CEC0000 | to << 8 | source, bytes(announce))
        if not broadcast:  # clear to send all packets
            add(0x1CEC0000 | source << 8 | destination, bytes([0x11, packets, 1, 0xFF, 0xFF] + announce[5:]))
        padded = data + b"\xff" * (packets * 7 - len(data))
        for n in range(packets):
            payload = bytes([n + 1]) + padded[n * 7:n * 7 + 7]
            last = n + 1 == packets
            add(0x1CEB0000 | to << 8 | source, payload,
                (canmatrix.ArbitrationId(frame.arbitration_id.id & ~0xFF | source, extended=True), data) if last else None)
    return "\n".join(lines) + "\n", expected


def compare(case, ours, theirs):
    problems = []
    for key in sorted(set(ours) | set(theirs)):
        if key not in ours or key not in theirs:
            problems.append("%s: %s decoded by %s only" % (case, key, "rksignal" if key in ours else "canmatrix"))
            continue
        a, b = ours[key], theirs[key]
        if isinstance(a, tuple):  # (value, J1939 source address)
            if a[1] != b[1]:
                problems.append("%s: %s source rksignal %r, canmatrix frame %r" % (case, key, a[1], b[1]))
            a, b = a[0], b[0]
        if not same(a, b):
            problems.append("%s: %s rksignal %r, canmatrix %r" % (case, key, a, b))
    for problem in problems[:20]:
        print(problem)
    print("%s: %d values compared, %d differences" % (case, len(theirs), len(problems)))
    return not problems


def rksignal_values(tool, dbc_path, log_path, with_source=False):
    values, errors = tool_values(tool, dbc_path, log_path, with_source)
    if values is None:
        sys.exit("rksignal decode failed: " + errors)
    return values


def main():
    tool, workdir = sys.argv[1], sys.argv[2]
    os.makedirs(workdir, exist_ok=True)
    rng = random.Random(20261121)
    ok = True

    dbc_text, frames = random_dbc(rng, 80)
    dbc_path = os.path.join(workdir, "random.dbc")
    log_path = os.path.join(workdir, "random.log")
    log_text = random_log(rng, frames, 3000)
    open(dbc_path, "w").write(dbc_text)
    open(log_path, "w").write(log_text)
    ok &= compare("random", rksignal_values(tool, dbc_path, log_path), canmatrix_values(dbc_path, log_text))

    j1939 = os.path.join(os.path.dirname(canmatrix.__file__), "j1939.dbc")
    db = canmatrix.formats.loadp_flat(j1939, dbcImportEncoding="utf-8")
    log_text, expected = j1939_log(rng, db, 3000)
    log_path = os.path.join(workdir, "j1939.log")
    open(log_path, "w").write(log_text)
    ok &= compare("j1939", rksignal_values(tool, j1939, log_path, with_source=True), expected)
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
