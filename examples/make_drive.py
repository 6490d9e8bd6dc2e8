#!/usr/bin/env python3
"""Writes examples/drive.log: a candump log ("candump -l" format) of a short,
made-up drive of the example vehicle of examples/vehicle.dbc.

The driver unlocks and opens the door, starts the engine, drives off to about
60 km/h, cruises, brakes to a stop, parks and opens the door again. Values are
deterministic (no random module), so the file is the same on every run:

    python3 examples/make_drive.py > examples/drive.log
"""

import math
import sys

START = 1763765400  # 2025-11-21 22:50:00 UTC
DURATION = 32.0


def clamp(value, low, high):
    return max(low, min(high, value))


def speed_at(t):
    """Vehicle speed in km/h."""
    if t < 9:
        return 0.0
    if t < 19:
        return 60.0 * (1 - math.cos(math.pi * (t - 9) / 10)) / 2
    if t < 24:
        return 60.0 + 1.5 * math.sin(t)
    if t < 29:
        return 60.0 * (1 + math.cos(math.pi * (t - 24) / 5)) / 2
    return 0.0


def accel_at(t):
    dt = 0.05
    return (speed_at(t + dt) - speed_at(t - dt)) / (2 * dt) / 3.6


def engine_state(t):
    if t < 5:
        return 0
    if t < 6:
        return 1
    return 2


def rpm_at(t):
    state = engine_state(t)
    if state == 0:
        return 0.0
    if state == 1:
        return 250.0
    speed = speed_at(t)
    gear = gear_engaged(t)
    if gear == 0:
        return 800.0 + 20 * math.sin(3 * t)
    return clamp(800.0 + speed / gear * 95, 800, 6500)


def gear_lever(t):
    if 8 <= t < 29.5:
        return 3  # D
    return 0  # P


def gear_engaged(t):
    if gear_lever(t) != 3:
        return 0
    speed = speed_at(t)
    for gear, limit in enumerate((15, 30, 45, 60, 80), start=1):
        if speed < limit:
            return gear
    return 6


def doors(t):
    driver_open = (1.0 <= t < 3.0) or t >= 30.5
    locked = 4.0 <= t < 30.0
    return (1 if driver_open else 0) | (0x10 if locked else 0)


def le16(value):
    value = int(round(value)) & 0xFFFF
    return [value & 0xFF, value >> 8]


def be(value, nbytes):
    value = int(round(value)) & ((1 << (8 * nbytes)) - 1)
    return [(value >> (8 * (nbytes - 1 - i))) & 0xFF for i in range(nbytes)]


def engine_data(t):
    coolant = clamp(20 + 2.2 * max(0.0, t - 5), -40, 215)
    throttle = clamp(accel_at(t) * 25 + (8 if speed_at(t) > 1 else 0), 0, 100)
    load = clamp(throttle * 0.8 + 10 if engine_state(t) == 2 else 0, 0, 127)
    return le16(rpm_at(t) / 0.25) + [int(coolant + 40), int(throttle / 0.4), int(load / 0.5),
                                     engine_state(t), 0, 0]


def vehicle_dynamics(t):
    speed = be(speed_at(t) / 0.01, 2)
    accel = int(round(accel_at(t) / 0.01)) & 0xFFF
    yaw = int(round(2.0 * math.sin(t / 3) * (speed_at(t) > 1) / 0.05)) & 0xFFF
    # LongAccel: byte 2 and the high nibble of byte 3; YawRate: low nibble of
    # byte 3 and byte 4 (both big endian).
    byte2 = accel >> 4
    byte3 = ((accel & 0xF) << 4) | (yaw >> 8)
    byte4 = yaw & 0xFF
    odometer = be((12345.6 + 0.0) / 0.1 + int(distance_at(t) * 10), 3)
    return speed + [byte2, byte3, byte4] + odometer


def distance_at(t):
    steps = int(t * 20)
    return sum(speed_at(i / 20.0) for i in range(steps)) / 3.6 / 20 / 1000


def transmission(t):
    return [gear_lever(t) | (gear_engaged(t) << 4), int(clamp(20 + 1.5 * max(0.0, t - 6), -40, 215) + 40), 0, 0]


def diagnostics(t, page):
    if page == 0:
        value = le16((12.6 if engine_state(t) == 0 else 14.1) / 0.001)
    elif page == 1:
        value = le16((0 if engine_state(t) != 2 else 2.5 + rpm_at(t) / 2000) / 0.01)
    else:
        value = [12 + 40, 0]
    return [page] + value + [0] * 5


def battery_cells(t):
    current = -5.0 - accel_at(t) * 40
    soc = 80.0 - t * 0.05
    payload = []
    for cell in range(4):
        payload += le16((3.9 - 0.002 * cell - 0.0005 * t) / 0.001)
    payload += [0] * 8
    payload += le16(current / 0.1)
    payload += [0] * 7
    payload += [int(soc / 0.5)]
    payload += [0] * 6
    return payload


def cruise_control(t):
    wheel = le16(speed_at(t) / 0.00390625)
    active = 1 if 20 <= t < 24 else 0
    return [0xFF] + wheel + [active | 0xFC, 0xFF, 0xFF, 0xFF, 0xFF]


def line(t, ident, payload, fd=False):
    seconds = START + int(t)
    micros = int(round((t - int(t)) * 1e6))
    data = "".join("%02X" % b for b in payload)
    separator = "##0" if fd else "#"
    return "(%d.%06d) can0 %s%s%s" % (seconds, micros, ident, separator, data)


def main():
    out = []
    step = 0
    while step * 0.05 < DURATION:
        t = round(step * 0.05, 6)
        out.append(line(t + 0.001, "100", engine_data(t)))
        out.append(line(t + 0.002, "200", vehicle_dynamics(t)))
        if step % 2 == 0:
            out.append(line(t + 0.010, "300", [doors(t), 0]))
            out.append(line(t + 0.011, "310", transmission(t)))
            out.append(line(t + 0.012, "701", diagnostics(t, (step // 2) % 3)))
            out.append(line(t + 0.013, "400", battery_cells(t), fd=True))
            out.append(line(t + 0.014, "18FEF100", cruise_control(t)))
        step += 1
    sys.stdout.write("\n".join(out) + "\n")


if __name__ == "__main__":
    main()
