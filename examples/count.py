"""Shows how many photos and videos the library holds, and again at each change: count.py [CHANGES]

The library is the one that the linker finds, or the one that WICKERLANE_LIBRARY names."""

import ctypes
import os
import queue
import sys

wickerlane = ctypes.CDLL(os.environ.get('WICKERLANE_LIBRARY', 'libwickerlane.so.1'))

# Without types Python would treat results as 32-bit numbers.
WORK = ctypes.CFUNCTYPE(None, ctypes.c_void_p)
COUNTS = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p)


def declare(name, result, *arguments):
    function = wickerlane[name]
    function.restype, function.argtypes = result, arguments
    return function


scope_push = declare('WLScopePush', ctypes.c_void_p)
scope_pop = declare('WLScopePop', None, ctypes.c_void_p)
retain = declare('WLRetain', ctypes.c_void_p, ctypes.c_void_p)
release = declare('WLRelease', None, ctypes.c_void_p)
number_value = declare('WLNumberUInt64', ctypes.c_uint64, ctypes.c_void_p)
global_queue = declare('WLQueueGlobal', ctypes.c_void_p)
get_counts = declare('RZGetPhotosAndVideosCount', None, COUNTS, ctypes.c_void_p, ctypes.c_void_p)
register = declare('RZRegisterForPhotosAndVideosCount', ctypes.c_void_p, WORK, ctypes.c_void_p, ctypes.c_void_p,
                   ctypes.c_void_p)
unregister = declare('RZUnregisterForPhotosAndVideosCount', None, ctypes.c_void_p)

answers = queue.SimpleQueue()


# Handlers run on threads of the library, and must stay referenced as long as they may be called.
@COUNTS
def pass_on(_context, photos, videos):
    known = photos is not None and videos is not None
    answers.put((number_value(photos), number_value(videos)) if known else None)


@WORK
def ask(_context):
    get_counts(pass_on, None, None)


def main():
    changes_left = int(sys.argv[1]) if len(sys.argv) > 1 else 0
    scope = scope_push()
    token = retain(register(ask, None, None, global_queue()))
    scope_pop(scope)
    ask(None)
    shown = None
    while changes_left >= 0:
        counts = answers.get()
        if counts is None:
            sys.exit('hoardd does not answer')
        if counts != shown:
            print(f'{counts[0]} photos, {counts[1]} videos', flush=True)
            shown = counts
            changes_left -= 1
    unregister(token)
    release(token)
    # A handler may still be running on a thread of the library's, which would not survive the end of the interpreter.
    os._exit(0)


main()
