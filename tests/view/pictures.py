"""Photos and videos that the tests make."""

import pathlib
import struct
import subprocess

SIZES = ((640, 480), (480, 640), (800, 450), (500, 500))
# Of the sky, of where it meets the hills, and of the nearest of these.
PALETTES = (
    ('FFD9A0', 'F2825B', '5B3A5E'), ('BFE3F2', '7FB7D6', '2F5D62'), ('FBE7C6', 'F4B183', '7A4E3A'),
    ('CFE8D5', '86B89B', '27514A'), ('E9D8F4', 'A98BC9', '3B2E5A'), ('FDE2E4', 'F59CA9', '4A2C40'),
    ('D6ECFA', '8FA9CF', '1F3554'), ('FFF1C9', 'E9B44C', '4F4A2A'), ('D8F3DC', '95D5B2', '1B4332'),
    ('FFE5D9', 'F4978E', '6D3B47'), ('E3F2FD', '64A6BD', '22333B'), ('F8F0E3', 'C9ADA7', '22223B'))


def _landscape(number: int) -> str:
    """A sky with a sun above four rows of hills, as a source of ffmpeg."""
    sun_x, sun_y = 0.2 + 0.6 * (number * 5 % 9) / 8, 0.25 + 0.2 * (number * 3 % 5) / 4
    distance = f'hypot(X-W*{sun_x:.3f},Y-H*{sun_y:.3f})/H'
    channels = []
    for channel in range(3):
        sky, horizon, front = (int(colour[2 * channel:2 * channel + 2], 16) for colour in PALETTES[number])
        value = f'lerp({sky},{horizon},Y/H)'
        value = f'lerp(255,{value},clip(({distance}-0.07)*40,0,1)*(1-0.35*exp(-pow({distance}*4,2))))'
        for row in range(4):
            wide, narrow = 2.1 + 0.9 * ((number + row * 2) % 4), 5.3 + 1.7 * ((number * 3 + row) % 3)
            phase = number * 1.7 + row * 2.3
            ridge = (f'H*({0.5 + 0.13 * row:.2f}+{0.09 - 0.012 * row:.3f}*sin(X/W*{wide:.1f}+{phase:.1f})'
                     f'+0.03*sin(X/W*{narrow:.1f}+{2 * phase:.1f}))')
            shade = horizon + (front - horizon) * (row + 1) / 4
            value = f'if(gt(Y,{ridge}),{shade:.0f},{value})'
        channels.append(value)
    width, height = SIZES[number % len(SIZES)]
    red, green, blue = channels
    return (f"color=size={width // 2}x{height // 2},format=rgb24,geq=r='{red}':g='{green}':b='{blue}',"
            f'scale={width}:{height}')


def _segment(kind: int, contents: bytes) -> bytes:
    return struct.pack('>BBH', 0xFF, kind, len(contents) + 2) + contents


def _exif(date: str) -> bytes:
    """The date of the shot, as '2021:06:15 10:20:30'."""
    text = date.encode() + b'\0'
    directory = struct.pack('>HHHIIIHHHIII', 1, 0x8769, 4, 1, 26, 0, 1, 0x9003, 2, len(text), 44, 0)
    return _segment(0xE1, b'Exif\0\0MM\0*' + struct.pack('>I', 8) + directory + text)


class Photos:
    """Gives JPEG files that all differ. They show a few landscapes, one after the other."""

    def __init__(self, folder: pathlib.Path) -> None:
        self.folder = folder
        self.made = 0
        self.templates = []
        for number in range(len(PALETTES)):
            path = folder / f'template-{number}.jpg'
            subprocess.run(['ffmpeg', '-nostdin', '-v', 'error', '-f', 'lavfi', '-i', _landscape(number),
                            '-frames:v', '1', path], check=True)
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
