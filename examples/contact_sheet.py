"""Makes a page with the thumbnails of the newest photos, as one HTML file: contact_sheet.py FILE.html [HOW MANY]

The package is below python/ in the source tree."""

import base64
import html
import itertools
import pathlib
import sys

import wickerlane

HEAD = '<!DOCTYPE html><meta charset="utf-8"><title>Contact sheet</title>'


def figure(asset: wickerlane.Asset) -> str:
    """A thumbnail with its date and name."""
    picture = base64.b64encode(asset.thumbnail()).decode()
    label = f'{asset.date:%Y-%m-%d %H:%M} {asset.original_filename or asset.filename}'
    return (f'<figure style="display: inline-block"><img src="data:image/jpeg;base64,{picture}" alt="">'
            f'<figcaption>{html.escape(label)}</figcaption></figure>')


def main() -> None:
    if len(sys.argv) not in (2, 3):
        sys.exit('contact_sheet.py FILE.html [HOW MANY]')
    most = int(sys.argv[2]) if len(sys.argv) > 2 else 50
    with wickerlane.Library(time_limit=60) as library:
        newest = library.assets(kind='photo', problem=False, hidden=False, newest_first=True,
                                fields=['date', 'original_filename'], page_size=min(max(most, 1), 500))
        figures = [figure(asset) for asset in itertools.islice(newest, most)]
    pathlib.Path(sys.argv[1]).write_text('\n'.join([HEAD, *figures, '']), encoding='utf-8')
    print(f'{len(figures)} photos')


if __name__ == '__main__':
    try:
        main()
    except wickerlane.WickerlaneError as error:
        sys.exit(str(error))
