"""The two files of one shot, as small as they can be: a picture that carries a preview, and a raw file."""

import struct

TAKEN = b'2021:06:15 10:20:30\0'


def jpeg(number, side=16, extra=b''):
    """A grey picture that no other number has."""
    blocks = ((side + 7) // 8) ** 2
    pixels = bytes((blocks * 2 + 7) // 8)  # two bits a block: no difference, no more coefficients

    def segment(marker, contents):
        return struct.pack('>BBH', 0xff, marker, len(contents) + 2) + contents
    one_code = bytes([1] + [0] * 15 + [0])  # of one bit, for 0
    return (b'\xff\xd8' + extra + segment(0xfe, b'number %d' % number) + segment(0xdb, bytes([0] + [16] * 64)) +
            segment(0xc0, struct.pack('>BHHBBBB', 8, side, side, 1, 1, 0x11, 0)) + segment(0xc4, b'\x00' + one_code) +
            segment(0xc4, b'\x10' + one_code) + segment(0xda, bytes([1, 1, 0, 0, 63, 0])) + pixels + b'\xff\xd9')


def directory(at, entries, following=0):
    """A directory of a TIFF file that begins at `at`: (tag, type, values) in order."""
    sizes = {1: 'B', 2: 's', 3: 'H', 4: 'I'}
    packed, behind = b'', b''
    for tag, kind, values in entries:
        given = values if kind == 2 else struct.pack(f'<{len(values)}{sizes[kind]}', *values)
        if len(given) > 4:
            place = struct.pack('<I', at + 2 + 12 * len(entries) + 4 + len(behind))
            behind += given + bytes(len(given) % 2)
        else:
            place = given.ljust(4, b'\0')
        packed += struct.pack('<HHI', tag, kind, len(values)) + place
    return struct.pack('<H', len(entries)) + packed + struct.pack('<I', following) + behind


def picture(number):
    """A JPEG with a date and a preview."""
    preview = jpeg(number, 160)
    header = b'II*\0' + struct.pack('<I', 8)
    date_at = 8 + len(directory(8, [(0x8769, 4, [0])]))
    date = directory(date_at, [(0x9003, 2, TAKEN)])
    preview_at = date_at + len(date)
    made = directory(preview_at, [(0x0103, 3, [6]), (0x0201, 4, [0]), (0x0202, 4, [0])])
    preview_entry = directory(preview_at, [(0x0103, 3, [6]), (0x0201, 4, [preview_at + len(made)]),
                                           (0x0202, 4, [len(preview)])])
    exif = b'Exif\0\0' + header + directory(8, [(0x8769, 4, [date_at])], preview_at) + date + preview_entry + preview
    return jpeg(number, 320, struct.pack('>HH', 0xffe1, len(exif) + 2) + exif)


def raw(number):
    """A raw file of the same moment."""
    side = 16
    pixels = struct.pack('<I', number) * (side * side // 4)

    def entries(date_at, pixels_at):
        return [(0x00fe, 4, [0]), (0x0100, 4, [side]), (0x0101, 4, [side]), (0x0102, 3, [8]), (0x0103, 3, [1]),
                (0x0106, 3, [32803]), (0x0111, 4, [pixels_at]), (0x0115, 3, [1]), (0x0116, 4, [side]),
                (0x0117, 4, [len(pixels)]), (0x8769, 4, [date_at]), (0xc612, 1, [1, 4, 0, 0])]
    date_at = 8 + len(directory(8, entries(0, 0)))
    date = directory(date_at, [(0x9003, 2, TAKEN)])
    return b'II*\0' + struct.pack('<I', 8) + directory(8, entries(date_at, date_at + len(date))) + date + pixels
