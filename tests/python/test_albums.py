"""Albums, moments and duplicates."""

import datetime
from collections.abc import Callable

import pytest
import wickerlane
from conftest import command
from pictures import png

Save = Callable[..., wickerlane.Asset]


def test_albums(library: wickerlane.Library, save: Save) -> None:
    assets = [save(png(100 + i)) for i in range(3)]
    before = datetime.datetime.now(datetime.UTC)
    dunes, coast = library.make_album('Dünen'), library.make_album('Coast')
    assert before <= dunes.created <= datetime.datetime.now(datetime.UTC)
    assert [album.name for album in library.albums()] == ['Coast', 'Dünen']
    dunes.add(*assets)
    dunes.add(assets[0])
    dunes.remove(assets[1])
    dunes.remove()
    assert set(dunes.assets()) == {assets[0], assets[2]}
    assert set(dunes.assets(text='dünen')) == {assets[0], assets[2]}
    assert (dunes.asset_count, library.album('Dünen').asset_count) == (0, 2), 'what was had before stays as it was'
    for wrong in (lambda: coast.rename('Dünen'), lambda: library.make_album('Coast')):
        with pytest.raises(wickerlane.Exists):
            wrong()
    coast.rename('Shore')
    assert library.album('Shore') == coast
    coast.delete()
    for gone in (coast.delete, lambda: coast.rename('x'), lambda: library.album('Shore')):
        with pytest.raises(wickerlane.NotFound):
            gone()
    assert library.count() == 3


def test_moments(library: wickerlane.Library, save: Save) -> None:
    days = [datetime.datetime(2018, 6, day, 12, tzinfo=datetime.UTC) for day in (1, 11, 21)]
    assets = [save(png(110 + i), created=day) for i, day in enumerate(days)]
    command('moments', '--update')
    cases = [({}, [0, 1, 2]), ({'newest_first': True}, [2, 1, 0]), ({'since': datetime.date(2018, 6, 2)}, [1, 2]),
             ({'until': datetime.date(2018, 6, 12), 'since': datetime.datetime(2018, 6, 11, 12)}, [1])]
    for filters, expected in cases:
        moments = list(library.moments(page_size=2, **filters)) # type: ignore[arg-type]
        assert [moment.start for moment in moments] == [days[i] for i in expected], filters
        assert [list(moment.assets()) for moment in moments] == [[assets[i]] for i in expected]
        assert all(moment.end == moment.start and moment.asset_count == 1 for moment in moments)
        assert all(moment.location is None for moment in moments)


def test_moment_lists_and_upkeep(library: wickerlane.Library, save: Save) -> None:
    library.empty_trash()
    for day in (1, 2):
        save(png(0x100 * day, width=200 * day), created=datetime.datetime(2017, 6, day, 12, tzinfo=datetime.UTC))
    asset = save(png(3), created=datetime.datetime(2017, 6, 3, 12, tzinfo=datetime.UTC))
    library.analyze()
    library.rebuild_moments()
    library.reset_duplicates()
    library.rebuild_thumbnails()
    library.import_files()
    assert library.asset(asset.uuid).thumbnail_index > asset.thumbnail_index
    lists = library.moment_lists()
    moments = list(library.moments())
    assert {each.list_number for each in moments} == {each.number for each in lists}
    assert (sum(each.moment_count for each in lists), sum(each.asset_count for each in lists)) == (len(moments), 3)
    assert (lists[0].start, lists[-1].end) == (moments[0].start, moments[-1].end)
    library.analyze()
    uuids = {each.uuid for each in library.assets()}
    assert all(each.is_analyzed and each.key_asset in uuids for each in library.moment_lists())


def test_bulletins_and_the_feed(library: wickerlane.Library, save: Save) -> None:
    command('stream', 'dunes')
    album, = library.albums()
    before = datetime.datetime.now(datetime.UTC)
    asset = save(png(130))
    album.add(asset)
    bulletin, = library.bulletins()
    assert (bulletin.kind, bulletin.album_uuid, bulletin.asset_uuid, bulletin.asset_count) == ('added', album.uuid,
                                                                                              asset.uuid, 1)
    assert bulletin.title and bulletin.message and bulletin.date is not None and bulletin.date >= before
    picture = bulletin.thumbnail()
    assert picture is not None and bytes(picture[:2]) == b'\xff\xd8'
    assert library.badge_count() == 1
    entry, = library.feed()
    assert (entry.album_uuid, entry.asset_uuids, entry.start) == (album.uuid, (asset.uuid,), entry.end)
    library.clear_bulletins(bulletin)
    assert (library.badge_count(), library.bulletins()) == (0, [])


def test_duplicates(library: wickerlane.Library, save: Save) -> None:
    same = {save(png(120)).uuid, save(png(120)).uuid}
    save(png(0xFFFF00, width=300))
    command('duplicates', '--update')
    for kind in ('all', 'same'):
        group, = library.duplicates(kind, page_size=1) # type: ignore[arg-type]
        assert group.are_same and set(group.uuids) == same
    assert list(library.duplicates('similar')) == []
    with pytest.raises(ValueError):
        library.duplicates('other') # type: ignore[arg-type]
