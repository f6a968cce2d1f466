"""Finds libkavepub and declares its functions, as kavepub.h has them."""

from __future__ import annotations

import ctypes
import functools
import itertools
import os
from collections.abc import Callable, Iterator

# Where it is no other way to find: a build that is not installed.
_PATH_VARIABLE = "KAVEPUB_LIBRARY"
_NAME = "libkavepub.so.0"

_OK, _CANCELLED, _MEMORY = 0, 1, 10


class Error(Exception):
    """A book or a text that failed; `code` is one of kavepub.h."""

    def __init__(self, code: int, message: str) -> None:
        super().__init__(message)
        self.code = code


class Cancelled(Error):
    """A job that was cancelled."""


class Option(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("values", ctypes.c_char_p),
                ("description", ctypes.c_char_p), ("repeats", ctypes.c_int),
                ("takes_file", ctypes.c_int)]


class Chapter(ctypes.Structure):
    _fields_ = [("title", ctypes.c_char_p), ("level", ctypes.c_uint32), ("line", ctypes.c_uint64)]


class Warning(ctypes.Structure):
    _fields_ = [("message", ctypes.c_char_p), ("place", ctypes.c_char_p)]


WRITE = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t)
PROGRESS = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_double)

_HANDLE, _TEXT, _SIZE, _CODE = ctypes.c_void_p, ctypes.c_char_p, ctypes.c_size_t, ctypes.c_int
_FUNCTIONS: dict[str, tuple[object, list[object]]] = {
    "kavepub_version": (_TEXT, []),
    "kavepub_option_at": (_CODE, [_SIZE, ctypes.POINTER(Option), _SIZE]),
    "kavepub_kind_at": (_TEXT, [_SIZE]),
    "kavepub_job_new": (_HANDLE, []),
    "kavepub_job_free": (None, [_HANDLE]),
    "kavepub_job_add_path": (_CODE, [_HANDLE, _TEXT]),
    "kavepub_job_add_memory": (_CODE, [_HANDLE, _TEXT, _TEXT, _SIZE]),
    "kavepub_job_set_option": (_CODE, [_HANDLE, _TEXT, _TEXT]),
    "kavepub_job_set_option_data": (_CODE, [_HANDLE, _TEXT, _TEXT, _SIZE]),
    "kavepub_job_set_output_path": (_CODE, [_HANDLE, _TEXT]),
    "kavepub_job_set_output_callback": (_CODE, [_HANDLE, WRITE, ctypes.c_void_p]),
    "kavepub_job_set_progress": (_CODE, [_HANDLE, PROGRESS, ctypes.c_void_p]),
    "kavepub_job_run": (_CODE, [_HANDLE]),
    "kavepub_job_examine": (_CODE, [_HANDLE]),
    "kavepub_job_cancel": (None, [_HANDLE]),
    "kavepub_job_error": (_TEXT, [_HANDLE]),
    "kavepub_job_report": (_TEXT, [_HANDLE, _TEXT]),
    "kavepub_job_chapter": (_CODE, [_HANDLE, _SIZE, ctypes.POINTER(Chapter), _SIZE]),
    "kavepub_job_warning": (_CODE, [_HANDLE, _SIZE, ctypes.POINTER(Warning), _SIZE]),
    "kavepub_text_new": (_HANDLE, []),
    "kavepub_text_free": (None, [_HANDLE]),
    "kavepub_text_set_option": (_CODE, [_HANDLE, _TEXT, _TEXT]),
    "kavepub_text_open_path": (_CODE, [_HANDLE, _TEXT]),
    "kavepub_text_open_memory": (_CODE, [_HANDLE, _TEXT, _TEXT, _SIZE]),
    "kavepub_text_read": (_CODE, [_HANDLE, _TEXT, _SIZE, ctypes.POINTER(ctypes.c_size_t)]),
    "kavepub_text_report": (_TEXT, [_HANDLE, _TEXT]),
    "kavepub_text_warning": (_CODE, [_HANDLE, _SIZE, ctypes.POINTER(Warning), _SIZE]),
    "kavepub_text_error": (_TEXT, [_HANDLE]),
}


@functools.cache
def library() -> ctypes.CDLL:
    """The library, loaded when it is first needed."""
    loaded = ctypes.CDLL(os.environ.get(_PATH_VARIABLE, _NAME))
    for name, (result, arguments) in _FUNCTIONS.items():
        function = getattr(loaded, name)
        function.restype, function.argtypes = result, arguments
    return loaded


def text_of(value: bytes) -> str:
    """A text of the library; names of files may hold bytes that are no characters."""
    return value.decode(errors="surrogateescape")


def check(code: int, message: bytes) -> None:
    """Raises what a code stands for."""
    if code == _OK:
        return
    if code == _MEMORY:
        raise MemoryError
    raise (Cancelled if code == _CANCELLED else Error)(code, text_of(message))


def items(kind: type, function: Callable[..., int], *handle: int) -> Iterator[ctypes.Structure]:
    """Each of what a function tells one by one."""
    for index in itertools.count():
        item = kind()
        if not function(*handle, index, ctypes.byref(item), ctypes.sizeof(item)):
            return
        yield item
