"""MOBI books of every kind through the tool: what is in the source is in the book."""

import html
import re
import sys
import xml.etree.ElementTree as ET

from book import (ALLOWED, NCX, OPF, TESTS, WITHOUT_COVER, XHTML, Book, ToolTest, data_rows,
                  leave_for_epubcheck)

FIXTURES = TESTS / "fixtures" / "mobi"
sys.path.insert(0, str(FIXTURES))
from old_books import dictionary_book, palm_text


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


class ReadersBooks(ToolTest):
    """What is in the source of a book is in the book for readers."""

    METADATA = {"title": ["Le phare et la marée"], "creator": ["Élise Marnier", "Jean Cap"],
                "language": ["fr"], "publisher": ["Éditions du Quai"], "date": ["1998-03-14"],
                "description": ["Un phare, deux gardiens. Et la mer."],
                "subject": ["Mer", "Phares anciens"]}

    def open(self, name, *options):
        done = self.kavepub("convert", "-fq", FIXTURES / name, "-o", "book.epub", *options)
        self.assertEqual(done.returncode, 0, done.stderr)
        book = Book(self.dir / "book.epub")
        leave_for_epubcheck(book.path, set())
        self.pages = {name: book.page(name) for name in book.spine if name.startswith("page-")}
        return book

    def entries(self, point, level=0):
        for entry in point.findall("ncx:navPoint", NCX):
            yield (level, entry.findtext("ncx:navLabel/ncx:text", "", NCX),
                   entry.find("ncx:content", NCX).get("src"))
            yield from self.entries(entry, level + 1)

    def contents(self, book):
        return list(self.entries(ET.fromstring(book.read("OEBPS/toc.ncx")).find("ncx:navMap", NCX)))

    def text_from(self, page, target):
        """All text of the page from where a link leads on."""
        name, _, wanted = target.partition("#")
        root = self.pages[name or page]
        text, isBehind = "", not wanted
        for element in root.find(XHTML + "body").iter():
            isBehind = isBehind or element.get("id") == wanted
            if isBehind:
                text += (element.text or "") + " "
            text += (element.tail or "") if isBehind else ""
        return " ".join(text.split())

    def test_everything_of_a_rich_book(self):
        for name in ("lighthouse.mobi", "lighthouse.azw3"):
            with self.subTest(name):
                book = self.open(name)
                for field, values in self.METADATA.items():
                    found = book.opf.findall(f"opf:metadata/dc:{field}", OPF)
                    self.assertEqual([element.text for element in found], values)
                self.assertIn("9782070360024", [element.text for element in
                                                book.opf.findall(".//dc:identifier", OPF)])
                source = (FIXTURES / "source" / "lighthouse.html").read_text(encoding="utf-8")
                headings = re.findall("<h([123])[^>]*>(.*?)</h", source)
                contents = self.contents(book)
                self.assertEqual([(level + 1, title) for level, title, _ in contents],
                                 [(int(level), html.unescape(title)) for level, title in headings])
                for _, title, target in contents:
                    self.assertTrue(self.text_from("", target).startswith(title), title)
                found = [(element.tag.removeprefix(XHTML + "h"), "".join(element.itertext()))
                         for root in self.pages.values() for element in root.iter()]
                for level, title in headings:
                    self.assertIn((level, html.unescape(title)), found)
                if name == "lighthouse.mobi":
                    self.assertIn('<h2 id="_h.1" style="text-align: inherit;"><b>L’arrivée</b></h2>',
                                  book.read("OEBPS/page-2.xhtml").decode())
                self.check_text(source)
                self.check_links()
                cover = book.read("OEBPS/" + book.manifest["cover-picture"])
                self.assertEqual(cover, (FIXTURES / "source" / "cover.jpg").read_bytes())

    def check_text(self, source):
        """A converter writes small capitals as such, and adds a contents page."""
        text = " ".join(" ".join(root.find(XHTML + "body").itertext()) for root in self.pages.values())
        letters = re.sub(r"\W", "", text).lower()
        source = re.sub("<svg.*?</svg>", "", source[source.index("<body"):])
        at = 0
        for piece in filter(None, (re.sub(r"\W", "", html.unescape(text)).lower()
                                   for text in re.split("<[^>]*>", source))):
            found = letters.find(piece, at)
            self.assertGreaterEqual(found, 0, piece)
            at = found + len(piece)

    def check_links(self):
        leads = {}
        for page, root in self.pages.items():
            for link in root.iter(XHTML + "a"):
                if link.get("href"):
                    leads["".join(link.itertext()).strip()] = (page, link.get("href"))
        self.assertEqual(leads["la page du phare"][1], "https://example.org/phare?jour=1&lieu=quai")
        for text, beginning in (("le tableau des marées", "Les marées d’une semaine"),
                                ("1", "1. Le registre"), ("1.", "1")):
            self.assertTrue(self.text_from(*leads[text]).startswith(beginning), text)

    def test_words_that_guide_through_a_letter(self):
        more = (("omicron", f"<p>{'A small one. ' * 800}</p>"), ("omit", "<p>Leave out.</p>"))
        (self.dir / "more.mobi").write_bytes(dictionary_book(more))
        book = self.open(self.dir / "more.mobi")
        self.assertEqual([entry[:2] for entry in self.contents(book)][-2:], [(0, "O"), (1, "omit")])
        page = book.read("OEBPS/contents.xhtml").decode()
        self.assertEqual(re.findall("<a[^>]*>([^<]*)", page), ["A", "Β", "G", "R", "O"])

    def test_markup_of_the_old_format(self):
        for name, markup, body in data_rows("mobi_pages.txt"):
            with self.subTest(name):
                self.assertEqual(self.body_of(b"<html>" + markup.encode()), body)

    def book_of(self, text, places=()):
        """The book of a text without packing and index."""
        (self.dir / "text.pdb").write_bytes(palm_text("T", text, places))
        done = self.kavepub("convert", "-fq", "text.pdb", "-o", "text.epub", "--cover", "none")
        self.assertEqual(done.returncode, 0, done.stderr)
        return Book(self.dir / "text.epub")

    def body_of(self, text):
        page = self.book_of(text).read("OEBPS/page-1.xhtml").decode()
        return re.search("<body[^>]*>\n(.*)\n</body>", page, re.S)[1]

    def test_bookmarks_of_texts(self):
        for name, text, places, contents, paragraphs in data_rows("palm_texts.txt"):
            with self.subTest(name):
                book = self.book_of(text.encode(), map(int, re.findall("[0-9]+", places)))
                self.assertEqual([title for _, title, _ in self.contents(book)], contents.split("|"))
                shown = [" ".join("".join(element.itertext()).split())
                         for page in book.spine if page.startswith("page-")
                         for element in book.page(page).find(XHTML + "body").iter()
                         if element.tag in (XHTML + "p", XHTML + "h1")]
                self.assertEqual(shown, paragraphs.split("|"))

    def test_what_only_the_new_format_has(self):
        book = self.open("lighthouse.azw3")
        font = (FIXTURES / "source" / "marine.ttf").read_bytes()
        [name] = [name for name in book.names if book.read(name) == font]
        sheets = b"".join(book.read(name) for name in book.names if name.endswith(".css"))
        self.assertIn(f"url({name.removeprefix('OEBPS/')})".encode(), sheets)
        self.assertIn(b"small-caps", sheets)
        used = {word for root in self.pages.values() for element in root.iter()
                for word in element.get("class", "").split()}
        self.assertTrue(any(f".{word} ".encode() in sheets for word in used))
        self.assertTrue(any(b"#ffcc00" in book.read(name) for name in book.names if name.endswith(".svg")))

    def test_options_and_other_kinds(self):
        book = self.open("lighthouse.mobi", "--title", "T", "--cover", "none")
        self.assertEqual((book.title, "cover-picture" in book.manifest), ("T", False))
        book = self.open("dictionary.mobi")
        self.assertEqual([title for _, title, _ in self.contents(book)], ["A", "Β", "G", "R", "O"])
        for _, title, target in self.contents(book):
            self.assertTrue(self.text_from("", target).startswith(title), title)
        book = self.open("plain.pdb")
        self.assertEqual(book.title, "A Plain Café")
        for name in ("both.mobi", "drawing.azw3", "cp1252.mobi", "huffman.mobi"):
            self.open(name)
