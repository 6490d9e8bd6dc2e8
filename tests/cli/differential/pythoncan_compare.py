#!/usr/bin/python3
"""Differential test: the tool's recording readers and writers against
python-can (Debian's python3-can, an independent implementation).

    /usr/bin/python3 pythoncan_compare.py TOOL WORKDIR            random frames
    /usr/bin/python3 pythoncan_compare.py TOOL WORKDIR REALWORLD  real logs

random: the same random frames (classic, CAN FD up to 64 bytes, standard and
  extended identifiers, three channels, some remote and error frames) written
  by python-can as candump log, ASC, BLF and TRC (and compressed) are read by
  `rksignal convert` to the frames python-can reads, and decode to the same
  rows; files that `rksignal convert` writes (candump, ASC, BLF) are read back
  by python-can to the original frames (pcapng by tshark, when installed); candump -> BLF -> candump gives the
  same lines.
realworld: every log in REALWORLD (its can-logs folder) gives the frames
  python-can reads from it, remote and error frames excepted (and counted);
  the compressed ASC gives what the uncompressed one does. Exits 77 (skipped)
  when the folder is absent.
"""

import gzip
import lzma
import os
import random
import re
import shutil
import subprocess
import sys
import time

os.environ["TZ"] = "UTC"  # python-can reads and writes dates in local time
time.tzset()
try:
    import can  # noqa: E402
except ImportError:
    print("skipped: python-can (Debian's python3-can) is not installed")
    sys.exit(77)

CHANNELS = ["--channel", "can0=1", "--channel", "can1=2", "--channel", "can2=3"]
CANDUMP_LINE = re.compile(r"\((\d+)\.(\d{6})\) can(\d+) ([0-9A-F]+)#(#[0-9A-F])?([0-9A-F]*)$")


def fail(text):
    print("FAIL:", text)
    sys.exit(1)


def random_frames(rng, count, fd=True, specials=True):
    frames, micros = [], 1700000000123000
    for n in range(count):
        micros += rng.randrange(1, 5000) if n else 0  # the first on a whole millisecond, as the dates hold
        kind = rng.random()
        extended = rng.random() < 0.4
        ident = rng.randrange(1 << 29) if extended else rng.randrange(1 << 11)
        common = dict(timestamp=micros / 1e6, arbitration_id=ident, is_extended_id=extended,
                      channel=rng.randrange(3))
        if specials and kind < 0.03:
            frames.append(can.Message(is_remote_frame=True, dlc=rng.randrange(9), **common))
        elif specials and kind < 0.06:
            frames.append(can.Message(is_error_frame=True, **common))
        elif fd and kind < 0.45:
            # (no empty CAN FD frames: ASC writes them as remote frames)
            length = rng.choice([1, 5, 8, 12, 16, 20, 24, 32, 48, 64])
            data = bytes(rng.randrange(256) for _ in range(length))
            frames.append(can.Message(is_fd=True, bitrate_switch=rng.random() < 0.5, data=data, **common))
        else:
            data = bytes(rng.randrange(256) for _ in range(rng.randrange(9)))
            frames.append(can.Message(data=data, **common))
    return frames


def channel_number(channel):
    if isinstance(channel, str):
        channel = channel[3:] if channel.startswith("can") else channel
    return int(channel)


def python_key(msg):
    return (round(msg.timestamp * 1e6), channel_number(msg.channel), msg.arbitration_id, msg.is_extended_id,
            bool(msg.is_fd), bool(msg.is_fd and msg.bitrate_switch), bytes(msg.data))


def data_frames(messages):
    return [m for m in messages if not m.is_remote_frame and not m.is_error_frame]


def write_with(writer_class, path, frames):
    writer = writer_class(path)
    for msg in frames:
        writer.on_message_received(msg)
    writer.stop()


def read_with_python(path):
    opener = gzip.open if path.endswith(".gz") else open
    if path.endswith((".asc", ".asc.gz")):
        with opener(path, "rt") as text:
            return list(can.ASCReader(text, relative_timestamp=False))
    return list(can.LogReader(path))


def convert(tool, inputs, output, extra=()):
    run = subprocess.run([tool, "convert", *inputs, "-o", output, *CHANNELS, *extra],
                         capture_output=True, text=True)
    if run.returncode != 0:
        fail(f"convert {inputs} -> {output}: exit {run.returncode}: {run.stderr}")
    return run.stderr


def read_our_candump(path):
    frames = []
    with open(path) as log:
        for line in log:
            match = CANDUMP_LINE.match(line.rstrip("\n"))
            if not match:
                fail(f"{path}: not a candump line: {line!r}")
            seconds, micros, channel, ident, fd_flags, data = match.groups()
            frames.append((int(seconds) * 1000000 + int(micros), int(channel), int(ident, 16), len(ident) == 8,
                           fd_flags is not None, fd_flags is not None and int(fd_flags[1], 16) & 1 == 1,
                           bytes.fromhex(data)))
    return frames


def ours(tool, path, work):
    output = os.path.join(work, os.path.basename(path) + ".ours.log")
    stderr = convert(tool, [path], output)
    return read_our_candump(output), stderr


def relative(frames):
    return [(f[0] - frames[0][0],) + tuple(f[1:]) for f in frames] if frames else []


def bus_numbers(frames):
    return [f[:1] + (f[1] - 1,) + f[2:] for f in frames]


def expect_same(name, expected, got):
    if expected != got:
        for i, (a, b) in enumerate(zip(expected, got)):
            if a != b:
                fail(f"{name}: frame {i}: expected {a}, got {b}")
        fail(f"{name}: {len(expected)} frames expected, {len(got)} read")


def expect_skipped(name, stderr, frames):
    remote = sum(1 for m in frames if m.is_remote_frame)
    errors = sum(1 for m in frames if m.is_error_frame)
    for count, what in ((remote, "remote frames"), (errors, "error frames")):
        if count and f"{count} {what}" not in stderr:
            fail(f"{name}: expected {count} {what} counted as skipped, stderr: {stderr}")


def decode_rows(tool, dbcs, path):
    defs = [arg for channel, dbc in enumerate(dbcs, 1) for arg in ("--defs", f"{dbc}@{channel}")]
    run = subprocess.run([tool, "decode", *defs, "--all", "--format", "csv", *CHANNELS, path],
                         capture_output=True, text=True)
    if run.returncode != 0:
        fail(f"decode {path}: {run.stderr}")
    return run.stdout


def write_dbc(path, frames, prefix):
    lines = ['VERSION ""', "", "NS_ :", "", "BS_:", "", "BU_: ECU", ""]
    seen = set()
    for msg in frames:
        key = (msg.arbitration_id, msg.is_extended_id)
        if msg.is_fd or msg.is_remote_frame or msg.is_error_frame or key in seen:
            continue
        seen.add(key)
        dbc_id = msg.arbitration_id | (0x80000000 if msg.is_extended_id else 0)
        lines.append(f"BO_ {dbc_id} {prefix}M{len(seen)}: 8 ECU")
        lines.append(f' SG_ First : 0|8@1+ (1,0) [0|255] "" ECU')
        lines.append(f' SG_ Word : 8|32@1+ (0.5,-3) [0|0] "" ECU')
        lines.append("")
    with open(path, "w") as out:
        out.write("\n".join(lines) + "\n")


def compressed_copies(path):
    copies = []
    with open(path, "rb") as source:
        data = source.read()
    for ending, compress in ((".gz", gzip.compress), (".xz", lzma.compress)):
        with open(path + ending, "wb") as out:
            out.write(compress(data))
        copies.append(path + ending)
    if shutil.which("zstd"):
        subprocess.run(["zstd", "-q", "-f", path, "-o", path + ".zst"], check=True)
        copies.append(path + ".zst")
    return copies


def random_case(tool, work):
    rng = random.Random(18)
    frames = random_frames(rng, 600)
    classic = random_frames(rng, 300, fd=False, specials=False)
    expected = [python_key(m) for m in data_frames(frames)]
    compared = 0
    written = {}
    for ending, writer, sample in ((".log", can.CanutilsLogWriter, frames), (".asc", can.ASCWriter, frames),
                                   (".blf", can.BLFWriter, frames), (".trc", can.TRCWriter, classic)):
        path = os.path.join(work, "python" + ending)
        write_with(writer, path, sample)
        written[ending] = path
        python_read = [python_key(m) for m in data_frames(read_with_python(path))]
        wanted = [python_key(m) for m in data_frames(sample)]
        if python_read != wanted and ending != ".trc":
            fail(f"python-can does not read back its own {ending}")
        got, stderr = ours(tool, path, work)
        if ending == ".trc":
            # python-can reads TRC times relative to the start, and the bus
            # number (from 1) as the channel
            expect_same(path, relative(bus_numbers(python_read)), relative(got))
        else:
            expect_same(path, python_read, got)
            if ending != ".log":  # candump logs skip them silently
                expect_skipped(path, stderr, sample)
        compared += len(got)
        for copy in compressed_copies(path):
            expect_same(copy, got, ours(tool, copy, work)[0])
            compared += len(got)

    dbcs = [os.path.join(work, f"channel{n}.dbc") for n in (1, 2, 3)]
    for n, dbc in enumerate(dbcs, 1):
        write_dbc(dbc, frames, f"C{n}")
    rows = decode_rows(tool, dbcs, written[".log"])
    if rows.count("\n") < 100:
        fail(f"too few decoded rows to compare: {rows[:200]}")
    for ending in (".asc", ".blf"):
        if decode_rows(tool, dbcs, written[ending]) != rows:
            fail(f"decoded rows of the python-can {ending} differ from those of its candump log")

    # Ours, read back by python-can.
    for ending in (".log", ".asc", ".blf"):
        path = os.path.join(work, "ours" + ending)
        convert(tool, [written[".log"]], path)
        expect_same(path + " read by python-can", expected,
                    [python_key(m) for m in data_frames(read_with_python(path))])
        compared += len(expected)

    # Ours as pcapng, read by tshark where it is installed.
    if shutil.which("tshark"):
        path = os.path.join(work, "ours.pcapng")
        convert(tool, [written[".log"]], path)
        fields = subprocess.run(["tshark", "-r", path, "-T", "fields", "-e", "frame.time_epoch", "-e", "can.id",
                                 "-e", "data.data"], capture_output=True, text=True, check=True).stdout
        seen = [(round(float(t) * 1e6), int(i), bytes.fromhex(d)) for t, i, d in
                (line.split("\t") for line in fields.splitlines())]
        expect_same(path + " read by tshark", [(k[0], k[2], k[6]) for k in expected], seen)
        compared += len(seen)

    # candump -> BLF -> candump
    with open(written[".log"]) as log:
        original = [re.sub(r" [RT]$", "", line.rstrip("\n")) for line in log
                    if "#R" not in line and "20000080#" not in line]
    with open(os.path.join(work, "original.log"), "w") as out:
        out.write("\n".join(original) + "\n")
    convert(tool, [os.path.join(work, "original.log")], os.path.join(work, "trip.blf"))
    convert(tool, [os.path.join(work, "trip.blf")], os.path.join(work, "trip.log"))
    with open(os.path.join(work, "trip.log")) as log:
        if log.read().splitlines() != original:
            fail("candump -> BLF -> candump changed the lines")
    print(f"random: {compared} frames compared, {rows.count(chr(10))} decoded rows equal")


def realworld_case(tool, work, folder):
    if not os.path.isdir(folder):
        print(f"skipped: {folder} is absent")
        sys.exit(77)
    compared = 0
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        got, stderr = ours(tool, path, work)
        try:
            messages = read_with_python(path)
            note = ""
        except Exception as error:  # python-can reads only part of some TRC versions
            messages, note = [], f" (python-can cannot read it: {type(error).__name__})"
        python_read = [python_key(m) for m in data_frames(messages)]
        skipped = len(messages) - len(python_read)
        rejected = stderr.count("bad packet")
        if name.endswith(".trc"):
            python_read, got_cmp = relative(bus_numbers(python_read)), relative(got)
        else:
            got_cmp = got
        if note and name.endswith(".trc"):
            # The same frames as the version python-can reads (version 1.0:
            # whole milliseconds).
            reference, _ = ours(tool, os.path.join(folder, "test_CanMessage_V2_1.trc"), work)
            cut = (lambda f: (round(f[0] / 1000),) + f[1:]) if "V1_0" in name else (lambda f: f)
            expect_same(name, [cut(f) for f in relative(reference)], [cut(f) for f in relative(got)])
            print(f"{name}: {len(got)} frames equal to those of version 2.1{note}")
            continue
        counted = sum(int(n) for n in re.findall(r"(\d+) (?:remote|error) frames", stderr))
        if counted != skipped and not name.endswith(".trc"):  # python-can drops TRC remote frames unseen
            fail(f"{name}: python-can reads {skipped} remote and error frames, we counted {counted}: {stderr}")
        # Frames python-can takes but we refuse (identifier or channel out of
        # range) are reported as bad packets.
        if len(python_read) - rejected != len(got_cmp):
            fail(f"{name}: python-can reads {len(python_read)} frames, we {len(got_cmp)} and {rejected} bad")
        if rejected == 0:
            for a, b in zip(python_read, got_cmp):
                # python-can reads past a short CAN FD object into the next one
                if a != b and not (a[:6] == b[:6] and a[6].startswith(b[6])):
                    fail(f"{name}: python-can {a}, ours {b}")
        compared += len(got_cmp)
        print(f"{name}: {len(got)} frames equal, {skipped} remote/error skipped, {rejected} refused")
    gz, _ = ours(tool, os.path.join(folder, "test_CanMessage.asc.gz"), work)
    plain, _ = ours(tool, os.path.join(folder, "test_CanMessage.asc"), work)
    expect_same("test_CanMessage.asc.gz", plain, gz)
    print(f"realworld: {compared} frames compared")


def main():
    tool, work = sys.argv[1], sys.argv[2]
    os.makedirs(work, exist_ok=True)
    if len(sys.argv) > 3:
        realworld_case(tool, work, sys.argv[3])
    else:
        random_case(tool, work)


main()
