"""Waiting for C functions that answer by a handler."""

import ctypes
import math
import time
from ctypes import CFUNCTYPE, c_int, c_long, c_void_p
from typing import Any

from .errors import TimedOut
from .native import Handle, note_use
from .session import Session


class _Semaphore(ctypes.Union):
    """sem_t."""

    _fields_ = [('size', ctypes.c_char * 64), ('alignment', c_long)]


class _Time(ctypes.Structure):
    """struct timespec."""

    _fields_ = [('seconds', ctypes.c_int64), ('nanoseconds', c_long)]


# The library calls the handler and then releases its context, both on a thread of its own. The context is a semaphore,
# and its release is the function of C that posts it: when the caller goes on, no Python runs on that thread any more,
# which might not survive the end of the interpreter.
_libc = ctypes.CDLL(None, use_errno=True)
_post = ctypes.cast(_libc.sem_post, c_void_p)
_libc.sem_init.argtypes = [c_void_p, c_int, ctypes.c_uint]
_libc.sem_clockwait.argtypes = [c_void_p, c_int, c_void_p]

_answers: dict[int, tuple[Handle | None, Handle | None]] = {}
_kept: list[_Semaphore] = []


def _retaining(pointer: int | None) -> Handle | None:
    return Handle.retaining(pointer) if pointer is not None else None


def _note(context: int, first: int | None, second: int | None) -> None:
    _answers[context] = _retaining(first), _retaining(second)


_handler = CFUNCTYPE(None, c_void_p, c_void_p, c_void_p)(_note)


def answer_of(session: Session, function: Any, *arguments: object) -> tuple[Handle | None, Handle | None]:
    """Calls a function whose handler gets two objects, either of which may be null, and waits for them."""
    semaphore = _Semaphore()
    address = ctypes.addressof(semaphore)
    _libc.sem_init(address, 0, 0)
    note_use()
    limit = session.time_limit if session.time_limit is not None else math.inf
    with session.asking():
        function(*arguments, _handler, address, _post)
    end = time.monotonic() + min(limit, 1e9)
    until = _Time(int(end), int(end % 1 * 1e9))
    while _libc.sem_clockwait(address, time.CLOCK_MONOTONIC, ctypes.byref(until)) != 0:
        if time.monotonic() >= end:
            _kept.append(semaphore) # it is posted one day
            raise TimedOut('no answer came in the time that was allowed')
    return _answers.pop(address, (None, None))
