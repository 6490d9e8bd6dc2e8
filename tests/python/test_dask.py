"""decode_files on a 2-worker LocalCluster: the rows of decoding each
recording on its own, a failing recording reported in its summary row, and
both output formats read back as one dask dataframe."""

import os

import pandas as pd
import pytest

import rksignal
import rksignal.dask
from conftest import example


def recordings(folder):
    """Seven different cuts of the example drive, and a recording that does not exist."""
    lines = open(example("drive.log")).read().splitlines(keepends=True)
    paths = []
    for index in range(7):
        path = os.path.join(folder, "drive%d.log" % index)
        open(path, "w").writelines(lines[:400 * (index + 1)])
        paths.append(path)
    paths.insert(3, os.path.join(folder, "missing.log"))
    return paths


def rows_of(frame):
    return pd.DataFrame({
        "time": frame["time"].to_numpy(),
        "instance": frame["instance"].astype(str).to_numpy(),
        "value": frame["value"].to_numpy(),
        "unit": frame["unit"].astype(str).to_numpy(),
        "description": frame["description"].astype(str).to_numpy(),
        "source": frame["source"].astype("float64").to_numpy(),
    })


def test_decode_files_gives_the_rows_of_each_recording_decoded_alone(tmp_path):
    from distributed import Client, LocalCluster

    paths = recordings(str(tmp_path))
    triggers = ["VehicleDynamics.VehicleSpeed > 50"]
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
            Client(cluster) as client:
        summaries = {}
        for format in ("csv", "hdf"):
            summaries[format] = rksignal.dask.decode_files(paths, example("vehicle.dbc"), client=client,
                                                           out_dir=str(tmp_path / format), format=format,
                                                           triggers=triggers, edge=True)
        with pytest.raises(rksignal.DefinitionError):
            rksignal.dask.decode_files(paths, str(tmp_path / "missing.dbc"), client=client)

    for format, summary in summaries.items():
        assert list(summary["recording"]) == paths
        failed = summary[summary["error"] != ""]
        assert list(failed["recording"]) == [paths[3]] and "RecordingError" in failed["error"].iloc[0]
        assert failed["output"].isna().all()

        decoded = rksignal.dask.read(str(tmp_path / format))
        assert decoded.npartitions == 7
        everything = decoded.compute()
        for path, row in zip(paths, summary.itertuples()):
            if path == paths[3]:
                continue
            alone = rksignal.decode(path, example("vehicle.dbc"), triggers=triggers, edge=True)
            mine = everything[everything["recording"] == os.path.basename(path)].drop(columns="recording")
            pd.testing.assert_frame_equal(mine.reset_index(drop=True), rows_of(alone), check_exact=True)
            assert (row.rows, row.frames, row.bad_lines) == (len(alone), alone.attrs["frames"], 0)
            assert os.path.basename(row.output) == os.path.basename(path) + (".csv" if format == "csv" else ".h5")
    assert not [name for name in os.listdir(tmp_path / "csv") if name.endswith(".part")]
