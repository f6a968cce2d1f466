"""Real sites, whole, and single pages through the tool."""

import base64
import ctypes
import random
import re
import unittest
from collections import Counter
from html import unescape
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

from book import (BUILD, IS_SANITIZED, PAGES, TESTS, WITHOUT_COVER, XHTML, Book, ToolTest,
                  leave_for_epubcheck, run)

DEBIAN = Path("/usr/share/debian-reference/index.en.html")
PYTHON = Path("/usr/share/doc/python3-doc/html/c-api/index.html")
HIDDEN = ("script", "style")
LINK = re.compile(r'<a\b[^>]*\bhref="([^"#]+)"')
SAMPLE = 10  # pages of each site
PICTURE = (TESTS / "fixtures" / "mobi" / "source" / "map.png").read_bytes()

# What style sheets are made of, and what they are not.
PIECES = ["p", "b", ".c", "#i", "1", "1a", ".1", "*", "::before", ":hover", ":not(", ":is(", ":nth-child(2n+1)",
          "(", ")", "[a]", "[a=b]", "[", "]", "=", "~=", "*=", '"', "'", ">", "+", "~", "|", ",", " ", "-", "--", "_",
          ".", "#", "\\", "$", "^", "é", "/", "%", "10%", "1.5em", "1rem", "-1", "!important", "!", "red", "#1g",
          "url(a.png)", "url(", "rgb(1,2,3)", "calc(1px + 2em)", "1e", "5.", "@", "&", "n", '"x"', "\n", "/*", "*/",
          "<!--", "-->", "inherit", "normal", "bold", "{", "}", ";", ":", "?"]
PROPERTIES = ["color", "font", "font-size", "content", "width", "background", "src", "1a", "_b", "-c", "--d", ""]
HEAD = """<title>T</title><meta name=author content="Ann Lee"><meta name=dcterms.creator content="Bob Cole">
<meta name=keywords content="sea, ships;, tides"><meta property=article:published_time content=2001-02-03T04:05:06Z>
<meta name=date content=1999><meta name=dc.identifier content=urn:isbn:9780306406157>"""
METADATA = """<dc:creator opf:role="aut">Ann Lee</dc:creator>
<dc:creator opf:role="aut">Bob Cole</dc:creator>
<dc:language>en</dc:language>
<dc:identifier opf:scheme="ISBN">9780306406157</dc:identifier>
<dc:date>2001-02-03</dc:date>
<dc:subject>sea</dc:subject>
<dc:subject>ships</dc:subject>
<dc:subject>tides</dc:subject>
"""


class VisibleText(HTMLParser):
    """How often each visible word stands on a page."""

    def __init__(self, path):
        super().__init__(convert_charrefs=True)
        self.text, self.hidden, self.in_body = [], 0, False
        self.feed(path.read_text(encoding="utf-8"))
        self.words = Counter(" ".join(self.text).split())

    def handle_starttag(self, tag, attributes):
        self.hidden += tag in HIDDEN
        self.in_body |= tag == "body"

    def handle_endtag(self, tag):
        self.hidden -= tag in HIDDEN

    def handle_data(self, data):
        if self.in_body and not self.hidden:
            self.text.append(data)


def links(path):
    """The local pages that a page links to without a fragment."""
    for href in map(unescape, LINK.findall(path.read_text(encoding="utf-8"))):
        if not urlsplit(href).scheme and href.endswith(PAGES):
            yield (path.parent / unquote(href)).resolve()


def reachable_pages(top):
    """All pages below the given one's directory that a chain of links leads to."""
    found, pending = set(), [top.resolve()]
    root = pending[0].parent
    while pending:
        path = pending.pop()
        if path not in found and path.is_relative_to(root) and path.is_file():
            found.add(path)
            pending += links(path)
    return sorted(found)


class Drawings(ToolTest):
    def test_pictures_in_drawings(self):
        (self.dir / "map.png").write_bytes(PICTURE)
        drawing = '<svg viewBox="0 0 8 6"><image width="8" height="6" xlink:href="%s"/>%s</svg>'
        (self.dir / "a.html").write_text("<title>T</title><p>a" + drawing % ("map.png", "") +
                                         drawing % ("map.png", '<circle r="2"/>') +
                                         drawing % ("no.png", '<circle r="3"/>') +
                                         # What browsers do without, but not the standard.
                                         "<svg viewBox='0 0 8 6'><rect/><circle/><ellipse/><polygon/><polyline/>"
                                         "<linearGradient><stop/></linearGradient><image/><path d=M1,1 />"
                                         "<filter><feBlend/><feComposite/></filter></svg>")
        done = self.kavepub("convert", "-f", "a.html", "-o", "a.epub", "--cover", "none")
        self.assertIn("no.png", done.stderr)
        self.assertNotIn("map.png", done.stderr)
        book = Book(self.dir / "a.epub")
        shown = [book.read("OEBPS/" + image.get("src")) for image in book.page("page-1.xhtml").iter(XHTML + "img")]
        self.assertEqual(shown[0], PICTURE)
        self.assertIn(b'height="6" xlink:href="data:image/png;base64,' + base64.b64encode(PICTURE), shown[1])
        self.assertNotIn(b"no.png", shown[2])
        leave_for_epubcheck(book.path, set())


class Pages(ToolTest):
    def test_styles_of_any_kind(self):
        """What is left of them can be read; so can what else a page says of itself."""
        chance = random.Random(7)

        def some(most):
            return "".join(chance.choices(PIECES, k=chance.choice((0, 1, most))))

        for number in range(100):
            rules = [f"p{some(3)}{{{chance.choice(PROPERTIES)}:{some(4)}; margin: {number}px}}" for _ in range(4)]
            (self.dir / f"{number}.css").write_text("\n".join([*rules, f"@media {some(3)} {{p{{color:red}}}}"]))
        (self.dir / "a.png").write_bytes(PICTURE)
        sheets = "".join(f"<link rel=stylesheet href={number}.css>" for number in range(100))
        picture = base64.b64encode(PICTURE).decode()
        (self.dir / "a.html").write_text(f"<html lang=en>{HEAD}{sheets}<h1>T</h1><p style='{some(9)}'>a"
                                         f"<img src='data:image/png;base64,{picture}'>")
        self.assertEqual(self.kavepub("convert", "-q", "a.html", "-o", "a.epub").returncode, 0)
        book = Book(self.dir / "a.epub")
        self.assertIn(METADATA, book.read("OEBPS/package.opf").decode())
        [image] = book.page("page-1.xhtml").iter(XHTML + "img")
        self.assertEqual(book.read("OEBPS/" + image.get("src")), PICTURE)
        kept = [book.read(name) for name in book.names if name.endswith(".css")]
        self.assertGreater(sum(sheet.count(b"px;") for sheet in kept), 100)
        leave_for_epubcheck(book.path, set())

    def test_nothing_is_lost_of_much(self):
        """A text of one line, and pages that are more than is kept as it is."""
        line = "".join(f"Sentence {number} tells of the sea. " for number in range(40_000))
        (self.dir / "line.txt").write_text(line)
        pages = ["".join(f"<p>{number}{'tides' * 50}" for number in range(first, 75_000, 25)) for first in range(25)]
        for number, page in enumerate(pages):
            link = f"<a href={number + 1}.html>next</a>" if number + 1 < len(pages) else ""
            (self.dir / f"{number}.html").write_text(f"<h1>Part {number}</h1>{link}{page}")
        for source, text in (("line.txt", line), ("0.html", "".join(pages).replace("<p>", ""))):
            with self.subTest(source):
                self.assertEqual(self.kavepub("convert", "-q", source, "-o", "a.epub", "-f").returncode, 0)
                shown = Book(self.dir / "a.epub").text_of_pages()
                self.assertTrue("".join(shown.split()) == "".join(text.split()), shown[:200])

    def test_contents_of_many_pages(self):
        (self.dir / "a.html").write_text("".join(
            f"<h{level}>Part {number}{' of the sea' * 9}</h{level}><p>a"
            for number in range(2000) for level in (1, 2, 3, 4)))
        self.assertEqual(self.kavepub("convert", "-q", "a.html", "-o", "a.epub").returncode, 0)
        book = Book(self.dir / "a.epub")
        contents = [book.page(name) for name in book.spine if name.startswith("contents")]
        self.assertGreater(len(contents), 4)
        self.assertEqual([], [page for page in contents for ol in page.iter(XHTML + "ol") if len(ol) == 0])
        self.assertEqual(6000, sum(1 for page in contents for _ in page.iter(XHTML + "a")))
        leave_for_epubcheck(book.path, set())


class Sites(ToolTest):
    def check(self, top, title, messages):
        book = self.convert(top, "-o", "site.epub")
        self.assertEqual(book.title, title)
        sources = reachable_pages(top)
        self.assertEqual(len(book.spine), len(sources))
        # Names differ, so pages are told by their words: no word is lost, none added.
        pages = [book.page(name).find(XHTML + "body") for name in book.spine]
        words = [Counter(" ".join(page.itertext()).split()) for page in pages]
        for source in random.Random(1).sample(sources, SAMPLE):
            self.assertEqual(words.count(VisibleText(source).words), 1, source)
        book.check_all(self, messages)
        self.check_validity(book)
        return book

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
        self.check_drawing(self.check(DEBIAN, "Debian Reference", WITHOUT_COVER), 2)

    @unittest.skipIf(IS_SANITIZED, "takes minutes; the other site runs the same code")
    def test_part_of_the_python_documentation(self):
        title = "Python/C API Reference Manual — Python 3.11.2 documentation"
        self.check(PYTHON, title, WITHOUT_COVER)
