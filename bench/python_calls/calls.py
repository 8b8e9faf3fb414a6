"""The same calls by the Python package. Reads lines of a call's name and a number, does the call that often, and answers
each line with one."""

import sys
from collections.abc import Callable

import wickerlane

library = wickerlane.Library()
assets, photos = library.assets(), library.assets(kind='photo')
first = next(iter(assets))


def count() -> int:
    return photos.count()


def page() -> int:
    return sum(len(asset.uuid) for asset in next(iter(assets.pages())).assets)


def thumbnail() -> int:
    return len(first.thumbnail())


CALLS: dict[str, Callable[[], int]] = {'count': count, 'page': page, 'thumbnail': thumbnail}

for line in sys.stdin:
    name, times = line.split()
    call = CALLS[name]
    for _ in range(int(times)):
        result = call()
    print(result, flush=True)
