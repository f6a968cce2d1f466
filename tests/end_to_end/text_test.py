"""Plain texts, small and large, through the tool."""

import gzip
import os
import re
import signal
import struct
import subprocess
import time
import unittest
import zlib
from pathlib import Path
from urllib.parse import unquote

from book import ALLOWED, IS_SANITIZED, KAVEPUB, SOURCE, WITHOUT_COVER, Book, ToolTest, run

REFERENCE = "/usr/share/debian-reference/debian-reference.%s.txt.gz"
FORBIDDEN = re.compile("[\x00-\x08\x0b\x0e-\x17\x19-\x1f\ufffe\uffff]")


def as_in_a_book(data, encoding="utf-8"):
    """What a book shows of a text: undecodable bytes replaced (runs of them count as one here),
    forbidden characters dropped, line ends and two old control characters blank."""
    text = FORBIDDEN.sub("", data.decode(encoding, "replace").removeprefix("\ufeff"))
    return re.sub("\r\n|[\r\n\x0c\x18]", " ", re.sub("\ufffd+", "\ufffd", text))


def png(width=2, height=3):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    rows = b"".join(b"\0" + b"\x40\x80\xc0" * width for _ in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">2I5B", width, height, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


# The smallest baseline JPEG there is: one grey pixel.
JPEG = bytes.fromhex(
    "ffd8ffdb004300" + "01" * 64 + "ffc0000b080001000101011100"
    "ffc40014000100000000000000000000000000000009ffc40014100100000000000000000000000000000000"
    "ffda0008010100003f0054dfffd9")


class RealBooks(ToolTest):
    def check(self, name, data):
        (self.dir / name).write_bytes(data)
        book = self.convert(name, "--paragraphs", "wrapped")
        self.assertEqual(book.path.name, Path(name).with_suffix(".epub").name)
        self.assertEqual((book.title, book.author), (Path(name).stem, ""))
        book.check_all(self, WITHOUT_COVER)
        self.assertEqual(book.text_of_pages(), as_in_a_book(data))
        lines = re.findall(rb"[^\n]{0,253}\n|[^\n]{254}|[^\n]+", data)
        self.assertEqual(len(book.spine), -(-len(lines) // 60))
        for page in {1, len(book.spine) // 2 + 1}:
            drawn = run("mutool", "draw", "-a", "-r", "30", "-o", self.dir / "page.png", book.path, page)
            self.assertEqual(drawn.returncode, 0, drawn.stderr)

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
    def setUp(self):
        super().setUp()
        (self.dir / "in.txt").write_text("Hello\n")

    def test_title_author_output(self):
        book = self.convert("in.txt", "-o", "a b%20&'.epub", "--title", "A & <B> &amp; C", "--author",
                            "Ünal \"Q\"")
        self.assertEqual((book.title, book.author), ("A & <B> &amp; C", "Ünal \"Q\""))
        book.check_all(self, WITHOUT_COVER)

    def test_cover(self):
        for name, content, messages in (("front.jpg", JPEG, ALLOWED), ("FRONT PAGE.JPEG", JPEG, ALLOWED),
                                        ("no extension", JPEG, ALLOWED),
                                        # Every cover is listed as a JPEG.
                                        ("front.png", png(), ALLOWED | {"OPF-029"})):
            with self.subTest(name):
                (self.dir / name).write_bytes(content)
                book = self.convert("in.txt", "--cover", name)
                self.assertEqual(book.spine, ["cover.html", "page-1.html"])
                picture = book.manifest["cover-image"]
                self.assertEqual(book.read("OEBPS/" + picture), content)
                self.assertIn(picture, unquote(book.read("OEBPS/cover.html").decode()))
                book.check_all(self, messages)

    def test_overwrites_a_book(self):
        (self.dir / "in.epub").write_text("older")
        self.convert("in.txt").check_structure(self)  # with --force


class BadInput(ToolTest):
    def test_refusals(self):
        (self.dir / "in.txt").write_text("Hello\n")
        (self.dir / "nul.txt").write_bytes(b"\0" * 1000)
        (self.dir / "dir.txt").mkdir()
        (self.dir / "cover.webp").write_bytes(b"RIFF....WEBP")
        (self.dir / "latin.txt").write_bytes("café ".encode("latin-1"))
        (self.dir / "office.txt").write_bytes(b"PK\3\4 and so on")
        (self.dir / "in.epub").write_text("older")
        os.mkfifo(self.dir / "pipe.txt")
        rows = (
            # arguments, exit code, what the message names and says
            (["missing.txt"], 1, r"missing\.txt: No such file or directory; check the path"),
            (["dir.txt"], 1, r"dir\.txt: holds nothing that can be converted"),
            (["pipe.txt"], 1, r"pipe\.txt: is no regular file"),
            (["nul.txt"], 1, r"nul\.txt: .*NUL bytes"),
            (["in.txt", "-o", "none/out.epub"], 1, r"none/out\.epub: its directory does not exist"),
            (["in.txt", "-o", "in.epub/"], 1, r"in\.epub/in\.epub: its directory does not exist"),
            (["in.txt", "-o", "pipe.txt", "--force"], 1, r"pipe\.txt: cannot be made"),
            (["in.txt"], 1, r"in\.epub: exists already; use --force"),
            (["in.txt", "-o", "new.epub", "--encoding", "klingon"], 1, r'"klingon" is not known'),
            (["latin.txt", "--encoding", "utf-8"], 1, r"latin\.txt: byte 4 is not valid utf-8"),
            (["office.txt"], 1, r"office\.txt: is a ZIP, EPUB or office file"),
            (["in.txt", "-o", "new.epub", "--cover", "none.jpg"], 1, r"none\.jpg: No such file"),
            (["in.txt", "-o", "new.epub", "--cover", "cover.webp"], 1, r"cover\.webp: is no JPEG, PNG or GIF"),
            ([], 2, "INPUT is required"),
            (["in.txt", "--nonsense"], 2, "nonsense"),
        )
        for arguments, code, message in rows:
            with self.subTest(arguments=arguments):
                done = self.kavepub("convert", *arguments)
                self.assertEqual(done.returncode, code, done.stderr)
                self.assertRegex(done.stderr, message)
                self.assertEqual(done.stdout, "")
                if code == 1:
                    self.assertEqual(done.stderr.count("\n"), 1)
        self.assertEqual([p.read_text() for p in self.dir.glob("**/*.epub")], ["older"])

    def test_strange_texts_become_books(self):
        pattern = bytes(range(1, 256))
        cut = "a界𝄞é\n".encode()
        rows = [("empty", b""), ("controls", pattern * 3), ("one line", b"x" * 10_000_000),
                ("crlf", b"one\r\ntwo\r\n"), ("nul inside", b"a\0b\n\0c\n")]
        rows += [("cut at %d" % at, cut[:at]) for at in range(1, len(cut))]
        for name, data in rows:
            with self.subTest(name):
                (self.dir / "strange.txt").write_bytes(data)
                book = self.convert("strange.txt", "--encoding", "utf-8", "--encoding-errors",
                                    "replace", "--paragraphs", "wrapped")
                book.check_structure(self)
                book.check_well_formed(self)
                self.assertEqual(re.sub("\ufffd+", "\ufffd", book.text_of_pages()),
                                 as_in_a_book(data))

    def test_failure_leaves_the_old_book(self):
        (self.dir / "nul.txt").write_bytes(b"fine\n" * 100 + b"\0" * 1000)
        (self.dir / "nul.epub").write_text("older")
        self.assertEqual(self.kavepub("convert", "--force", "nul.txt").returncode, 1)
        self.assertEqual((self.dir / "nul.epub").read_text(), "older")

    def test_interruption(self):
        (self.dir / "long.txt").write_bytes(b"A line of the text.\n" * 2_000_000)
        (self.dir / "long.epub").write_text("older")
        for sent in (signal.SIGINT, signal.SIGTERM):
            with subprocess.Popen([KAVEPUB, "convert", "--force", "long.txt"], cwd=self.dir, env=self.environment,
                                  stderr=subprocess.PIPE, text=True) as tool:
                while not list(self.temp.glob("*/epub_temp/epub/OEBPS/page-9.html")):
                    time.sleep(0.001)
                tool.send_signal(sent)
                message = tool.communicate(timeout=60)[1]
            self.assertEqual((tool.returncode, message),
                             (130, "kavepub: interrupted; nothing was written\n"))
            self.assertEqual(list(self.temp.iterdir()), [])
            self.assertEqual((self.dir / "long.epub").read_text(), "older")


if __name__ == "__main__":
    unittest.main()
