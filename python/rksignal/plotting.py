"""Plots of decoded signals over time, drawn with matplotlib's Agg canvas
(no display, no global pyplot state) into PNG files."""

import fnmatch

import numpy as np
import pandas as pd
from matplotlib.backends.backend_agg import FigureCanvasAgg
from matplotlib.figure import Figure

from .errors import Error

MARKERS = ("TRIGGER", "TIMEOUT")


def plot(frame, signals, path, triggers=True, width=1200, axis_height=260, dpi=100):
    """Draws the instances of ``frame`` (a decode() frame) that match the glob
    ``signals`` (one or several) into the PNG ``path``, ``width`` pixels wide
    and ``axis_height`` pixels per axis.

    One axis per unit; signals with value descriptions (enumerations) get an
    axis per value table, with the descriptions as tick labels. Values are
    drawn as steps: a value holds until the next. With ``triggers``, the
    times of the frame's TRIGGER rows are vertical lines on every axis.
    Returns the matplotlib Figure."""
    patterns = [signals] if isinstance(signals, str) else list(signals)
    instances = frame["instance"].astype(str)
    chosen = [name for name in pd.unique(instances)
              if name not in MARKERS and any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)]
    if not chosen:
        raise Error("no signal of the frame matches %s" % ", ".join(patterns))
    groups = _axis_groups(frame, instances, chosen)

    figure = Figure(figsize=(width / dpi, axis_height * len(groups) / dpi), dpi=dpi)
    FigureCanvasAgg(figure)
    axes = figure.subplots(len(groups), 1, sharex=True, squeeze=False)[:, 0]
    trigger_times = _times(frame[instances == "TRIGGER"]) if triggers else []
    end = frame["time"].max()
    for axis, ((unit, table), names) in zip(axes, groups.items()):
        for name in names:
            # The last value holds to the end of the frame.
            rows = frame[instances == name]
            times = np.append(_times(rows), end.tz_convert(None).to_datetime64())
            values = rows["value"].to_numpy()
            axis.step(times, np.append(values, values[-1]), where="post", label=name)
        if table:
            axis.set_yticks([value for value, _ in table])
            axis.set_yticklabels([text for _, text in table])
        axis.set_ylabel(unit)
        for time in trigger_times:
            axis.axvline(time, color="red", linestyle="--", linewidth=0.8, label="_trigger")
        axis.grid(True, alpha=0.3)
        axis.legend(loc="upper left", fontsize="small")
    axes[-1].set_xlabel("time (UTC)")
    figure.tight_layout()
    figure.savefig(path, format="png")
    return figure


def _axis_groups(frame, instances, chosen):
    """Instances by axis, in order of first appearance: (unit, value table)
    -> names. Signals without descriptions share the axis of their unit;
    enumerations of one unit share an axis while their tables agree on every
    value both describe (the doors' open/closed, but not the lock's
    locked/unlocked), and the axis shows the union of their tables."""
    groups = []
    for name in chosen:
        rows = frame[instances == name]
        unit = str(rows["unit"].iloc[0])
        described = rows[rows["description"].astype(str) != ""]
        table = dict(zip(described["value"], described["description"].astype(str)))
        for group in groups:
            if group["unit"] == unit and bool(group["table"]) == bool(table) and all(
                    group["table"].get(value, text) == text for value, text in table.items()):
                group["table"].update(table)
                group["names"].append(name)
                break
        else:
            groups.append({"unit": unit, "table": table, "names": [name]})
    return {(group["unit"], tuple(sorted(group["table"].items()))): group["names"] for group in groups}


def _times(rows):
    """Times as naive UTC datetime64, which matplotlib's date axis takes."""
    return rows["time"].dt.tz_convert(None).to_numpy()
