"""Texts in many encodings: recognised, decoded, and set in the paragraphs that they have."""

import itertools
import json
import random
import re

from book import XHTML, Book, ToolTest, as_bytes, as_in_a_book, data_rows

UNICODE = ["utf-8", "utf-8-sig", "utf-16", "utf-16le", "utf-16be", "utf-32", "utf-32le", "utf-32be"]
LANGUAGES = [(name, UNICODE + encodings.split(), text)
             for name, encodings, text in data_rows("language_texts.txt")]
TEXTS = {name: text for name, _, text in LANGUAGES}
PYTHON_NAMES = {"macintosh": "mac-roman", "windows-874": "cp874"}


def encode(text, encoding):
    return text.encode(PYTHON_NAMES.get(encoding, encoding))


def is_character(unit, codec):
    """Whether bytes are one character that a book shows as it is, and that Big5 has once."""
    text = unit.decode(codec, "ignore")
    return text.isprintable() and unit.decode(codec, "replace") == text and len(text) == 1 and \
        text not in "•\uf06e／＼"


def warning_text(warning):
    return warning["place"] + ": " + warning["message"]


class Encodings(ToolTest):
    def reports(self, *arguments):
        """Of thousands of books, the cells of which would take longer than they do."""
        done = self.kavepub("convert", "--edition", "plain", "--json", "--force", "--paragraphs",
                            "wrapped", "--sandbox", "off", *arguments)
        self.assertEqual(done.stderr, "")
        return [json.loads(line) for line in done.stdout.splitlines()]

    def check(self, reports, sources, message):
        self.assertEqual(len(reports), len(sources))
        for report in reports:
            source = report["inputs"][0]
            with self.subTest(source):
                self.assertEqual(report["status"], "done", report["message"])
                self.assertRegex(report["message"], f"^{message}, wrapped lines$")
                self.assertEqual(Book(self.dir / report["output"]).text_of_pages(),
                                 as_in_a_book(sources[source].encode()))

    def test_detected(self):
        """Each encoding in each size, as one batch."""
        sources = {}
        for language, encodings, text in LANGUAGES:
            paragraph = text.splitlines()[2] + "\n"
            for size, sized in (("paragraph", paragraph), ("text", text), ("pages", text * 60)):
                named = [(encoding, encode(sized, encoding)) for encoding in encodings]
                # With the byte order that Python does not choose by itself.
                named += [(f"big {encoding}", ("\ufeff" + sized).encode(encoding + "be"))
                          for encoding in ("utf-16", "utf-32")]
                for encoding, data in named:
                    name = f"texts/{language} {size} {encoding}.txt"
                    self.write(name, content=data)
                    sources[name] = sized
        self.check(self.reports("texts"), sources, "[A-Z0-9-]+")

    def test_declared(self):
        for encoding in sorted({name for _, encodings, _ in LANGUAGES for name in encodings}):
            sources = {f"{encoding}/{language}.txt": text
                       for language, encodings, text in LANGUAGES if encoding in encodings}
            for name, text in sources.items():
                self.write(name, content=encode(text, encoding))
            declared = encoding.removesuffix("-sig")
            self.check(self.reports("--encoding", declared, encoding), sources, declared)

    def test_line_ends(self):
        for name, data, text in data_rows("line_ends.txt"):
            with self.subTest(name):
                self.write("in.txt", content=as_bytes(data))
                report, = self.reports("in.txt")
                self.assertEqual(report["status"], "done", report["message"])
                self.assertEqual(Book(self.dir / "in.epub").text_of_pages(), text)

    def test_damage(self):
        for name, data, encoding, byte, text in data_rows("encoding_errors.txt"):
            self.write("in.txt", content=as_bytes(data))
            places = text.count("\ufffd")
            is_slight = places * 1000 <= len(text)
            for errors in "strict", "auto", "replace":
                with self.subTest(name, errors=errors):
                    report, = self.reports("--encoding", encoding, "--encoding-errors", errors,
                                           "in.txt")
                    if places and (errors == "strict" or errors == "auto" and not is_slight):
                        self.assertRegex(
                            report["message"], rf"^in\.txt: byte {byte} is not valid .*, in line "
                            r"\d+; name the right encoding, or let be replaced")
                        continue
                    self.assertEqual(Book(self.dir / "in.epub").text_of_pages(), text)
                    self.assertRegex(" ".join(map(warning_text, report["warnings"])),
                                     "^$" if not places else
                                     rf"in\.txt, line \d+: byte {byte} is not valid .* U\+FFFD$"
                                     if places == 1 else
                                     rf"line \d+: {places} places .* U\+FFFD.* at byte {byte}$")

    def test_every_character(self):
        """All of one or two bytes, and some of four, as Python has them: but for the few that are
        two characters in Unicode, of which every system has another."""
        units = [bytes(unit) for unit in [*itertools.product(range(0x80, 0x100)), *itertools.product(
            range(0x81, 0xff), range(0x30, 0xff))]]
        for name, codec, theirs, ours in data_rows("encoding_characters.txt"):
            known = [unit for unit in units if is_character(unit, codec)]
            if codec == "gb18030":
                known += [chr(c).encode(codec) for c in range(0x10000, 0x20000, 99)]
            lines = [b"".join(known[at:at + 50]) for at in range(0, len(known), 50)]
            with self.subTest(name, characters=len(known)):
                self.write("in.txt", content=b"\n".join([b"x", *lines]))
                report, = self.reports("--encoding", name, "in.txt")
                self.assertEqual((report["status"], report["warnings"]), ("done", []), report)
                text = " ".join(["x", *(line.decode(codec) for line in lines)])
                self.assertEqual(Book(self.dir / "in.epub").text_of_pages(),
                                 text.translate(str.maketrans(theirs, ours)))

    def test_damage_stays_in_its_line(self):
        chance = random.Random(11)
        cases = {}
        for language, encodings, text in LANGUAGES:
            for encoding in encodings:
                # Two or four bytes a unit get out of step, and shifts may hold for more than a line.
                if encoding.startswith(("utf-16", "utf-32", "utf-8-", "iso-2022-kr")):
                    continue
                lines = text.splitlines()
                for number in range(8):
                    at = chance.randrange(2, len(lines))
                    data = [encode(line, encoding) + b"\n" for line in lines]
                    cut = chance.randrange(len(data[at]) - 1)
                    put = bytes(chance.choices([27, *range(0x41, 0x100)], k=chance.randrange(2)))
                    data[at] = data[at][:cut] + put + data[at][cut + chance.randrange(2):]
                    name = f"{encoding}/{language} {number}.txt"
                    self.write(name, content=b"".join(data))
                    cases[name] = lines, at, len(b"".join(data[:at])), len(b"".join(data[:at + 1]))
        for encoding in sorted({name.partition("/")[0] for name in cases}):
            for report in self.reports("--encoding", encoding, "--encoding-errors", "replace",
                                       encoding):
                with self.subTest(report["inputs"][0]):
                    lines, at, begin, end = cases[report["inputs"][0]]
                    found = Book(self.dir / report["output"]).text_of_pages()
                    before, after = " ".join(lines[:at]) + " ", " ".join(lines[at + 1:])
                    self.assertEqual(found[:len(before)], before)
                    self.assertEqual(found[len(found) - len(after) - 1:], after + " ")
                    places = found.count("\ufffd")
                    warning = " ".join(map(warning_text, report["warnings"]))
                    self.assertEqual(places > 0, bool(warning))
                    if places:
                        self.assertLess(begin, int(re.search(r"byte (\d+)", warning)[1]))
                        self.assertIn(f": {places} places" if places > 1 else ": byte", warning)


def paragraphs(book):
    """Of each page, the texts of its paragraphs without blanks, which readers do not show."""
    return [[re.sub("[ \n]+", "", "".join(p.itertext())) for p in book.page(name).iter(XHTML + "p")]
            for name in book.spine]


class Paragraphs(ToolTest):
    def test_recognised(self):
        said = {"line": "UTF-8, one paragraph a line", "wrapped": "UTF-8, wrapped lines"}
        for name, text, mode in data_rows("paragraph_modes.txt"):
            with self.subTest(name):
                self.write("in.txt", content=text.encode())
                self.convert("in.txt")
                self.assertEqual(self.report["message"], said[mode])
        for mode, message in said.items():
            self.convert("in.txt", "--paragraphs", mode)
            self.assertEqual(self.report["message"], message)

    def check_lines(self, text):
        """Each line that is not blank is one paragraph, unless a page ends within it."""
        self.write("in.txt", content=text.encode())
        book = self.convert("in.txt", "--paragraphs", "line")
        lines = [re.sub("[ \n]+", "", line) for line in text.split("\n")]
        lines = [line for line in lines if line.strip("\t\u3000\xa0\f")]
        found = []
        for page in paragraphs(book):
            self.assertTrue(all(page), "an empty paragraph")
            goes_on = bool(found) and found[-1] != lines[len(found) - 1]
            if goes_on:
                found[-1] += page.pop(0)
            found += page
        self.assertEqual(found, lines)
        book.check(self)

    def test_each_line_one_paragraph(self):
        chinese = TEXTS["chinese"].replace("\n", "") * 20
        rows = {
            "blank lines": "\n\none\n\n\ntwo\n   \nthree\n\u3000\u3000\nfour\n\t\nfive\n",
            "page and more": "".join(" " * (i % 7) + f"line {i}\n" for i in range(150)),
            "bullets": "".join("•" * (i % 3) + " " * (i % 2) + f"item {i}\n" for i in range(150)),
            "long lines": "".join("x" * length + "\n" for length in range(240, 520, 7)),
            "long lines of words": ("word and another " * 100 + "\n") * 40,
            "long lines in wide letters": chinese + "\n" + "雪" * 5000 + "\n",
            "bullets at cuts": "".join("x" * length + "•" * 5 + " y • z" * 60 + "\n"
                                       for length in range(200, 260)),
            "blanks at cuts": "".join("x" * length + " " * 20 + "y" * 300 + "\n"
                                      for length in range(220, 260)),
            "markup": "a < b & c > d &amp; <p>\n" * 3,
        }
        for name, text in rows.items():
            with self.subTest(name):
                self.check_lines(text)

    def test_random_lines(self):
        chance = random.Random(5)
        words = ["a", "word", "雪", "“你来了？”", "•", "\uf06e", "   ", "\u3000", "\t", "𝄞",
                 "x" * 40]
        for _ in range(40):
            lines = ["".join(chance.choices(words, k=chance.choice((0, 1, 5, 60, 300))))
                     for _ in range(chance.randint(1, 150))]
            lines.append("end")
            with self.subTest(text="\n".join(lines)[:200]):
                self.check_lines("\n".join(" " * chance.randint(0, 3) + line for line in lines))
