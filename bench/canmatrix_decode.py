#!/usr/bin/python3
"""Decodes the first LINES lines of a candump log the way a test engineer's
script does: python-can's candump log reader and canmatrix's frame decoding.
Prints the lines read, the values decoded and the seconds taken.

    /usr/bin/python3 bench/canmatrix_decode.py DBC LOG LINES
"""

import contextlib
import io
import sys
import time

with contextlib.redirect_stdout(io.StringIO()), contextlib.redirect_stderr(io.StringIO()):
    import can
    import canmatrix.formats


def main():
    dbc, log, limit = sys.argv[1], sys.argv[2], int(sys.argv[3])
    db = canmatrix.formats.loadp_flat(dbc)
    by_id = {(f.arbitration_id.id, f.arbitration_id.extended): f for f in db.frames}
    started = time.perf_counter()
    lines = values = 0
    for message in can.CanutilsLogReader(log):
        if lines == limit:
            break
        lines += 1
        frame_def = by_id.get((message.arbitration_id, message.is_extended_id))
        if frame_def is not None:
            for decoded in frame_def.decode(bytes(message.data)).values():
                values += decoded.phys_value is not None
    seconds = time.perf_counter() - started
    print("%d %d %.6f" % (lines, values, seconds))


if __name__ == "__main__":
    main()
