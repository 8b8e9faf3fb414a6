"""What hoardd has acknowledged, kept by those who asked for it, and compared with what the library says."""

import collections
import contextlib
import dataclasses
import random
import threading
import time

from library import Hang, png, sum_of

CLIENTS = 4
ALBUMS = ['Dunes', 'Harbours', 'Fog']
MANY = 40  # assets of a client; with more it rather deletes


@dataclasses.dataclass(frozen=True)
class State:
    """What may be said of an asset."""
    place: str = 'library'
    edit: bytes | None = None
    seconds: int = 0
    albums: frozenset = frozenset()

    def but(self, **changes):
        return dataclasses.replace(self, **changes)


class Asset:
    def __init__(self, total, possible):
        self.sum, self.possible, self.date = total, possible, None


class Person:
    """Uses a client of its own, on assets of its own."""

    def __init__(self, model, number):
        self.model, self.chance = model, random.Random(model.chance.random())
        self.client = model.library.client()
        self.assets, self.unknown, self.albums = {}, set(), {}
        self.number, self.pictures = number, 0
        self.path = model.library.root / 'tmp' / f'{number}'
        self.path.mkdir()

    def picture(self, name='picture'):
        self.pictures += 1
        contents = png(self.number + CLIENTS * self.pictures)
        path = self.path / f'{name}.png'
        path.write_bytes(contents)
        return path, sum_of(contents)

    def work(self, over, goes_on):
        """Until it is over, or until the connection breaks."""
        try:
            while not over.is_set() and (self.act() or goes_on):
                pass
        except Hang as hang:
            self.model.faults.append(str(hang))

    def act(self):
        """One operation; whether the client may go on."""
        settled = {uuid: asset for uuid, asset in self.assets.items() if len(asset.possible) == 1 and
                   asset.possible[0].place != 'gone'}
        ways = [self.save] * 3 + [self.batch, self.album] if len(settled) < MANY else []
        if settled:
            ways += [self.delete, self.edit, self.restore, self.remove, self.revert, self.add, self.adjust] * 2
        uuid = self.chance.choice(list(settled)) if settled else None
        return self.chance.choice(ways)(uuid) if ways else False

    def save(self, _):
        path, total = self.picture()
        self.unknown.add(total)
        answer = self.ask('save', 'save', path)
        if answer[0] == 'done':
            self.take(answer[1], total)
        elif answer[0] == 'refused':
            self.unknown.discard(total)
        return answer[0] != 'broken'

    def batch(self, _):
        pictures = [self.picture(f'picture {i}') for i in range(self.chance.randrange(2, 6))]
        self.unknown.update(total for _, total in pictures)
        answer = self.ask('batch', 'batch', *(path for path, _ in pictures))
        for (_, total), result in zip(pictures, answer[1:]):
            if answer[0] == 'done' and not result.startswith('-'):
                self.take(result, total)
            elif answer[0] == 'done':
                self.model.refusals[f'batch: {result}'] += 1
                self.unknown.discard(total)
        return answer[0] != 'broken'

    def take(self, uuid, total):
        self.unknown.discard(total)
        self.assets[uuid] = Asset(total, [State()])

    def change(self, kind, uuid, after, *words):
        asset = self.assets[uuid]
        before = asset.possible[0]
        asset.possible = [before, after]
        answer = self.ask(kind, *words)
        if answer[0] != 'broken':
            asset.possible = [after if answer[0] == 'done' else before]
        return answer[0] != 'broken'

    def ask(self, kind, *words):
        answer = self.client.ask(*words)
        with self.model.lock:
            print(self.number, *words, '->', *answer, file=self.model.requests)
            if answer[0] == 'done':
                self.model.acknowledged[kind] += 1
            elif answer[0] == 'broken':
                self.model.broken += 1
            else:
                self.model.refusals[f'{kind}: {answer[1:]}'] += 1
        return answer

    def state(self, uuid, place):
        state = self.assets[uuid].possible[0]
        return state if state.place == place else None

    def delete(self, uuid):
        state = self.state(uuid, 'library')
        return not state or self.change('delete', uuid, state.but(place='trash'), 'delete', uuid)

    def restore(self, uuid):
        state = self.state(uuid, 'trash')
        return not state or self.change('restore', uuid, state.but(place='library'), 'restore', uuid)

    def remove(self, uuid):
        if len(self.assets) < MANY // 2:
            return True
        return self.change('remove', uuid, State('gone'), 'remove', uuid)

    def edit(self, uuid):
        state = self.state(uuid, 'library')
        if not state:
            return True
        path, total = self.picture('edit')
        return self.change('edit', uuid, state.but(edit=total), 'edit', uuid, path)

    def revert(self, uuid):
        state = self.state(uuid, 'library')
        return not state or not state.edit or self.change('revert', uuid, state.but(edit=None), 'revert', uuid)

    def adjust(self, uuid):
        state = self.state(uuid, 'library')
        if not state or self.assets[uuid].date is None:
            return True
        seconds = self.chance.randrange(-5000, 5000)
        return self.change('adjust-date', uuid, state.but(seconds=state.seconds + seconds), 'adjust', seconds, uuid)

    def album(self, _):
        name = f'{self.number}-{self.pictures}-{len(self.albums)}'
        if len(self.albums) > 50:
            return True
        self.albums[name] = None
        answer = self.ask('album', 'album', name)
        self.albums[name] = True if answer[0] == 'done' else None if answer[0] == 'broken' else False
        return answer[0] != 'broken'

    def add(self, uuid):
        state = self.state(uuid, 'library')
        others = [name for name in ALBUMS if state and name not in state.albums]
        if not others:
            return True
        name = self.chance.choice(others)
        return self.change('add to album', uuid, state.but(albums=state.albums | {name}), 'add', self.model.album_uuids[name],
                           uuid)


class Model:
    def __init__(self, library, seed):
        self.library, self.chance, self.lock = library, random.Random(seed), threading.Lock()
        self.acknowledged, self.refusals = collections.Counter(), collections.Counter()
        self.broken = self.checks = 0
        self.faults = []
        self.requests = open(library.root / 'requests', 'w')  # is kept with a library in which something was wrong
        self.asker = library.client()
        library.start()
        library.ready(self.asker)
        for name in ALBUMS:
            self.asker.ask('album', name)
        self.album_uuids = dict(library.rows('SELECT name, uuid FROM zalbum')[0])
        self.people = [Person(self, number) for number in range(CLIENTS)]

    @contextlib.contextmanager
    def work(self, goes_on=False):
        """All work, until the end of the block."""
        over = threading.Event()
        threads = [threading.Thread(target=person.work, args=[over, goes_on]) for person in self.people]
        for thread in threads:
            thread.start()
        try:
            yield
        finally:
            over.set()
            for thread in threads:
                thread.join()

    def compare(self):
        columns = 'pk, uuid, sha256, datecreated, directory, filename'
        here, trashed, edits, trashed_edits, albums, inside, trashed_inside = self.library.rows(
            f'SELECT {columns} FROM zgenericasset', f'SELECT {columns} FROM ztrashedasset',
            'SELECT assetuuid, filename, sha256 FROM zrendition',
            'SELECT assetuuid, filename, sha256 FROM ztrashedrendition', 'SELECT pk, name FROM zalbum',
            'SELECT asset, album FROM zalbumasset', 'SELECT asset, album FROM ztrashedalbumasset')
        names = dict(albums)
        members = collections.defaultdict(set)
        for asset, album in inside + trashed_inside:
            members[asset].add(names.get(album))
        renditions = {uuid: (name, total) for uuid, name, total in edits + trashed_edits}
        found = {}
        for place, rows in ('library', here), ('trash', trashed):
            for row in rows:
                if row[1] in found:
                    self.faults.append(f'{row[1]} is in the library and in the trash')
                found[row[1]] = (place, *row)
        owned = {uuid: person for person in self.people for uuid in person.assets}
        for uuid, row in found.items():
            person = owned.get(uuid) or next((each for each in self.people if row[3] in each.unknown), None)
            if person is None:
                self.faults.append(f'{uuid} is in the {row[0]}, and came from nowhere')
                continue
            if uuid not in owned:
                person.take(uuid, row[3])
                owned[uuid] = person
        for uuid, person in owned.items():
            self.compare_asset(uuid, person, found.get(uuid), members, renditions)
        for person in self.people:
            person.assets = {uuid: asset for uuid, asset in person.assets.items() if asset.possible != [State('gone')]}
            for name, made in person.albums.items():
                there = name in names.values()
                if made is not None and made != there:
                    self.faults.append(f'the album {name} is {"there" if there else "lost"}')
                person.albums[name] = there

    def compare_asset(self, uuid, person, row, members, renditions):
        asset = person.assets[uuid]
        if row is None:
            actual = State('gone')
        else:
            place, key, _, total, date, directory, filename = row
            name, edit = renditions.get(uuid, (None, None))
            likely = asset.possible[-1].seconds
            if asset.date is None:
                asset.date = date - likely
            actual = State(place, edit, round(date - asset.date), frozenset(members[key]))
            self.compare_file(f'the original of {uuid}', self.library.media / directory / filename, asset.sum)
            if total != asset.sum:
                self.faults.append(f'{uuid} has the sum of other bytes')
            if name:
                self.compare_file(f'the rendition of {uuid}', self.library.rendition(uuid, name), edit)
        if actual not in asset.possible:
            self.faults.append(f'{uuid} is {actual} instead of {asset.possible}')
        asset.possible = [actual]

    def compare_file(self, what, path, total):
        try:
            if sum_of(path.read_bytes()) != total:
                self.faults.append(f'{what} has other bytes')
        except OSError as error:
            self.faults.append(f'{what}: {error}')

    def check(self):
        """The command's own look at all files, and whether nothing is left over."""
        self.checks += 1
        deadline = time.monotonic() + 60
        while (due := self.library.due()) and time.monotonic() < deadline:
            time.sleep(0.02)
        if due:
            self.faults.append(f'{due} thumbnails are still due')
        if branded := self.library.branded():
            self.faults.append(f'sound pictures are held for damaged: {branded[:3]}')
        code, text = self.library.command('check')
        if code != 0:
            self.faults.append(f'the check finds: {text}')

    def figures(self):
        kinds = ', '.join(f'{count} {kind}' for kind, count in sorted(self.acknowledged.items()))
        return (f'acknowledged: {sum(self.acknowledged.values())} ({kinds}), {self.broken} cut off, '
                f'{sum(self.refusals.values())} refused; {self.checks} checks; lost: {len(self.faults)}')
