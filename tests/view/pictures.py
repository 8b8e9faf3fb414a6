"""Photos and videos that the tests make."""

import pathlib
import struct
import subprocess

SIZES = ((640, 480), (480, 640), (800, 450), (500, 500))


def _segment(kind: int, contents: bytes) -> bytes:
    return struct.pack('>BBH', 0xFF, kind, len(contents) + 2) + contents


def _exif(date: str) -> bytes:
    """The date of the shot, as '2021:06:15 10:20:30'."""
    text = date.encode() + b'\0'
    directory = struct.pack('>HHHIIIHHHIII', 1, 0x8769, 4, 1, 26, 0, 1, 0x9003, 2, len(text), 44, 0)
    return _segment(0xE1, b'Exif\0\0MM\0*' + struct.pack('>I', 8) + directory + text)


class Photos:
    """Gives JPEG files that all differ. They are of a few shapes and colours."""

    def __init__(self, folder: pathlib.Path) -> None:
        self.folder = folder
        self.made = 0
        self.templates = []
        for index, (width, height) in enumerate(SIZES):
            colours = ':'.join(f'c{each}=0x{(0x2A6F97 * (index * 3 + each + 1)) & 0xFFFFFF:06X}' for each in range(4))
            source = f'gradients=size={width}x{height}:nb_colors=4:seed={index + 1}:{colours}'
            # A mere gradient has nothing by which its duplicates could be found.
            for box in range(6):
                left, top = (index * 5 + box * 7) % 11 / 12, (box * 5 + index) % 7 / 8
                source += (f',drawbox=x=iw*{left:.3f}:y=ih*{top:.3f}:w=iw*{0.08 + 0.03 * box:.2f}:'
                           f'h=ih*{0.3 - 0.03 * box:.2f}:color={"black" if box % 2 else "white"}@0.5:t=fill')
            path = folder / f'template-{index}.jpg'
            subprocess.run(['ffmpeg', '-nostdin', '-v', 'error', '-f', 'lavfi', '-i', source, '-frames:v', '1', path],
                           check=True)
            self.templates.append(path.read_bytes())
            path.unlink()

    def photo(self, name: str, date: str) -> pathlib.Path:
        jpeg = self.templates[self.made % len(self.templates)]
        self.made += 1
        comment = _segment(0xFE, f'photo {self.made}'.encode())
        path = self.folder / name
        path.write_bytes(jpeg[:2] + _exif(date) + comment + jpeg[2:])
        return path

    def clip(self, name: str, date: str) -> pathlib.Path:
        """A video of two seconds that browsers play."""
        path = self.folder / name
        source = 'testsrc2=size=320x240:rate=10:duration=2'
        coding = ['-c:v', 'libx264', '-pix_fmt', 'yuv420p', '-movflags', '+faststart']
        subprocess.run(['ffmpeg', '-nostdin', '-v', 'error', '-f', 'lavfi', '-i', source, *coding,
                        '-metadata', f'creation_time={date}', path], check=True)
        return path
