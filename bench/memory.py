"""Keeps a virtual machine from returning free memory to its host during a measurement.

A virtual machine may return free memory to its host within seconds, in blocks of 2 MiB. It then
waits for the host at the first access to each page: runs of any tool that write to new page cache
memory took up to four times as long.
"""

import ctypes
import mmap

BLOCK = 2 << 20
PAGE = mmap.PAGESIZE


def available():
    with open("/proc/meminfo", encoding="ascii") as file:
        return next(int(line.split()[1]) << 10 for line in file if line.startswith("MemAvailable"))


def hold(size=4 << 30):
    """Touches memory and frees all of it except one page of each block, so that the free parts are
    too small to be returned to the host. Holds until the returned map is closed."""
    size = min(size, available() // 3) + BLOCK
    held = mmap.mmap(-1, size, flags=mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS)
    start = -ctypes.addressof(ctypes.c_char.from_buffer(held)) % BLOCK
    for at in range(start, size, PAGE):
        held[at] = 1
    for at in range(start, size - BLOCK + 1, BLOCK):
        held.madvise(mmap.MADV_DONTNEED, at + PAGE, BLOCK - PAGE)
    return held
