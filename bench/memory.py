"""Memory that costs what it costs on a machine of one's own.

A virtual machine may hand what is free back to its host, in blocks of 2 MiB, within seconds, and
then waits for the host at the first touch of each page: a run that takes fresh memory for the files
it writes was seen to take four times its time, whoever it was.
"""

import ctypes
import mmap

BLOCK = 2 << 20
PAGE = mmap.PAGESIZE


def available():
    with open("/proc/meminfo", encoding="ascii") as file:
        return next(int(line.split()[1]) << 10 for line in file if line.startswith("MemAvailable"))


def hold(size=4 << 30):
    """Touches memory and gives all of it back but a page of each block, so that what is free stays
    with this machine in parts too small to be handed on. Lasts as long as what it returns."""
    size = min(size, available() // 3) + BLOCK
    held = mmap.mmap(-1, size, flags=mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS)
    start = -ctypes.addressof(ctypes.c_char.from_buffer(held)) % BLOCK
    for at in range(start, size, PAGE):
        held[at] = 1
    for at in range(start, size - BLOCK + 1, BLOCK):
        held.madvise(mmap.MADV_DONTNEED, at + PAGE, BLOCK - PAGE)
    return held
