"""The file of hoardd is replaced while it serves: it ends when it has done what was asked, and its successor goes on.

    test_upgrade.py HOARDD COMMAND LIBRARY PICTURE
"""

import os
import pathlib
import shutil
import signal
import sys

from root import Root, wait_for_end
from writer import replaced_while_a_client_writes, with_a_library

HOARDD, COMMAND, LIBRARY, PICTURE = map(pathlib.Path, sys.argv[1:])


def hoardd_is_replaced(root: Root) -> None:
    """As a package manager does it: the file is replaced, and nothing tells the process. Beside the writer, a client
    waits for changes, so that there is always a connection."""
    folder = root.folder / 'bin'
    folder.mkdir()
    for program in 'hoardd', 'hoardd-media':
        shutil.copy2(HOARDD.parent / program, folder)
    root.served_by(folder / 'hoardd')
    root.ask(COMMAND, 'count')
    following = root.start(COMMAND, 'changes', '--follow', '--json')
    try:
        with root.daemon() as first:
            def replace() -> None:
                shutil.copy2(HOARDD, folder / 'next')
                os.replace(folder / 'next', folder / 'hoardd')
                wait_for_end(first)

            replaced_while_a_client_writes(root, COMMAND, PICTURE, replace)
        assert 'was replaced' in root.log()
        assert os.path.samefile(f'/proc/{root.process()}/exe', folder / 'hoardd')
        assert following.poll() is None, 'what waits for changes goes on'
    finally:
        following.send_signal(signal.SIGINT)
        following.wait()


with_a_library(HOARDD, LIBRARY, hoardd_is_replaced)
