"""Loading the library runs nothing of its own: no static constructor, no destructor at exit, and nothing that is
made later registers one."""

import re
import subprocess
import sys

sections = subprocess.run(['readelf', '-SW', sys.argv[1]], stdout=subprocess.PIPE, text=True, check=True).stdout
for name in ['.init_array', '.fini_array']:
    section = re.search(rf' {re.escape(name)}\s+\S+\s+\S+\s+\S+\s+(\S+)', sections)
    entries = int(section[1], 16) // 8 if section else 0
    # The compiler's own start-up file contributes one entry to each.
    assert entries == 1, f'{name} has {entries} entries: something static is constructed or destroyed'

needed = subprocess.run(['nm', '-D', '--undefined-only', sys.argv[1]], stdout=subprocess.PIPE, text=True,
                        check=True).stdout
for name in ['__cxa_atexit', '__cxa_thread_atexit', 'atexit', 'on_exit']:
    assert not re.search(rf'\b{name}\b', needed), f'the library calls {name}: something is destroyed at exit'
