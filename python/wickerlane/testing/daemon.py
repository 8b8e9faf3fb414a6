"""The scripted daemon itself."""

import ctypes
import dataclasses
import os
import pathlib
from collections.abc import Callable, Mapping
from ctypes import c_void_p
from types import TracebackType
from typing import Any, Self

from ..errors import Invalid, WickerlaneError
from ..native import C, Handle, Scope, known, note_use, size, string, text_argument, text_or_none
from .functions import T
from ..values import Value, handle_of, mapping_of

_VARIABLES = ('WICKERLANE_ROOT', 'WICKERLANE_SERVICES')


@dataclasses.dataclass(frozen=True, slots=True)
class Request:
    """A request that the daemon has received."""

    operation: str
    """Its name; empty when it is a request of none."""
    values: dict[str, Value]
    """What was sent, in that order. URLs and object IDs are texts."""
    wants_reply: bool
    """Whether it waits for an answer."""
    process: int
    """The ID of the process that sent it."""


class ScriptedDaemon:
    """Stands in for the daemon while the context lasts, in this process, on a private root in a new folder.

    Enter it before the process has asked a daemon, or after the one that it has asked has ended. While it lasts,
    WICKERLANE_ROOT names the root for this process and those that it starts. There is one at a time. OSError is
    raised when there is another one, and when this process is connected to a daemon: a test never reaches the user's
    own library.

    An operation without a script is answered with an error that names it; but access is granted. All functions raise
    ValueError for what no daemon could do, such as an answer with a key that the operation's reply does not have. Each
    of those that say what is to be done takes

    operation -- its name, one of operations(); None for all operations without a script
    nth -- which request it is about, counted from the next, which is 1; without it, each
    delay -- after how many seconds it is done; other requests don't wait
    held -- done when release() is called"""

    def __init__(self) -> None:
        self._daemon: int | None = None
        self._before: dict[str, str | None] = {}

    def __enter__(self) -> Self:
        if self._daemon is not None:
            raise ValueError('the daemon runs already')
        note_use()
        self._before = {name: os.environ.get(name) for name in _VARIABLES}
        self._daemon = _call(T.WLScriptedDaemonStart)
        # What was changed behind Python's back.
        os.environ.update({'WICKERLANE_ROOT': str(self.root), 'WICKERLANE_SERVICES': str(self.root / 'no-services')})
        return self

    def __exit__(self, _type: type[BaseException] | None, _value: BaseException | None,
                 _traceback: TracebackType | None) -> None:
        daemon, self._daemon = self._daemon, None
        T.WLScriptedDaemonEnd(daemon)
        for name, value in self._before.items():
            if value is None:
                os.environ.pop(name, None)
            else:
                os.environ[name] = value

    @property
    def root(self) -> pathlib.Path:
        """The folder of the root."""
        return pathlib.Path(known(text_or_none(T.WLScriptedDaemonRoot(self._running()))))

    def answer(self, operation: str | None, values: Mapping[str, Value] | None = None, *, nth: int | None = None,
               delay: float = 0, held: bool = False) -> None:
        """Requests are answered with the values by the keys of the operation's reply."""
        handle = None if values is None else handle_of(values)
        _call(T.WLScriptedDaemonAnswer, self._running(), *_when(operation, nth, delay, held), handle)

    def fail(self, operation: str | None, error: type[WickerlaneError], text: str = 'the script says so', *,
             nth: int | None = None, delay: float = 0, held: bool = False) -> None:
        """The daemon says no, so that the error is raised. No daemon says Unreachable, TimedOut or Cancelled: use
        stop() or die(), or `held` with a time limit."""
        _call(T.WLScriptedDaemonFail, self._running(), *_when(operation, nth, delay, held), error.code,
              text_argument(text))

    def die(self, operation: str | None, *, nth: int | None = None, delay: float = 0, held: bool = False) -> None:
        """The daemon is gone, as if it was killed: nothing that waits is answered, and Ending is raised. The next
        request reaches a new one, as if it had been started again."""
        _call(T.WLScriptedDaemonDie, self._running(), *_when(operation, nth, delay, held))

    def refuse_access(self, refused: bool = True) -> None:
        """From now on, this program has no access to the library, or has it again."""
        T.WLScriptedDaemonRefuseAccess(self._running(), refused)

    def release(self) -> None:
        """Does what is held."""
        T.WLScriptedDaemonRelease(self._running())

    def stop(self) -> None:
        """From now on there is no daemon, and it can't be started. A process that has found that never looks again, so
        that a test in which it asks meanwhile needs a process of its own."""
        T.WLScriptedDaemonStop(self._running())

    def listen(self) -> None:
        """After stop(): it is there again."""
        _call(T.WLScriptedDaemonListen, self._running())

    @property
    def requests(self) -> list[Request]:
        """All that has come, in order of arrival."""
        requests = Handle(T.WLScriptedDaemonCreateRequests(self._running()))
        with Scope():
            entries: list[Any] = [mapping_of(C.WLArrayGet(requests, index))
                                  for index in range(C.WLArrayCount(requests))]
        return [Request(each['operation'], each['values'], bool(each['wantsReply']), each['process'])
                for each in entries]

    def wait_for_requests(self, count: int, seconds: float = 30) -> bool:
        """Waits until that many have come; False when they have not in that time. For those that want no reply."""
        return bool(T.WLScriptedDaemonWaitForRequests(self._running(), size(count), seconds))

    def forget_requests(self) -> None:
        """Forgets what has come."""
        T.WLScriptedDaemonForgetRequests(self._running())

    def _running(self) -> int:
        if self._daemon is None:
            raise ValueError('the daemon does not run: use it in a with statement')
        return self._daemon


def operations() -> dict[str, list[str]]:
    """The names of all operations, with the keys of their replies."""
    listed = Handle(T.WLScriptedOperationsCreate())
    with Scope():
        found: Any = mapping_of(listed)
    return dict(found)


def _when(operation: str | None, nth: int | None, delay: float, held: bool) -> tuple[bytes | None, int, float]:
    if nth is not None and nth < 1:
        raise ValueError('requests are counted from 1')
    if delay < 0:
        raise ValueError(f'a delay of {delay} seconds can\'t be')
    if held and delay:
        raise ValueError('a reaction is delayed or held')
    return None if operation is None else text_argument(operation), nth or 0, -1 if held else delay


def _call(function: Callable[..., Any], *arguments: object) -> Any:
    error = c_void_p()
    with Scope():
        result = function(*arguments, ctypes.byref(error))
        if error.value is None:
            return result
        text = known(string(C.WLErrorText(error)))
        raise (ValueError if C.WLErrorCode(error) == Invalid.code else OSError)(text)
