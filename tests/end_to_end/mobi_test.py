"""MOBI books of every kind through the tool: what is in the source is in the book."""

import re
import unittest

from book import ALLOWED, SOURCE, WITHOUT_COVER, XHTML, ToolTest, run

FIXTURES = SOURCE / "tests" / "fixtures" / "mobi"
BOOK = (FIXTURES / "source" / "book.html").read_text(encoding="utf-8")

# The text of links of the source, and how the paragraph begins to which each leads.
LINKS = {
    "Go to chapter Two: Tables and Lists": "Two: Tables and Lists",
    "Go to chapter Three: 山与海": "Three: 山与海",
    "the last step": "Report to the master.",
    "Back to the second mark": "Nobody knows where he was born",
}


def visible(html):
    text = re.sub(r"<[^>]*>", " ", html[html.index("<body"):])
    for name, character in (("&lt;", "<"), ("&gt;", ">"), ("&amp;", "&")):
        text = text.replace(name, character)
    return text.split()


class Books(ToolTest):
    def open(self, name):
        book = self.convert(FIXTURES / name, "-o", "book.epub")
        return book, book.page("page-1.html").find(XHTML + "body")

    def test_books_that_a_converter_made(self):
        for name in ("old.mobi", "new.mobi", "both.mobi", "book.azw3"):
            with self.subTest(name):
                book, body = self.open(name)
                self.assertEqual((book.title, book.author),
                                 ("The Harbour & the Hill", "Ada Example & Bo Muster"))
                self.assertEqual(book.spine, ["cover.html", "page-1.html"])
                cover = book.read("OEBPS/" + book.manifest["cover-image"])
                self.assertEqual(cover, (FIXTURES / "source" / "cover.jpg").read_bytes())
                self.check_words(body)
                self.check_inner_links(body)
                self.check_pictures(book, body)
                book.check_all(self, ALLOWED)
                drawn = run("mutool", "draw", "-a", "-r", "30", "-o", self.dir / "p.png", book.path, "3")
                self.assertEqual(drawn.returncode, 0, drawn.stderr)

    def check_words(self, body):
        """All words of the source, in order; a converter may have added a table of contents."""
        words = " ".join(body.itertext()).split()
        at = 0
        for word in visible(BOOK):
            self.assertIn(word, words[at:], f"after {words[max(0, at - 5):at]}")
            at = words.index(word, at) + 1

    def check_inner_links(self, body):
        parents = {child: parent for parent in body.iter() for child in parent}
        places = {element.get("id"): element for element in body.iter() if element.get("id")}
        links = {"".join(a.itertext()).strip(): a.get("href") for a in body.iter(XHTML + "a")}
        for text, beginning in LINKS.items():
            place = places[links[text].removeprefix("#")]
            while not "".join(place.itertext()).strip():
                place = parents[place]
            self.assertIn(beginning, "".join(place.itertext()), text)

    def check_pictures(self, book, body):
        """The map, the photograph, the sign and the map again; converters store them as JPEG."""
        shown = [book.read("OEBPS/" + img.get("src")) for img in body.iter(XHTML + "img")]
        self.assertEqual((len(shown), len(set(shown)), shown[0]), (4, 3, shown[3]))
        for picture in shown:
            self.assertRegex(picture, rb"^(\xff\xd8\xff|\x89PNG|GIF8)")

    def test_odd_books(self):
        rows = (
            ("cp1252.mobi", "Grüße aus dem Café", "5 €, naïve, Œuvre", ALLOWED),
            ("dictionary.mobi", "Letters", "βήτα The second letter,", WITHOUT_COVER),
            ("huffman.mobi", "The Packed Book", "Sentence number 120 of", WITHOUT_COVER),
            ("plain.pdb", "A Plain Café", "", WITHOUT_COVER),
        )
        for name, title, sentence, messages in rows:
            with self.subTest(name):
                book, body = self.open(name)
                self.assertEqual(book.title, title)
                self.assertIn(sentence, " ".join(" ".join(body.itertext()).split()))
                book.check_all(self, messages)

    def test_refusals(self):
        (self.dir / "cut.mobi").write_bytes((FIXTURES / "old.mobi").read_bytes()[:9000])
        (self.dir / "text.mobi").write_text("no book at all")
        locked = bytearray((FIXTURES / "old.mobi").read_bytes())
        first_record = int.from_bytes(locked[78:82], "big")
        locked[first_record + 12:first_record + 14] = b"\0\2"
        (self.dir / "locked.mobi").write_bytes(locked)
        rows = (
            (1, ["cut.mobi"], r"cut\.mobi: .*damaged"),
            (1, ["text.mobi"], r"text\.mobi: is no MOBI book"),
            (1, ["locked.mobi"], r"locked\.mobi: .*(DRM|encrypted|locked)"),
            (2, [FIXTURES / "old.mobi", "--title", "T"], r"old\.mobi: .*brings its own title"),
        )
        for code, arguments, message in rows:
            with self.subTest(arguments=arguments):
                done = self.kavepub("convert", "-o", "out.epub", *arguments)
                self.assertEqual((done.returncode, done.stdout), (code, ""))
                self.assertRegex(done.stderr, message)
                self.assertFalse((self.dir / "out.epub").exists())


if __name__ == "__main__":
    unittest.main()
