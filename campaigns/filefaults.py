"""Lets file operations of a hoardd fail that was started with these variables."""

import mmap
import struct


class Faults:
    """What FileFaults.cpp reads and writes."""

    def __init__(self, library):
        path = library.root / 'faults'
        path.write_bytes(bytes(5 * 8 + 256))
        self.file = open(path, 'r+b')
        self.memory = mmap.mmap(self.file.fileno(), 0)
        self.variables = {'LD_PRELOAD': str(library.build / 'campaigns/libcampaign_file_faults.so'),
                          'WICKERLANE_FAULTS_BELOW': str(library.media) + '/', 'WICKERLANE_FAULTS_CONTROL': str(path)}

    def arm(self, number, error=0, for_good=False):
        self.memory[24:296] = bytes(272)
        self.memory[8:24] = struct.pack('qq', for_good, error)
        self.memory[:8] = struct.pack('q', number)

    def disarm(self):
        self.memory[:8] = struct.pack('q', 0)

    def counts(self):
        """Operations, and those that failed."""
        return struct.unpack('qq', self.memory[24:40])

    def first(self):
        return bytes(self.memory[40:296]).split(b'\0')[0].decode(errors='replace')

    def close(self):
        self.memory.close()
        self.file.close()
