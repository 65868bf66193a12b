"""Signals as something to wait for."""

import os
import select
import signal

from .failures import Stopped
from .processes import reap_children


class Signals:
    """Turns signals into something to read, which is looked at between steps: no step is ever left
    half done."""

    def __init__(self):
        self.pipe, wake = os.pipe2(os.O_CLOEXEC | os.O_NONBLOCK)
        signal.set_wakeup_fd(wake)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGCHLD):
            signal.signal(number, lambda number, frame: None)

    def wait_for(self, sources, seconds=None):
        """The sources that have something to read, at most after so many seconds. Raises Stopped
        when a signal has asked for the end."""
        ready = select.select([self.pipe, *sources], [], [], seconds)[0]
        if self.pipe in ready:
            if set(os.read(self.pipe, 4096)) != {signal.SIGCHLD}:
                raise Stopped
            ready.remove(self.pipe)
            reap_children()
        return ready
