"""What the objects of one Library share: whether it is open, and how long its calls may wait."""

from collections.abc import Iterator
from contextlib import contextmanager

from .native import C, Scope


class Session:
    """Any number of threads may use one."""

    def __init__(self, time_limit: float | None, shared: 'Session | None' = None) -> None:
        """When `shared` is closed, so is this, and the other way round."""
        if time_limit is not None and not time_limit > 0:
            raise ValueError('a time limit is a number of seconds above 0')
        self.time_limit = time_limit
        self._closed: list[bool] = shared._closed if shared is not None else []

    def close(self) -> None:
        """Lets nothing more be asked."""
        self._closed.append(True)

    @contextmanager
    def asking(self, *, waiting: float = 0) -> Iterator[None]:
        """Around calls that wait for the daemon: what is borrowed inside is released at the end. `waiting` is for how
        many seconds the daemon was asked to wait by itself."""
        if self._closed:
            raise ValueError('the library was closed')
        with Scope():
            if self.time_limit is None:
                yield
                return
            C.WLSetTimeLimitOfThread(self.time_limit + waiting)
            try:
                yield
            finally:
                C.WLSetTimeLimitOfThread(-1.0)
