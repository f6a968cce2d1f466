"""Makes EPUB 2 books that read like bought ones, with libkavepub.

    import kavepub

    report = kavepub.convert("novel.txt", "novel.epub")
    print(report.title, report.language, len(report.chapters))

    book = kavepub.convert(("novel.txt", text.encode()), author="Jane Austen")   # bytes in, bytes out

Every option of the library is a keyword, with "_" for "-"; `options()` lists them. Different threads
can make different books at the same time: the interpreter is not locked while the library works.
"""

from __future__ import annotations

import ctypes
import itertools
import os
import threading
from collections.abc import Callable, Iterable, Iterator
from dataclasses import dataclass
from typing import BinaryIO, TypeVar, Union, overload

from . import _library
from ._library import check, library, text_of

__all__ = [
    "Cancelled", "Chapter", "Error", "Job", "Option", "Report", "Source", "Text", "Warning",
    "convert", "examine", "kinds", "options", "version",
]

#: A path, or a name ("novel.txt") and the bytes of a file that would have it.
Source = Union[str, "os.PathLike[str]", tuple[str, bytes]]
#: One text, or several for options that can have several ("author", "subject").
Value = Union[str, int, bytes, Iterable[str]]

Error = _library.Error
Cancelled = _library.Cancelled


@dataclass(frozen=True)
class Option:
    """An option that `convert` takes."""

    name: str
    values: str
    description: str
    repeats: bool
    takes_file: bool


@dataclass(frozen=True)
class Chapter:
    """An entry of the contents; `level` 1 is the highest, `line` is None for what has no lines."""

    title: str
    level: int
    line: int | None


@dataclass(frozen=True)
class Warning:
    """Something that the reader of the book may miss. `place` may be empty."""

    message: str
    place: str


@dataclass(frozen=True)
class Report:
    """What was found out about a book. A text is None where nothing is known."""

    kind: str | None
    title: str | None
    authors: tuple[str, ...]
    language: str | None
    encoding: str | None
    identifier: str | None
    chapters: tuple[Chapter, ...]
    warnings: tuple[Warning, ...]


def version() -> str:
    """The version of the library."""
    return text_of(library().kavepub_version())


def options() -> Iterator[Option]:
    """All options that the library has."""
    for each in _library.items(_library.Option, library().kavepub_option_at):
        yield Option(text_of(each.name), text_of(each.values), text_of(each.description),
                     bool(each.repeats), bool(each.takes_file))


def kinds() -> Iterator[str]:
    """The kinds of inputs that books are made of, by the names that `Report.kind` has."""
    for index in itertools.count():
        kind = library().kavepub_kind_at(index)
        if kind is None:
            return
        yield text_of(kind)


_Handle = TypeVar("_Handle", bound="_Closable")


class _Closable:
    """What holds a handle of the library until it is closed, or thrown away."""

    _handle: int | None = None

    def __enter__(self: _Handle) -> _Handle:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        if self._handle:
            self.close()

    def close(self) -> None:
        raise NotImplementedError


class Job(_Closable):
    """One book to make: inputs and options, then once `run` or `examine`.

    Used by one thread at a time, but for `cancel`."""

    def __init__(self, *sources: Source, **values: Value) -> None:
        self._handle = library().kavepub_job_new()
        if not self._handle:
            raise MemoryError
        self._kept: list[bytes] = []  # the library borrows them
        self._raised: BaseException | None = None
        self._lock = threading.Lock()
        try:
            for source in sources:
                self.add(source)
            for name, value in values.items():
                self.set(name, value)
        except BaseException:
            self.close()
            raise

    def close(self) -> None:
        """Frees what the job holds; it cannot be used any more."""
        with self._lock:
            handle, self._handle = self._handle, None
        library().kavepub_job_free(handle)

    def add(self, source: Source) -> None:
        """Adds an input."""
        if isinstance(source, tuple):
            name, content = source
            self._kept.append(content)
            self._check(library().kavepub_job_add_memory(self._handle, name.encode(), content,
                                                         len(content)))
        else:
            self._check(library().kavepub_job_add_path(self._handle, os.fsencode(source)))

    def set(self, name: str, value: Value) -> None:
        """Sets an option; several values are set one after the other. Bytes stand for the content of
        the file that an option takes."""
        if isinstance(value, bytes):
            self._check(library().kavepub_job_set_option_data(
                self._handle, name.replace("_", "-").encode(), value, len(value)))
            return
        for each in [str(value)] if isinstance(value, (str, int)) else value:
            self._check(library().kavepub_job_set_option(
                self._handle, name.replace("_", "-").encode(), each.encode()))

    def run(self, output: str | os.PathLike[str] | BinaryIO,
            progress: Callable[[float], object] | None = None) -> Report:
        """Makes the book. `output` is a path, where it appears when it is complete, or a binary file,
        which has to be thrown away after a failure. `progress` hears numbers from 0 to 1; what it or
        the file raises ends the job and is raised here."""
        self._raised = None
        if isinstance(output, (str, os.PathLike)):
            self._check(library().kavepub_job_set_output_path(self._handle, os.fsencode(output)))
        else:
            self._write = _library.WRITE(
                lambda _, data, size: self._guarded(output.write, ctypes.string_at(data, size)))
            self._check(library().kavepub_job_set_output_callback(self._handle, self._write, None))
        self._listen_to(progress)
        self._check(library().kavepub_job_run(self._handle))
        return self._report()

    def examine(self, progress: Callable[[float], object] | None = None) -> Report:
        """Finds out what a run would, without making a book."""
        self._raised = None
        self._listen_to(progress)
        self._check(library().kavepub_job_examine(self._handle))
        return self._report()

    def cancel(self) -> None:
        """Makes a run on another thread end soon with `Cancelled`."""
        with self._lock:  # a job that is being freed must not be touched
            if self._handle:
                library().kavepub_job_cancel(self._handle)

    def _listen_to(self, progress: Callable[[float], object] | None) -> None:
        if progress is None:
            return
        self._progress = _library.PROGRESS(lambda _, done: self._guarded(progress, done))
        self._check(library().kavepub_job_set_progress(self._handle, self._progress, None))

    # No exception may go through the library.
    def _guarded(self, call: Callable[..., object], *arguments: object) -> int:
        try:
            call(*arguments)
            return 0
        except BaseException as raised:
            self._raised = raised
            return 1

    def _check(self, code: int) -> None:
        if self._raised is not None:
            raise self._raised
        check(code, library().kavepub_job_error(self._handle))

    def _report(self) -> Report:
        def value(key: str) -> str | None:
            found = library().kavepub_job_report(self._handle, key.encode())
            return None if found is None else text_of(found)

        return Report(
            kind=value("kind"), title=value("title"),
            authors=tuple((value("authors") or "").splitlines()), language=value("language"),
            encoding=value("encoding"), identifier=value("identifier"),
            chapters=tuple(Chapter(text_of(each.title), each.level, each.line or None) for each in
                           _library.items(_library.Chapter, library().kavepub_job_chapter,
                                          self._handle)),
            warnings=tuple(Warning(text_of(each.message), text_of(each.place)) for each in
                           _library.items(_library.Warning, library().kavepub_job_warning,
                                          self._handle)))


@overload
def convert(source: Source | list[Source], output: str | os.PathLike[str] | BinaryIO, *,
            progress: Callable[[float], object] | None = None, **values: Value) -> Report: ...
@overload
def convert(source: Source | list[Source], output: None = None, *,
            progress: Callable[[float], object] | None = None, **values: Value) -> bytes: ...
def convert(source, output=None, *, progress=None, **values):
    """Makes one book of a source, or of several, such as the pictures of an album. Without an output,
    returns the book itself instead of the report."""
    from io import BytesIO

    with Job(*(source if isinstance(source, list) else [source]), **values) as job:
        if output is not None:
            return job.run(output, progress)
        book = BytesIO()
        job.run(book, progress)
        return book.getvalue()


def examine(source: Source | list[Source], **values: Value) -> Report:
    """Tells what a book would be: its title, author, language, chapters and warnings."""
    with Job(*(source if isinstance(source, list) else [source]), **values) as job:
        return job.examine()


class Text(_Closable):
    """A text file of any encoding, read as UTF-8 with LF line ends.

        with kavepub.Text("novel.txt") as text:
            print(text.encoding)
            content = text.read()
    """

    def __init__(self, source: Source, *, encoding: str = "auto", encoding_errors: str = "auto") -> None:
        self._handle = library().kavepub_text_new()
        if not self._handle:
            raise MemoryError
        try:
            for name, value in (("encoding", encoding), ("encoding-errors", encoding_errors)):
                self._check(library().kavepub_text_set_option(self._handle, name.encode(),
                                                              value.encode()))
            if isinstance(source, tuple):
                name, self._content = source
                self._check(library().kavepub_text_open_memory(
                    self._handle, name.encode(), self._content, len(self._content)))
            else:
                self._check(library().kavepub_text_open_path(self._handle, os.fsencode(source)))
        except BaseException:
            self.close()
            raise

    def close(self) -> None:
        """Frees what the text holds; it cannot be used any more."""
        handle, self._handle = self._handle, None
        library().kavepub_text_free(handle)

    @property
    def encoding(self) -> str:
        """What the text was found to be written in."""
        return text_of(library().kavepub_text_report(self._handle, b"encoding") or b"")

    @property
    def warnings(self) -> tuple[Warning, ...]:
        """What was said about the text so far."""
        return tuple(Warning(text_of(each.message), text_of(each.place)) for each in
                     _library.items(_library.Warning, library().kavepub_text_warning,
                                    self._handle))

    def chunks(self, size: int = 1 << 16) -> Iterator[str]:
        """The text, piece by piece."""
        buffer, count = ctypes.create_string_buffer(size), ctypes.c_size_t()
        while True:
            self._check(library().kavepub_text_read(self._handle, buffer, size, ctypes.byref(count)))
            if count.value == 0:
                return
            yield buffer.raw[:count.value].decode()

    def read(self) -> str:
        """The rest of the text."""
        return "".join(self.chunks())

    def _check(self, code: int) -> None:
        check(code, library().kavepub_text_error(self._handle))
