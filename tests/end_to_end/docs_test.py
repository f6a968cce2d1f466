"""The documentation: its examples run, its links lead somewhere, its tables are complete."""

import os
import re
import sys
import unittest

from book import BUILD, JPEG, PNG, SOURCE, WITHOUT_COVER, Book, ToolTest, leave_for_epubcheck, run
from transcript import COMMAND, come_out, is_as_expected

DOCS = SOURCE / "docs"
PAGES = sorted(DOCS.glob("*.md")) + sorted(SOURCE.glob("*.md"))
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
# A host is checked for leaks: the examples show who releases what.
BUILDING = [f"-I{SOURCE}", f"-I{SOURCE}/service", f"-I{SOURCE}/edition", f"-L{BUILD}/lib",
            "-fsanitize=address,undefined", "-lKav_Epub", "-lkavepub", f"-Wl,-rpath,{BUILD}/lib"]
COMPILERS = {"c": ["cc", "-std=c99"], "cpp": ["c++", "-std=c++20"]}


class Examples(ToolTest):
    """Every block marked "run", in the order of the page and in one directory."""

    def setUp(self):
        super().setUp()
        novel = SOURCE / "samples" / "gettysburg-address.txt"
        self.write("novel.txt", content=novel.read_bytes())
        self.write("front.jpg", content=JPEG)
        self.write("map.png", content=PNG)
        (self.dir / "page.html").write_text("<html><body><p>A page</p></body></html>")
        for name in ("docs", "platform"):  # as seen from the sources
            (self.dir / name).symlink_to(SOURCE / name)
        self.environment |= {"LD_LIBRARY_PATH": str(BUILD / "lib"), "LC_ALL": "C.UTF-8",
                             "PATH": f"{BUILD / 'bin'}:{os.environ['PATH']}",
                             "PYTHONPATH": f"{DOCS / 'examples'}:{SOURCE / 'hosts/python'}"}

    def run_program(self, language, code):
        if language == "python":
            return run(sys.executable, "-c", code, cwd=self.dir, env=self.environment)
        source = self.dir / f"example.{language}"
        source.write_text(code)
        built = run(*COMPILERS[language], *STRICT, source, *BUILDING, "-o", self.dir / "example")
        self.assertEqual((built.returncode, built.stderr), (0, ""))
        return run(self.dir / "example", cwd=self.dir, env=self.environment)

    def check_console(self, code):
        for command, expected in COMMAND.findall(code):
            shown = come_out(command, cwd=self.dir, env=self.environment)
            self.assertTrue(is_as_expected(shown, expected), f"{command}\n{shown}")

    def check_page(self, name):
        blocks = re.findall(r"^```(\w+) run\n(.*?)^```(?:\n```output\n(.*?)^```)?",
                            (DOCS / name).read_text(), re.MULTILINE | re.DOTALL)
        self.assertTrue(blocks)
        for language, code, output in blocks:
            with self.subTest(code):
                if language == "console":
                    self.check_console(code)
                    continue
                done = self.run_program(language, code)
                self.assertEqual((done.returncode, done.stderr, done.stdout), (0, "", output))
                self.assertFalse((self.dir / "epub_temp").exists())
        for book in map(Book, self.dir.glob("*.epub")):
            if book.is_plain:
                book.check(self)
            else:
                leave_for_epubcheck(book.path, set())

    def test_readme(self):
        readme = (SOURCE / "README.md").read_text()
        code = re.search(r"```c\n(.*?)```", readme, re.DOTALL)[1]
        done = self.run_program("c", code.replace('"/tmp"', '"."'))
        self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""))
        self.check_book("book.epub", "First line, second line. ").check_all(self, WITHOUT_COVER)

    def test_guide(self):
        self.check_page("guide.md")

    def test_text_to_paragraphs(self):
        self.check_page("text-to-paragraphs.md")

    def test_companion_libraries(self):
        self.check_page("companion-libraries.md")


class Pages(unittest.TestCase):
    def test_links(self):
        for page in PAGES:
            text = page.read_text()
            for target in re.findall(r"\]\(([^)\s]+)\)", text):
                with self.subTest(page=page.name, target=target):
                    path, _, place = target.partition("#")
                    linked = page.parent / path if path else page
                    self.assertTrue(linked.exists())
                    if place:
                        headings = re.findall(r"^#+ (.*)$", linked.read_text(), re.MULTILINE)
                        self.assertIn(place, [h.lower().replace(" ", "-") for h in headings])

    def test_named_files_exist(self):
        text = (SOURCE / "CONTRIBUTING.md").read_text()
        for name in re.findall(r"`([a-z_0-9./-]+/[a-z_0-9.-]*)`", text):
            self.assertTrue((SOURCE / name).exists(), name)

    def test_examples_are_marked(self):
        for page in PAGES:
            if page.parent == DOCS:
                self.assertNotRegex(page.read_text(), r"(?m)^```(c|cpp|python|console)$")

    def test_every_defence_names_tests_that_exist(self):
        tables = re.findall(r"^\|.* Tests? \|\n\|[-|]+\n((?:\|.*\n)+)", (DOCS / "security.md").read_text(), re.MULTILINE)
        for row in "".join(tables).splitlines():
            with self.subTest(row):
                names = re.findall(r"`([\w/]+\.(?:cpp|py|c|sh|txt))`", row.rsplit("|", 2)[1])
                self.assertTrue(names)
                for name in names:
                    self.assertTrue((SOURCE / "tests" / name).exists(), name)

    def test_result_codes(self):
        headers = [SOURCE / "fileutil/result_codes.h", *SOURCE.glob("platform/*/kav_*.h")]
        named = re.findall(r"\b(\w+_E_\w+|EPUB_OK) = (-?\d+)",
                           "".join(header.read_text() for header in headers))
        guide = (DOCS / "guide.md").read_text()
        told = re.findall(r"^\| (-?\d+) \| `(\w+)` \|", guide, re.MULTILINE)
        self.assertEqual(sorted(named), sorted((name, number) for number, name in told))


class Reference(unittest.TestCase):
    def test_reference(self):
        done = run(SOURCE / "scripts" / "docs")
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
