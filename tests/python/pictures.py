"""Pictures that the tests make."""

import pathlib
import random
import struct
import subprocess
import zlib


def _chunk(kind: bytes, contents: bytes) -> bytes:
    return struct.pack('>I', len(contents)) + kind + contents + struct.pack('>I', zlib.crc32(kind + contents))


def noise(width: int, height: int) -> bytes:
    """A picture that can't be compressed."""
    return png(width=width, height=height, rows=random.Random(1).randbytes(height * width * 3))


def png(shade: int = 0, width: int = 40, height: int = 30, exif: bytes = b'', rows: bytes = b'') -> bytes:
    """A picture of one colour, of which there are 2**24, or with these pixels."""
    rows = rows or shade.to_bytes(3, 'big') * width * height
    lines = b''.join(b'\0' + rows[at:at + 3 * width] for at in range(0, len(rows), 3 * width))
    return (b'\x89PNG\r\n\x1a\n' + _chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 2, 0, 0, 0)) +
            (_chunk(b'eXIf', exif) if exif else b'') + _chunk(b'IDAT', zlib.compress(lines)) +
            _chunk(b'IEND', b''))


def exif(maker: str, model: str, latitude: int, longitude: int) -> bytes:
    """Metadata of a camera, at a place in whole degrees north and east."""
    texts = [text.encode() + b'\0' for text in (maker, model)]
    # The directory of three entries begins at 8, that of the place behind it; what they point to follows.
    places = 8 + 2 + 3 * 12 + 4
    heap = places + 2 + 4 * 12 + 4
    contents = b''

    def put(value: bytes) -> int:
        nonlocal contents
        at = heap + len(contents)
        contents += value + b'\0' * (len(value) % 2)
        return at

    def entry(tag: int, kind: int, count: int, value: int | bytes) -> bytes:
        return struct.pack('>HHI', tag, kind, count) + (value if isinstance(value, bytes) else struct.pack('>I', value))

    def degrees(number: int) -> int:
        return put(struct.pack('>6I', number, 1, 0, 1, 0, 1))

    first = [entry(0x10F, 2, len(texts[0]), put(texts[0])), entry(0x110, 2, len(texts[1]), put(texts[1])),
             entry(0x8825, 4, 1, places)]
    place = [entry(1, 2, 2, b'N\0\0\0'), entry(2, 5, 3, degrees(latitude)), entry(3, 2, 2, b'E\0\0\0'),
             entry(4, 5, 3, degrees(longitude))]
    return (b'MM\0*' + struct.pack('>I', 8) + struct.pack('>H', 3) + b''.join(first) + b'\0' * 4 +
            struct.pack('>H', 4) + b''.join(place) + b'\0' * 4 + contents)


def dated(jpeg: bytes, date: str) -> bytes:
    """A JPEG file with the date '2021:06:15 10:20:30' of its shot in it."""
    text = date.encode() + b'\0'
    directory = struct.pack('>HHHIIIHHHIII', 1, 0x8769, 4, 1, 26, 0, 1, 0x9003, 2, len(text), 44, 0)
    metadata = b'Exif\0\0MM\0*' + struct.pack('>I', 8) + directory + text
    return jpeg[:2] + b'\xff\xe1' + struct.pack('>H', len(metadata) + 2) + metadata + jpeg[2:]


def clip(path: pathlib.Path, date: str) -> None:
    """A video of two seconds, 160 by 120 pixels, that was taken at an instant."""
    source = ['-f', 'lavfi', '-i', 'color=red:size=160x120:rate=10:duration=2']
    subprocess.run(['ffmpeg', '-nostdin', '-v', 'error', *source, '-pix_fmt', 'yuv420p',
                    '-metadata', f'creation_time={date}', path], check=True)
