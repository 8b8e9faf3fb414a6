"""Keeps a list of all assets, and shows how long it is, until Ctrl-C: follow.py

The package is below python/ in the source tree."""

import sys

import wickerlane


def main() -> None:
    with wickerlane.Library() as library:
        token = library.changes().token
        known = {asset.uuid for asset in library.assets(fields=[])}
        print(f'{len(known)} assets', flush=True)
        for changes in library.follow(token):
            for change in changes:
                (known.discard if change.kind == 'removed' else known.add)(change.uuid)
            print(f'{len(known)} assets', flush=True)


if __name__ == '__main__':
    try:
        main()
    except wickerlane.WickerlaneError as error:
        sys.exit(str(error))
    except KeyboardInterrupt:
        pass
