"""Copies all originals into a folder, one file each, named by UUID: backup.py FOLDER

What is there already, and has the size of the original, is passed over, so that a backup that was interrupted goes on
where it was. The package is below python/ in the source tree."""

import os
import pathlib
import shutil
import sys

import wickerlane


def copy(asset: wickerlane.Asset, folder: pathlib.Path) -> bool:
    """Whether it was copied now. The name comes from the library, not from the sender of a picture."""
    target = folder / (asset.uuid + pathlib.Path(asset.filename).suffix)
    if target.exists() and target.stat().st_size == asset.size:
        return False
    unfinished = target.with_name(target.name + '.part')
    with asset.open() as original, open(unfinished, 'wb') as file:
        shutil.copyfileobj(original, file)
        file.flush()
        os.fsync(file.fileno())
    stamp = asset.created.timestamp()
    os.utime(unfinished, (stamp, stamp))
    unfinished.rename(target)
    return True


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit('backup.py FOLDER')
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    copied = present = failed = 0
    with wickerlane.Library(time_limit=60) as library:
        for asset in library.assets(fields=['size', 'created']):
            try:
                if copy(asset, folder):
                    copied += 1
                else:
                    present += 1
            except (wickerlane.NotFound, wickerlane.Failed) as error: # the others go on
                failed += 1
                print(f'{asset.uuid}: {error}', file=sys.stderr)
    print(f'{copied} copied, {present} there already, {failed} failed')
    sys.exit(1 if failed else 0)


if __name__ == '__main__':
    try:
        main()
    except wickerlane.WickerlaneError as error:
        sys.exit(str(error))
