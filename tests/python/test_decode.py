"""rksignal.decode and iter_decode against the tool's expected output, their
memory on a large log, the wide form, and the exceptions of bad input."""

import os
import subprocess
import sys
import textwrap

import numpy as np
import pandas as pd
import pytest

import rksignal
from conftest import DRIVE_TRIGGERS, drive_log_copy, example


def as_text(frame):
    """The frame as the tool's CSV lines show it: time text, strings, values."""
    return pd.DataFrame({
        "time": frame["time"].dt.strftime("%Y-%m-%d %H:%M:%S.%f"),
        "instance": frame["instance"].astype(str),
        "unit": frame["unit"].astype(str),
        "description": frame["description"].astype(str),
        "source": frame["source"].astype(str).replace("<NA>", ""),
    })


def test_example_drive_equals_its_expected_output_whole_and_in_chunks(vehicle):
    expected = pd.read_csv(example("drive.expected.csv"), dtype=str, keep_default_na=False)
    frame = rksignal.decode(example("drive.log"), vehicle, triggers=DRIVE_TRIGGERS, edge=True)

    # The drive's cruise-control frame is J1939: its rows carry the sender's address.
    assert list(frame.columns) == ["time", "instance", "value", "unit", "description", "source"]
    assert str(frame["time"].dtype) == "datetime64[ns, UTC]" and frame["value"].dtype == np.float64
    pd.testing.assert_frame_equal(as_text(frame), expected.drop(columns="value"))
    # Python's float() reads the CSV's shortest texts back exactly (pandas' own parser need not).
    want = np.array([float(text) if text else np.nan for text in expected["value"]])
    np.testing.assert_array_equal(frame["value"].to_numpy(), want)
    assert frame.attrs["triggers_fired"] == 3 and frame.attrs["bad_lines"] == 0

    chunks = list(rksignal.iter_decode(example("drive.log"), vehicle, triggers=DRIVE_TRIGGERS, edge=True,
                                       chunk_rows=1000))
    assert [len(chunk) for chunk in chunks] == [1000, 1000, 873]
    pd.testing.assert_frame_equal(as_text(pd.concat(chunks, ignore_index=True)), as_text(frame))

    # Selection by glob and every write: the doors' frame comes every 10 ms.
    doors = rksignal.decode(example("drive.log"), vehicle, signals="Doors.Door*", all=True)
    assert set(doors["instance"].astype(str)) == {"Doors.DoorFL", "Doors.DoorFR", "Doors.DoorRL", "Doors.DoorRR"}
    assert len(doors) > 4 * frame["instance"].astype(str).str.startswith("Doors.Door").sum()


def test_wide_carries_each_value_forward_on_the_time_index(vehicle):
    frame = rksignal.decode(example("drive.log"), vehicle, signals=["Doors.DoorFL", "Doors.Locked"],
                            triggers=DRIVE_TRIGGERS[:1])
    table = rksignal.wide(frame)
    assert list(table.columns) == ["Doors.DoorFL", "Doors.Locked"]
    assert str(table.index.dtype) == "datetime64[ns, UTC]" and table.index.is_monotonic_increasing
    assert not table.isna().any().any()
    # At every time a signal changed, the wide table shows its new value.
    for row in frame[frame["instance"] != "TRIGGER"].itertuples():
        assert table.at[row.time, str(row.instance)] == row.value


def test_bad_input_raises_the_named_exceptions(tmp_path, vehicle):
    broken = tmp_path / "broken.dbc"
    broken.write_text('VERSION ""\n\nBO_ 256 Engine: 8 ECU\n SG_ Speed : 0|16@1+ (0.1,0) [0|0] "rpm ECU\n')
    with pytest.raises(rksignal.DefinitionError) as error:
        rksignal.load_definitions(str(broken))
    assert error.value.file == str(broken) and error.value.line == 4 and error.value.reason
    with pytest.raises(rksignal.DefinitionError) as error:
        rksignal.decode(example("drive.log"), [str(tmp_path / "missing.dbc")])
    assert error.value.file == str(tmp_path / "missing.dbc") and error.value.line is None

    with pytest.raises(rksignal.RecordingError, match="missing.log"):
        rksignal.decode([example("drive.log"), str(tmp_path / "missing.log")], vehicle)
    with pytest.raises(rksignal.ExpressionError, match="NoSuch.Signal"):
        rksignal.decode(example("drive.log"), vehicle, triggers="NoSuch.Signal > 1")

    # One decoding per process at a time: a second waits for the first to close.
    chunks = rksignal.iter_decode(example("drive.log"), vehicle, chunk_rows=10)
    next(chunks)
    with pytest.raises(rksignal.Error, match="still open"):
        rksignal.decode(example("drive.log"), vehicle)
    chunks.close()
    assert len(rksignal.decode(example("drive.log"), vehicle)) == 2870


def test_iter_decode_keeps_memory_bounded_on_a_large_log(tmp_path):
    # 400 drives (1.15 M lines, 4.6 M rows with every write): decoded whole,
    # the rows alone would take more than 120 MB.
    log = drive_log_copy(str(tmp_path / "long.log"), 400)
    script = textwrap.dedent("""
        import sys
        import rksignal

        def peak_kb():  # VmHWM: ru_maxrss would keep the forking parent's size across exec
            return int([line.split()[1] for line in open("/proc/self/status") if line.startswith("VmHWM:")][0])

        rows = 0
        for frame in rksignal.iter_decode(sys.argv[1], sys.argv[2], all=True, chunk_rows=100_000):
            rows += len(frame)
            if rows <= 100_000:
                start = peak_kb()
        print(rows, (peak_kb() - start) // 1024)
    """)
    done = subprocess.run([sys.executable, "-c", script, log, example("vehicle.dbc")], capture_output=True,
                          text=True, check=True, env=dict(os.environ))
    rows, growth_mb = map(int, done.stdout.split())
    assert rows == 400 * 11520
    assert growth_mb < 30
