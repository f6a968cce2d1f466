#!/usr/bin/env python3
"""Shows in a table what of a book is in the MOBI files that ebook-convert makes of it, and in the
EPUB books that kavepub and ebook-convert make of those: bench/mobi.py BUILD. Needs calibre and epubcheck."""

import html
import os
import re
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree as ET
import zipfile
from pathlib import Path
from urllib.parse import unquote

SOURCE = Path(__file__).resolve().parents[1] / "tests" / "fixtures" / "mobi" / "source"
PAGE = SOURCE / "lighthouse.html"
METADATA = {"title": "Le phare et la marée", "creator": "Élise Marnier", "publisher": "Éditions du Quai",
            "date": "1998-03-14", "identifier": "9782070360024", "description": "Un phare",
            "subject": "Phares anciens", "language": "fr"}
OPTIONS = ("--authors", "Élise Marnier & Jean Cap", "--publisher", METADATA["publisher"],
           "--pubdate", METADATA["date"], "--isbn", METADATA["identifier"], "--language", "fr",
           "--comments", "<p>Un phare, <em>deux</em> gardiens.</p>", "--tags", "Mer,Phares anciens",
           "--series", "Phares", "--series-index", "2", "--cover", SOURCE / "cover.jpg",
           "--level1-toc", "//h:h1", "--level2-toc", "//h:h2", "--level3-toc", "//h:h3")
KINDS = (("old.mobi", "old"), ("new.mobi", "new"), ("both.mobi", "both"), ("book.azw3", None))
DIRECT = ".//{*}"


def run(*command):
    """What a command prints, how long it ran, and the most memory it had, in MB."""
    begin = time.monotonic()
    process = subprocess.Popen([str(part) for part in command], stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, text=True,
                               env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
    output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return output, time.monotonic() - begin, usage.ru_maxrss / 1024


def letters(text):
    return re.sub(r"\W", "", html.unescape(text)).lower()


class Book:
    def __init__(self, path):
        self.archive = zipfile.ZipFile(path)
        container = ET.fromstring(self.archive.read("META-INF/container.xml"))
        package = container.find(DIRECT + "rootfile").get("full-path")
        self.root = package.rpartition("/")[0]
        self.opf = ET.fromstring(self.archive.read(package))
        self.items = {item.get("id"): item for item in self.opf.iter() if item.tag.endswith("}item")}
        order = [self.items[ref.get("idref")].get("href") for ref in self.opf.iter()
                 if ref.tag.endswith("}itemref")]
        self.pages = {name: ET.fromstring(self.read(name)) for name in map(unquote, order)}

    def read(self, name):
        return self.archive.read(f"{self.root}/{name}".lstrip("/"))

    def of_type(self, *words):
        return [self.read(unquote(item.get("href"))) for item in self.items.values()
                if any(word in item.get("media-type") for word in words)]

    def all(self, name):
        return [element for page in self.pages.values() for element in page.iter()
                if element.tag.endswith("}" + name)]

    def links(self):
        """Links inside the book, those of them that lead to a place, and links out."""
        ids = {(name, element.get("id")) for name, page in self.pages.items() for element in page.iter()}
        inside, leading, out = 0, 0, 0
        for name, page in self.pages.items():
            base = name.rpartition("/")[0]
            for link in page.iter("{http://www.w3.org/1999/xhtml}a"):
                href = link.get("href", "")
                if "://" in href:
                    out += 1
                elif href:
                    inside += 1
                    target, _, anchor = unquote(href).partition("#")
                    target = os.path.normpath(os.path.join(base, target)) if target else name
                    leading += (target in self.pages and not anchor) or (target, anchor) in ids
        return inside, leading, out

    def contents(self, point=None, level=0):
        if point is None:
            point = ET.fromstring(self.of_type("dtbncx")[0]).find(DIRECT + "navMap")
        for entry in point.findall("{*}navPoint"):
            yield level
            yield from self.contents(entry, level + 1)

    def facts(self, source):
        source = re.sub("<svg.*?</svg>", "", source)
        text = letters(" ".join(" ".join(page.find("{*}body").itertext()) for page in self.pages.values()))
        pieces = [letters(piece) for piece in re.split("<[^>]*>", source[source.index("<body"):])]
        kept, at = 0, 0
        for piece in filter(None, pieces):
            found = text.find(piece, at)
            kept += found >= 0
            at = max(at, found)
        inside, leading, out = self.links()
        levels = list(self.contents())
        sheets = b"".join(self.of_type("css")).decode()
        classes = {word for page in self.pages.values() for element in page.iter()
                   for word in element.get("class", "").split()}
        own = {word for value in re.findall('class="([^"]*)"', source) for word in value.split()}
        metadata = ["".join(element.itertext()) for element in self.opf.find("{*}metadata")]
        return {
            "texts, in order": f"{kept}/{len(list(filter(None, pieces)))}",
            "contents by level": "+".join(str(levels.count(level)) for level in range(3)),
            "links inside, leading": f"{leading}/{inside}",
            "links out": out,
            "headings": sum(len(self.all(f"h{level}")) for level in (1, 2, 3)),
            "tables, cells": f"{len(self.all('table'))}, {len(self.all('td')) + len(self.all('th'))}",
            "lists, items": f"{len(self.all('ul') + self.all('ol'))}, {len(self.all('li'))}",
            "classes of the source with rules": f"{sum(bool(re.search(fr'[.]{word}[ {{:]', sheets)) for word in own & classes)}/{len(own)}",
            "fonts": sum((SOURCE / "marine.ttf").read_bytes() == font for font in self.of_type("font", "opentype")),
            "drawings": len(self.of_type("svg")) + len(self.all("path")),
            "pictures": len(self.of_type("jpeg", "png", "gif")),
            "metadata": f"{sum(any(value in found for found in metadata) for value in METADATA.values())}"
                        f"/{len(METADATA)}",
        }


def main(build):
    source = PAGE.read_text(encoding="utf-8")
    columns = {}
    with tempfile.TemporaryDirectory() as directory:
        for name, kind in KINDS:
            made = Path(directory) / name
            run("ebook-convert", PAGE, made, *OPTIONS, *(("--mobi-file-type", kind) if kind else ()))
            for tool, command in (("kavepub", (Path(build) / "bin/kavepub", "convert", "-fq", made, "-o")),
                                  ("ebook-convert", ("ebook-convert", made))):
                book = made.with_suffix(f".{tool}.epub")
                _, seconds, memory = run(*command, book)
                facts = Book(book).facts(source)
                messages = run("java", "-jar", "/usr/share/java/epubcheck.jar", "-q", book)[0]
                facts["messages of epubcheck"] = len(re.findall(r"^(ERROR|WARNING|FATAL)", messages, re.M))
                facts["seconds"], facts["MB of memory"] = f"{seconds:.2f}", f"{memory:.0f}"
                columns[f"{name}: {tool}"] = facts
    print("| | " + " | ".join(columns) + " |\n|---" * 1 + "|---" * len(columns) + "|")
    for fact in next(iter(columns.values())):
        print(f"| {fact} | " + " | ".join(str(facts[fact]) for facts in columns.values()) + " |")


if __name__ == "__main__":
    main(sys.argv[1])
