"""The exceptions of the rksignal package."""

import re


class Error(Exception):
    """Anything rksignal refuses: the base of the package's exceptions."""


class DefinitionError(Error):
    """A definition file that cannot be read.

    ``file`` is the definition file, ``line`` the line number (None when the
    problem is not on one line, e.g. a missing file) and ``reason`` what is
    wrong.
    """

    _located = re.compile(r"^(?P<file>.*?):(?P<line>\d+): (?P<reason>.*)$", re.S)
    _unlocated = re.compile(r"^(?P<file>[^:]*): (?P<reason>.*)$", re.S)

    def __init__(self, message):
        super().__init__(message)
        self.file, self.line, self.reason = None, None, message
        located = self._located.match(message)
        if located:
            self.file, self.line, self.reason = located["file"], int(located["line"]), located["reason"]
            return
        unlocated = self._unlocated.match(message)
        if unlocated:
            self.file, self.reason = unlocated["file"], unlocated["reason"]


class RecordingError(Error):
    """A recording that cannot be opened or read to its end."""


class ExpressionError(Error):
    """A trigger expression that does not compile against the definitions."""
