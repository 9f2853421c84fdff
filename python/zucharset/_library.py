"""The shared library libzutext as it is: its structures, constants and functions, and which build of it is loaded.

The declarations follow zutext.h line by line; a test compares them with what a C compiler makes of the header.
"""

from __future__ import annotations

import ctypes
import platform
from ctypes import POINTER, c_char, c_char_p, c_int, c_int32, c_size_t, c_ssize_t, c_uint8, c_uint32, c_uint64, c_void_p
from pathlib import Path
from types import TracebackType
from typing import Any

OK = 0
ERROR_ARGUMENT = -1
ERROR_MEMORY = -2
ERROR_CANCELLED = -3
ERROR_REFUSED = -4
ERROR_NOT_TEXT = -5
ERROR_UNSUPPORTED = -6
ERROR_NAME = -7

CONVERTIBLE = 1

PLAIN = 1
MARK_OPEN = 2
ADD_MARK = 4
STRIP_MARK = 8
JUDGE_ONLY = 32

MOST_READINGS = 12
LOSS_KINDS = 7
MOST_PLACES = 21


class Encoding(ctypes.Structure):
    _fields_ = [
        ("id", c_int32),
        ("traits", c_uint32),
        ("name", c_char_p),
        ("aliases", c_char_p),
        ("description", c_char_p),
        ("iconv_name", c_char_p),
        ("web_name", c_char_p),
        ("caveat", c_char_p),
    ]


class Options(ctypes.Structure):
    _fields_ = [("from_", c_int32), ("flags", c_uint32), ("sample", c_uint32), ("prefer", c_char_p)]


class Reading(ctypes.Structure):
    _fields_ = [("encoding", c_int32), ("cost", c_int32), ("language", c_char_p)]


class Verdict(ctypes.Structure):
    _fields_ = [
        ("kind", c_int32),
        ("encoding", c_int32),
        ("decided_by", c_int32),
        ("sure", c_int32),
        ("margin", c_int32),
        ("library_code_type", c_int32),
        ("hint", c_int32),
        ("whole", c_int32),
        ("sample_offset", c_uint64),
        ("sample_length", c_uint64),
        ("language", c_char_p),
        ("what", c_char_p),
        ("reading_count", c_int32),
        ("reserved", c_int32),
        ("readings", Reading * MOST_READINGS),
    ]


class Place(ctypes.Structure):
    _fields_ = [("offset", c_uint64), ("kind", c_int32), ("length", c_uint32), ("bytes", c_uint8 * 8)]


class Account(ctypes.Structure):
    _fields_ = [
        ("input_bytes", c_uint64),
        ("output_bytes", c_uint64),
        ("losses", c_uint64 * LOSS_KINDS),
        ("complete", c_int32),
        ("changed", c_int32),
        ("well_formed", c_int32),
        ("text_lost", c_int32),
        ("wrong_byte_order", c_int32),
        ("place_count", c_uint32),
        ("places", Place * MOST_PLACES),
    ]


class Output(ctypes.Structure):
    _fields_ = [("bytes", c_void_p), ("length", c_size_t)]


class Text(ctypes.Structure):
    _fields_ = [("bytes", c_void_p), ("length", c_size_t), ("verdict", Verdict), ("account", Account)]


# ---- Bytes that change hands without a copy ----


class _BufferView(ctypes.Structure):
    """Py_buffer of Python's C interface."""

    _fields_ = [
        ("buf", c_void_p),
        ("obj", c_void_p),
        ("len", c_ssize_t),
        ("itemsize", c_ssize_t),
        ("readonly", c_int),
        ("ndim", c_int),
        ("format", c_char_p),
        ("shape", c_void_p),
        ("strides", c_void_p),
        ("suboffsets", c_void_p),
        ("internal", c_void_p),
    ]


_get_buffer = ctypes.pythonapi.PyObject_GetBuffer
_get_buffer.argtypes = [ctypes.py_object, POINTER(_BufferView), c_int]
_release_buffer = ctypes.pythonapi.PyBuffer_Release
_release_buffer.argtypes = [POINTER(_BufferView)]
_release_buffer.restype = None
_memory_view = ctypes.pythonapi.PyMemoryView_FromMemory
_memory_view.argtypes = [c_void_p, c_ssize_t, c_int]
_memory_view.restype = ctypes.py_object
_SIMPLE = 0
_READ = 0x100


class Borrowed:
    """The bytes of an object with a buffer, lent to C: the object cannot change its size meanwhile.

    ctypes.Array.from_buffer() would do if it took read-only objects such as bytes.
    """

    def __init__(self, data: object) -> None:
        if isinstance(data, str):
            raise TypeError("this is text already, a str; give the bytes it came from, as open(path, 'rb').read()")
        self._data = data
        self._view = _BufferView()

    def __enter__(self) -> _BufferView:
        _get_buffer(self._data, ctypes.byref(self._view), _SIMPLE)
        return self._view

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        _release_buffer(ctypes.byref(self._view))


def view_of(address: int | None, length: int) -> memoryview:
    """Memory of the library's, to be copied from before it is released."""
    if not length:
        return memoryview(b"")
    view: memoryview = _memory_view(address, length, _READ)
    return view


# ---- The library ----

# What x86-64-v3 adds to the architecture, as Linux names it. AVX among the flags says that the system saves its
# registers.
_X86_64_V3 = frozenset(
    "cx16 lahf_lm popcnt pni ssse3 sse4_1 sse4_2 avx avx2 bmi1 bmi2 f16c fma abm movbe".split()
)


def _processor_flags() -> set[str]:
    try:
        with open("/proc/cpuinfo", encoding="ascii", errors="replace") as file:
            for line in file:
                if line.startswith("flags"):
                    return set(line.partition(":")[2].split())
    except OSError:
        pass
    return set()


def builds_for_this_processor() -> list[str]:
    """The folders that may hold a build for this processor, the fastest first."""
    faster = platform.machine() in ("x86_64", "AMD64") and _X86_64_V3 <= _processor_flags()
    return ["x86-64-v3", "base"] if faster else ["base"]


def _load() -> ctypes.CDLL:
    # A wheel brings the library; Debian's package uses the system's, of which the loader picks the build.
    folder = Path(__file__).with_name("lib")
    for build in builds_for_this_processor():
        path = folder / build / "libzutext.so"
        if path.is_file():
            return ctypes.CDLL(str(path))
    try:
        return ctypes.CDLL("libzutext.so")
    except OSError as error:
        raise ImportError(
            f"zucharset needs its shared library: {error}; install the wheel that was made for this machine "
            f"({platform.machine()}), or the Debian package libzutext1"
        ) from error


# Calls through CDLL let other Python threads run meanwhile.
_library = _load()
location = str(_library._name)


def _function(name: str, result: Any, *arguments: Any) -> Any:
    function = getattr(_library, "zutext_" + name)
    function.restype = result
    function.argtypes = list(arguments)
    return function


error_text = _function("error_text", c_char_p, c_int32)
prepare = _function("prepare", None)
encodings = _function("encodings", POINTER(Encoding), POINTER(c_size_t))
encoding_of = _function("encoding_of", POINTER(Encoding), c_int32)
find_encoding = _function("find_encoding", POINTER(Encoding), c_char_p, c_size_t, POINTER(c_int32))
near_names = _function("near_names", None, c_char_p, c_size_t, c_int32, POINTER(c_char), c_size_t)
language_name = _function("language_name", c_char_p, c_char_p)
detect = _function("detect", c_int32, c_void_p, c_size_t, POINTER(Options), POINTER(Verdict))
# The name open is Python's.
open_stream = _function("open", c_int32, POINTER(Options), POINTER(c_void_p))
write = _function("write", c_int32, c_void_p, c_void_p, c_size_t, POINTER(Output))
finish = _function("finish", c_int32, c_void_p, POINTER(Output))
verdict_of = _function("verdict_of", POINTER(Verdict), c_void_p)
account_of = _function("account_of", POINTER(Account), c_void_p)
cancel = _function("cancel", None, c_void_p)
close = _function("close", None, c_void_p)
convert = _function("convert", c_int32, c_void_p, c_size_t, POINTER(Options), POINTER(Text))
release = _function("release", None, POINTER(Text))

# The import lock makes this the one thread that a first call asks for.
prepare()
