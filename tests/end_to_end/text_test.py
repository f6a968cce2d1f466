"""Plain texts, small and large, through the tool."""

import gzip
import re
import subprocess
from pathlib import Path
from urllib.parse import unquote

from book import ALLOWED, JPEG, PNG, SOURCE, WITHOUT_COVER, ToolTest, as_in_a_book, run

REFERENCE = "/usr/share/debian-reference/debian-reference.%s.txt.gz"


class RealBooks(ToolTest):
    def check(self, name, data):
        self.write(name, content=data)
        book = self.convert(name, "--paragraphs", "wrapped")
        self.assertEqual(book.path.name, Path(name).with_suffix(".epub").name)
        self.assertEqual((book.title, book.author), (Path(name).stem, ""))
        book.check_all(self, WITHOUT_COVER)
        self.assertEqual(book.text_of_pages(), as_in_a_book(data))
        lines = re.findall(rb"[^\n]{0,253}\n|[^\n]{254}|[^\n]+", data)
        self.assertEqual(len(book.spine), -(-len(lines) // 60))
        for page in {1, len(book.spine) // 2 + 1}:
            self.check_drawing(book, page)

    def test_sample(self):
        self.check("sample.txt", (SOURCE / "samples" / "gettysburg-address.txt").read_bytes())

    def test_debian_reference_in_english(self):
        self.check("reference.txt", gzip.open(REFERENCE % "en").read())

    def test_debian_reference_in_chinese(self):
        self.check("参考手册 50%.txt", gzip.open(REFERENCE % "zh-cn").read())

    def test_king_james_bible(self):
        bible = subprocess.run(["bible", "-f", "gen1:1-rev22:21"], capture_output=True, check=True)
        self.check("bible.txt", bible.stdout)


class Options(ToolTest):
    def test_title_author_output(self):
        self.write("in.txt")
        book = self.convert("in.txt", "-o", "a b%20&'.epub", "--title", "A & <B> &amp; C",
                            "--author", 'Ünal "Q"')
        self.assertEqual((book.title, book.author), ("A & <B> &amp; C", 'Ünal "Q"'))
        book.check_all(self, WITHOUT_COVER)

    def test_cover(self):
        self.write("in.txt")
        for name, content in (("FRONT PAGE.JPEG", JPEG), ("no extension", JPEG),
                              ("front.png", PNG)):
            with self.subTest(name):
                self.write(name, content=content)
                book = self.convert("in.txt", "--cover", name)
                self.assertEqual(book.spine, ["cover.html", "page-1.html"])
                picture = book.manifest["cover-image"]
                self.assertEqual(book.read("OEBPS/" + picture), content)
                self.assertIn(picture, unquote(book.read("OEBPS/cover.html").decode()))
                # Every cover is listed as a JPEG.
                book.check_all(self, ALLOWED | ({"OPF-029"} if content == PNG else set()))

    def test_any_bytes_become_a_book(self):
        data = bytes(range(1, 256)) * 3
        self.write("strange.txt", content=data)
        book = self.convert("strange.txt", "--encoding", "utf-8", "--encoding-errors", "replace",
                            "--paragraphs", "wrapped")
        book.check_structure(self)
        book.check_well_formed(self)
        self.assertEqual(re.sub("\ufffd+", "\ufffd", book.text_of_pages()), as_in_a_book(data))
