"""What a test says of the assets and albums that the daemon lists."""

import datetime
from collections.abc import Iterable
from typing import Any, NotRequired, TypedDict, Unpack

from ..asset import Kind
from ..dates import seconds_of_clock, seconds_of_instant
from ..values import Value


class AssetFacts(TypedDict):
    """As the properties of Asset. What is left out is made up, or not known."""

    uuid: NotRequired[str]
    kind: NotRequired[Kind]
    filename: NotRequired[str]
    original_filename: NotRequired[str]
    format: NotRequired[str]
    width: NotRequired[int]
    height: NotRequired[int]
    orientation: NotRequired[int]
    size: NotRequired[int]
    sha256: NotRequired[bytes]
    duration: NotRequired[float]
    problem: NotRequired[str]
    thumbnail_index: NotRequired[int]
    date: NotRequired[datetime.datetime]
    created: NotRequired[datetime.datetime]
    added: NotRequired[datetime.datetime]
    zone: NotRequired[datetime.timezone]
    location: NotRequired[tuple[float, float]]
    camera: NotRequired[str]
    lens: NotRequired[str]
    exposure_seconds: NotRequired[float]
    aperture: NotRequired[float]
    iso_speed: NotRequired[int]
    focal_length: NotRequired[float]
    favourite: NotRequired[bool]
    hidden: NotRequired[bool]
    rating: NotRequired[int]
    caption: NotRequired[str]
    keywords: NotRequired[Iterable[str]]
    usage_intent: NotRequired[int]


class AlbumFacts(TypedDict):
    """As the properties of Album. What is left out is made up."""

    uuid: NotRequired[str]
    name: NotRequired[str]
    stream_id: NotRequired[str]
    created: NotRequired[datetime.datetime]
    asset_count: NotRequired[int]


# Those whose names are not the same words in the other spelling.
_NAMES = {'size': 'byteSize', 'created': 'dateCreated', 'added': 'dateAdded', 'stream_id': 'streamID',
          'usage_intent': 'externalUsageIntent'}


def _facts(facts: dict[str, Any]) -> dict[str, Value]:
    def name(given: str) -> str:
        first, *others = given.split('_')
        return _NAMES.get(given, first + ''.join(word.capitalize() for word in others))
    return {name(key): value for key, value in facts.items()}


def asset(**facts: Unpack[AssetFacts]) -> dict[str, Value]:
    """One of the 'assets' with which 'assetsMatchingQuery:' is answered."""
    plain: dict[str, Any] = dict(facts)
    if 'date' in facts:
        plain['date'] = seconds_of_clock(facts['date'])
    for key in ('created', 'added'):
        if key in plain:
            plain[key] = seconds_of_instant(plain[key])
    if 'zone' in facts:
        plain['zone_minutes'] = facts['zone'].utcoffset(None) // datetime.timedelta(minutes=1)
        del plain['zone']
    if 'location' in facts:
        plain['latitude'], plain['longitude'] = facts['location']
        del plain['location']
    if 'keywords' in facts:
        plain['keywords'] = list(facts['keywords'])
    return _facts(plain)


def album(**facts: Unpack[AlbumFacts]) -> dict[str, Value]:
    """One of the 'albums' with which 'albums' is answered."""
    plain: dict[str, Any] = dict(facts)
    if 'created' in facts:
        plain['created'] = seconds_of_instant(facts['created'])
    return _facts(plain)
