"""Books of the reader's edition, made through its C interface: covers, metadata, style sheets."""

import ctypes
import io
import locale
import os
import re
import resource
import shutil
import struct
import tempfile
import time
import unittest
import unittest.mock
import xml.etree.ElementTree as ET
import zipfile
import zlib
from pathlib import Path

from book import BUILD, JPEG, OPF, PNG, TESTS, as_bytes, data_rows, leave_for_epubcheck

LIBRARY = BUILD / "lib" / "libkavepub.so.0"
COVER_LIBRARY = BUILD / "lib" / "libkavepub-cover.so.0"
GIF = (TESTS / "fixtures" / "mobi" / "source" / "sign.gif").read_bytes()
SVG = b'<svg xmlns="http://www.w3.org/2000/svg" version="1.1" width="9" height="9"/>'
ARGUMENT, ORDER, FORMAT, ENCODING = 2, 3, 5, 6
MOST_BYTES_OF_A_COVER = 100_000

TITLES = {
    "en": ("Pride & Prejudice", "Jane Austen"),
    "zh-Hant": ("紅樓夢", "曹雪芹"),
    "ar": ("ألف ليلة وليلة", "مؤلف مجهول"),
    "th": ("สี่แผ่นดิน", ""),
    "de": ("Donaudampfschifffahrtselektrizitätenhauptbetriebswerk", "\u202eA\u0301\U0001f600"),
    "und": ("The Life and Strange Surprizing Adventures " * 200, "A, " * 1000),
}


class Warning(ctypes.Structure):
    _fields_ = [("message", ctypes.c_char_p), ("place", ctypes.c_char_p)]


class Chapter(ctypes.Structure):
    _fields_ = [("title", ctypes.c_char_p), ("level", ctypes.c_uint32), ("line", ctypes.c_uint64)]


WRITE = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t)


class Editions(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.library = cls.load(LIBRARY)

    @staticmethod
    def load(path):
        library = ctypes.CDLL(str(path))
        library.kavepub_job_new.restype = ctypes.c_void_p
        library.kavepub_job_error.restype = ctypes.c_char_p
        return library

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.dir = Path(directory.name)

    def make(self, *options, name="in.txt", content=b"Hello.\n", library=None, path=None):
        """Of a path or a content; the code, and the warnings or the words; values that are bytes are contents of files."""
        library = library or self.library
        job = ctypes.c_void_p(library.kavepub_job_new())
        try:
            if path is not None:
                library.kavepub_job_add_path(job, str(path).encode())
            else:
                library.kavepub_job_add_memory(job, name.encode(), content,
                                               ctypes.c_size_t(len(content)))
            self.path = self.dir / "book.epub"
            library.kavepub_job_set_output_path(job, str(self.path).encode())
            for option, value in options:
                if isinstance(value, bytes):
                    code = library.kavepub_job_set_option_data(job, option.encode(), value,
                                                               ctypes.c_size_t(len(value)))
                else:
                    code = library.kavepub_job_set_option(job, option.encode(), value.encode())
                self.assertEqual(code, 0, (option, value))
            code = library.kavepub_job_run(job)
            if code != 0:
                return code, library.kavepub_job_error(job).decode()
            warning, index, warnings = Warning(), 0, []
            while library.kavepub_job_warning(job, ctypes.c_size_t(index), ctypes.byref(warning),
                                              ctypes.c_size_t(ctypes.sizeof(warning))):
                warnings.append(warning.message.decode())
                index += 1
            return code, warnings
        finally:
            library.kavepub_job_free(job)

    def book(self):
        archive = zipfile.ZipFile(self.path)
        return archive, ET.fromstring(archive.read("OEBPS/package.opf"))

    def check(self):
        leave_for_epubcheck(self.path, set())

    def cover_of(self):
        """The item of the cover and its content."""
        archive, opf = self.book()
        [item] = opf.findall("opf:manifest/opf:item[@id='cover-picture']", OPF)
        return item, archive.read("OEBPS/" + item.get("href"))

    @unittest.skipUnless(COVER_LIBRARY.exists(), "built without Pango and Cairo")
    def test_drawn_covers(self):
        pictures = set()
        for language, (title, author) in TITLES.items():
            with self.subTest(language):
                options = [("language", language), ("title", title)]
                if author:
                    options.append(("author", author))
                self.assertEqual(self.make(*options), (0, []))
                if language == "ar":  # of one frame for all
                    self.check()
                item, picture = self.cover_of()
                self.assertEqual(item.get("media-type"), "image/png")
                self.assertLess(len(picture), MOST_BYTES_OF_A_COVER)
                self.assert_drawn(picture)
                pictures.add(picture)
                self.make(*options)
                self.assertEqual(self.cover_of()[1], picture)
        self.assertEqual(len(pictures), len(TITLES))

    def assert_drawn(self, picture):
        """A picture in colours, with letters in the upper half and an ornament in the lower one."""
        width, height, depth, kind = struct.unpack(">2L2B", picture[16:26])
        self.assertEqual((depth, kind, height * 3), (4, 3, width * 4))
        chunks, at = {}, 8
        while at < len(picture):
            size, name = struct.unpack(">L4s", picture[at:at + 8])
            body = picture[at + 8:at + 8 + size]
            [crc] = struct.unpack(">L", picture[at + 8 + size:at + 12 + size])
            self.assertEqual(crc, zlib.crc32(name + body))
            chunks[name] = body
            at += size + 12
        self.assertEqual(list(chunks), [b"IHDR", b"PLTE", b"IDAT", b"IEND"])
        rows = zlib.decompress(chunks[b"IDAT"])
        row = width // 2 + 1
        self.assertEqual(len(rows), row * height)
        inner = [rows[y * row + 60:y * row + row - 60] for y in range(60, height - 60)]
        half = len(inner) // 2
        self.assertGreater(sum(line.count(b"\xff") for line in inner[:half]), 100)
        self.assertGreater(sum(any(line) for line in inner[half:]), 100)

    def test_covers_of_every_type(self):
        for kind, picture in (("jpeg", JPEG), ("png", PNG), ("gif", GIF), ("svg+xml", SVG)):
            with self.subTest(kind):
                self.assertEqual(self.make(("cover", picture)), (0, []))
                item, found = self.cover_of()
                self.assertEqual((item.get("media-type"), found), ("image/" + kind, picture))
                self.check()
        self.assertEqual(self.make(("cover", b"RIFF    WEBP"))[0], FORMAT)
        self.assertEqual(self.make(("cover", "none")), (0, []))
        self.assertNotIn(b"cover", self.book()[0].read("OEBPS/package.opf"))
        self.check()

    def test_without_the_library_that_draws(self):
        alone = self.load(shutil.copy(LIBRARY, self.dir))
        code, warnings = self.make(library=alone)
        self.assertEqual((code, len(warnings)), (0, 1))
        self.assertIn("libkavepub-cover", warnings[0])
        self.assertFalse(any("cover" in name for name in self.book()[0].namelist()))

    @unittest.skipUnless(COVER_LIBRARY.exists(), "built without Pango and Cairo")
    def test_without_room_to_draw(self):
        """What draws would end the process when it cannot have what it asks for."""
        pages = int(Path("/proc/self/statm").read_text(encoding="ascii").split()[0])
        usual = resource.getrlimit(resource.RLIMIT_AS)
        room = pages * resource.getpagesize() + (300 << 20)
        resource.setrlimit(resource.RLIMIT_AS, (room, usual[1]))
        try:
            code, warnings = self.make()
        finally:
            resource.setrlimit(resource.RLIMIT_AS, usual)
        self.assertEqual((code, len(warnings)), (0, 1))
        self.assertIn("memory", warnings[0])

    def test_metadata(self):
        self.make(("title", "T <& \"T\""), ("author", "A"), ("author", "B"), ("translator", "C"),
                  ("language", "en-GB"), ("publisher", "P"), ("date", "1813-01-28"),
                  ("description", "Two\nlines"), ("subject", "S"), ("subject", "U"),
                  ("rights", "R"), ("isbn", "978-0-14-143951-8"), ("series", "X"),
                  ("series-index", "2"), ("cover", "none"))
        self.check()
        metadata = self.book()[1].find("opf:metadata", OPF)
        role = "{%s}role" % OPF["opf"]
        found = [(element.tag.split("}")[1], element.get(role), element.text) for element in metadata
                 if not element.tag.endswith("meta")]
        self.assertEqual(found[1:], [
            ("title", None, "T <& \"T\""), ("creator", "aut", "A"), ("creator", "aut", "B"),
            ("contributor", "trl", "C"), ("language", None, "en-GB"),
            ("identifier", None, "978-0-14-143951-8"), ("publisher", None, "P"),
            ("date", None, "1813-01-28"), ("description", None, "Two lines"),
            ("subject", None, "S"), ("subject", None, "U"), ("rights", None, "R")])
        metas = {meta.get("name"): meta.get("content") for meta in metadata.findall("opf:meta", OPF)}
        self.assertEqual((metas["calibre:series"], metas["calibre:series_index"]), ("X", "2"))
        self.assertLessEqual({"schema:accessMode", "schema:accessibilityFeature",
                              "schema:accessibilityHazard"}, set(metas))

    def test_identifiers(self):
        """Equal for equal books, and for no others."""
        variants = [(), (("title", "T"),), (("subject", "S"),), (("css", b"p { color: red; }"),),
                    (("language", "fr"),), (("cover", PNG),)]
        seen = set()
        for content in (b"Hello.\n", b"Hello!\n"):
            for options in variants:
                twice = set()
                for threads in "12":
                    self.make(("cover", "none"), ("threads", threads), *options, content=content)
                    opf = self.book()[1]
                    twice.add(opf.findtext("opf:metadata/dc:identifier[@id='identifier']", "", OPF))
                self.assertEqual(len(twice), 1)
                seen |= twice
        self.assertEqual(len(seen), 2 * len(variants))

    def test_equal_bytes(self):
        """Whatever is around a run, the book is the same."""
        text = "".join(f"CHAPTER {number}\n\n" + "The ships lay in the harbour.\n\n" * (number * 40)
                       for number in range(1, 30)).encode()
        self.addCleanup(os.chdir, os.getcwd())
        self.addCleanup(time.tzset)
        self.addCleanup(locale.setlocale, locale.LC_ALL, locale.setlocale(locale.LC_ALL))
        links = "".join(f"<li><a href='{page}.html#p'>{page}</a>" for page in range(40))
        for page in range(40):
            (self.dir / f"{page}.html").write_text(
                f"<ol>{links}</ol><h1 id=p>Page {page}</h1>" + "<p>Ships &amp; sails." * (page * 99))
        books = set()
        with unittest.mock.patch.dict(os.environ):
            for threads, zone, place, language in (("1", "UTC", "/", "C"),
                                                   ("2", "Asia/Tokyo", self.dir, "C.UTF-8"),
                                                   ("8", "<-12>12", "/tmp", "C.UTF-8")):
                os.environ["TZ"] = zone
                time.tzset()
                os.chdir(place)
                locale.setlocale(locale.LC_ALL, language)
                for source in ({"content": text}, {"path": self.dir / "0.html"}):
                    self.assertEqual(self.make(("threads", threads), **source)[0], 0)
                    books.add(self.path.read_bytes())
        self.assertEqual(len(books), 2)

    def test_style_sheets(self):
        self.make(("css", b"\xef\xbb\xbfp { color: navy; }"))
        self.assertTrue(self.book()[0].read("OEBPS/style.css").endswith(b"\np { color: navy; }"))
        self.check()
        for sheet in (b"@import 'x.css';", b"p { background: url(x.png) }", b"\xff"):
            self.assertEqual(self.make(("css", sheet))[0], FORMAT)

    def test_files_of_no_kind(self):
        for content in (b"PK\3\4", b"II*\0", b"%PDF-1.4", b"\x7fELF", b"RIFF    AVI "):
            self.assertEqual(self.make(content=content)[0], FORMAT)


class Texts(unittest.TestCase):
    """Texts in any encoding, as hosts read them and as books are made of them."""

    def setUp(self):
        self.library = Editions.load(LIBRARY)
        for function in ("new", "error", "report"):
            getattr(self.library, f"kavepub_text_{function}").restype = \
                ctypes.c_void_p if function == "new" else ctypes.c_char_p

    def read(self, data, *options, path=None, capacity=4096):
        """The code, the text or the words, a function that reports, and the warnings."""
        library = self.library
        text = ctypes.c_void_p(library.kavepub_text_new())
        self.addCleanup(library.kavepub_text_free, text)
        for name, value in options:
            self.assertEqual(library.kavepub_text_set_option(text, name.encode(), value.encode()), 0)
        code = library.kavepub_text_open_memory(text, b"in.txt", data, ctypes.c_size_t(len(data))) \
            if path is None else library.kavepub_text_open_path(text, str(path).encode())
        again = library.kavepub_text_open_memory(text, b"in.txt", b"x", ctypes.c_size_t(1))
        self.assertEqual(again, ORDER)
        buffer, size, pieces = ctypes.create_string_buffer(capacity), ctypes.c_size_t(1), []
        while code == 0 and size.value:
            code = library.kavepub_text_read(text, buffer, ctypes.c_size_t(capacity),
                                             ctypes.byref(size))
            pieces.append(buffer.raw[:size.value].decode())  # whole characters
        def report(key):
            value = library.kavepub_text_report(text, key.encode())
            return value and value.decode()
        warning, warnings = Warning(), []
        while library.kavepub_text_warning(text, ctypes.c_size_t(len(warnings)),
                                           ctypes.byref(warning),
                                           ctypes.c_size_t(ctypes.sizeof(warning))):
            warnings.append((warning.message.decode(), warning.place.decode()))
        return code, "".join(pieces), report, warnings

    def test_damage(self):
        """The table's rows, read with any errors allowed, a few or none; places are told."""
        for name, data, encoding, byte, text in data_rows("encoding_errors.txt"):
            data, places = as_bytes(data), text.count("\ufffd")
            is_slight = places * 1000 <= len(text)
            for errors in "strict", "auto", "replace":
                with self.subTest(name, errors=errors):
                    code, found, report, warnings = self.read(
                        data, ("encoding", encoding), ("encoding-errors", errors), capacity=8)
                    if places and (errors == "strict" or errors == "auto" and not is_slight):
                        self.assertEqual((code, found), (ENCODING, ""))
                        continue
                    self.assertEqual((code, found.replace("\n", " ")), (0, text))
                    self.assertEqual(report("replaced"), str(places))
                    self.assertEqual(len(warnings), min(places, 1))
                    if places:
                        line = found[:found.index("\ufffd")].count("\n") + 1
                        self.assertEqual(warnings[0][1], f"in.txt, line {line}")
                        self.assertRegex(warnings[0][0], rf"byte {byte}\b")

    def test_line_ends_and_paragraphs(self):
        for name, data, text in data_rows("line_ends.txt"):
            with self.subTest(name):
                self.assertEqual(self.read(as_bytes(data))[1].replace("\x1a", "").replace("\n", " "),
                                 text)
        for name, text, mode in data_rows("paragraph_modes.txt"):
            with self.subTest(name):
                code, found, report, _ = self.read(text.encode())
                self.assertEqual((code, found, report("paragraphs")), (0, text, mode))

    def book_of(self, text, *options, name="in.txt"):
        """The pages of its book, one after the other, and its report; its package is kept."""
        library = self.library
        job = ctypes.c_void_p(library.kavepub_job_new())
        self.addCleanup(library.kavepub_job_free, job)
        data = as_bytes(text)
        pieces = []
        take = WRITE(lambda _, piece, size: pieces.append(ctypes.string_at(piece, size)) or 0)
        library.kavepub_job_add_memory(job, name.encode(), data, ctypes.c_size_t(len(data)))
        library.kavepub_job_set_output_callback(job, take, None)
        for option, value in (("cover", "none"), *options):
            self.assertEqual(library.kavepub_job_set_option(job, option.encode(), value.encode()), 0)
        self.assertEqual(library.kavepub_job_run(job), 0, library.kavepub_job_error(job))
        archive = zipfile.ZipFile(io.BytesIO(b"".join(pieces)))
        names = ["OEBPS/contents.xhtml"]
        names += [f"OEBPS/page-{number}.xhtml" for number in range(1, len(archive.namelist()))]
        pages = [archive.read(name).decode() for name in names if name in archive.namelist()]
        bodies = [re.search("<body[^>]*>(.*)</body>", page, re.DOTALL)[1] for page in pages]
        self.package = archive.read("OEBPS/package.opf").decode()
        library.kavepub_job_report.restype = ctypes.c_char_p
        facts = [(library.kavepub_job_report(job, key) or b"").decode()
                 for key in (b"title", b"authors", b"language")]
        chapter, chapters = Chapter(), []
        while library.kavepub_job_chapter(job, ctypes.c_size_t(len(chapters)), ctypes.byref(chapter),
                                          ctypes.c_size_t(ctypes.sizeof(chapter))):
            chapters.append((chapter.level, chapter.line, chapter.title.decode()))
        return "".join(bodies), facts, chapters

    def test_markup(self):
        for name, text, markup in data_rows("text_markup.txt"):
            with self.subTest(name):
                self.assertIn(markup, self.book_of(text)[0])

    def test_facts(self):
        for name, text, *facts in data_rows("text_facts.txt"):
            with self.subTest(name, facts=facts):
                self.assertEqual(self.book_of(text, name=name)[1], facts)

    def test_metadata(self):
        for name, text, part in data_rows("text_metadata.txt"):
            with self.subTest(name):
                self.book_of(text)
                self.assertIn(part, self.package)

    def test_chapters(self):
        for name, text, chapters in data_rows("text_chapters.txt"):
            with self.subTest(name):
                found = self.book_of(text)[2]
                self.assertEqual("|".join(f"{level} {line} {title}" for level, line, title in found), chapters)

    def test_chosen_chapters(self):
        text = "Opening 1\n\nText.\n\nCHAPTER I\n\nText.\n\nCHAPTER II\n\nText.\n\n§ 3\n\nText.\n"
        for chosen, lines in (("auto", {5, 9}), ("none", set()), ("^(Opening|§) [0-9]", {1, 13}),
                              ("(?i)^chapter", {5, 9}), ("never", set())):
            with self.subTest(chosen):
                chapters = self.book_of(text, ("chapters", chosen))[2]
                self.assertEqual(chapters, [(1, line, text.splitlines()[line - 1])
                                            for line in sorted(lines)])

    def test_refusals(self):
        for data, words in ((b"", "no text"), (b" \r\n\t\xe3\x80\x80\x0c\n\x1a", "no text"),
                            (b"MZ\x90\0\x03\0" * 999, "NUL")):
            self.assertEqual(self.read(data)[0], FORMAT)
            with self.subTest(data[:9]):
                editions = Editions("make")
                editions.library, editions.dir = self.library, Path(tempfile.mkdtemp())
                self.addCleanup(shutil.rmtree, editions.dir)
                code, said = editions.make(content=data)
                self.assertEqual(code, FORMAT)
                self.assertRegex(said, rf"^in.txt: .*{words}")
        text = ctypes.c_void_p(self.library.kavepub_text_new())
        self.addCleanup(self.library.kavepub_text_free, text)
        for name, value in (("encoding", "no-such"), ("encoding", ""), ("title", "T")):
            self.assertEqual(self.library.kavepub_text_set_option(text, name.encode(),
                                                                  value.encode()), ARGUMENT)


if __name__ == "__main__":
    unittest.main()
