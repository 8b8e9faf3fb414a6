"""A client by the Python package, of whichever release PYTHONPATH and WICKERLANE_LIBRARY say.

    use_library.py PICTURE PICTURE PICTURE
"""

import pathlib
import sys

import wickerlane

pictures = [pathlib.Path(path) for path in sys.argv[1:]]
with wickerlane.Library() as library:
    saved = [library.save(path) for path in pictures]
    assert library.count() == 3
    assets = {asset.uuid: asset for asset in library.assets()}
    assert assets.keys() == {each.uuid for each in saved}
    for each, picture in zip(saved, pictures):
        asset = assets[each.uuid]
        assert bytes(asset.original()) == picture.read_bytes()
        assert bytes(asset.thumbnail()).startswith(b'\xff\xd8')
    first, second, _ = assets.values()
    token = library.changes().token
    album = library.make_album('Dunes')
    album.add(first, second)
    assert [(each.name, each.asset_count) for each in library.albums()] == [('Dunes', 2)]
    first.set(rating=4)
    assert library.asset(first.uuid).rating == 4
    assert len(library.changes(token)) > 0
    second.delete()
    assert library.count() == 2 and [each.asset.uuid for each in library.trash()] == [second.uuid]
    try:
        library.asset('00000000-0000-4000-8000-000000000000')
    except wickerlane.NotFound:
        pass
    else:
        raise AssertionError('there is no such asset')
