"""What a power cut may leave of a folder, by the record that preload/FileRecorder.cpp has made of a process.

The file system that is supposed here promises no more than those that a library is on, and less than most:

- A sync of a file makes its bytes, its size and its mode durable (fdatasync without the mode), but not its name.
- A sync of a folder makes its own names durable: those that were made, linked, moved here, or removed. The names above it,
  and the bytes of its files, are others' matter. What was moved to another folder is durable with the one that it came to,
  and goes from the first in the same step.
- syncfs makes all durable. sync_file_range, closing and waiting do nothing; what was done before settle() is durable.
- Anything else may be there or not, each operation by itself, whatever came before it. So a name can be there without
  the bytes of its file, and a later write without an earlier one, whose place then has zeros.
- A write of more than a sector may be there by half. A rename is there as a whole or not at all. A folder goes only when
  what was in it has gone.

A sync covers what had been done when it began. SQLite's index of its log (-shm) is left out: it makes it again."""

import collections
import dataclasses
import functools
import hashlib
import itertools
import os
import stat
import struct

HEADER = struct.Struct('QQII8s')
SECTOR = 512


@dataclasses.dataclass
class Record:
    position: int  # in the file of records
    kind: str
    inode: int
    number: int
    first: bytes
    second: bytes


def read_records(path):
    with open(path, 'rb') as file:
        everything = file.read()
    records, at = [], 0
    while at < len(everything):
        inode, number, first, second, kind = HEADER.unpack_from(everything, at)
        texts = at + HEADER.size
        records.append(Record(at, kind.rstrip(b'\0').decode(), inode, number, everything[texts:texts + first],
                              everything[texts + first:texts + first + second]))
        at = texts + first + second
    return records


class Folder:
    def __init__(self, mode):
        self.mode, self.names = mode, {}


class File:
    """With its bytes at the moment."""

    def __init__(self, mode, contents=b''):
        self.mode = self.first_mode = mode
        self.contents = bytearray(contents)


class Operation:
    """Something that is durable or not as a whole."""

    def __init__(self, number, text, synced_with, names=(), data=None, needs=()):
        self.number, self.text = number, text
        self.synced_with = synced_with  # the file or folder
        self.names = names  # (folder, name, what it is from now on or None)
        self.data = data  # of a file: what and two arguments
        self.needs = needs  # operations that are durable when this one is


def change(contents, data):
    kind, number, given = data
    if kind == 'write':
        contents.extend(bytes(max(0, number - len(contents))))
        contents[number:number + len(given)] = given
    elif kind == 'size':
        del contents[number:]
        contents.extend(bytes(number - len(contents)))


@functools.lru_cache(1 << 16)
def sum_of_words(contents, order, first, second):
    """SQLite's own, from the sums of what was before."""
    words = struct.unpack(f'{order}{len(contents) // 4}I', contents)
    for one, other in zip(words[::2], words[1::2]):
        first = first + one + second & 0xffffffff
        second = second + other + first & 0xffffffff
    return first, second


def transactions(log):
    """The whole transactions of SQLite's write-ahead log. It reads no further."""
    if len(log) < 32 or log[:3] != b'\x37\x7f\x06':
        return b''
    order = '>' if log[3] & 1 else '<'
    sums = sum_of_words(log[:24], order, 0, 0)
    end, at, size = 0, 32, 24 + struct.unpack_from('>I', log, 8)[0]
    if sums != struct.unpack_from('>II', log, 24):
        return b''
    while at + size <= len(log):
        sums = sum_of_words(log[at:at + 8] + log[at + 24:at + size], order, *sums)
        if log[at + 8:at + 16] != log[16:24] or sums != struct.unpack_from('>II', log, at + 16):
            break
        at += size
        if any(log[at - size + 4:at - size + 8]):
            end = at
    return log[:end]


@dataclasses.dataclass
class Point:
    """The moment before something becomes durable, or the end."""
    position: int  # in the file of records
    base: 'Base'
    durable: list
    pending: list


class Base:
    """The tree that was durable when the operations began."""

    def __init__(self, root):
        self.root, self.names, self.files = root, {}, {}
        waiting = [root]
        while waiting:
            folder = waiting.pop()
            self.names[folder] = dict(folder.names)
            waiting += [each for each in folder.names.values() if isinstance(each, Folder)]
            self.files.update((each, (bytes(each.contents), each.mode)) for each in folder.names.values()
                              if isinstance(each, File))
        self.made = {}  # contents that have been made of it

    def contents(self, file, operations, is_log):
        """The bytes and mode of a file after some operations, and a digest of what they mean."""
        key = (file, tuple(each.number for each in operations))
        if key not in self.made:
            contents, mode = self.files.get(file, (b'', file.first_mode))
            contents = bytearray(contents)
            for each in operations:
                change(contents, each.data)
                if each.data[0] == 'mode':
                    mode = each.data[1]
            contents = bytes(contents)
            meant = transactions(contents) if is_log else contents
            self.made[key] = contents, mode, hashlib.sha256(meant).digest()
        return self.made[key]


class State:
    """A tree that a power cut may leave: with some of the operations that were not durable at a point."""

    def __init__(self, point, chosen):
        self.point, self.chosen = point, chosen
        operations = set(point.durable)
        waiting = list(chosen)
        while waiting:
            operations.add(each := waiting.pop())
            waiting += [other for other in each.needs if other not in operations]
        names, data = {}, collections.defaultdict(list)
        for each in sorted(operations, key=lambda operation: operation.number):
            for folder, name, entry in each.names:
                if folder not in names:
                    names[folder] = dict(point.base.names.get(folder, {}))
                if entry is None:
                    names[folder].pop(name, None)
                else:
                    names[folder][name] = entry
            if each.data:
                data[each.synced_with].append(each)
        self.entries = []  # of folders: path, mode; of files: path, mode, bytes
        digest = hashlib.sha256()

        def walk(folder, path):
            self.entries.append((path, folder.mode))
            inside = names.get(folder)
            inside = point.base.names.get(folder, {}) if inside is None else inside
            for name in sorted(inside):
                if name.endswith('-shm'):
                    continue
                entry, below = inside[name], os.path.join(path, name)
                if isinstance(entry, Folder):
                    walk(entry, below)
                    digest.update(b'%s/\n' % below.encode())
                else:
                    contents, mode, total = point.base.contents(entry, data.get(entry, ()), name.endswith('-wal'))
                    self.entries.append((below, mode, contents))
                    digest.update(b'%s\n%d' % (below.encode(), mode) + total)
        walk(point.base.root, '')
        self.digest = digest.digest()

    def write(self, place):
        for path, mode, *contents in self.entries:
            whole = os.path.join(place, path)
            if not contents:
                os.makedirs(whole, mode=mode | stat.S_IRWXU, exist_ok=True)
                continue
            with open(whole, 'wb') as file:
                if contents[0].count(0) < len(contents[0]):
                    file.write(contents[0])
                else:
                    file.truncate(len(contents[0]))
            os.chmod(whole, mode)


class Recording:
    """Follows a record, from the tree that was there before."""

    def __init__(self, place):
        self.place, self.by_inode, self.numbers = place, {}, itertools.count()
        self.operations = self.syncs = 0
        self.root = self.scan(place)
        self.points = []
        self.begun = {}  # how many operations there were when a sync began
        self.settle()

    def scan(self, place):
        status = os.lstat(place)
        if stat.S_ISDIR(status.st_mode):
            node = Folder(stat.S_IMODE(status.st_mode))
            for name in os.listdir(place):
                node.names[name] = self.scan(os.path.join(place, name))
        else:
            with open(place, 'rb') as file:
                node = File(stat.S_IMODE(status.st_mode), file.read())
        self.by_inode[status.st_ino] = node
        return node

    def settle(self):
        """Takes all that was done for durable."""
        self.base, self.durable, self.pending = Base(self.root), [], []

    def find(self, path):
        """The folder of a path, and the last name."""
        *folders, name = path.decode().split('/')
        folder = self.root
        for each in folders:
            folder = folder.names[each]
        return folder, name

    def do(self, text, synced_with, names=(), data=None, needs=()):
        """Notes an operation, and does it to the tree."""
        self.operations += 1
        self.pending.append(Operation(next(self.numbers), text, synced_with, names, data, needs))
        for folder, name, entry in names:
            if entry is None:
                folder.names.pop(name, None)
            else:
                folder.names[name] = entry
        if data:
            change(synced_with.contents, data)
            if data[0] == 'mode':
                synced_with.mode = data[1]

    def mark(self, position):
        self.points.append(Point(position, self.base, list(self.durable), list(self.pending)))

    def become_durable(self, record):
        """What a sync covers, once it has ended."""
        self.syncs += 1
        self.mark(record.position)
        synced = self.by_inode.get(record.inode)
        covered = set()

        def cover(operation):
            covered.add(operation)
            for each in operation.needs:
                cover(each)
        for each in self.pending:
            if each.number < self.begun[record.number] and (record.kind == 'syncfs' or each.synced_with is synced) and not (
                    record.kind == 'fdata' and each.data and each.data[0] == 'mode'):
                cover(each)
        self.durable += [each for each in self.pending if each in covered]
        self.pending = [each for each in self.pending if each not in covered]

    def follow(self, record):
        """Of records in order."""
        kind, first, second = record.kind, record.first, record.second
        if kind == 'sync':
            self.begun[record.number] = next(self.numbers)
        elif kind in ('fsync', 'fdata', 'syncfs'):
            self.become_durable(record)
        elif kind in ('create', 'mkdir'):
            node = self.by_inode[record.inode] = (File if kind == 'create' else Folder)(record.number & 0o777)
            if first:
                folder, name = self.find(first)
                self.do(f'{kind} {first.decode()}', folder, names=[(folder, name, node)])
        elif kind == 'remove':
            folder, name = self.find(first)
            gone = folder.names[name]
            # A folder that is removed is empty.
            needs = [each for each in self.pending if any(where is gone for where, _, _ in each.names)] if isinstance(
                gone, Folder) else []
            self.do(f'remove {first.decode()}', folder, names=[(folder, name, None)], needs=needs)
        elif kind in ('rename', 'link'):
            (folder, name), node = self.find(second), self.by_inode[record.inode]
            names = [(*self.find(first), None)] if kind == 'rename' else []
            self.do(f'{kind} {first.decode()} to {second.decode()}', folder, names=[*names, (folder, name, node)])
        elif kind in ('write', 'size', 'mode', 'whole'):
            self.change(self.by_inode[record.inode], record)
        elif kind != 'sent':
            raise ValueError(f'the record has an operation that is not understood: {kind}')

    def change(self, node, record):
        if isinstance(node, Folder):
            node.mode = record.number
        elif record.kind == 'write':
            self.write(node, record.number, record.first)
        elif record.kind == 'whole':
            if node.contents != record.first:
                self.do(f'size {len(record.first)}', node, data=('size', len(record.first), None))
                self.write(node, 0, record.first)
        elif record.kind == 'mode':
            self.do(f'mode {record.number:o}', node, data=('mode', record.number & 0o777, None))
        elif record.number != len(node.contents):
            self.do(f'size {record.number}', node, data=('size', record.number, None))

    def write(self, node, offset, contents):
        half = (len(contents) + 1) // 2 // SECTOR * SECTOR
        for start, part in (0, contents[:half]), (half, contents[half:]):
            if part:
                self.do(f'write {len(part)} bytes at {offset + start}', node, data=('write', offset + start, part))

    def differences(self):
        """Of the tree that the record says there is from the one that is there."""
        found, there = {}, {}

        def walk(folder, path):
            for name, node in folder.names.items():
                if isinstance(node, Folder):
                    walk(node, os.path.join(path, name))
                else:
                    found[os.path.join(path, name)] = bytes(node.contents)
        walk(self.root, '')
        for path, _, names in os.walk(self.place):
            for name in names:
                whole = os.path.join(path, name)
                with open(whole, 'rb') as file:
                    there[os.path.relpath(whole, self.place)] = file.read()
        return [each for each in sorted({*found, *there}) if found.get(each) != there.get(each) and not each.endswith('-shm')]
