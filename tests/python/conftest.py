"""What the tests of the rksignal package share: the example files and the
options the example drive's expected output was made with."""

import os

import pytest

EXAMPLES = os.environ.get("RKSIGNAL_EXAMPLES",
                          os.path.join(os.path.dirname(__file__), "..", "..", "examples"))
DRIVE_TRIGGERS = ["Doors.DoorFL == 1 && Doors.Locked == 0", "VehicleDynamics.VehicleSpeed > 50"]


def example(name):
    return os.path.join(EXAMPLES, name)


@pytest.fixture(scope="session")
def vehicle():
    import rksignal

    return rksignal.load_definitions(example("vehicle.dbc"))


def drive_log_copy(path, repeats, shift_seconds=40):
    """The example drive `repeats` times one after the other, in one candump log."""
    lines = open(example("drive.log")).read().splitlines()
    with open(path, "w") as out:
        for repeat in range(repeats):
            for line in lines:
                stamp, rest = line.split(")", 1)
                seconds, micros = stamp[1:].split(".")
                out.write("(%d.%s)%s\n" % (int(seconds) + repeat * shift_seconds, micros, rest))
    return path
