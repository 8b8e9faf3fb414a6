"""Saving, listing, reading and changing assets."""

import datetime
import gc
import hashlib
import os
import pathlib
import weakref
from collections.abc import Callable

import pytest
import wickerlane
from pictures import clip, dated, exif, noise, png
from wickerlane.native import Handle

Save = Callable[..., wickerlane.Asset]
UTC = datetime.UTC


def names(assets: wickerlane.Assets) -> list[str | None]:
    return [asset.original_filename for asset in assets]


@pytest.mark.parametrize('form', [lambda contents, path: path, lambda contents, path: str(path),
                                  lambda contents, path: contents, lambda contents, path: bytearray(contents),
                                  lambda contents, path: memoryview(contents)[:]])
def test_saves_and_gives_back(form: Callable[[bytes, pathlib.Path], object], save: Save,
                              tmp_path: pathlib.Path) -> None:
    contents = png(1, width=300, height=200)
    path = tmp_path / 'Schnee ❄.png'
    path.write_bytes(contents)
    taken = datetime.datetime(2019, 5, 4, 3, 2, 1, tzinfo=UTC)
    before = datetime.datetime.now(UTC)
    asset = save(form(contents, path), name='Größe.png', created=taken)
    assert asset.original() == contents
    with asset.open() as file:
        assert file.read() == contents
    assert pathlib.Path(asset.path).read_bytes() == contents
    assert (asset.kind, asset.format, asset.width, asset.height) == ('photo', 'image/png', 300, 200)
    assert (asset.original_filename, asset.size) == ('Größe.png', len(contents))
    assert asset.sha256 == hashlib.sha256(contents).digest()
    assert asset.created == taken
    assert before <= asset.added <= datetime.datetime.now(UTC)
    assert (asset.problem, asset.caption, asset.location, asset.iso_speed, asset.keywords) == (None,) * 4 + ((),)
    assert asset.url.startswith('rez-vault://asset/') and asset.uuid in asset.url
    assert bytes(asset.thumbnail()[:2]) == b'\xff\xd8'
    assert bytes(asset.picture('full-png')[:4]) == b'\x89PNG'


def test_pictures_outlive_their_assets_and_are_released(save: Save) -> None:
    contents = png(2, width=800, height=900)
    view = save(contents).original()
    end = view[-8:]
    owner = weakref.ref(view.obj)
    del view
    gc.collect()
    assert owner() is not None and end == contents[-8:]
    with pytest.raises(TypeError):
        end[0] = 1
    del end
    gc.collect()
    assert owner() is None


def test_nothing_is_kept_that_was_given(library: wickerlane.Library, save: Save) -> None:
    contents = noise(400, 300)
    asset = save(contents)

    def in_use() -> int:
        with open('/proc/self/statm', encoding='ascii') as file:
            return int(file.read().split()[1]) * os.sysconf('SC_PAGESIZE')

    def read(times: int) -> None:
        for _ in range(times):
            assert asset.original() == contents

    def list_all(times: int) -> None:
        asset.set(caption='x' * 4096, keywords=[f'{number:060}' for number in range(64)])
        for _ in range(times):
            assert [len(each.keywords) for each in library.assets()] == [64]

    def ask_for_borrowed(times: int) -> None:
        for _ in range(times):
            assert asset.path

    for use, size in ((read, len(contents)), (list_all, 8000), (ask_for_borrowed, 200)):
        use(50)
        before = in_use()
        use(2**26 // size)
        assert in_use() - before < 2**25, use

def test_objects_of_c_are_neither_copied_nor_null(save: Save) -> None:
    import copy
    import pickle
    asset = save(png(4))
    for refused in (copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError, match='UUID'):
            refused(asset)
    assert copy.copy(asset) == asset
    with pytest.raises(MemoryError):
        Handle(None)


def test_unless_present(library: wickerlane.Library) -> None:
    first = library.save(png(5), unless_present=True)
    assert not first.was_present and first.problem is None
    assert library.save(png(5), unless_present=True) == wickerlane.Saved(first.uuid, first.url, True, None)
    assert library.save(png(5)).uuid != first.uuid
    assert library.count() == 2


def test_filters(library: wickerlane.Library, save: Save, tmp_path: pathlib.Path) -> None:
    def at(month: int) -> datetime.datetime:
        return datetime.datetime(2020, month, 1, 12, tzinfo=UTC)

    a = save(png(10, exif=exif('Pinhole', 'Box 2', 48, 11)), name='a.png', created=at(1))
    b = save(png(11, width=400), name='b.png', created=at(2))
    c = save(png(12)[:60], name='c.png', created=at(3))
    assert c.problem is not None
    a.set(favourite=True, rating=4, caption='Dunes at dawn')
    b.set(hidden=True, keywords=['sea', 'sand'])
    album = library.make_album('Coast')
    album.add(b, c)
    cases: list[tuple[dict[str, object], list[str]]] = [
        ({}, ['a', 'b', 'c']),
        ({'newest_first': True}, ['c', 'b', 'a']),
        ({'order': 'name', 'newest_first': True}, ['c', 'b', 'a']),
        ({'order': 'size'}, ['c', 'b', 'a'] if b.size < a.size else ['c', 'a', 'b']),
        ({'order': 'added'}, ['a', 'b', 'c']),
        ({'kind': 'photo', 'problem': False}, ['a', 'b']),
        ({'problem': True}, ['c']),
        ({'kind': 'video'}, []),
        ({'since': datetime.datetime(2020, 2, 1, 12)}, ['b', 'c']),
        ({'since': datetime.date(2020, 1, 2), 'until': datetime.date(2020, 2, 2)}, ['b']),
        ({'until': datetime.datetime(2020, 2, 1, 12)}, ['a']),
        ({'near': (48.0, 11.0, 1000)}, ['a']),
        ({'near': (49.0, 11.0, 1000)}, []),
        ({'box': (47, 10, 49, 12)}, ['a']),
        ({'album': album}, ['b', 'c']),
        ({'album': album.uuid, 'problem': False}, ['b']),
        ({'name': '?.png'}, ['a', 'b', 'c']),
        ({'name': 'b*'}, ['b']),
        ({'text': 'dunes'}, ['a']),
        ({'text': 'coast'}, ['b', 'c']),
        ({'format': 'image/png', 'problem': False}, ['a', 'b']),
        ({'format': 'image/jpeg'}, []),
        ({'camera': a.camera}, ['a']),
        ({'favourite': True}, ['a']),
        ({'favourite': False}, ['b', 'c']),
        ({'hidden': True}, ['b']),
        ({'rating': 4}, ['a']),
        ({'rating': 5}, []),
        ({'edited': True}, []),
        ({'sizes': (0, 60)}, ['c']),
        ({'sizes': (61, None)}, ['a', 'b']),
        ({'identity': b.uuid[:8]}, ['b']),
        ({'identity': b.object_id}, ['b']),
    ]
    for filters, expected in cases:
        assets = library.assets(page_size=2, **filters) # type: ignore[arg-type]
        assert names(assets) == [f'{name}.png' for name in expected], filters
        assert assets.count() == library.count(**filters) == len(expected), filters # type: ignore[arg-type]
    assert a.camera is not None and 'Pinhole' in a.camera
    assert a.location == pytest.approx((48, 11))


def test_only_the_fields_asked_for_travel(library: wickerlane.Library, save: Save) -> None:
    asset = save(png(20), name='a.png')
    asset.set(caption='Sea')
    some, = library.assets(fields=['caption', 'width'])
    assert (some.uuid, some.path, some.caption, some.width) == (asset.uuid, asset.path, 'Sea', 40)
    assert (some.original_filename, some.height, some.format) == (None, 0, None)
    none, = library.assets(fields=['uuid'])
    assert (none.uuid, none.caption) == (asset.uuid, None)
    properties = {name for name, value in vars(wickerlane.Asset).items() if isinstance(value, property)}
    every, = library.assets(fields=properties)
    for name in properties - {'thumbnail_index'}:
        assert getattr(every, name) == getattr(library.asset(asset.uuid), name), name


def test_details(library: wickerlane.Library, save: Save) -> None:
    assets = [save(png(shade)) for shade in (30, 31)]
    library.set(assets, favourite=True, hidden=True, rating=3, caption='Eins\nzwei', keywords=['x', 'y'])
    assets[0].set(add_keywords=['z'], remove_keywords=['x'], favourite=False)
    first, second = (library.asset(asset.uuid) for asset in assets)
    assert (first.favourite, first.hidden, first.rating, first.caption) == (False, True, 3, 'Eins\nzwei')
    assert first.keywords == ('y', 'z')
    assert (second.favourite, second.keywords) == (True, ('x', 'y'))
    assert not assets[0].hidden, 'it stays as it was'
    first.set(rating=0, caption='', keywords=[])
    first = library.asset(first.uuid)
    assert (first.rating, first.caption, first.keywords) == (0, None, ())


def test_pages_go_on_from_a_cursor(library: wickerlane.Library, save: Save) -> None:
    saved = [save(png(60 + i)) for i in range(5)]
    first, *rest = library.assets(page_size=2, order='added').pages()
    assert list(first.assets) == saved[:2] and [len(page.assets) for page in rest] == [2, 1]
    assert rest[-1].cursor is None and first.cursor is not None
    assert list(library.assets(page_size=4, order='added', cursor=first.cursor)) == saved[2:]
    for wrong in ('no cursor', ''):
        assets = library.assets(order='size', cursor=wrong)
        if wrong:
            with pytest.raises(wickerlane.Invalid):
                list(assets)
        else:
            assert len(list(assets)) == 5


def test_sections_and_counts(library: wickerlane.Library, save: Save) -> None:
    for day, width in ((3, 60), (4, 30), (4, 90)):
        save(png(65, width=width), created=datetime.datetime(2020, 2, day, 12, tzinfo=UTC))
    save(png(66), created=datetime.datetime(2020, 3, 1, 12, tzinfo=UTC), name='a.png')
    months = library.sections()
    assert [(each.start, each.count) for each in months] == [(datetime.date(2020, 2, 1), 3),
                                                             (datetime.date(2020, 3, 1), 1)]
    assert list(months[0].shapes) == [2000, 1000, 3000]
    days = library.sections(by='day', until=datetime.date(2020, 2, 20), newest_first=True)
    assert [(each.start.day, each.count, len(each.shapes)) for each in days] == [(4, 2, 2), (3, 1, 1)]
    assert library.sections(name='nothing') == []
    assert (library.count(name='a.png'), library.assets(kind='video').count(), library.assets().count()) == (1, 0, 4)
    with pytest.raises(ValueError):
        library.sections(by='year') # type: ignore[arg-type]


def test_the_trash(library: wickerlane.Library, save: Save) -> None:
    library.empty_trash()
    kept, gone, other = (save(png(70 + i)) for i in range(3))
    before = datetime.datetime.now(UTC)
    for asset in (kept, gone, other):
        asset.delete()
    trashed = list(library.trash(page_size=2))
    assert [asset for asset, _ in trashed] == [other, gone, kept]
    assert all(before <= date <= datetime.datetime.now(UTC) for _, date in trashed)
    trashed[2].asset.restore()
    trashed[1].asset.remove()
    assert list(library.assets()) == [kept] and [each.asset for each in library.trash()] == [other]
    for again in (kept.restore, gone.remove):
        with pytest.raises(wickerlane.NotFound, match='ask for the list again'):
            again()
    library.empty_trash()
    assert list(library.trash()) == [] and library.count() == 1
    kept.remove()
    assert library.count() == 0
    with pytest.raises(wickerlane.Invalid):
        list(library.trash(page_size=0))


def test_edits(save: Save) -> None:
    asset = save(png(75))
    assert asset.edit() is None
    when = datetime.datetime(2024, 5, 1, 10, tzinfo=UTC)
    said: dict[str, wickerlane.Value] = {'editor': 'brush', 'steps': [1, 2.5, True], 'when': when, 'raw': b'\0\1'}
    asset.set_edit(png(76), said)
    edit = asset.edit()
    assert edit is not None and edit.properties == said
    assert pathlib.Path(edit.path).read_bytes() == png(76)
    asset.set_edit(bytearray(png(77)))
    assert asset.edit() != edit
    with pytest.raises(wickerlane.Invalid):
        asset.set_edit(b'no picture')
    asset.revert()
    assert asset.edit() is None
    with pytest.raises(wickerlane.NotFound):
        asset.revert()


def test_dates_are_adjusted(library: wickerlane.Library, save: Save) -> None:
    taken = datetime.datetime(2020, 1, 1, 12, tzinfo=UTC)
    asset = save(png(78), created=taken)
    library.adjust_dates([asset], datetime.timedelta(days=-2, seconds=5))
    assert library.asset(asset.uuid).created == taken - datetime.timedelta(days=2, seconds=-5)
    for wrong, kind in (({'milliseconds': 3}, ValueError), ({'days': 999_999_999}, wickerlane.WickerlaneError)):
        with pytest.raises(kind):
            library.adjust_dates([asset], datetime.timedelta(**wrong))


def test_many_files_are_saved_at_once(library: wickerlane.Library, tmp_path: pathlib.Path) -> None:
    assert library.save_all([]) == []
    paths = [tmp_path / f'{i}.png' for i in range(40)]
    for i, path in enumerate(paths):
        path.write_bytes(png(1000 + i))
    (tmp_path / 'text').write_text('no picture', encoding='utf-8')
    paths[3:3] = [tmp_path / 'text', tmp_path / 'missing.png']
    outcomes = library.save_all(paths, unless_present=True)
    failed = [i for i, each in enumerate(outcomes) if isinstance(each, wickerlane.WickerlaneError)]
    assert failed == [3, 4] and all(str(outcomes[i]) for i in failed)
    saved = [each for each in outcomes if isinstance(each, wickerlane.Saved)]
    names = [path.name for path in paths[:3] + paths[5:]]
    assert [library.asset(each.uuid).original_filename for each in saved] == names
    again = library.save_all(paths[:2], unless_present=True)
    assert [isinstance(each, wickerlane.Saved) and each.was_present for each in again] == [True, True]
    outcomes = library.save_all(['', paths[0], '\udcff', tmp_path / 'a\0b'], unless_present=True)
    assert [type(each) for each in outcomes] == [wickerlane.Invalid, wickerlane.Saved, *[wickerlane.Invalid] * 2]
    assert 'UTF-8' in str(outcomes[2])
    assert [type(each) for each in library.save_all([''])] == [wickerlane.Invalid]
    assert library.count() == 40


def test_files_that_belong_to_an_asset(library: wickerlane.Library, save: Save, tmp_path: pathlib.Path) -> None:
    plain = save(png(79))
    picture, video, words = tmp_path / 'a.jpg', tmp_path / 'a.mp4', tmp_path / 'a.xmp'
    picture.write_bytes(dated(bytes(plain.picture('full')), '2021:06:15 10:20:30'))
    clip(video, '2021-06-15T10:20:30Z')
    words.write_text('words', encoding='utf-8')
    first = library.save(picture, sidecar=words, companion=video, unless_present=True)
    again = library.save(picture, sidecar=words, companion=video, unless_present=True)
    assert (first.companion_was_saved, first.companion_was_present) == (True, False)
    assert (again.companion_was_saved, again.companion_was_present, again.uuid) == (False, True, first.uuid)
    found = library.companions([plain, library.asset(first.uuid)])
    assert found.keys() == {first.uuid}
    companion = found[first.uuid]
    assert (companion.original_filename, companion.size) == ('a.mp4', video.stat().st_size)
    assert pathlib.Path(companion.path).read_bytes() == video.read_bytes()
    with pytest.raises(ValueError):
        library.save(picture, companion='')
    with pytest.raises(wickerlane.NotFound):
        library.save(picture, sidecar=tmp_path / 'missing')
    facts = library.video_facts(video)
    assert (facts.width, facts.height, facts.duration, facts.audio_codec) == (160, 120, 2, None)
    assert facts.creation_date == datetime.datetime(2021, 6, 15, 10, 20, 30, tzinfo=UTC)
    with pytest.raises(wickerlane.WickerlaneError):
        library.video_facts(words)


def test_delete(library: wickerlane.Library, save: Save) -> None:
    asset, kept = save(png(40)), save(png(41))
    asset.delete()
    assert list(library.assets()) == [kept]
    with pytest.raises(wickerlane.NotFound, match='there is no such asset'):
        asset.delete()
    with pytest.raises(wickerlane.NotFound):
        asset.original()


def test_assets_may_go_while_they_are_listed(library: wickerlane.Library, save: Save) -> None:
    saved = {save(png(50 + i)) for i in range(7)}
    seen = []
    for asset in library.assets(page_size=3):
        seen.append(asset)
        asset.delete()
    assert len(seen) == 7 and set(seen) == saved
    assert library.count() == 0
