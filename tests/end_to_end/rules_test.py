"""What the documentation shows of texts and HTML is what comes out: every example, converted."""

import json
import re

from book import SOURCE, XHTML, Book, ToolTest

DOCS = SOURCE / "docs"


def rows(markdown):
    """The cells of all tables: the texts in code quotes of each row."""
    for line in re.findall(r"^\| (?!Fault|Text).* \|$", markdown, re.MULTILINE):
        yield re.findall(r"`([^`]+)` \|", line)


class Documented(ToolTest):
    def convert_each(self, texts, extension, *options):
        """Converts each text on its own and returns the books in the same order."""
        names = [f"{number}{extension}" for number in range(len(texts))]
        for name, text in zip(names, texts):
            (self.dir / name).write_bytes(text.encode())
        done = self.kavepub("convert", "--edition", "plain", "--json", "--force", "-o", "books/",
                            *options, *names)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        reports = map(json.loads, done.stdout.splitlines())
        outputs = {report["inputs"][0]: report["output"] for report in reports}
        return [Book(self.dir / outputs[name]) for name in names]


class Paragraphs(Documented):
    def paragraphs(self, book):
        return [" ".join("".join(paragraph.itertext()).split())
                for name in book.spine for paragraph in book.page(name).iter(XHTML + "p")]

    def test_examples(self):
        page = (DOCS / "text-to-paragraphs.md").read_text()
        examples = re.findall(
            r"```text before(.*)\n((?:.*\n)*?)```\n```text after\n((?:.*\n)*?)```", page)
        self.assertEqual(len(examples), len(re.findall("```text", page)) / 2)
        for options in {options for options, *_ in examples}:
            chosen = [(text, after) for other, text, after in examples if other == options]
            arguments = options.split() or ["--paragraphs", "wrapped"]
            books = self.convert_each([text for text, _ in chosen], ".txt", *arguments)
            for (text, after), book in zip(chosen, books):
                with self.subTest(text):
                    expected = [line.removeprefix("¶").strip() for line in after.splitlines()]
                    self.assertEqual(self.paragraphs(book), expected)

    def test_characters(self):
        table = [[json.loads(cell) for cell in row]
                 for row in rows((DOCS / "text-to-paragraphs.md").read_text())]
        self.assertGreater(len(table), 5)
        books = self.convert_each([text for text, _ in table], ".txt", "--paragraphs", "wrapped")
        for (text, paragraph), book in zip(table, books):
            with self.subTest(text):
                self.assertEqual(self.paragraphs(book), [paragraph])


class HtmlRepair(Documented):
    def test_tables(self):
        (self.dir / "sub").mkdir()
        for name in ("p.png", "b.html", "sub/q.jpg", "sub/c.html"):
            (self.dir / name).write_text("<p>x</p>")
        table = list(rows((DOCS / "html-repair.md").read_text()))
        self.assertGreater(len(table), 50)
        pages = [f"<html><body>{row[-2]}</body></html>" for row in table]
        books = self.convert_each(pages, ".html", "--separate")
        for row, book in zip(table, books):
            with self.subTest(row):
                markup = book.read("OEBPS/page-1.html").decode()
                self.assertEqual(re.search("<body>(.*)</body>", markup, re.DOTALL)[1], row[-1])
                book.check(self)
