"""Decoding into pandas frames: the rows of ``rksignal decode``, one frame or
frames in chunks, and the wide form (one column per signal) analysis wants."""

import os

import pandas as pd

from . import _rksignal
from ._rksignal import Definitions

# LiveValue::State, in its order: as `rksignal watch` names the states.
LIVE_STATES = ("valid", "no value", "locked", "ended")


def load_definitions(paths):
    """Reads definition files (``FILE.dbc``, ``FILE.dbc@CHANNEL``, ``FILE.json``)
    into one set of definitions; raises DefinitionError for a bad file."""
    return Definitions(_paths(paths))


def decode(recordings, definitions, signals=None, all=False, triggers=(), edge=False, channels=(), timeout_ms=0):
    """The rows of ``rksignal decode --format csv`` for the same options, as a
    DataFrame with columns time (datetime64[ns, UTC]), instance, value
    (float64), unit and description. Text columns are categorical; TRIGGER and
    TIMEOUT rows carry no value and the expression (or instance) as
    description. ``frame.attrs`` holds the run's counts and messages."""
    run = _start(recordings, definitions, signals, all, triggers, edge, channels, timeout_ms)
    try:
        frame = _frame(run.read(0))
        frame.attrs.update(run.summary())
        return frame
    finally:
        run.close()


def iter_decode(recordings, definitions, signals=None, all=False, triggers=(), edge=False, channels=(),
                timeout_ms=0, chunk_rows=1_000_000):
    """The frames of decode(), at most ``chunk_rows`` rows each, decoded as
    they are asked for: memory stays bounded whatever the recordings' size.
    Bad definitions or triggers and recordings that cannot be opened raise
    here, at the call; the run holds the process's decoder until the
    generator ends, is closed or is dropped."""
    if chunk_rows <= 0:
        raise ValueError("chunk_rows must be positive")
    run = _start(recordings, definitions, signals, all, triggers, edge, channels, timeout_ms)
    return _chunks(run, chunk_rows)


def _chunks(run, chunk_rows):
    try:
        while True:
            frame = _frame(run.read(chunk_rows))
            if frame.empty:
                return
            yield frame
    finally:
        run.close()


def wide(frame):
    """One column per instance on the time index, each value carried forward
    to the later times (TRIGGER and TIMEOUT rows left out). Several values of
    one instance at the same time keep the last."""
    signals = frame[~frame["instance"].isin(["TRIGGER", "TIMEOUT"])]
    table = pd.DataFrame({"time": signals["time"], "instance": signals["instance"].astype(str),
                          "value": signals["value"]})
    table = table.drop_duplicates(["time", "instance"], keep="last")
    result = table.pivot(index="time", columns="instance", values="value").ffill()
    result.columns.name = None
    return result[list(dict.fromkeys(table["instance"]))]


def check(expressions, definitions):
    """For each trigger expression: a dict with expression, ok, signals (the
    instance names it reads) and errors (the parser's lines)."""
    if isinstance(expressions, str):
        expressions = [expressions]
    return _rksignal.check(list(expressions), _definitions(definitions))


def events(text):
    """The signal names an event description mentions, in the tables of the
    library's event parser (allSignals, rcKeys, digitalInputs, ..., and the
    counts per source)."""
    return _rksignal.events(text)


def live(definitions, signals=None):
    """The values writers keep in shared memory now (``rksignal watch --once``):
    a DataFrame with instance, value, unit, description, state and time, one
    row per defined signal that matches ``signals`` (globs; all when None)."""
    rows = _rksignal.live(_definitions(definitions), _patterns(signals))
    frame = pd.DataFrame(rows, columns=["instance", "value", "unit", "description", "state", "timestamp"])
    frame["value"] = frame["value"].astype("float64")
    frame["state"] = [LIVE_STATES[state] for state in frame["state"]]
    frame.insert(5, "time", pd.to_datetime(frame.pop("timestamp").astype("float64"), unit="us", utc=True))
    return frame


def _start(recordings, definitions, signals, all, triggers, edge, channels, timeout_ms):
    return _rksignal.DecodeRun(_paths(recordings), _definitions(definitions), _patterns(signals), bool(all),
                               _patterns(triggers), bool(edge), _patterns(channels), int(timeout_ms))


def _frame(columns):
    def categorical(name):
        return pd.Categorical.from_codes(columns[name], categories=columns[name + "_categories"])

    # Built from arrays only, so that pandas takes them as they are: the
    # nanoseconds viewed as datetime64 (the smallest int64 is NaT), the
    # codes as categoricals.
    frame = {
        "time": pd.DatetimeIndex(columns["time"].view("M8[ns]")).tz_localize("UTC"),
        "instance": categorical("instance"),
        "value": columns["value"],
        "unit": categorical("unit"),
        "description": categorical("description"),
    }
    # J1939 definitions loaded: the sender's address, missing (-1) for rows
    # of other messages, as the CSV's source column.
    if "source" in columns:
        sources = columns["source"]
        frame["source"] = pd.arrays.IntegerArray(sources.astype("int16"), sources < 0)
    return pd.DataFrame(frame)


def _definitions(definitions):
    return definitions if isinstance(definitions, Definitions) else load_definitions(definitions)


def _paths(paths):
    if isinstance(paths, (str, os.PathLike)):
        paths = [paths]
    return [os.fspath(path) for path in paths]


def _patterns(patterns):
    if patterns is None:
        return []
    if isinstance(patterns, str):
        return [patterns]
    return list(patterns)
