"""Shows how many photos and videos the library has, and again at each change: watch.py [CHANGES]

The package is below python/ in the source tree. examples/count.py is the same without it."""

import asyncio
import sys

import wickerlane


async def main() -> None:
    turns_left = int(sys.argv[1]) + 1 if len(sys.argv) > 1 else -1
    with wickerlane.Library(time_limit=60) as library:
        async with library.count_changes() as changes:
            shown = None
            async for counts in changes:
                if counts != shown:
                    print(f'{counts[0]} photos, {counts[1]} videos', flush=True)
                    shown = counts
                    turns_left -= 1
                if turns_left == 0:
                    return


if __name__ == '__main__':
    try:
        asyncio.run(main())
    except wickerlane.WickerlaneError as error:
        sys.exit(str(error))
    except KeyboardInterrupt:
        pass
