"""rksignal: decoding of vehicle recordings (candump logs, captures, NMEA logs,
trace lines) into pandas frames, plots of the decoded signals, and decoding of
many recordings on a Dask cluster (rksignal.dask).

    import rksignal
    frame = rksignal.decode("drive.log", "vehicle.dbc", signals="Doors.*")
"""

from .errors import DefinitionError, Error, ExpressionError, RecordingError
from .frames import Definitions, check, decode, events, iter_decode, live, load_definitions, wide


def plot(frame, signals, path, **options):
    """Draws the selected signals of a decoded frame into a PNG (see rksignal.plotting)."""
    from .plotting import plot as draw  # matplotlib is imported only when plotting

    return draw(frame, signals, path, **options)


__all__ = ["Definitions", "DefinitionError", "Error", "ExpressionError", "RecordingError", "check", "decode",
           "events", "iter_decode", "live", "load_definitions", "plot", "wide"]
