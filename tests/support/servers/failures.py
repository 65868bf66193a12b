"""What ends a run before its time."""


class StartFailure(Exception):
    """A server cannot be used; the text says why and holds its log."""


class Stopped(Exception):
    """A signal asked for the end."""
