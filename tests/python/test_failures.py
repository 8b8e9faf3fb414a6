"""What is raised when something fails, and what processes and threads may do."""

import concurrent.futures
import datetime
import math
import multiprocessing
import os
import pathlib
import pickle
import subprocess
import sys
from collections.abc import Callable

import pytest
import wickerlane
from children import count_and_read
from conftest import end_daemon, stopped_daemon
from pictures import png

Save = Callable[..., wickerlane.Asset]


def test_refused_requests(library: wickerlane.Library, save: Save, tmp_path: pathlib.Path) -> None:
    asset = save(png(200))
    (tmp_path / 'text').write_text('no picture', encoding='utf-8')
    cases: list[tuple[Callable[[], object], type[Exception]]] = [
        (lambda: library.save(b''), wickerlane.Empty),
        (lambda: library.save(tmp_path / 'missing.png'), wickerlane.NotFound),
        (lambda: library.save(tmp_path / 'text'), wickerlane.Invalid),
        (lambda: library.save(''), ValueError),
        (lambda: library.save('a\0b'), ValueError),
        (lambda: library.save('\udcff'), ValueError),
        (lambda: library.save(3), TypeError), # type: ignore[arg-type]
        (lambda: library.asset('00000000-0000-0000-0000-000000000000'), wickerlane.NotFound),
        (lambda: library.make_album(''), wickerlane.Invalid),
        (lambda: asset.set(rating=6), wickerlane.Invalid),
        (lambda: asset.set(caption='x' * 5000), wickerlane.Invalid),
        (lambda: asset.set(colour='red'), TypeError), # type: ignore[call-arg]
        (lambda: library.set([], favourite=True), wickerlane.Invalid),
        (lambda: list(library.assets(page_size=0)), wickerlane.Invalid),
        (lambda: list(library.assets(page_size=10001)), wickerlane.Invalid),
        (lambda: library.count(near=(math.nan, 0, 5)), wickerlane.Invalid),
        (lambda: library.assets(kind='sound'), ValueError), # type: ignore[arg-type]
        (lambda: library.assets(colour='red'), TypeError), # type: ignore[call-arg]
        (lambda: library.assets(fields=['colour']), ValueError),
        (lambda: library.assets(since=datetime.datetime.now(datetime.UTC)), ValueError),
        (lambda: asset.set(rating=2**64 + 3), ValueError),
        (lambda: library.assets(rating=2**64 + 3), ValueError),
        (lambda: library.assets(sizes=(-1, None)), ValueError),
        (lambda: library.assets(page_size=2**64 + 1), ValueError),
        (lambda: library.assets(favourite='x'), TypeError), # type: ignore[arg-type]
        (lambda: library.assets(newest_first=1), TypeError), # type: ignore[arg-type]
        (lambda: library.assets(name=7), TypeError), # type: ignore[arg-type]
        (lambda: library.assets(near=(1, 2)), TypeError), # type: ignore[typeddict-item]
        (lambda: library.assets(box=(1, 2, 3, '4')), TypeError), # type: ignore[typeddict-item]
        (lambda: library.assets(since='yesterday'), TypeError), # type: ignore[arg-type]
        (lambda: library.assets(rating='x'), TypeError), # type: ignore[arg-type]
        (lambda: library.assets(sizes=5), TypeError), # type: ignore[arg-type]
        (lambda: library.assets(order='colour'), ValueError), # type: ignore[arg-type]
        (lambda: library.sections('year'), ValueError), # type: ignore[arg-type]
        (lambda: library.moments(page_size=-1), ValueError),
        (lambda: asset.picture('huge'), ValueError), # type: ignore[arg-type]
        (lambda: wickerlane.Library(time_limit=0), ValueError),
    ]
    for number, (refused, kind) in enumerate(cases):
        try:
            raised: object = refused()
        except Exception as error:
            raised = error
        assert isinstance(raised, kind) and str(raised), (number, raised)
        assert 'ctypes' not in str(raised) and 'tuple.index' not in str(raised), (number, raised)
        assert not isinstance(raised, wickerlane.WickerlaneError) or type(raised) is kind, (number, raised)
    assert library.count() == 1


def test_errors_travel_between_processes() -> None:
    error = pickle.loads(pickle.dumps(wickerlane.TimedOut('late')))
    assert type(error) is wickerlane.TimedOut and isinstance(error, TimeoutError)
    assert (error.code, str(error)) == (14, 'late')


def test_a_closed_library_asks_nothing_more(save: Save, library: wickerlane.Library) -> None:
    asset, assets = save(png(201), name='a.png'), library.assets()
    library.close()
    for refused in (library.albums, assets.count, lambda: list(assets), asset.original, asset.delete):
        with pytest.raises(ValueError, match='closed'):
            refused()
    assert asset.original_filename == 'a.png'


def test_a_stopped_daemon_costs_the_time_limit(library: wickerlane.Library) -> None:
    library.save(png(202))
    with wickerlane.Library(time_limit=0.2) as hasty:
        asset, = hasty.assets()
        with stopped_daemon():
            for late in (hasty.albums, asset.original, asset.open, hasty.count, hasty.assets().count):
                with pytest.raises(wickerlane.TimedOut):
                    late()
    assert library.albums() == [] and library.count() == 1


def test_without_a_daemon(tmp_path: pathlib.Path) -> None:
    """In a process of its own, which keeps the connection that failed."""
    program = """
import wickerlane
try:
    wickerlane.Library().count()
except wickerlane.WickerlaneError as error:
    print(type(error).__name__, error.code)
"""
    done = subprocess.run([sys.executable, '-c', program], stdout=subprocess.PIPE, text=True, check=True,
                          env={**os.environ, 'WICKERLANE_ROOT': str(tmp_path), 'WICKERLANE_SERVICES': str(tmp_path)})
    assert done.stdout == 'Unreachable 11\n'


def test_the_interpreter_ends_well_right_after_an_answer(library: wickerlane.Library) -> None:
    for _ in range(10):
        program = 'import wickerlane; print(wickerlane.Library().count())'
        done = subprocess.run([sys.executable, '-c', program], stdout=subprocess.PIPE, text=True, check=True)
        assert done.stdout == '0\n'


def test_a_daemon_that_has_ended_is_started_again(library: wickerlane.Library) -> None:
    library.save(png(207))
    end_daemon()
    assert library.count() == 1


@pytest.mark.parametrize('method', ['spawn', 'forkserver'])
def test_new_processes_use_the_library(method: str, library: wickerlane.Library, save: Save) -> None:
    uuid = save(png(203)).uuid
    with concurrent.futures.ProcessPoolExecutor(2, mp_context=multiprocessing.get_context(method)) as pool:
        assert list(pool.map(count_and_read, [uuid] * 4)) == [(1, png(203))] * 4


def test_forked_processes_get_the_error_that_says_so(library: wickerlane.Library, save: Save) -> None:
    asset = save(png(204))
    context = multiprocessing.get_context('fork')
    with concurrent.futures.ProcessPoolExecutor(2, mp_context=context) as pool:
        futures = [pool.submit(count_and_read, asset.uuid) for _ in range(8)]
        for _ in range(20):
            assert asset.original() == png(204)
        for future in futures:
            with pytest.raises(wickerlane.ForkedProcess, match='spawn'):
                future.result(60)
    assert library.count() == 1


def test_threads_share_a_library(library: wickerlane.Library, save: Save) -> None:
    asset = save(png(205), name='a.png')

    def use(number: int) -> int:
        if number % 3 == 0: # each thread has its own last error
            with pytest.raises(wickerlane.NotFound):
                library.album(f'album {number}')
        assert asset.original() == png(205)
        assert (library.count(), library.count(kind='photo'), library.count(kind='video')) == (1, 1, 0)
        return sum(each.original_filename == 'a.png' for each in library.assets())

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        assert list(pool.map(use, range(200))) == [1] * 200


def test_descriptors_are_closed(save: Save) -> None:
    asset = save(png(206))
    asset.open().close()
    before = len(os.listdir('/proc/self/fd'))
    for _ in range(50):
        with asset.open() as file:
            assert not os.get_inheritable(file.fileno())
    assert len(os.listdir('/proc/self/fd')) == before
