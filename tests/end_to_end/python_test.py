"""The Python module over the reader's edition, as programs use it."""

import io
import os
import sys
import tempfile
import unittest
import zipfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from book import BUILD, leave_for_epubcheck

os.environ["KAVEPUB_LIBRARY"] = str(BUILD / "lib/libkavepub.so.0")
sys.path.insert(0, str(Path(__file__).parents[2] / "hosts/python"))
import kavepub  # noqa: E402


def novel(number):
    """A text that no other number has, in two chapters."""
    chapters = (f"CHAPTER {numeral}\n\n" + f"Sentence {number} of the tale was told.\n\n" * 200
                for numeral in ("I", "II"))
    return f"title-{number}.txt", "\n\n".join(chapters).encode()


class PythonModule(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.dir = Path(directory.name)

    def test_a_file_becomes_a_book(self):
        name, content = novel(1)
        source, book = self.dir / name, self.dir / "book.epub"
        source.write_bytes(content)
        heard = []
        report = kavepub.convert(source, book, progress=heard.append, title="A Tale",
                                 author=["Jane Doe", "Ann Other"], language="en", cover="none")
        self.assertEqual((report.kind, report.title, report.authors, report.language),
                         ("text", "A Tale", ("Jane Doe", "Ann Other"), "en"))
        self.assertEqual([(each.title, each.level) for each in report.chapters],
                         [("CHAPTER I", 1), ("CHAPTER II", 1)])
        self.assertEqual(content.decode().splitlines()[report.chapters[1].line - 1], "CHAPTER II")
        self.assertEqual((heard, heard[-1]), (sorted(heard), 1.0))
        self.assertEqual(kavepub.examine(source).chapters, report.chapters)
        leave_for_epubcheck(book, set())

    def test_bytes_in_and_out_from_eight_threads(self):
        alone = [kavepub.convert(novel(number), cover="none") for number in range(8)]
        with ThreadPoolExecutor(8) as pool:
            together = list(pool.map(lambda number: kavepub.convert(novel(number % 8), cover="none"),
                                     range(64)))
        self.assertEqual(together, alone * 8)
        self.assertEqual(len(set(alone)), 8)
        self.assertIsNone(zipfile.ZipFile(io.BytesIO(alone[0])).testzip())

    def test_a_cancelled_book_leaves_the_old_one(self):
        book = self.dir / "book.epub"
        book.write_bytes(b"the old one")
        with kavepub.Job(novel(1)) as job:
            with self.assertRaises(kavepub.Cancelled):
                job.run(book, lambda done: job.cancel())
        with self.assertRaisesRegex(ZeroDivisionError, "division"):
            kavepub.convert(novel(1), book, progress=lambda done: 1 / 0)
        self.assertEqual(book.read_bytes(), b"the old one")
        self.assertEqual([path.name for path in self.dir.iterdir()], ["book.epub"])

    def test_failures_in_words(self):
        class FullFile(io.BytesIO):
            def write(self, data):
                raise OSError("no room")

        for source, options, output, kind, words in (
                (self.dir / "missing.txt", {}, None, kavepub.Error, "missing.txt"),
                (("empty.txt", b""), {}, None, kavepub.Error, "empty.txt"),
                (novel(1), {"colour": "red"}, None, kavepub.Error, "colour"),
                (novel(1), {"language": "no such"}, None, kavepub.Error, "language"),
                (novel(1), {}, self.dir / "missing/book.epub", kavepub.Error, "missing/book.epub"),
                (novel(1), {}, FullFile(), OSError, "no room")):
            with self.subTest(words=words), self.assertRaisesRegex(kind, words):
                kavepub.convert(source, output, **options)

    def test_what_the_library_offers(self):
        names = [option.name for option in kavepub.options()]
        self.assertLessEqual({"title", "author", "language", "chapters", "cover"}, set(names))
        self.assertIn("text", list(kavepub.kinds()))
        self.assertRegex(kavepub.version(), r"^\d+\.\d+\.\d+$")


class Texts(unittest.TestCase):
    def test_any_encoding_is_read(self):
        content = "第一回 甄士隱夢幻識通靈\r\n此開卷第一回也。作者自云：因曾歷過一番夢幻之後，故將真事隱去。\r\n" * 50
        for encoding in ("utf-8", "utf-16", "big5", "gb18030"):
            with self.subTest(encoding=encoding):
                source = ("text.txt", content.encode(encoding))
                with kavepub.Text(source) as text:
                    self.assertEqual(text.read(), content.replace("\r\n", "\n"))
                    self.assertEqual(text.warnings, ())
                    self.assertTrue(text.encoding)
        with self.assertRaises(kavepub.Error):
            kavepub.Text(("text.txt", b"abc"), encoding="no such")


if __name__ == "__main__":
    unittest.main()
