"""A finished book, looked at with tools that know nothing of how it was made."""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET
import zipfile
from pathlib import Path
from urllib.parse import unquote

BUILD = Path(os.environ["KAV_BUILD_DIR"])
SOURCE = Path(__file__).resolve().parents[2]
TESTS = SOURCE / "tests"
KAVEPUB = BUILD / "bin" / "kavepub"
IS_SANITIZED = BUILD.name != "release"
LEFT = BUILD / "books for epubcheck"

OPF = {"opf": "http://www.idpf.org/2007/opf", "dc": "http://purl.org/dc/elements/1.1/"}
NCX = {"ncx": "http://www.daisy.org/z3986/2005/ncx/"}
PAGES = (".html", ".htm", ".xhtml")
JPEG, PNG = ((TESTS / "fixtures" / "mobi" / "source" / name).read_bytes()
                  for name in ("photo.jpg", "map.png"))
FORBIDDEN = re.compile("[\x00-\x08\x0b\x0e-\x17\x19-\x1f\ufffe\uffff]")
XHTML = "{http://www.w3.org/1999/xhtml}"

# The navigation document has a page's document type and the identifier is a time, both on purpose.
# An empty guide is written as such; epubcheck wants a reference in it, which only a cover brings.
ALLOWED = {"HTM-004", "OPF-085"}
WITHOUT_COVER = ALLOWED | {"RSC-005 guide"}


def unescaped(cell):
    """What a cell of a data file says; bytes that are no UTF-8 become surrogates."""
    def letter(match):
        code = match[1]
        return bytes.fromhex(code[1:].decode()) if len(code) > 1 else plain.get(code, code)
    plain = {b"n": b"\n", b"t": b"\t", b"r": b"\r"}
    cell = re.sub(rb"\\\*(\d+)\{(.*?)\}", lambda match: match[2] * int(match[1]), cell)
    text = b"" if cell == b'""' else re.sub(rb"\\(x[0-9A-F]{2}|.)", letter, cell)
    return text.decode(errors="surrogateescape")


def data_rows(name):
    """The rows of a data file in the form that data_rows.h describes."""
    lines = (TESTS / "data" / name).read_bytes().replace(b"\n\t", b"\t").splitlines()
    return [[unescaped(cell) for cell in line.split(b"\t") if cell]
            for line in lines if not line.startswith(b"#")]


def as_in_a_book(data, encoding="utf-8"):
    """What a book shows of a text: undecodable bytes replaced (runs of them count as one here),
    forbidden characters dropped, line ends and two old control characters blank."""
    text = FORBIDDEN.sub("", data.decode(encoding, "replace").removeprefix("\ufeff"))
    return re.sub("\r\n|[\r\n\x0c\x18]", " ", re.sub("\ufffd+", "\ufffd", text))


def as_bytes(text):
    return text.encode(errors="surrogateescape")


def run(*command, **options):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True,
                          timeout=300, **options)


def leave_for_epubcheck(path, allowed):
    """Lays the book where the last test lets epubcheck look at all of them: see epubcheck.py."""
    if IS_SANITIZED:
        return  # the same bytes are looked at in the other build
    LEFT.mkdir(exist_ok=True)
    place = Path(tempfile.mkdtemp(prefix=f"{Path(path).stem}-", dir=LEFT))
    shutil.copy(path, place / "book.epub")
    (place / "allowed.json").write_text(json.dumps(sorted(allowed)))


class Book:
    """Opens a book and checks what every book must keep to."""

    def __init__(self, path):
        self.path = Path(path)
        self.archive = zipfile.ZipFile(path)
        self.names = self.archive.namelist()
        container = ET.fromstring(self.read("META-INF/container.xml"))
        package = container.find(".//{*}rootfile").get("full-path")
        self.is_plain = package.endswith("content.opf")
        self.opf = ET.fromstring(self.read(package))
        items = self.opf.findall("opf:manifest/opf:item", OPF)
        self.manifest = {item.get("id"): unquote(item.get("href")) for item in items}
        self.spine = [self.manifest[ref.get("idref")]
                      for ref in self.opf.findall("opf:spine/opf:itemref", OPF)]
        self.title = self.opf.findtext("opf:metadata/dc:title", "", OPF)
        self.author = self.opf.findtext("opf:metadata/dc:creator", "", OPF)

    def read(self, name):
        return self.archive.read(name)

    def page(self, name):
        return ET.fromstring(self.read("OEBPS/" + name))

    def text_of_pages(self):
        """The text of all paragraphs of all numbered pages, joined without a gap."""
        return "".join("".join(paragraph.itertext())
                       for name in self.spine if name.startswith("page-")
                       for paragraph in self.page(name).iter(XHTML + "p"))

    def check(self, test):
        """All parts fit together; the program knows nothing of how the book was made."""
        checked = run(BUILD / "bin/check_book", self.path)
        test.assertEqual((checked.returncode, checked.stderr), (0, ""))

    def check_all(self, test, allowed):
        self.check(test)
        leave_for_epubcheck(self.path, allowed)


class ToolTest(unittest.TestCase):
    """A test that runs the tool in a directory of its own and finds no leftovers."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.dir = Path(directory.name)
        self.temp = self.dir / "temporary files"
        self.temp.mkdir()
        self.environment = {**os.environ, "TMPDIR": str(self.temp), "TERM": "dumb"}

    def write(self, *names, content=b"Hello\n"):
        for name in names:
            path = self.dir / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)

    def kavepub(self, *arguments, **options):
        done = run(KAVEPUB, *arguments, cwd=self.dir, env=self.environment, **options)
        self.assertEqual(list(self.temp.iterdir()), [], "working files were left")
        return done

    def convert(self, *arguments):
        """Makes a plain book, replacing what is there, and returns it."""
        done = self.kavepub("convert", "--edition", "plain", "--json", "--force", *arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        self.report = json.loads(done.stdout)
        self.assertEqual(self.report["status"], "done")
        return Book(self.dir / self.report["output"])

    def succeed(self, *command, **options):
        """What a command of other programs prints."""
        done = run(*command, cwd=self.dir, **{"env": self.environment, **options})
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        return done.stdout

    def check_book(self, name, text):
        """A sound book of this text, made by another program, with nothing left beside it."""
        book = Book(self.dir / name)
        book.check(self)
        self.assertEqual(book.text_of_pages(), text)
        self.assertFalse((self.dir / "epub_temp").exists())
        return book

    def check_drawing(self, book, page):
        """A reader program can show a page."""
        drawn = run("mutool", "draw", "-a", "-r", "30", "-o", self.dir / "page.png",
                    book.path, page)
        self.assertEqual(drawn.returncode, 0, drawn.stderr)


def contents(path):
    """Prints what each page shows: its text, and which of the fixtures."""
    book = Book(path)
    known = {(TESTS / "fixtures" / "mobi" / "source" / name).read_bytes(): name
             for name in ("photo.jpg", "map.png", "sign.gif")}
    for name in book.spine:
        shown = [" ".join("".join(book.page(name).find(XHTML + "body").itertext()).split())]
        for element in book.page(name).iter():
            source = element.get("src") or element.get("{http://www.w3.org/1999/xlink}href")
            if source:
                shown.append(f"[{known.get(book.read('OEBPS/' + unquote(source)), 'drawn')}]")
        print(f"{name}:", *filter(None, shown))


def check(path, *messages):
    """Fails unless the book is sound; epubcheck is to say what it always does of a plain one, and
    these."""
    book = Book(path)
    if not book.is_plain:
        leave_for_epubcheck(path, messages)
        return
    allowed = ALLOWED if "cover-image" in book.manifest else WITHOUT_COVER
    book.check_all(unittest.TestCase(), allowed | set(messages))


if __name__ == "__main__":
    {"contents": contents, "check": check}[sys.argv[1]](*sys.argv[2:])
