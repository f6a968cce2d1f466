"""An installation, at a place it was moved to, as programs, scripts and shells use it."""

import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from book import BUILD, KAVEPUB, SOURCE, XHTML, ToolTest, run

EXAMPLES = SOURCE / "docs" / "examples"
PAGES = SOURCE / "docs" / "man"
OFFERS_OF_ZSH = SOURCE / "tests" / "end_to_end" / "offers_of_zsh.zsh"
COMPLETIONS = SOURCE / "packaging" / "completions"
STRICT = ("-Wall", "-Wextra", "-Wpedantic", "-Werror")
C_HEADERS = {"service/epub_service.h", "convert/progress_callback.h", "fileutil/export.h",
             "fileutil/result_codes.h", "fileutil/version.h"}
CPP_HEADERS = {"convert/epub_management.h", "builder/epub_base.h", "package/xml_file.h",
               "xml/xml_base.h", "fileutil/fileutil.h"}


def options_of(text):
    return set(re.findall(r"(?<![\w-])--?[a-zA-Z][\w-]*", text))


def help_of(*command):
    """The options and the commands that the help shows."""
    text = run(KAVEPUB, *command, "--help").stdout
    options = re.findall(r"^  (-\S+)", text, re.MULTILINE)
    commands = re.search(r"^Subcommands:\n((?:  .*\n)*)", text, re.MULTILINE)
    return (set(",".join(options).split(",")),
            re.findall(r"^  (\w+)", commands.group(1), re.MULTILINE) if commands else [])


def all_of_help():
    """The options of the tool (under the name "") and of each command."""
    options, commands = help_of()
    return {"": options, **{command: help_of(command)[0] for command in commands}}


class Foreign(ToolTest):
    @classmethod
    def setUpClass(cls):
        """Installs once, and moves all of it to where nobody said it would be."""
        directory = cls.enterClassContext(tempfile.TemporaryDirectory())
        done = run("cmake", "--install", BUILD, "--prefix", Path(directory, "first"))
        assert done.returncode == 0, done.stderr
        cls.prefix = Path(shutil.move(Path(directory, "first"), Path(directory, "any prefix")))
        cls.libraries = cls.prefix / "lib"
        cls.include = cls.prefix / "include" / "kav_epub"

    def setUp(self):
        super().setUp()
        self.environment["PKG_CONFIG_PATH"] = str(self.libraries / "pkgconfig")
        self.write("in.txt", content=b"Hello, reader.\n")

    def compile_c(self, source, program):
        flags = shlex.split(self.succeed("pkg-config", "--cflags", "--libs", "kav_epub"))
        self.succeed("cc", "-std=c99", *STRICT, source, *flags,
                     f"-Wl,-rpath,{self.libraries}", "-o", program)

    def test_program_in_c(self):
        self.compile_c(EXAMPLES / "convert.c", "convert")
        said = self.succeed(self.dir / "convert", "in.txt", "out.epub")
        self.assertEqual(said, "1 of 2\n2 of 2\n")
        self.check_book("out.epub", "Hello, reader. ")

    def test_program_of_the_manual_page(self):
        page = (PAGES / "kav_epub.3").read_text()
        code = re.search(r"^\.EX\n(.*?)^\.EE", page, re.DOTALL | re.MULTILINE).group(1)
        (self.dir / "page.c").write_text(code.replace("\\-", "-").replace("\\e", "\\"))
        self.compile_c("page.c", "page")
        self.succeed(self.dir / "page")
        self.check_book("book.epub", "A line. ")

    def test_program_in_cpp_with_cmake(self):
        self.succeed("cmake", "-G", "Ninja", "-S", EXAMPLES / "cmake", "-B", self.dir / "build",
                     f"-DCMAKE_PREFIX_PATH={self.prefix}", "-DCMAKE_CXX_FLAGS=" + " ".join(STRICT))
        self.succeed("cmake", "--build", self.dir / "build")
        self.succeed(self.dir / "build" / "table")
        book = self.check_book("table.epub", "Two poles and their elevations: ")
        cells = [cell.text for cell in book.page("page-1.html").iter(XHTML + "td")]
        self.assertEqual(cells, ["North", "0 m", "South", "2835 m"])

    def test_script_in_python(self):
        self.succeed(sys.executable, EXAMPLES / "book.py", "out.epub",
                     self.libraries / "libKav_Epub.so")
        book = self.check_book("out.epub", "First line, second line. third line: 你好. ")
        self.assertEqual((book.title, book.author), ("Grüße", "A Writer"))

    def test_tool(self):
        said = self.succeed(self.prefix / "bin" / "kavepub", "convert", "in.txt")
        self.assertEqual(said, "in.epub (text: UTF-8, wrapped lines)\n")
        self.check_book("in.epub", "Hello, reader. ")

    def test_headers_stand_alone(self):
        companions = {f"platform/{library.stem[3:].lower()}/{library.stem[3:].lower()}.h"
                      for library in self.libraries.glob("libKav_*.so")} - {
                          "platform/kav_epub/kav_epub.h"}
        self.assertGreaterEqual(len(companions), 2)
        installed = {str(path.relative_to(self.include)) for path in self.include.rglob("*.h")}
        self.assertEqual(installed, C_HEADERS | CPP_HEADERS | companions)
        flags = shlex.split(self.succeed("pkg-config", "--cflags", "kav_epub"))
        for language, headers in (("c", C_HEADERS | companions), ("c++", installed)):
            for header in sorted(headers):
                with self.subTest(language=language, header=header):
                    self.succeed("cc", "-x", language, "-fsyntax-only", *STRICT, *flags, "-",
                                 input=f"#include <{header}>\ntypedef int NotEmpty;\n")

    def test_knows_nothing_of_its_origin(self):
        for path in self.prefix.rglob("*"):
            if path.is_file():
                with self.subTest(path.name):
                    self.assertNotIn(str(SOURCE).encode(), path.read_bytes())


class ManualPages(unittest.TestCase):
    def rendered(self, name):
        page = run("groff", "-man", "-ww", "-Tascii", "-P-cbou", PAGES / name)
        self.assertEqual((page.returncode, page.stderr), (0, ""))
        return page.stdout

    def test_kavepub(self):
        page = self.rendered("kavepub.1")
        helped = all_of_help()
        self.assertEqual(options_of(page), set().union(*helped.values()))
        for command in helped:
            self.assertIn(f"kavepub {command}", page)

    def test_kav_epub(self):
        page = self.rendered("kav_epub.3")
        header = (SOURCE / "service" / "epub_service.h").read_text()
        entries = re.findall(r"\(\*(\w+)\)\(", header)
        self.assertEqual(re.findall(r"\(\*(\w+)\)\(", page), entries + ["ProgressCallback"])
        for entry in entries:
            self.assertRegex(page, rf"(?m)^ +(\w+, )*{entry}(, \w+)*$", "is not explained")
        for function in re.findall(r"KAV_EPUB_API .*?(\w+)\(", header):
            self.assertRegex(page, rf"{function}\(.*\);")
        header = (SOURCE / "fileutil" / "result_codes.h").read_text()
        codes = re.findall(r"(EPUB_\w+) = (-?\d+)", header)
        for name, number in codes:
            self.assertRegex(page, rf"\b{name} +\({number}\)")


class Completions(unittest.TestCase):
    def test_bash(self):
        script = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); ' \
                 '_kavepub; printf "%s\n" "${COMPREPLY[@]}"'

        def offered(*words):
            done = run("bash", "-uc", script, "bash", COMPLETIONS / "kavepub.bash", "kavepub",
                       *words)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            return set(done.stdout.split())

        for command, options in all_of_help().items():
            with self.subTest(command):
                before = [command] if command else []
                self.assertEqual(offered(*before, "-"), options)
                if command:
                    self.assertIn(command, offered(command[:2]))

    def test_zsh(self):
        for command, options in all_of_help().items():
            with self.subTest(command):
                typed = f"kavepub {command} -" if command else "kavepub -"
                done = run("zsh", "-f", OFFERS_OF_ZSH, COMPLETIONS, typed, f"kavepub {command[:2]}",
                           stdin=subprocess.DEVNULL)
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                offered = set(re.findall(r"OFFERED:(\S+)", done.stdout))
                commands = {command} if command else set(all_of_help()) - {""}
                self.assertEqual(offered, options | commands)
