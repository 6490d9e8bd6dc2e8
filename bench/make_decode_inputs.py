#!/usr/bin/python3
"""Inputs of bench/decode_log.sh, written into the folder given:

  bench.dbc   100 frames x 8 signals (standard, extended, both byte orders)
  bench.log   a candump log of LINES frames over them (default 1,000,000);
              each signal follows a slow random walk, so values change often
              but not on every frame
  big.dbc     1,000 frames x 8 signals, for the loading time

    /usr/bin/python3 bench/make_decode_inputs.py DIR [LINES]
"""

import os
import random
import sys


def dbc(frames, rng):
    lines = ['VERSION ""', "", "NS_ :", "", "BS_:", "", "BU_: ECU", ""]
    layout = []
    for m in range(frames):
        extended = m % 4 == 3
        ident = (0x18F00000 + m) if extended else (0x100 + m)
        lines.append("BO_ %d Frame%d: 8 ECU" % (ident | (0x80000000 if extended else 0), m))
        for s in range(8):
            big = (m + s) % 3 == 0
            start = s * 8 + 7 if big else s * 8
            sign = "-" if s % 2 else "+"
            lines.append(' SG_ Signal%d : %d|8@%d%s (%s,%s) [0|0] "unit" ECU'
                         % (s, start, 0 if big else 1, sign, rng.choice(["1", "0.5", "0.1"]), rng.choice(["0", "-40"])))
        lines.append("")
        layout.append((ident, extended))
    return "\n".join(lines) + "\n", layout


def main():
    folder = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 1000000
    os.makedirs(folder, exist_ok=True)
    rng = random.Random(7)
    text, layout = dbc(100, rng)
    open(os.path.join(folder, "bench.dbc"), "w").write(text)
    open(os.path.join(folder, "big.dbc"), "w").write(dbc(1000, rng)[0])
    state = [[rng.randrange(256) for _ in range(8)] for _ in layout]
    with open(os.path.join(folder, "bench.log"), "w") as out:
        for i in range(count):
            m = i % len(layout)
            values = state[m]
            for s in range(8):
                if rng.random() < 0.3:
                    values[s] = (values[s] + rng.choice((-1, 1))) & 0xFF
            ident, extended = layout[m]
            out.write("(%d.%06d) can0 %s#%s\n" % (1700000000 + i // 10000, (i % 10000) * 100,
                                                  ("%08X" if extended else "%03X") % ident,
                                                  bytes(values).hex().upper()))


if __name__ == "__main__":
    main()
