"""Exceptions: one class for each reason for which the daemon, or the library, does not do what was asked."""


class WickerlaneError(Exception):
    """A request has failed. The text says what was wrong, and what to do about it."""

    code = -1
    """The number of the reason, as in WLError.h."""


class Failed(WickerlaneError):
    """None of the other reasons."""

    code = 0


class TooOld(Failed):
    """The library no longer knows all that has changed since a token was given out: list the assets again."""

    token = ''
    """That of the present, to go on with. What changes while the assets are listed comes behind it."""


class Invalid(WickerlaneError):
    """The request makes no sense, or a file is not what it should be."""

    code = 1


class NotFound(WickerlaneError):
    """What was named, such as an asset or an album, is not there."""

    code = 2


class Refused(WickerlaneError):
    """This program has no right to it."""

    code = 3


class Busy(WickerlaneError):
    """Another program or request works on the same: try again later."""

    code = 4


class Ending(WickerlaneError):
    """The daemon is ending or restarting: ask again."""

    code = 5


class Exists(WickerlaneError):
    """Something of that name or identity is there already."""

    code = 6


class DamagedStore(WickerlaneError):
    """The library's database can't be read or written as it should."""

    code = 7


class NoSpace(WickerlaneError):
    """The disk, or the user's share of it, is full."""

    code = 8


class NotWritable(WickerlaneError):
    """The file system or its permissions forbid it."""

    code = 9


class NewerVersion(WickerlaneError):
    """The library was made by a newer daemon."""

    code = 10


class Unreachable(WickerlaneError):
    """There is no daemon, and it can't be started."""

    code = 11


class ForkedProcess(Unreachable):
    """This process was made by fork() of one that had used the library: use multiprocessing's `spawn`."""


class Empty(WickerlaneError):
    """The request holds nothing to work on."""

    code = 12


class QueueFull(WickerlaneError):
    """Too much work is waiting: try again later."""

    code = 13


class TimedOut(WickerlaneError, TimeoutError):
    """No answer came in the time that was allowed. The daemon was told to stop; what was asked may have been done."""

    code = 14


class Cancelled(WickerlaneError):
    """This program has cancelled it."""

    code = 15


BY_CODE: dict[int, type[WickerlaneError]] = {each.code: each for each in WickerlaneError.__subclasses__()}
