"""Acts at the very moment at which another process opens a folder: before the kernel lets it."""

import ctypes
import os
import select
import struct
import threading
import unittest

_FAN_CLASS_CONTENT, _FAN_CLOEXEC = 4, 1
_FAN_MARK_ADD, _FAN_OPEN_PERM, _FAN_ONDIR, _FAN_ALLOW = 1, 0x10000, 0x40000000, 1
_EVENT = struct.Struct("=IBBHQii")
_LIBC = ctypes.CDLL(None, use_errno=True)


class Watch:
    """For as long as the `with` block lasts, `act(number)` comes before the folder is opened for the
    first time, the second time and so on. `count` tells how often it was."""

    def __init__(self, folder, act):
        self.folder, self.act, self.count, self.failure = folder, act, 0, None

    def __enter__(self):
        self.queue = _LIBC.fanotify_init(_FAN_CLASS_CONTENT | _FAN_CLOEXEC, os.O_RDONLY)
        events = ctypes.c_uint64(_FAN_OPEN_PERM | _FAN_ONDIR)
        if self.queue < 0 or _LIBC.fanotify_mark(self.queue, _FAN_MARK_ADD, events, -100,
                                                 os.fsencode(self.folder)) != 0:
            raise unittest.SkipTest("this kernel does not say who opens a folder")
        self.stop, self.stopping = os.pipe()
        self.thread = threading.Thread(target=self._serve)
        self.thread.start()
        return self

    def __exit__(self, *_):
        os.close(self.stopping)
        self.thread.join()
        os.close(self.stop)
        os.close(self.queue)
        if self.failure:
            raise self.failure

    def _serve(self):
        while self.stop not in select.select([self.queue, self.stop], [], [])[0]:
            events = os.read(self.queue, 4096)
            for start in range(0, len(events), _EVENT.size):
                descriptor = _EVENT.unpack_from(events, start)[5]
                try:
                    self.count += 1
                    self.act(self.count)
                except BaseException as error:  # whoever opens the folder must not wait for ever
                    self.failure = error
                finally:
                    os.write(self.queue, struct.pack("=iI", descriptor, _FAN_ALLOW))
                    os.close(descriptor)
