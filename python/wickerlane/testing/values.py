"""Plain values as objects of the library's, and back."""

from collections.abc import Mapping, Sequence
from ctypes import c_char_p, c_void_p, string_at
from typing import Union

from ..native import C, Handle, array, known, string, text_argument
from .functions import T

Value = Union[str, bool, int, float, bytes, Sequence['Value'], Mapping[str, 'Value']]
"""What answers and requests are made of. Numbers of requests are equal to what was sent: a boolean is 1 or 0."""


def handle_of(value: Value) -> Handle:
    """The value as an object."""
    if isinstance(value, str):
        return Handle(C.WLStringCreate(text_argument(value)))
    if isinstance(value, bool):
        return Handle(T.WLNumberCreateWithBool(value))
    if isinstance(value, int):
        if not -2**63 <= value < 2**64:
            raise ValueError(f'{value} is beyond all numbers of the library')
        return Handle(T.WLNumberCreateWithInt64(value) if value < 2**63 else T.WLNumberCreateWithUInt64(value))
    if isinstance(value, float):
        return Handle(T.WLNumberCreateWithDouble(value))
    if isinstance(value, bytes):
        return Handle(C.WLDataCreate(value, len(value)))
    if isinstance(value, Mapping):
        return _dictionary(value)
    if isinstance(value, Sequence):
        return array(handle_of(each) for each in value)
    raise TypeError(f'{type(value).__name__} is no type of the library\'s')


def _dictionary(values: Mapping[str, Value]) -> Handle:
    keys = [text_argument(key) for key in values]
    handles = [handle_of(value) for value in values.values()]
    pointers = (c_void_p * len(handles))(*(each._as_parameter_ for each in handles))
    return Handle(T.WLDictionaryCreate((c_char_p * len(keys))(*keys), pointers, len(keys)))


def value_of(pointer: int) -> Value:
    """The value of a borrowed object, inside of a scope. What is none of the types is a text for people."""
    if T.WLAsString(pointer):
        return known(string(pointer))
    if T.WLAsNumber(pointer):
        return _number(known(string(T.WLDescription(pointer))))
    if T.WLAsData(pointer):
        return string_at(C.WLDataBytes(pointer) or 0, C.WLDataLength(pointer))
    if T.WLAsArray(pointer):
        return [value_of(C.WLArrayGet(pointer, index)) for index in range(C.WLArrayCount(pointer))]
    if T.WLAsDictionary(pointer):
        return mapping_of(pointer)
    return known(string(T.WLDescription(pointer)))


def mapping_of(pointer: int | Handle) -> dict[str, Value]:
    """The entries of a borrowed dictionary in their order, inside of a scope."""
    return {known(string(T.WLDescription(T.WLDictionaryKeyAt(pointer, index)))):
            value_of(T.WLDictionaryValueAt(pointer, index)) for index in range(T.WLDictionaryCount(pointer))}


def _number(text: str) -> int | float:
    try:
        return int(text)
    except ValueError:
        return float(text)
