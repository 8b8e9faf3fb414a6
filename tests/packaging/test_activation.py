"""hoardd is started by its socket, says when it is ready and when it ends, ends when it has been idle, and is started
again. Under the filter of system calls of its units it does all its work.

    test_activation.py BUILT-UNITS HOARDD COMMAND PICTURES
"""

import contextlib
import ctypes
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
from collections.abc import Callable, Iterator
from typing import Any

UNITS, HOARDD, COMMAND, PICTURES = map(pathlib.Path, sys.argv[1:])
SERVICE = 'org.wickerlane.hoardd.Gatekeeper'
SKIPPED = 77
DEADLINE = 120

for tool in 'systemd-socket-activate', 'systemd-analyze':
    if shutil.which(tool) is None:
        print(f'skipped: no {tool}')
        sys.exit(SKIPPED)


class Root:
    """A root, and a service manager's end of hoardd's notices."""

    def __init__(self, folder: pathlib.Path) -> None:
        self.folder = folder
        self.socket = folder / 'var/run/wickerlane/services' / SERVICE
        self.socket.parent.mkdir(parents=True)
        self.notices = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.notices.bind(str(folder / 'notices'))
        self.notices.settimeout(DEADLINE)

    def notice(self) -> str:
        return self.notices.recv(1000).decode()

    def run(self, *arguments: str | pathlib.Path) -> subprocess.CompletedProcess[str]:
        return subprocess.run([COMMAND, '--root', self.folder, *arguments], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False,
                              timeout=DEADLINE)

    def command(self, *arguments: str | pathlib.Path) -> str:
        result = self.run(*arguments)
        assert result.returncode == 0, (arguments, result)
        return result.stdout

    def refusal(self, *arguments: str | pathlib.Path) -> str:
        result = self.run(*arguments)
        assert result.returncode != 0, (arguments, result)
        return result.stderr

    def daemon(self) -> int:
        return int((self.folder / 'var/mobile/Media/PhotoData/hoardd.lock').read_text())

    @contextlib.contextmanager
    def activated(self, confine: Callable[[], None] | None = None,
                  idle: float = 0.2) -> Iterator[subprocess.Popen[str]]:
        """Listens, and runs hoardd in the same process once a client has connected."""
        variables = {'WICKERLANE_ROOT': self.folder, 'NOTIFY_SOCKET': self.folder / 'notices'}
        environment = [word for name, value in variables.items() for word in ('-E', f'{name}={value}')]
        process = subprocess.Popen(
            ['systemd-socket-activate', '-l', self.socket, *environment, HOARDD, '--idle-seconds', str(idle)],
            stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, preexec_fn=confine)
        try:
            assert process.stderr is not None
            for line in process.stderr:
                if line.startswith('Listening on'):
                    break
            yield process
        finally:
            process.kill()
            process.communicate()


def runs(process: int) -> str:
    return os.readlink(f'/proc/{process}/exe')


def is_started_by_its_socket(root: Root) -> None:
    for picture, counted in ('exif.jpg', '1 photo, 0 videos\n'), ('one.gif', '2 photos, 0 videos\n'):
        with root.activated() as process:
            assert runs(process.pid) != str(HOARDD), 'nothing runs before there is a client'
            with socket.socket(socket.AF_UNIX) as client: # as long as it is there, hoardd is not idle
                client.connect(str(root.socket))
                assert root.notice() == 'READY=1'
                root.command('import', PICTURES / picture)
                assert root.daemon() == process.pid, 'the command has started a hoardd of its own'
                assert root.command('count') == counted
            assert root.notice() == 'STOPPING=1', 'it has been idle'
            assert process.wait(DEADLINE) == 0
            assert root.socket.is_socket(), 'the socket is the manager\'s'


def ends_when_told(root: Root) -> None:
    with root.activated(idle=0) as process:
        root.command('count')
        assert root.notice() == 'READY=1'
        journal = 'journalctl --user -u hoardd.service'
        assert journal in root.command('daemon', 'status'), 'its log is no file'
        assert journal in root.refusal('daemon', 'log')
        process.send_signal(signal.SIGTERM)
        assert root.notice() == 'STOPPING=1'
        assert process.wait(DEADLINE) == 0


# The filter, as systemd makes it of a unit.

class Comparison(ctypes.Structure):
    _fields_ = [('argument', ctypes.c_uint), ('operator', ctypes.c_int), ('a', ctypes.c_uint64), ('b', ctypes.c_uint64)]


ALLOW, ERROR, EQUAL, MASKED_EQUAL = 0x7fff0000, 0x00050000, 4, 7
EPERM, ENOSYS, WRITE, EXECUTE = 1, 38, 2, 4
NAMESPACES = 0x7e020000 # all flags of clone(2) that make one


def calls_of(group: str) -> set[str]:
    """The calls of a group, and of those in it."""
    listed = subprocess.run(['systemd-analyze', '--no-pager', 'syscall-filter', group], stdout=subprocess.PIPE,
                            text=True, check=True).stdout.splitlines()[1:]
    names = [line.strip() for line in listed if line.strip() and not line.strip().startswith('#')]
    return {call for name in names for call in (calls_of(name) if name.startswith('@') else {name})}


def allowed_by(unit: pathlib.Path) -> set[str]:
    calls: set[str] = set()
    for line in unit.read_text().splitlines():
        if not line.startswith('SystemCallFilter='):
            continue
        words = line.removeprefix('SystemCallFilter=').split()
        is_taken = words[0].startswith('~')
        words[0] = words[0].removeprefix('~')
        named = {call for word in words for call in (calls_of(word) if word.startswith('@') else {word})}
        calls = calls - named if is_taken else calls | named
    return calls


def filter_of(unit: pathlib.Path) -> Callable[[], None]:
    """Puts the calling process behind the filter, and behind what the other settings forbid by such filters."""
    settings = unit.read_text().splitlines()
    for setting in ('MemoryDenyWriteExecute=yes', 'RestrictAddressFamilies=AF_UNIX', 'RestrictNamespaces=yes',
                    'NoNewPrivileges=yes', 'SystemCallErrorNumber=EPERM'):
        assert setting in settings, setting
    seccomp = ctypes.CDLL('libseccomp.so.2')
    seccomp.seccomp_init.restype = ctypes.c_void_p
    libc = ctypes.CDLL(None)
    conditions: dict[str, list[Comparison]] = {
        'socket': [Comparison(0, EQUAL, socket.AF_UNIX)], 'clone': [Comparison(0, MASKED_EQUAL, NAMESPACES, 0)],
        'mmap': [Comparison(2, MASKED_EQUAL, WRITE, 0), Comparison(2, MASKED_EQUAL, EXECUTE, 0)],
        'mprotect': [Comparison(2, MASKED_EQUAL, EXECUTE, 0)]}
    context = ctypes.c_void_p(seccomp.seccomp_init(ctypes.c_uint32(ERROR | EPERM)))

    def add(action: int, call: str, *comparisons: Comparison) -> None:
        number = seccomp.seccomp_syscall_resolve_name(call.encode())
        if number != -1: # else no call of this machine
            seccomp.seccomp_rule_add_array(context, ctypes.c_uint32(action), number, len(comparisons),
                                           (Comparison * len(comparisons))(*comparisons))
    for call in allowed_by(unit):
        if call == 'clone3':
            add(ERROR | ENOSYS, call)
        elif call in conditions:
            for each in conditions[call]:
                add(ALLOW, call, each)
        else:
            add(ALLOW, call)

    def confine() -> None:
        no_new_privileges = 38
        if libc.prctl(no_new_privileges, 1, 0, 0, 0) != 0 or seccomp.seccomp_load(context) != 0:
            os._exit(99)
    return confine


def work(root: Root) -> Any:
    """What hoardd says of all that it is asked; names and dates of files are the same in each root."""
    files = sorted(path for path in PICTURES.iterdir())
    imported = json.loads(root.command('import', '--json', *files))
    saved = [{key: asset[key] for key in ('width', 'height', 'byteSize', 'problem', 'duration') if key in asset}
             for asset in imported['saved']]
    uuid = imported['saved'][0]['uuid']
    answers = []
    for arguments in (['thumbnail', uuid, '--format', 'png', '--to', root.folder / 'x.png'],
                      ['thumbnail', uuid, '--format', 'large', '--to', root.folder / 'x.jpg'],
                      ['duplicates', '--update'], ['moments', '--update'], ['album', 'create', 'All'], ['sizes'],
                      ['delete', '--yes', uuid], ['trash', 'restore', uuid],
                      ['export', '--all', '--to', root.folder / 'exported'], ['rebuild-thumbnails'],
                      ['check', '--repair']):
        result = subprocess.run([COMMAND, '--root', root.folder, *arguments], stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False,
                                timeout=DEADLINE)
        answers.append((arguments[0], result.returncode, result.stderr.replace(str(root.folder), 'ROOT').count('\n')))
    return saved, answers


def does_all_its_work_under_the_filter(root: Root, other: Root) -> None:
    with other.activated(idle=0):
        expected = work(other)
    with root.activated(filter_of(UNITS / 'user/hoardd.service'), idle=0) as process:
        got = work(root)
        assert got == expected, (got, expected)
        status = pathlib.Path(f'/proc/{process.pid}/status').read_text()
        assert runs(process.pid) == str(HOARDD) and 'Seccomp:\t2\n' in status, status
    lines = [[line for line in (UNITS / scope / 'hoardd.service').read_text().splitlines()
              if line.startswith('SystemCallFilter=')] for scope in ('user', 'system')]
    assert lines[0] == lines[1], 'a filter that is not tried'


with tempfile.TemporaryDirectory(prefix='wl-') as made:
    roots = [pathlib.Path(made).resolve() / name for name in 'abcd']
    for each in roots:
        each.mkdir(mode=0o700)
    is_started_by_its_socket(Root(roots[0]))
    ends_when_told(Root(roots[1]))
    does_all_its_work_under_the_filter(Root(roots[2]), Root(roots[3]))
