"""A library of 200 photos and a video, and a browser that shows it."""

import os
import pathlib
from collections.abc import Iterator

import pytest

pytest.importorskip('selenium', reason='python3-selenium is missing: run scripts/setup test')

from browser import CHROMIUM, DRIVER, Browser  # noqa: E402
from pictures import Photos  # noqa: E402
from served import ServedLibrary  # noqa: E402

COUNT = 200


def pytest_collection_modifyitems(items: list[pytest.Item]) -> None:
    if CHROMIUM is None or DRIVER is None:
        missing = pytest.mark.skip(reason='chromium or its driver is missing: run scripts/setup test')
        for item in items:
            item.add_marker(missing)


@pytest.fixture(scope='session')
def photos(tmp_path_factory: pytest.TempPathFactory) -> Photos:
    return Photos(tmp_path_factory.mktemp('photos'))


@pytest.fixture(scope='session')
def library(tmp_path_factory: pytest.TempPathFactory, photos: Photos) -> Iterator[ServedLibrary]:
    """The newest photos are of November 2025; eight years have 25 photos each, on eleven days."""
    served = ServedLibrary(tmp_path_factory.mktemp('library'))
    files = []
    for number in range(COUNT):
        year, rest = divmod(number, 25)
        month, of_month = divmod(rest, 2)
        date = f'{2018 + year}:{min(month + 1, 11):02}:{10 + of_month // 2:02} 12:{number % 60:02}:00'
        files.append(photos.photo(f'IMG_{number:04}.JPG', date))
    files.append(photos.clip('MOV_0001.MP4', '2024-06-20T10:00:00Z'))
    served.command('import', '-q', *files)
    yield served
    served.end_daemon()


@pytest.fixture
def address(library: ServedLibrary) -> Iterator[str]:
    with library.view() as printed:
        yield printed


@pytest.fixture
def browser(tmp_path: pathlib.Path) -> Iterator[Browser]:
    opened = Browser(tmp_path / 'profile')
    yield opened
    try:
        faults = opened.faults()
    finally:
        opened.end()
    assert faults == []


@pytest.fixture
def page(browser: Browser, address: str) -> Browser:
    """A browser that shows the timeline."""
    browser.driver.get(address)
    browser.wait_for_grid()
    return browser


@pytest.fixture(scope='session')
def axe() -> str:
    """The source of the checker of pages for assistive technology."""
    cache = pathlib.Path(os.environ.get('XDG_CACHE_HOME') or pathlib.Path.home() / '.cache')
    path = cache / 'wickerlane/axe-core-4.10.3.min.js'
    if not path.exists():
        why = f'{path} is missing: run scripts/setup test where npm reaches its registry'
        assert 'CI' not in os.environ, why
        pytest.skip(why)
    return path.read_text(encoding='utf-8')


@pytest.fixture(scope='session')
def screenshots(tmp_path_factory: pytest.TempPathFactory) -> pathlib.Path:
    folder = os.environ.get('WICKERLANE_SCREENSHOTS')
    if folder is None:
        return tmp_path_factory.mktemp('screenshots')
    pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
    return pathlib.Path(folder)
