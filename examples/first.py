"""Saves a photo, lists the newest ones, and writes a picture of it for the screen: first.py PHOTO SHOWN.jpg

The package is below python/ in the source tree."""

import itertools
import pathlib
import sys

import wickerlane


def main() -> None:
    if len(sys.argv) != 3:
        sys.exit('first.py PHOTO SHOWN.jpg')
    photo, shown = map(pathlib.Path, sys.argv[1:])
    with wickerlane.Library(time_limit=60) as library:
        saved = library.save(photo, unless_present=True) # run again, the program makes no copy
        for asset in itertools.islice(library.assets(order='added', newest_first=True), 10):
            print(f'{asset.uuid} {asset.width}x{asset.height}')
        shown.write_bytes(library.asset(saved.uuid).picture('large'))


if __name__ == '__main__':
    try:
        main()
    except (wickerlane.WickerlaneError, OSError) as error:
        sys.exit(str(error))
