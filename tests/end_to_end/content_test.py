"""The content of books, held down by hashes: what makes books faster may not change a byte of them.

When a change of the content is meant, the rows that a failure prints go into the data file."""

import hashlib
import random
import re
import unittest

from book import JPEG, PNG, SOURCE, ToolTest

ROWS = SOURCE / "tests" / "data" / "book_hashes.txt"
FIXTURES = SOURCE / "tests" / "fixtures" / "mobi"
TIME = re.compile(rb"urn:uuid:id_\d{14}")

LATIN = ["".join(letters) for letters in
         ((a, b, c) for a in "bdglmst" for b in ("a", "e", "ie", "é") for c in ("n", "r", "ss"))]
CHINESE = [chr(0x4E00 + 7 * i) for i in range(300)]


def prose(words, gap, lines):
    """Text in which few words are frequent, with indented and short lines, quotes and markup."""
    source = random.Random(1)
    text = []
    for _ in range(lines):
        count = int(3 + 12 * source.random())
        line = gap.join(words[int(len(words) ** source.random()) - 1] for _ in range(count))
        beginning = ("", "", "", "  ", "\t", "\u2022 ", "\n")[int(7 * source.random())]
        ending = ("", ".", " \u201cA & <B>\u201d", "\r", "   x")[int(5 * source.random())]
        text.append(beginning + line + ending + "\n")
    return "".join(text)


# Faults as they are found on the web.
HTML = """<html><head><title>T &amp; "U"</title><style>p { color: red }</style></head><body bgcolor=red>
Loose &eacute; text <b>bold<i>both</b>italic</i> <font color="red">old</font><center>middle</center>
<p id=a id=b onclick="x()">One<p align=left>Two <a href="#a">back</a> <a href="#gone">nowhere</a>
<a href="second.html#x">on</a> <a href="http://example.org/page.html">out</a> <img src="p 1.png">
<img src=missing.png alt="none"><ul><li>x<li>y<a href="second.html">z</a></ul><script>1 < 2</script>
<table border><tr><td nowrap>1<td>2</table><blockquote style="x">q</blockquote><!-- c --></body></html>
"""


class Content(ToolTest):
    def check(self, name, *arguments):
        book = self.convert(*arguments, "-o", f"{name}.epub")
        rows = [f"{name}\t{entry}\t{hashlib.sha256(TIME.sub(b'TIME', book.read(entry))).hexdigest()[:32]}"
                for entry in book.names]
        expected = [row for row in ROWS.read_text(encoding="utf-8").splitlines()
                    if row.startswith(name + "\t")]
        self.assertEqual(rows, expected, "\n" + "\n".join(rows))

    def test_texts(self):
        for name, text in {"latin": prose(LATIN, " ", 250), "chinese": prose(CHINESE, "", 250),
                           "long-lines": prose(LATIN, " ", 400).replace("\n", " ")}.items():
            (self.dir / f"{name}.txt").write_text(text, encoding="utf-8", newline="")
            for mode in ("wrapped", "line"):
                with self.subTest(name, mode=mode):
                    self.check(f"{name}-{mode}", f"{name}.txt", "--paragraphs", mode)

    def test_html(self):
        (self.dir / "first.html").write_text(HTML, encoding="utf-8")
        (self.dir / "second.html").write_text("<p id=x>Second<a href=first.html>first</a>", encoding="utf-8")
        (self.dir / "p 1.png").write_bytes(PNG)
        self.check("html", "first.html", "--author", "A")

    def test_mobi_books(self):
        for name in ("old.mobi", "book.azw3", "cp1252.mobi"):
            with self.subTest(name):
                self.check(name, FIXTURES / name)

    def test_album(self):
        (self.dir / "a & é.png").write_bytes(PNG)
        (self.dir / "b.jpg").write_bytes(JPEG)
        self.check("album", "a & é.png", "b.jpg", "--title", 'Ä & "B"', "--author", "x<y>")


if __name__ == "__main__":
    unittest.main()
