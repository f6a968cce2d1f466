"""MOBI books of every kind through the tool: what is in the source is in the book."""

import html
import re

from book import ALLOWED, TESTS, WITHOUT_COVER, XHTML, ToolTest, data_rows

FIXTURES = TESTS / "fixtures" / "mobi"


def words_of(source):
    markup = (FIXTURES / "source" / source).read_text(encoding="utf-8")
    return html.unescape(re.sub("<[^>]*>", " ", markup[markup.index("<body"):])).split()


class Books(ToolTest):
    def open(self, name, messages):
        book = self.convert(FIXTURES / name, "-o", "book.epub")
        book.check_all(self, messages)
        return book, book.page("page-1.html").find(XHTML + "body")

    def test_books_that_a_converter_made(self):
        for name in ("old.mobi", "new.mobi", "both.mobi", "book.azw3"):
            with self.subTest(name):
                book, body = self.open(name, ALLOWED)
                self.assertEqual((book.title, book.author),
                                 ("The Harbour & the Hill", "Ada Example & Bo Muster"))
                self.assertEqual(book.spine, ["cover.html", "page-1.html"])
                cover = book.read("OEBPS/" + book.manifest["cover-image"])
                self.assertEqual(cover, (FIXTURES / "source" / "cover.jpg").read_bytes())
                self.check_words(body, "book.html")
                self.check_inner_links(body)
                self.check_pictures(book, body)
                self.check_drawing(book, 3)

    def check_words(self, body, source):
        """All words of the source, in order; a converter may have added a table of contents."""
        words = " ".join(body.itertext()).split()
        at = 0
        for word in words_of(source):
            self.assertIn(word, words[at:], f"after {words[max(0, at - 5):at]}")
            at = words.index(word, at) + 1

    def check_inner_links(self, body):
        parents = {child: parent for parent in body.iter() for child in parent}
        places = {element.get("id"): element for element in body.iter() if element.get("id")}
        links = {}
        for link in body.iter(XHTML + "a"):
            links.setdefault("".join(link.itertext()).strip(), link.get("href"))
        for text, beginning in data_rows("mobi_links.txt"):
            place = places[links[text].removeprefix("#")]
            while not "".join(place.itertext()).strip():
                place = parents[place]
            self.assertIn(beginning, " ".join("".join(place.itertext()).split()), text)

    def check_pictures(self, book, body):
        """The map, the photograph, the sign and the map again; converters store them as JPEG."""
        shown = [book.read("OEBPS/" + img.get("src")) for img in body.iter(XHTML + "img")]
        self.assertEqual((len(shown), len(set(shown)), shown[0]), (4, 3, shown[3]))
        for picture in shown:
            self.assertRegex(picture, rb"^(\xff\xd8\xff|\x89PNG|GIF8)")

    def test_odd_books(self):
        rows = (("cp1252.mobi", "Grüße aus dem Café", "5 €, naïve, Œuvre", ALLOWED),
                ("dictionary.mobi", "Letters", "βήτα The second letter,", WITHOUT_COVER),
                ("huffman.mobi", "The Packed Book", "Sentence number 120 of", WITHOUT_COVER))
        for name, title, sentence, messages in rows:
            with self.subTest(name):
                book, body = self.open(name, messages)
                self.assertEqual(book.title, title)
                self.assertIn(sentence, " ".join(" ".join(body.itertext()).split()))
