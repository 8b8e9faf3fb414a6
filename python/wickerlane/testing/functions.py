"""The C functions of the scripted daemon, and those that make values for it."""

import ctypes
from collections.abc import Callable
from ctypes import c_bool, c_char_p, c_double, c_int64, c_size_t, c_void_p
from typing import Any

from ..native import library_file

_POINTER, _TEXT, _ERROR = c_void_p, c_char_p, ctypes.POINTER(c_void_p)


def _load() -> ctypes.CDLL:
    name = library_file('libwickerlane-testing.so.1')
    try:
        return ctypes.CDLL(name)
    except OSError as error:
        raise ImportError(f'the scripted daemon can\'t be loaded ({error}): install it, or name the library beside it '
                          'in the environment variable WICKERLANE_LIBRARY') from error


# As in wickerlane.native.
_SIGNATURES: list[tuple[Any, list[Any], str]] = [
    (_POINTER, [_ERROR], 'WLScriptedDaemonStart'),
    (_POINTER, [], 'WLScriptedOperationsCreate'),
    (_POINTER, [_POINTER], 'WLScriptedDaemonCreateRequests'),
    (_TEXT, [_POINTER], 'WLScriptedDaemonRoot'),
    (None, [_POINTER], 'WLScriptedDaemonEnd WLScriptedDaemonRelease WLScriptedDaemonStop '
     'WLScriptedDaemonForgetRequests'),
    (None, [_POINTER, c_bool], 'WLScriptedDaemonRefuseAccess'),
    (c_bool, [_POINTER, _ERROR], 'WLScriptedDaemonListen'),
    (c_bool, [_POINTER, c_size_t, c_double], 'WLScriptedDaemonWaitForRequests'),
    (c_bool, [_POINTER, _TEXT, c_size_t, c_double, _POINTER, _ERROR], 'WLScriptedDaemonAnswer'),
    (c_bool, [_POINTER, _TEXT, c_size_t, c_double, c_int64, _TEXT, _ERROR], 'WLScriptedDaemonFail'),
    (c_bool, [_POINTER, _TEXT, c_size_t, c_double, _ERROR], 'WLScriptedDaemonDie'),
]


class _Functions:
    """The declared functions, by name."""

    def __init__(self) -> None:
        library = _load()
        for result, arguments, names in _SIGNATURES:
            for name in names.split():
                function = library[name]
                function.restype, function.argtypes = result, arguments
                setattr(self, name, function)

    def __getattr__(self, name: str) -> Callable[..., Any]:
        raise AttributeError(name)


T = _Functions()
