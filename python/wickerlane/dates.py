"""Dates of the C functions: seconds since 2001-01-01 00:00:00."""

import datetime

SECONDS_TO_2001 = 978307200.0
_START = datetime.datetime(2001, 1, 1)


def clock_date(seconds: float) -> datetime.datetime:
    """What a clock showed, without a zone. What lies beyond the years 1 to 9999 is their first or last moment."""
    try:
        return _START + datetime.timedelta(seconds=seconds)
    except OverflowError:
        return datetime.datetime.max if seconds > 0 else datetime.datetime.min


def instant(seconds: float) -> datetime.datetime:
    """An instant, in UTC."""
    return clock_date(seconds).replace(tzinfo=datetime.UTC)


def seconds_of_clock(date: datetime.date) -> float:
    """The opposite of clock_date(); a date without a time of day is its midnight."""
    if not isinstance(date, datetime.date):
        raise TypeError(f'{date!r} is no date')
    if not isinstance(date, datetime.datetime):
        date = datetime.datetime(date.year, date.month, date.day)
    if date.tzinfo is not None:
        raise ValueError('this is compared with what the clock of the camera showed: give a date without tzinfo')
    return (date - _START).total_seconds()


def seconds_of_instant(date: datetime.datetime) -> float:
    """The opposite of instant(). As elsewhere in Python, a date without a zone is one of the local time."""
    return date.timestamp() - SECONDS_TO_2001
