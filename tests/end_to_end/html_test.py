"""Real sites, whole, and single pages through the tool."""

import ctypes
import re
import unittest
from collections import Counter
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

from book import BUILD, IS_SANITIZED, PAGES, WITHOUT_COVER, XHTML, ToolTest, run

DEBIAN = Path("/usr/share/debian-reference/index.en.html")
PYTHON = Path("/usr/share/doc/python3-doc/html/index.html")
HIDDEN = ("script", "style")


class Source(HTMLParser):
    """The visible words of a page and the local pages that it links to."""

    def __init__(self, path):
        super().__init__(convert_charrefs=True)
        self.path, self.text, self.links = path, [], []
        self.hidden, self.in_body = 0, False
        self.feed(path.read_text(encoding="utf-8"))
        self.words = Counter(" ".join(self.text).split())

    def handle_starttag(self, tag, attributes):
        self.hidden += tag in HIDDEN
        self.in_body |= tag == "body"
        href = dict(attributes).get("href") or ""
        if tag == "a" and "#" not in href and not urlsplit(href).scheme and href.endswith(PAGES):
            self.links.append((self.path.parent / unquote(href)).resolve())

    def handle_endtag(self, tag):
        self.hidden -= tag in HIDDEN

    def handle_data(self, data):
        if self.in_body and not self.hidden:
            self.text.append(data)


def reachable_pages(top):
    """All pages of a site that a chain of links without fragments leads to."""
    found, pending = {}, [top.resolve()]
    while pending:
        path = pending.pop()
        if path not in found and path.is_file():
            found[path] = Source(path)
            pending += found[path].links
    return found


class Sites(ToolTest):
    def check(self, top, title, messages):
        book = self.convert(top, "-o", "site.epub")
        self.assertEqual(book.title, title)
        sources = reachable_pages(top)
        self.assertEqual(len(book.spine), len(sources))
        # Names differ, so pages are told by their words: none is lost, none added, none twice.
        words = Counter()
        for name in book.spine:
            body = book.page(name).find(XHTML + "body")
            words[frozenset(Counter(" ".join(body.itertext()).split()).items())] += 1
        expected = Counter(frozenset(source.words.items()) for source in sources.values())
        self.assertEqual(words - expected, Counter())
        self.assertEqual(expected - words, Counter())
        book.check_all(self, messages)
        self.check_validity(book)
        self.check_drawing(book, 2)

    def check_validity(self, book):
        """All pages are XHTML 1.0 Strict, but for their document type declaration, which names
        another version and would have xmllint read that one's defaults."""
        if IS_SANITIZED:
            return  # the library cannot be loaded into this process, and the bytes are the same
        library = ctypes.CDLL(BUILD / "lib" / "libKav_Epub.so")
        dtd = self.dir / "strict.dtd"
        dtd.write_bytes(ctypes.c_char_p.in_dll(library, "kXhtml1StrictDtd").value)
        pages = []
        for name in book.spine:
            page = book.read("OEBPS/" + name)
            pages.append(self.dir / name)
            pages[-1].write_bytes(re.sub(rb"<!DOCTYPE[^>]*>", b"", page, count=1))
        checked = run("xmllint", "--noout", "--nonet", "--dtdvalid", dtd, *pages)
        self.assertEqual(checked.stderr, "")

    def test_debian_reference(self):
        self.check(DEBIAN, "Debian Reference", WITHOUT_COVER)

    @unittest.skipIf(IS_SANITIZED, "takes minutes; the other site runs the same code")
    def test_python_documentation(self):
        # One page offers a program for download, which is no type that an EPUB 2 book knows.
        self.check(PYTHON, "3.11.2 Documentation", WITHOUT_COVER | {"RSC-010"})
