"""What the tests run in other processes. It is imported there, so it makes no library of its own."""

import wickerlane


def count_and_read(uuid: str) -> tuple[int, bytes]:
    """How many assets there are, and the original of one."""
    with wickerlane.Library() as library:
        return library.count(), bytes(library.asset(uuid).original())
