"""What the campaigns share: a library of their own, its clients, pictures, and what its store and its files say."""

import contextlib
import hashlib
import os
import pathlib
import signal
import sqlite3
import struct
import subprocess
import threading
import time
import zlib

ANSWER_SECONDS = 120  # longer than any answer takes on a busy machine


def png(number, side=16):
    """A small picture that no other number has."""
    width, height = side + number % 5, 12
    row = bytes((number * 37 + x * 7 + c * 50) % 256 for x in range(width) for c in range(3))
    rows = b''.join(b'\0' + row for _ in range(height))

    def chunk(kind, data):
        return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data))
    return (b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 2, 0, 0, 0)) +
            chunk(b'tEXt', b'Comment\0number %d' % number) + chunk(b'IDAT', zlib.compress(rows)) + chunk(b'IEND', b''))


def sum_of(contents):
    return hashlib.sha256(contents).digest()


class Hang(Exception):
    """Something that was to answer or to end did not."""


def wait_until(condition, what, seconds=ANSWER_SECONDS):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise Hang(f'{what}: not within {seconds} s')
        time.sleep(0.002)


class Client:
    """A process that sends requests, one at a time. What it answers is a list of words: see requests.cpp."""

    def __init__(self, build, environment, **options):
        self.process = subprocess.Popen([build / 'campaigns/campaign_requests'], env=environment, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True, **options)

    def ask(self, *words):
        overdue = threading.Timer(ANSWER_SECONDS, self.process.kill)
        overdue.start()
        try:
            self.process.stdin.write('\t'.join(map(str, words)) + '\n')
            self.process.stdin.flush()
            answer = self.process.stdout.readline().rstrip('\n').split('\t')
        except BrokenPipeError:
            answer = ['']
        finally:
            overdue.cancel()
        if answer == ['']:
            raise Hang(f'a client that asked for {words[0]} gave no answer, and ended by {self.process.wait()}')
        return answer

    def end(self):
        with contextlib.suppress(OSError):
            self.process.stdin.close()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.process.stdout.close()


class Library:
    """Below a root of its own. Its hoardd is started here, not by clients, unless `on_demand`."""

    def __init__(self, build, root, on_demand=False, arguments=('--idle-seconds', '0')):
        self.build, self.root = build, pathlib.Path(root)
        self.media = self.root / 'var/mobile/Media'
        self.data = self.media / 'PhotoData'
        self.arguments = [str(build / 'bin/hoardd'), *arguments]
        self.daemon = None
        self.clients = []
        self.root.mkdir(exist_ok=True)
        (self.root / 'tmp').mkdir(exist_ok=True)
        self.environment = {**os.environ, 'WICKERLANE_ROOT': str(self.root)}
        if not on_demand:
            self.environment['WICKERLANE_SERVICES'] = str(self.root / 'none')

    def start(self, **variables):
        """Starts hoardd, and returns when it holds the library, or has ended."""
        self.console = open(self.root / 'hoardd.console', 'ab')
        self.daemon = subprocess.Popen(self.arguments, env={**self.environment, **variables}, stdin=subprocess.DEVNULL,
                                       stdout=self.console, stderr=self.console)
        self.console.close()
        return self.daemon

    def kill(self, how=signal.SIGKILL):
        """Ends hoardd; by what it ended."""
        if self.daemon is None:
            return None
        if self.daemon.poll() is None:
            self.daemon.send_signal(how)
        try:
            ended = self.daemon.wait(ANSWER_SECONDS)
        except subprocess.TimeoutExpired:
            self.daemon.kill()
            self.daemon.wait()
            raise Hang('hoardd does not end') from None
        self.daemon = None
        return ended

    def workers(self):
        """The media workers of hoardd."""
        found = []
        with contextlib.suppress(OSError):
            for task in os.listdir(f'/proc/{self.daemon.pid}/task'):
                with contextlib.suppress(OSError):
                    found += map(int, open(f'/proc/{self.daemon.pid}/task/{task}/children').read().split())
        return found

    def client(self, **options):
        self.clients.append(Client(self.build, self.environment, **options))
        return self.clients[-1]

    def ready(self, client):
        """Waits until hoardd serves the library, or has ended; the last answer."""
        deadline = time.monotonic() + ANSWER_SECONDS
        while True:
            answer = client.ask('recover')
            if answer[0] != 'broken' or self.daemon is None or self.daemon.poll() is not None:
                return answer
            if time.monotonic() > deadline:
                raise Hang('hoardd does not serve')
            time.sleep(0.005)

    def command(self, *arguments, seconds=ANSWER_SECONDS):
        """Runs the command; its exit code and what it wrote."""
        done = subprocess.run([self.build / 'bin/wickerlane', *map(str, arguments)], env=self.environment,
                              capture_output=True, timeout=seconds, stdin=subprocess.DEVNULL)
        return done.returncode, (done.stdout + done.stderr).decode(errors='replace')

    def end(self):
        for client in self.clients:
            client.end()
        self.clients = []
        return self.kill(signal.SIGTERM)

    def rows(self, *statements):
        """What each statement finds, all at one moment."""
        database = sqlite3.connect(f'file:{self.data}/Pixhold.sqlite?mode=ro', uri=True, timeout=10, isolation_level=None)
        try:
            database.execute('BEGIN')
            return [database.execute(each).fetchall() for each in statements]
        finally:
            database.close()

    def rendition(self, uuid, filename):
        return self.data / 'Renditions' / uuid[:2] / filename

    def branded(self):
        """The assets that are held for what can't be decoded, though all pictures are sound."""
        return self.rows("SELECT uuid, problem FROM zgenericasset WHERE problem <> '' UNION ALL "
                         "SELECT uuid, problem FROM ztrashedasset WHERE problem <> ''")[0]

    def due(self):
        """How many thumbnails are still to be made."""
        return self.rows('SELECT (SELECT count(*) FROM zduethumbnail WHERE made = 0) + '
                         '(SELECT count(*) FROM zduefacts)')[0][0][0]

    def unsynced(self):
        """The number of assets whose thumbnails are due or not synced yet."""
        return self.rows('SELECT count(*) FROM zduethumbnail')[0][0][0]
