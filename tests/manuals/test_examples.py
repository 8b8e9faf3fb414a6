"""Each example of the command's help, which is that of its manual page, and of the pages that are written by hand is
run with a real daemon, and ends well."""

import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator

HERE = pathlib.Path(__file__).parent
sys.path[1:1] = [str(HERE.parent / 'cli/view'), str(HERE.parent / 'python')]

from helps import examples, help_of, helps, written_examples # noqa: E402
from pictures import clip, dated, exif, png # noqa: E402
from served import COMMAND, HOARDD, Library # noqa: E402

# They go on until Ctrl-C, which ends them with 130. What happens meanwhile shows that they work.
ENDLESS = {
    'wickerlane view', 'wickerlane view --read-only --port 8080 --no-open', 'wickerlane watch --json',
    'wickerlane changes --follow --json', 'wickerlane monitor --texts',
    'wickerlane monitor --record session.jsonl', 'wickerlane daemon log --follow'}
LOG = 'var/log/wickerlane/org.wickerlane.hoardd.Gatekeeper.log'
# They ask first, and a test has no terminal.
ASKING = {"wickerlane revert --where 'edited album=Dunes'", 'wickerlane delete 7F3D0A52'}
MANUALS = HERE.parent.parent / 'docs/man'
# No service manager runs where tests run, and a journal that does not run has nothing to show.
UNTRIED = {
    'systemctl --user enable --now hoardd.socket', 'journalctl --user -u hoardd.service',
    'journalctl -u hoardd.service', 'journalctl WICKERLANE_FACILITY=JXMomentsLog'}
# What a page takes for granted.
BEFORE = {
    'album': 'wickerlane album delete --yes Dunes',
    'moments': 'wickerlane moments --update',
    'monitor': 'cp -r root trial', # of the same assets, so that the answers are the same
    'revert': 'for each in beach dunes; do wickerlane preview $each.jpg beach-brighter.jpg; done',
    'thumbnail': 'rm beach.jpg',
    'trash': 'wickerlane delete --yes beach.jpg',
}


def free_port() -> int:
    with socket.socket() as listening:
        listening.bind(('127.0.0.1', 0))
        return int(listening.getsockname()[1])


class Place:
    """A home, which is the current folder too, with a library."""

    def __init__(self, home: pathlib.Path) -> None:
        self.home = home
        home.mkdir(exist_ok=True)
        self.library = Library(home)
        programs = home / 'programs'
        self.environment = {**self.library.environment, 'HOME': str(home),
                            'PATH': f'{programs}:{os.environ["PATH"]}', 'LC_ALL': 'C.UTF-8'}
        for unwanted in ('LANGUAGE', 'DISPLAY', 'WAYLAND_DISPLAY', 'XDG_DATA_HOME'):
            self.environment.pop(unwanted, None)

    def start(self, line: str) -> subprocess.Popen[bytes]:
        with open(self.home / 'output', 'wb') as output, open(self.home / 'errors', 'wb') as errors:
            return subprocess.Popen(['bash', '-o', 'pipefail', '-c', line], cwd=self.home, env=self.environment,
                                    stdin=subprocess.DEVNULL, stdout=output, stderr=errors)

    def output(self) -> str:
        return (self.home / 'output').read_text(encoding='utf-8')

    def errors(self) -> str:
        return (self.home / 'errors').read_text(encoding='utf-8')

    def command(self, *words: str) -> str:
        return subprocess.run([COMMAND, *words], cwd=self.home, env=self.environment, check=True, text=True,
                              stdout=subprocess.PIPE, stdin=subprocess.DEVNULL).stdout

    def end(self) -> None:
        self.library.end_daemon()
        if (self.home / 'trial').exists():
            self.command('--root', str(self.home / 'trial'), 'daemon', 'stop')
        if (self.home / 'new').exists():
            self.command('--root', str(self.home / 'new'), 'daemon', 'stop')


def make(home: pathlib.Path) -> dict[str, str]:
    """A library with what the examples name, which is not served. Gives the UUIDs of assets by their names."""
    place = Place(home)
    for folder in ('programs', 'Pictures', 'media/card', 'media/disk'):
        (home / folder).mkdir(parents=True)
    for program in (COMMAND, HOARDD):
        (home / 'programs' / pathlib.Path(program).name).symlink_to(program)
    for program in ('nosy', 'viewer'):
        shutil.copy('/bin/true', home / 'programs' / program)
    for number, name in enumerate(('beach.jpg', 'dunes.jpg', 'IMG_0012.jpg', 'beach-brighter.jpg', 'Pictures/new.jpg')):
        made = home / 'made.jpg'
        subprocess.run(['ffmpeg', '-v', 'error', '-y', '-f', 'lavfi', '-i', f'testsrc=s=64x{40 + 2 * number}',
                        '-frames:v', '1', made], check=True)
        (home / name).write_bytes(dated(made.read_bytes(), f'2019:08:1{number} 10:20:30'))
        made.unlink()
    (home / 'last').touch()
    time.sleep(0.01) # so that the next file is newer
    (home / 'media/card/fresh.png').write_bytes(png(0x336699))
    camera = home / 'camera.png'
    camera.write_bytes(png(0x996633, exif=exif('MAKER', 'Model 7', 47, 8)))
    when = time.mktime((2019, 8, 20, 12, 0, 0, 0, 0, -1))
    os.utime(camera, (when, when))
    clip(home / 'beach.mp4', '2019-08-21T12:00:00Z')
    place.command('import', '-q', 'beach.jpg', 'dunes.jpg', 'IMG_0012.jpg', 'camera.png', 'beach.mp4',
                  '--album', 'Dunes')
    place.command('set', '--rating', '4', 'beach.mp4')
    place.command('set', '--rating', '5', '--favourite', 'dunes.jpg')
    uuids = {asset['name']: asset['uuid'] for asset in json.loads(place.command('list', '--json'))}
    place.end()
    return uuids


def run_endless(place: Place, line: str) -> int:
    """Until it has said something, which it may do only of what others ask."""
    process = place.start(f'exec {line}')
    for turn in range(200):
        if place.output() or process.poll() is not None:
            break
        # A recording goes into its file without a word.
        is_watching = 'watching' in place.errors()
        place.command('set', '--rating', str(1 + turn % 5), 'beach.jpg')
        with open(place.library.root / LOG, 'a', encoding='utf-8') as log:
            log.write('something\n') # a daemon whose work goes well logs next to nothing
        if is_watching and '--record' in line:
            break
        time.sleep(0.05)
    else:
        process.kill()
    process.send_signal(signal.SIGINT)
    return process.wait()


def check(place: Place, example: str, uuids: dict[str, str]) -> str:
    """What is wrong with it; empty when nothing is."""
    line = example.replace('/media/', f'{place.home}/media/').replace('/tmp/trial', f'{place.home}/trial')
    line = line.replace('/usr/bin/', f'{place.home}/programs/').replace('8080', str(free_port()))
    for named, meant in (('7F3D0A52', 'beach.jpg'), ('81AA03C4', 'dunes.jpg')):
        line = line.replace('7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10', uuids[meant]).replace(named, uuids[meant])
    line = line.replace('--since 120', '--since 1').replace('--idle-seconds 600', '--idle-seconds 1')
    if line == 'wickerlane moments show 12':
        line = f"wickerlane moments show {json.loads(place.command('moments', '--json'))[0]['objectID']}"
    if example in ASKING:
        line += ' --yes'
    code = run_endless(place, line) if example in ENDLESS else place.start(line).wait()
    if code == (130 if example in ENDLESS else 0):
        return ''
    return f'{example}\n    as: {line}\n    exit code {code}: {place.errors()}'


def pages() -> Iterator[tuple[str, list[str]]]:
    """With their examples."""
    for name, text in [('', help_of(COMMAND, [])), *helps(COMMAND)]:
        yield name, examples(text)
    for page in sorted(MANUALS.glob('*.scd')):
        if page.name != 'libwickerlane.3.scd': # which is tried where the library is installed
            yield page.name, written_examples(page.read_text(encoding='utf-8'))
    yield 'commands', [line for page in sorted(MANUALS.glob('commands/*.scd'))
                       for line in written_examples(page.read_text(encoding='utf-8'))]


def main() -> None:
    faults: list[str] = []
    seen: set[str] = set()
    with tempfile.TemporaryDirectory() as folder:
        top = pathlib.Path(folder)
        uuids = make(top / 'made')
        for name, lines in pages():
            if not lines:
                faults.append(f'{name} has no example')
                continue
            home = top / (name or 'wickerlane')
            shutil.copytree(top / 'made', home, symlinks=True)
            shutil.rmtree(home / 'root/services')
            shutil.rmtree(home / 'copies')
            place = Place(home)
            try:
                if place.start(BEFORE.get(name, 'true')).wait() != 0:
                    sys.exit(f'{name} can not be prepared: {place.errors()}')
                for line in lines:
                    seen.add(line)
                    if line not in UNTRIED and (fault := check(place, line, uuids)):
                        faults.append(fault)
            finally:
                place.end()
            shutil.rmtree(home)
    faults += [f'there is no such example: {line}' for line in sorted((ENDLESS | ASKING | UNTRIED) - seen)]
    assert len(seen) > 50, len(seen)
    print(f'{len(seen)} examples')
    sys.exit('\n'.join(faults) or 0)


main()
