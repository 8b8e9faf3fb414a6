"""Plain values as objects of the library's, and back."""

import datetime
from collections.abc import Mapping, Sequence
from ctypes import c_char_p, c_void_p, string_at
from typing import Union

from . import dates
from .native import C, Handle, array, known, string, text_argument

Value = Union[str, bool, int, float, bytes, bytearray, memoryview, datetime.datetime, Sequence['Value'],
              Mapping[str, 'Value']]
"""What a property list can hold. Numbers that come back are equal to those that were given: a boolean is 1 or 0."""


def handle_of(value: Value) -> Handle:
    """The value as an object."""
    if isinstance(value, str):
        return Handle(C.WLStringCreate(text_argument(value)))
    if isinstance(value, bool):
        return Handle(C.WLNumberCreateWithBool(value))
    if isinstance(value, int):
        if not -2**63 <= value < 2**64:
            raise ValueError(f'{value} is beyond all numbers of the library')
        return Handle(C.WLNumberCreateWithInt64(value) if value < 2**63 else C.WLNumberCreateWithUInt64(value))
    if isinstance(value, float):
        return Handle(C.WLNumberCreateWithDouble(value))
    if isinstance(value, (bytes, bytearray, memoryview)):
        contents = bytes(value)
        return Handle(C.WLDataCreate(contents, len(contents)))
    if isinstance(value, datetime.datetime):
        return Handle(C.WLDateCreate(dates.seconds_of_instant(value)))
    if isinstance(value, Mapping):
        return _dictionary(value)
    if isinstance(value, Sequence):
        return array(handle_of(each) for each in value)
    raise TypeError(f'{type(value).__name__} is no type of the library\'s')


def _dictionary(values: Mapping[str, Value]) -> Handle:
    keys = [text_argument(key) for key in values]
    handles = [handle_of(value) for value in values.values()]
    pointers = (c_void_p * len(handles))(*(each._as_parameter_ for each in handles))
    return Handle(C.WLDictionaryCreate((c_char_p * len(keys))(*keys), pointers, len(keys)))


def value_of(pointer: int) -> Value:
    """The value of a borrowed object, inside of a scope. What is none of the types is a text for people."""
    if C.WLAsString(pointer):
        return known(string(pointer))
    if C.WLAsNumber(pointer):
        return _number(known(string(C.WLDescription(pointer))))
    if C.WLAsDate(pointer):
        return dates.instant(C.WLDateSeconds(pointer))
    if C.WLAsData(pointer):
        return string_at(C.WLDataBytes(pointer) or 0, C.WLDataLength(pointer))
    if C.WLAsArray(pointer):
        return [value_of(C.WLArrayGet(pointer, index)) for index in range(C.WLArrayCount(pointer))]
    if C.WLAsDictionary(pointer):
        return mapping_of(pointer)
    return known(string(C.WLDescription(pointer)))


def mapping_of(pointer: int | Handle) -> dict[str, Value]:
    """The entries of a borrowed dictionary in their order, inside of a scope."""
    return {known(string(C.WLDescription(C.WLDictionaryKeyAt(pointer, index)))):
            value_of(C.WLDictionaryValueAt(pointer, index)) for index in range(C.WLDictionaryCount(pointer))}


def _number(text: str) -> int | float:
    try:
        return int(text)
    except ValueError:
        return float(text)
