"""Books of random documents that say themselves what is to be where: see model_book.cpp."""

import os
import re
import tempfile
import unittest
import uuid
import xml.etree.ElementTree as ET
import zipfile
from pathlib import Path
from urllib.parse import unquote

from book import BUILD, IS_SANITIZED, NCX, OPF, XHTML, leave_for_epubcheck, run

SEEDS = range(3) if IS_SANITIZED else range(6)
MOST_BYTES = 250_000  # of a page
LONGEST_BLOCK = 402_000


class ModelBooks(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.dir = Path(directory.name)

    def make(self, name, *arguments, **options):
        path = self.dir / name
        made = run(BUILD / "bin/model_book", *arguments[:2], path, *arguments[2:], **options)
        self.assertEqual(made.returncode, 0, made.stdout)
        return path

    def test_all_is_where_it_belongs(self):
        for seed in SEEDS:
            with self.subTest(seed=seed):
                path = self.make("book.epub", seed, 2)
                self.check(path)
                leave_for_epubcheck(path, set())

    def test_equal_bytes_whatever_surrounds_them(self):
        for seed in SEEDS[:3]:
            first = self.make("book.epub", seed, 1).read_bytes()
            for threads in (1, 2, 8, 8):
                environment = {**os.environ, "TZ": f"Asia/Kathmandu{threads}", "LC_ALL": "C"}
                again = self.make(f"other {threads}.epub", seed, threads, cwd="/", env=environment)
                self.assertEqual(again.read_bytes(), first, (seed, threads))

    @unittest.skipIf(IS_SANITIZED, "the same code as for few")
    def test_many_pages(self):
        path = self.make("book.epub", 0, 2, 70_000)
        archive = zipfile.ZipFile(path)
        self.assertEqual(sum(name.startswith("OEBPS/page-") for name in archive.namelist()), 70_000)
        self.assertGreater(sum(name.startswith("OEBPS/contents") for name in archive.namelist()), 10)
        self.assertEqual(run("unzip", "-tqq", path).returncode, 0)

    def check(self, path):
        archive = zipfile.ZipFile(path)
        self.assertIsNone(archive.testzip())
        names = archive.namelist()
        self.assertEqual(len(names), len({name.lower() for name in names}))
        first = archive.infolist()[0]
        self.assertEqual((first.filename, first.compress_type, first.extra, first.header_offset),
                         ("mimetype", zipfile.ZIP_STORED, b"", 0))
        opf = ET.fromstring(archive.read("OEBPS/package.opf"))
        items = {item.get("id"): item.get("href") for item in opf.iterfind("opf:manifest/opf:item", OPF)}
        fixed = {"mimetype", "META-INF/container.xml", "OEBPS/package.opf"}
        self.assertEqual(set(names) - fixed, {"OEBPS/" + href for href in items.values()})
        spine = [items[ref.get("idref")] for ref in opf.iterfind("opf:spine/opf:itemref", OPF)]
        identifier = opf.findtext("opf:metadata/dc:identifier[@id='identifier']", "", OPF)
        self.assertEqual(uuid.UUID(identifier).version, 5)

        pages = {name: ET.fromstring(archive.read("OEBPS/" + name)) for name in spine}
        for name in spine:
            size = archive.getinfo("OEBPS/" + name).file_size
            blocks = sum(1 for _ in pages[name].iter(XHTML + "p")) / 2
            self.assertLess(size, MOST_BYTES if blocks > 1 else LONGEST_BLOCK)
        numbers = [block.text for name in spine for block in pages[name].iter(XHTML + "p")
                   if block.get("class") == "n"]
        self.assertEqual(numbers, [str(number) for number in range(len(numbers))])
        places = {element.get("id"): name for name in spine for element in pages[name].iter()
                  if element.get("id")}
        ncx = ET.fromstring(archive.read("OEBPS/toc.ncx"))
        points = [(point.findtext("ncx:navLabel/ncx:text", "", NCX),
                   point.find("ncx:content", NCX).get("src"), "toc.ncx")
                  for point in ncx.iter("{%s}navPoint" % NCX["ncx"])]
        links = [(link.text, unquote(link.get("href")), name) for name in spine
                 for link in pages[name].iter(XHTML + "a")]
        for text, reference, name in points + links:
            target, _, fragment = reference.partition("#")
            self.assertIn("OEBPS/" + (target or name), names)
            if re.fullmatch(r"d\d+-\d+", text):
                self.assertEqual((fragment, places[fragment]), (text, target or name))


if __name__ == "__main__":
    unittest.main()
