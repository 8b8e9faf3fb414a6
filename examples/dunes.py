"""Saves a photo as a favourite in the new album "Dunes", and lists the photos since 2024: dunes.py PHOTO

The package is below python/ in the source tree."""

import datetime
import pathlib
import sys

import wickerlane


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit('dunes.py PHOTO')
    picture = pathlib.Path(sys.argv[1])
    with wickerlane.Library(time_limit=30) as library:
        saved = library.save(picture, unless_present=True)
        asset = library.asset(saved.uuid)
        asset.set(favourite=True, caption='Dunes at dawn')
        library.make_album('Dunes').add(asset)
        for asset in library.assets(kind='photo', since=datetime.date(2024, 1, 1), newest_first=True):
            print(asset.date, asset.original_filename, len(asset.thumbnail()))


if __name__ == '__main__':
    try:
        main()
    except wickerlane.WickerlaneError as error:
        sys.exit(str(error))
