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
_libc.sem_trywait.argtypes = [c_void_p]

# The library keeps the time limit itself, and gives what came until then. This is for how much longer it is awaited.
_GRACE = 2.0


class _Wait:
    """A wait for one answer."""

    def __init__(self) -> None:
        self.semaphore = _Semaphore()
        self.answer: tuple[Handle | None, Handle | None] = None, None
        self.is_given_up = False
        _libc.sem_init(self.address, 0, 0)

    @property
    def address(self) -> int:
        return ctypes.addressof(self.semaphore)

    def give_up(self) -> None:
        self.is_given_up = True
        self.answer = None, None


# By the addresses of their semaphores, which live until the library has posted them.
_waits: dict[int, _Wait] = {}


def _retaining(pointer: int | None) -> Handle | None:
    return Handle.retaining(pointer) if pointer is not None else None


def _note(context: int, first: int | None, second: int | None) -> None:
    wait = _waits[context]
    if not wait.is_given_up:
        wait.answer = _retaining(first), _retaining(second)


_handler = CFUNCTYPE(None, c_void_p, c_void_p, c_void_p)(_note)


def _forget_those_given_up() -> None:
    for address, wait in list(_waits.items()):
        if wait.is_given_up and _libc.sem_trywait(address) == 0:
            _waits.pop(address, None) # another thread may do the same


def answer_of(session: Session, function: Any, *arguments: object) -> tuple[Handle | None, Handle | None]:
    """Calls a function whose handler gets two objects, either of which may be null, and waits for them. An interrupt
    from the keyboard ends the wait."""
    _forget_those_given_up()
    wait = _Wait()
    address = wait.address
    note_use()
    limit = session.time_limit if session.time_limit is not None else math.inf
    start = time.monotonic()
    try:
        with session.asking():
            _waits[address] = wait
            function(*arguments, _handler, address, _post)
        end = start + min(limit + _GRACE, 1e9)
        until = _Time(int(end), int(end % 1 * 1e9))
        while _libc.sem_clockwait(address, time.CLOCK_MONOTONIC, ctypes.byref(until)) != 0:
            if time.monotonic() >= end:
                raise _late()
    except BaseException:
        wait.give_up()
        raise
    del _waits[address]
    if wait.answer[0] is None and time.monotonic() - start >= limit: # handlers get no reason of their own for that
        raise _late()
    return wait.answer


def _late() -> TimedOut:
    return TimedOut('no answer came in the time that was allowed')
