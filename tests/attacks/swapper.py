"""Swaps two names for each other as fast as it can, until it is ended: swapper.py ONE OTHER."""
import ctypes
import os
import sys

AT_FDCWD = -100
RENAME_EXCHANGE = 2

libc = ctypes.CDLL(None)
one, other = (os.fsencode(path) for path in sys.argv[1:3])
while True:
    libc.renameat2(AT_FDCWD, one, AT_FDCWD, other, RENAME_EXCHANGE)
