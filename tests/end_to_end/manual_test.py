"""What an installation says of itself: manual pages, the same as the help."""

import re
import unittest

from book import KAVEPUB, SOURCE, run

PAGES = SOURCE / "docs" / "man"


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

    def test_kavepub_cluster(self):
        page = self.rendered("kavepub-cluster.1")
        helped = run(SOURCE / "hosts" / "cluster" / "kavepub-cluster", "--help").stdout
        self.assertEqual(options_of(page.split("EXAMPLES")[0]), options_of(helped) - {"--partition", "--cpus-per-task"})

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
