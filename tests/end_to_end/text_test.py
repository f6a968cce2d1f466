"""Plain texts, small and large, through the tool."""

import gzip
import re
import subprocess
from pathlib import Path

from book import SOURCE, WITHOUT_COVER, ToolTest, as_in_a_book

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


class Bytes(ToolTest):
    def test_any_bytes_become_a_book(self):
        data = bytes(range(1, 256)) * 3
        self.write("strange.txt", content=data)
        book = self.convert("strange.txt", "--encoding", "utf-8", "--encoding-errors", "replace",
                            "--paragraphs", "wrapped")
        book.check(self)
        self.assertEqual(re.sub("\ufffd+", "\ufffd", book.text_of_pages()), as_in_a_book(data))
