"""What the objects of one Library share: whether it is open, and how long its calls may wait."""

from collections.abc import Iterator
from contextlib import contextmanager

from .native import C, Scope


class Session:
    """Any number of threads may use one."""

    def __init__(self, time_limit: float | None) -> None:
        if time_limit is not None and not time_limit > 0:
            raise ValueError('a time limit is a number of seconds above 0')
        self.time_limit = time_limit
        self.is_open = True

    @contextmanager
    def asking(self) -> Iterator[None]:
        """Around calls that wait for the daemon: what is borrowed inside is released at the end."""
        if not self.is_open:
            raise ValueError('the library was closed')
        with Scope():
            if self.time_limit is None:
                yield
                return
            C.WLSetTimeLimitOfThread(self.time_limit)
            try:
                yield
            finally:
                C.WLSetTimeLimitOfThread(-1.0)
