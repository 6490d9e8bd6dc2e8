"""Plots: the PNG's size, one line per selected signal, value descriptions
as tick labels, trigger lines; the same from the shell."""

import os
import struct
import subprocess
import sys

import pytest

import rksignal
from conftest import DRIVE_TRIGGERS, example


def png_size(path):
    with open(path, "rb") as png:
        header = png.read(24)
    assert header[:8] == b"\x89PNG\r\n\x1a\n" and header[12:16] == b"IHDR"
    return struct.unpack(">II", header[16:24])


def test_plot_draws_one_line_per_signal_on_one_axis_per_unit_or_value_table(tmp_path, vehicle):
    frame = rksignal.decode(example("drive.log"), vehicle, triggers=DRIVE_TRIGGERS, edge=True)
    path = str(tmp_path / "drive.png")
    figure = rksignal.plot(frame, ["Doors.*", "VehicleDynamics.VehicleSpeed", "EngineData.CoolantTemp",
                                   "Transmission.OilTemp"], path, width=800, axis_height=200)

    # Speed (km/h), temperatures (degC), the door states, the lock state.
    assert png_size(path) == (800, 4 * 200)
    labels = [[line.get_label() for line in axis.get_lines() if not line.get_label().startswith("_")]
              for axis in figure.axes]
    assert sorted(sum(labels, [])) == sorted(["Doors.DoorFL", "Doors.DoorFR", "Doors.DoorRL", "Doors.DoorRR",
                                              "Doors.Locked", "VehicleDynamics.VehicleSpeed",
                                              "EngineData.CoolantTemp", "Transmission.OilTemp"])
    assert ["EngineData.CoolantTemp", "Transmission.OilTemp"] in labels
    doors = figure.axes[[i for i, names in enumerate(labels) if "Doors.DoorFL" in names][0]]
    assert [tick.get_text() for tick in doors.get_yticklabels()] == ["closed", "open"]
    assert all(len([line for line in axis.get_lines() if line.get_label() == "_trigger"]) == 3
               for axis in figure.axes)

    with pytest.raises(rksignal.Error, match="NoSuch"):
        rksignal.plot(frame, "NoSuch.*", path)


def test_plot_from_the_shell(tmp_path):
    path = str(tmp_path / "doors.png")
    command = [sys.executable, "-m", "rksignal", "plot", "--defs", example("vehicle.dbc"), example("drive.log"),
               "--signals", "Doors.*", "-o", path]
    done = subprocess.run(command, capture_output=True, text=True, env=dict(os.environ))
    assert done.returncode == 0, done.stderr
    assert png_size(path) == (1200, 2 * 260)
    assert "5 signals" in done.stderr

    command[command.index("--defs") + 1] = str(tmp_path / "missing.dbc")
    done = subprocess.run(command, capture_output=True, text=True, env=dict(os.environ))
    assert done.returncode == 2 and "missing.dbc" in done.stderr
