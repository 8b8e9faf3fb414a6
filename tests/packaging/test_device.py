"""The library of a whole device, in folders as they are installed: hoardd runs as a user of its own, with mounts of its
own and one capability, and serves the programs that root has allowed.

    test_device.py PACKAGING HOARDD COMMAND PICTURE
"""

import contextlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
from collections.abc import Iterator

PACKAGING, HOARDD, COMMAND, PICTURE = map(pathlib.Path, sys.argv[1:5])
KEEPER, OTHER, STRANGER = 64990, 64991, 64992 # hoardd's user, one who is let in, and one who is not
SERVICE = 'org.wickerlane.hoardd.Gatekeeper'
INSIDE = 'WICKERLANE_TEST_INSIDE'
DEADLINE = 120
SKIPPED, REFUSED = 77, 5


def skip(reason: str) -> None:
    print(f'skipped: {reason}')
    sys.exit(SKIPPED)


def as_user(user: int, *options: str) -> list[str]:
    return ['setpriv', '--reuid', str(user), '--regid', str(user), '--clear-groups', *options]


def works(*command: str | pathlib.Path) -> bool:
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0


def install(root: pathlib.Path) -> None:
    """What systemd-tmpfiles makes below /var/lib/wickerlane."""
    owners = {'root': 0, 'wickerlane': KEEPER}
    for line in (PACKAGING / 'tmpfiles.d/wickerlane.conf').read_text().splitlines():
        if line.startswith('#'):
            continue
        kind, path, mode, user, group, age = line.split()
        below = root / os.path.relpath(path, '/var/lib/wickerlane')
        assert kind in ('d', 'f') and age == '-', line
        below.mkdir(exist_ok=True) if kind == 'd' else below.touch()
        os.chown(below, owners[user], owners[group])
        below.chmod(int(mode, 8))

# Makes all that is above a folder read-only, for what follows it in the arguments. The rest is none of hoardd's.
READ_ONLY = """
mount --make-rprivate /
mount --bind "$0" "$0"
for each in / "$(findmnt --noheadings --output TARGET --target "$(dirname "$0")")"; do
    mount -o remount,bind,ro "$each"
done
exec "$@"
"""


def confined(writable: pathlib.Path) -> list[str | pathlib.Path]:
    """What runs a command as hoardd's unit does: with one folder to write to, no network and one capability."""
    return ['unshare', '--mount', '--ipc', '--net', 'sh', '-euc', READ_ONLY, writable,
            *as_user(KEEPER, '--inh-caps=-all,+sys_ptrace', '--ambient-caps=-all,+sys_ptrace',
                     '--bounding-set=-all,+sys_ptrace', '--no-new-privs')]


class Device:
    def __init__(self, root: pathlib.Path) -> None:
        self.root = root

    def command(self, user: int, *arguments: str | pathlib.Path) -> subprocess.CompletedProcess[str]:
        return subprocess.run([*(as_user(user) if user else []), COMMAND, '--root', self.root, *arguments],
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              check=False, timeout=DEADLINE)

    def succeeds(self, user: int, *arguments: str | pathlib.Path) -> str:
        result = self.command(user, *arguments)
        assert result.returncode == 0, (user, arguments, result)
        return result.stdout

    def is_refused(self, user: int, *arguments: str | pathlib.Path) -> str:
        result = self.command(user, *arguments)
        assert result.returncode == REFUSED, (user, arguments, result)
        return result.stderr

    @contextlib.contextmanager
    def listening(self) -> Iterator[int]:
        """The process that becomes hoardd."""
        path = self.root / 'var/run/wickerlane/services' / SERVICE
        process = subprocess.Popen(
            [*confined(self.root / 'var'), 'systemd-socket-activate', '-l', path,
             '-E', f'WICKERLANE_ROOT={self.root}', HOARDD, '--idle-seconds', '0'],
            stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        try:
            assert process.stderr is not None
            for line in process.stderr:
                if line.startswith('Listening on'):
                    break
            path.chmod(0o666)
            yield process.pid
        finally:
            process.terminate()
            process.communicate(timeout=DEADLINE)


def is_as_confined_as_its_unit(process: int, writable: pathlib.Path) -> bool:
    folder = pathlib.Path(f'/proc/{process}')
    mounts = [line.split() for line in (folder / 'mounts').read_text().splitlines()]
    open_ones = {fields[1] for fields in mounts if 'rw' in fields[3].split(',')}
    return (not any(writable.is_relative_to(place) for place in open_ones - {str(writable)})
            and str(writable) in open_ones and len((folder / 'net/dev').read_text().splitlines()) == 3) # loopback


def capabilities(process: int) -> int:
    status = pathlib.Path(f'/proc/{process}/status').read_text()
    return int(status.split('CapEff:')[1].split()[0], 16)


def found(folder: pathlib.Path, user: int, *tests: str) -> set[str]:
    """The paths below the folder of which `find` tells the user that the tests hold."""
    result = subprocess.run([*(as_user(user) if user else []), 'find', '.', *tests], cwd=folder, text=True, check=False,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return {path.removeprefix('./') for path in result.stdout.split()}


def check_files_are_closed(folder: pathlib.Path) -> None:
    """What is in them is had through hoardd alone."""
    files = found(folder, 0, '-type', 'f')
    assert any(file.startswith('var/mobile/Media/DCIM/') for file in files), files
    assert 'var/db/wickerlane/Consent.plist' in files and 'var/mobile/Media/PhotoData/hoardd.lock' in files, files
    for user in OTHER, STRANGER:
        assert found(folder, user, '-type', 'f', '-readable') == {'etc/wickerlane/device'}, user
        assert found(folder, user, '-writable') == {f'var/run/wickerlane/services/{SERVICE}'}, user
        for closed in 'var/mobile', 'var/db/wickerlane', 'var/log/wickerlane':
            assert not works(*as_user(user, 'ls', str(folder / closed))), (user, closed)


def check(folder: pathlib.Path) -> None:
    device = Device(folder)
    install(folder)
    # Nothing listens: neither root nor others serve the library in its place.
    assert device.command(0, 'count').returncode != 0
    assert not any((folder / 'var/mobile').iterdir())
    device.is_refused(OTHER, 'count')
    with device.listening() as daemon:
        assert f'consent grant {COMMAND} --user {OTHER}' in device.is_refused(OTHER, 'sizes')
        assert os.readlink(f'/proc/{daemon}/exe') == str(HOARDD)
        assert os.readlink(f'/proc/{daemon}/ns/mnt') != os.readlink('/proc/self/ns/mnt')
        assert is_as_confined_as_its_unit(daemon, device.root / 'var')
        device.is_refused(OTHER, 'import', PICTURE)
        device.succeeds(0, 'consent', 'grant', COMMAND, '--user', str(OTHER))
        device.succeeds(OTHER, 'import', PICTURE)
        assert device.succeeds(OTHER, 'count') == '1 photo, 0 videos\n'
        assert device.succeeds(OTHER, 'list', '--fields', 'name').split()[-1] == PICTURE.name
        device.is_refused(STRANGER, 'list')
        device.is_refused(STRANGER, 'import', PICTURE)
        device.is_refused(STRANGER, 'consent', 'grant', COMMAND)
        check_files_are_closed(folder)
        device.is_refused(OTHER, 'consent', 'deny', COMMAND)
        device.is_refused(OTHER, 'check')
        assert 'no problems' in device.succeeds(0, 'check')
        assert 'journalctl -u hoardd' in device.command(OTHER, 'daemon', 'log').stderr

        sys_ptrace = 1 << 19
        assert capabilities(daemon) == sys_ptrace
        workers = [int(name) for name in os.listdir('/proc') if name.isdigit() and
                   pathlib.Path(f'/proc/{name}/stat').read_text().split(') ')[1].split()[1] == str(daemon)]
        assert workers and all(capabilities(worker) == 0 for worker in workers)

        foreign = ['unshare', '--mount', *as_user(OTHER), str(COMMAND), '--root', str(device.root), 'sizes']
        assert subprocess.run(foreign, stderr=subprocess.PIPE, check=False).returncode == REFUSED
        device.succeeds(0, 'consent', 'deny', COMMAND, '--user', str(OTHER))
        device.is_refused(OTHER, 'sizes')
    for path in (folder / 'var/mobile').rglob('*'):
        assert path.lstat().st_uid == KEEPER, path


if os.geteuid() != 0:
    skip('only root can be several users')
for tool in 'systemd-socket-activate', 'setpriv', 'unshare', 'mount', 'findmnt':
    if shutil.which(tool) is None:
        skip(f'no {tool}')
if not works(*as_user(OTHER), COMMAND, '--version') or not works(*as_user(OTHER), 'test', '-r', PICTURE):
    skip('the build folder is closed to other users')
if not os.environ.get(INSIDE):
    # In a process namespace whose first process has the mounts of all clients, as that of the system has.
    own = ['unshare', '--pid', '--fork', '--kill-child', '--mount', '--mount-proc']
    with tempfile.TemporaryDirectory(prefix='wl-device-') as made:
        if not works(*own, *confined(pathlib.Path(made).resolve()), 'true'):
            skip('this system does not let root confine a program as the unit of hoardd does')
    sys.exit(subprocess.run([*own, sys.executable, *sys.argv], check=False, env={**os.environ, INSIDE: '1'}).returncode)
with tempfile.TemporaryDirectory(prefix='wl-device-') as made:
    os.chmod(made, 0o755)
    check(pathlib.Path(made).resolve())
