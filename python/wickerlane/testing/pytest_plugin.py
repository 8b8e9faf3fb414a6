"""For pytest: `pytest_plugins = ['wickerlane.testing.pytest_plugin']` in a conftest.py gives the fixture."""

from collections.abc import Iterator

import pytest

from . import ScriptedDaemon


@pytest.fixture
def scripted_daemon() -> Iterator[ScriptedDaemon]:
    """A scripted daemon of the test's own."""
    with ScriptedDaemon() as daemon:
        yield daemon
