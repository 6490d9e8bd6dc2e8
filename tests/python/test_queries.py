"""check, events and live as the commands show them; live reads what the
tool's decode --shm left in shared memory."""

import os
import subprocess

import pytest

import rksignal


def test_check_and_events(vehicle):
    good, bad = rksignal.check(["VehicleDynamics.VehicleSpeed > 50 && Doors.DoorFL == 1", "Speed >"], vehicle)
    assert good["ok"] and sorted(good["signals"]) == ["Doors.DoorFL", "VehicleDynamics.VehicleSpeed"]
    assert not bad["ok"] and not bad["signals"] and any("Speed" in line for line in bad["errors"])

    tables = rksignal.events("CAN.signal3 > 5 && DI.010 == 1 || GPS.Speed > 80")
    assert tables["allSignals"] == {"CAN.signal3", "DI.010", "GPS.Speed"}
    assert tables["digitalInputs"] == {8: "DI.010"} and tables["gpsSignals"] == {"GPS.Speed"}
    assert (tables["canCount"], tables["digitalCount"], tables["gpsCount"], tables["linCount"]) == (1, 1, 1, 0)


@pytest.mark.skipif(not os.path.exists(os.environ.get("RKSIGNAL_TOOL", "")), reason="the rksignal tool is not built")
def test_live_reads_the_values_a_writer_left_in_shared_memory(tmp_path):
    tool = os.environ["RKSIGNAL_TOOL"]
    message = "PyLive%d" % os.getpid()  # names unique to the run: segments are keyed by them
    defs = tmp_path / "live.dbc"
    defs.write_text('BO_ 256 %s: 8 ECU\n SG_ Value : 0|16@1+ (0.5,0) [0|0] "km/h" X\n'
                    ' SG_ State : 16|2@1+ (1,0) [0|3] "" X\nVAL_ 256 State 0 "idle" 1 "run";\n' % message)
    log = tmp_path / "live.log"
    log.write_text("(10.000000) can0 100#0A000000\n(10.500000) can0 100#0B000100\n")
    run = lambda *arguments, **options: subprocess.run([tool, "decode", "--defs", str(defs), "--shm", "--format",
                                                        "none", *arguments], capture_output=True, **options)
    try:
        assert run("--keep", str(log)).returncode == 0
        values = rksignal.live(str(defs))
        assert list(values["instance"]) == [message + ".Value", message + ".State"]
        assert list(values["value"]) == [5.5, 1.0] and list(values["state"]) == ["valid", "valid"]
        assert list(values["unit"]) == ["km/h", ""] and values["description"].iloc[1] == "run"
        assert str(values["time"].iloc[0]) == "1970-01-01 00:00:10.500000+00:00"
        assert list(rksignal.live(str(defs), "*.State")["instance"]) == [message + ".State"]
        with pytest.raises(rksignal.Error, match="no signal"):
            rksignal.live(str(defs), "Nothing.*")
    finally:
        # A writer without --keep takes the segments over and removes them.
        run("-", input=b"")
        for name in ("Value", "State"):
            if os.path.exists("/tmp/%s.%s" % (message, name)):
                os.remove("/tmp/%s.%s" % (message, name))
