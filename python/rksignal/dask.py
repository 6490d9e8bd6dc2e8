"""Decoding many recordings on a Dask cluster: one task per recording, each
worker reading the definitions once, one output file per recording.

    import rksignal.dask
    summary = rksignal.dask.decode_files(paths, "vehicle.dbc", out_dir="decoded")
    rows = rksignal.dask.read("decoded")          # one dask.dataframe

``client=None`` starts a LocalCluster on this machine (one single-threaded
worker process per core: the decoding library allows one decoder per process
at a time); a ``distributed.Client("tcp://scheduler:8786")`` runs the same
tasks on a cluster whose workers have the package installed and see the
recordings and out_dir under the same paths.
"""

import glob
import os
import time

import pandas as pd

from . import _rksignal
from .errors import Error
from .frames import Definitions, _frame, _paths, _patterns, load_definitions

FORMATS = {"csv": ".csv", "hdf": ".h5"}
SUMMARY = ["recording", "output", "rows", "frames", "bad_lines", "seconds", "error"]
HDF_KEY = "rows"

# Definitions by their files, read once per worker process.
_worker_definitions = {}


def decode_files(paths, definitions, client=None, out_dir=None, format="csv", signals=None, all=False,
                 triggers=(), edge=False, channels=(), workers=None):
    """Decodes each recording of ``paths`` as one task and returns a pandas
    summary, one row per recording in the order given: recording, output
    (the file written; None without out_dir or when the recording failed),
    rows, frames, bad_lines, seconds and error (empty, or why the recording
    failed: the others complete all the same).

    With ``out_dir`` each recording's rows go to OUT_DIR/<name>.csv (the
    tool's CSV) or OUT_DIR/<name>.h5 (pandas' HDF5 table under key "rows"),
    <name> being the recording's file name. ``workers`` is the number of
    worker processes of the LocalCluster started when ``client`` is None
    (default: one per core)."""
    if format not in FORMATS:
        raise Error("format %r: expected one of %s" % (format, ", ".join(FORMATS)))
    files = definitions.files if isinstance(definitions, Definitions) else _paths(definitions)
    load_definitions(files)  # bad definitions fail here, before any task
    paths = _paths(paths)
    outputs = _output_names(paths, out_dir, format)
    options = dict(signals=_patterns(signals), all=bool(all), triggers=_patterns(triggers), edge=bool(edge),
                   channels=_patterns(channels))
    if out_dir is not None:
        os.makedirs(out_dir, exist_ok=True)

    own = None
    if client is None:
        own = _local_client(workers)
        client = own
    try:
        tasks = client.map(_decode_one, paths, outputs, files=files, format=format, options=options, pure=False)
        rows = client.gather(tasks)
    finally:
        if own is not None:
            cluster = own.cluster
            own.close()
            cluster.close()
    return pd.DataFrame(rows, columns=SUMMARY)


def read(out_dir):
    """The outputs decode_files wrote into ``out_dir`` as one dask.dataframe,
    one partition per recording, with the columns of rksignal.decode (text
    columns as strings) and ``recording``, the name of the recording."""
    import dask.dataframe

    outputs = sorted(glob.glob(os.path.join(out_dir, "*.csv")) + glob.glob(os.path.join(out_dir, "*.h5")))
    if not outputs:
        raise Error("%s: no decoded recordings (*.csv, *.h5)" % out_dir)
    return dask.dataframe.from_map(read_output, outputs, meta=_meta())


def read_output(path):
    """One output of decode_files as a pandas frame (see read())."""
    name, suffix = os.path.splitext(os.path.basename(path))
    if suffix == ".h5":
        frame = pd.read_hdf(path, HDF_KEY)
    else:
        frame = pd.read_csv(path, dtype=str, keep_default_na=False)
        frame["time"] = pd.to_datetime(frame["time"], format="%Y-%m-%d %H:%M:%S.%f", utc=True)
        # float() reads the tool's shortest texts back exactly.
        frame["value"] = [float(text) if text else float("nan") for text in frame["value"]]
    # J1939 sender addresses where the definitions had J1939 messages, NaN elsewhere.
    frame["source"] = pd.to_numeric(frame["source"], errors="coerce") if "source" in frame else float("nan")
    frame["recording"] = name
    return frame.astype(_meta().dtypes.to_dict())


def _meta():
    return pd.DataFrame({
        "time": pd.Series(dtype="datetime64[ns, UTC]"),
        "instance": pd.Series(dtype=object),
        "value": pd.Series(dtype="float64"),
        "unit": pd.Series(dtype=object),
        "description": pd.Series(dtype=object),
        "source": pd.Series(dtype="float64"),
        "recording": pd.Series(dtype=object),
    })


def _output_names(paths, out_dir, format):
    """OUT_DIR/<file name of the recording><suffix>, made unique with -2, -3,
    ... where recordings of different folders share a name."""
    if out_dir is None:
        return [None] * len(paths)
    taken, names = set(), []
    for path in paths:
        stem = os.path.basename(path) or "recording"
        name, number = stem, 1
        while name in taken:
            number += 1
            name = "%s-%d" % (stem, number)
        taken.add(name)
        names.append(os.path.join(out_dir, name + FORMATS[format]))
    return names


def _local_client(workers):
    from distributed import Client, LocalCluster

    cluster = LocalCluster(n_workers=workers or os.cpu_count() or 1, threads_per_worker=1, processes=True,
                           dashboard_address=None)
    return Client(cluster)


def _definitions(files):
    key = tuple(files)
    if key not in _worker_definitions:
        _worker_definitions[key] = load_definitions(list(files))
    return _worker_definitions[key]


def _decode_one(path, output, files, format, options):
    """The task of one recording, on a worker: its summary row; what goes
    wrong is reported in the row, never raised. The output appears under its
    name only when complete."""
    started = time.perf_counter()
    summary = {"recording": path, "output": None, "rows": 0, "frames": 0, "bad_lines": 0, "seconds": 0.0,
               "error": ""}
    partial = None if output is None else output + ".part"
    try:
        run = _rksignal.DecodeRun([path], _definitions(files), options["signals"], options["all"],
                                  options["triggers"], options["edge"], options["channels"], 0)
        try:
            _write(run, partial, format)
            counts = run.summary()
        finally:
            run.close()
        summary.update(rows=counts["rows"], frames=counts["frames"], bad_lines=counts["bad_lines"])
        if partial is not None:
            os.replace(partial, output)
            summary["output"] = output
    except Exception as error:  # the summary row carries any failure of this recording
        summary["error"] = "%s: %s" % (type(error).__name__, error)
        if partial is not None and os.path.exists(partial):
            os.remove(partial)
    summary["seconds"] = time.perf_counter() - started
    return summary


def _write(run, path, format):
    if path is None:
        run.count()
    elif format == "csv":
        run.write(path, "csv")
    else:
        frame = _frame(run.read(0))
        for column in ("instance", "unit", "description"):
            frame[column] = frame[column].astype(str)
        if "source" in frame:  # HDF5 tables take no nullable integers: NaN marks no source, as read from CSV
            frame["source"] = frame["source"].astype("float64")
        frame.to_hdf(path, HDF_KEY, mode="w", format="table")
