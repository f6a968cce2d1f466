"""The tool as people and scripts use it: batches, reports, interruptions, albums, terminals."""

import fcntl
import json
import os
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import termios
import time
import unittest
import zipfile
from pathlib import Path
from urllib.parse import unquote

from book import IS_SANITIZED, KAVEPUB, Book, ToolTest, epubcheck, run, ALLOWED, WITHOUT_COVER
from text_test import JPEG, png

GIF = bytes.fromhex("47494638396101000100800000ffffff00000021f90401000000002c00000000010001000002024401003b")


class Files(ToolTest):
    def write(self, *names, content=b"Hello\n"):
        for name in names:
            path = self.dir / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)

    def age(self, name, seconds):
        """Makes a file older than it is."""
        then = time.time() - seconds
        os.utime(self.dir / name, (then, then))

    def books(self, root="."):
        return sorted(str(p.relative_to(self.dir / root)) for p in (self.dir / root).rglob("*.epub"))

    def without_rights(self):
        """Options of a call by a user to whom permissions apply, who owns all files here."""
        if os.geteuid() != 0:
            return {}
        nobody = 65534
        for path in [self.dir, *self.dir.rglob("*")]:
            os.chown(path, nobody, nobody, follow_symlinks=False)
        return {"user": nobody, "group": nobody, "extra_groups": []}

    def statuses(self, *arguments, code=0):
        """What becomes of each input."""
        done = self.kavepub("convert", "--json", *arguments)
        self.assertEqual((done.returncode, done.stderr), (code, ""), done.stdout)
        self.reports = [json.loads(line) for line in done.stdout.splitlines()]
        return {report["inputs"][0]: report["status"] for report in self.reports}


class Planning(Files):
    def planned(self, *arguments):
        done = self.kavepub("convert", "--dry-run", "--json", *arguments)
        return {report["output"]: report["inputs"] for report in map(json.loads, done.stdout.splitlines())}

    def test_what_becomes_a_book(self):
        html = b"<html><body><p>Hello</p></body></html>"
        self.write("lib/a.txt", "lib/deep/er/b.TXT", "lib/deep/c.text", "lib/notes.md", "lib/.hidden.txt")
        self.write("lib/site/index.html", "lib/site/sub/page.html", content=html)
        self.write("lib/pages/1.html", "lib/pages/2.htm", "lib/page.txt", content=html)
        self.write("lib/album/a.JPG", "lib/album/b.png", "lib/beside/front.jpg", content=JPEG)
        self.write("lib/album/Thumbs.db", "lib/beside/novel.txt")
        self.write("lib/beside.epub", "lib/two/a.txt", "lib/two/a.text", "lib/old/x.epub")
        (self.dir / "lib/deep/loop").symlink_to(self.dir / "lib")
        (self.dir / "lib/deep/itself").symlink_to("itself")
        expected = {
            "a.epub": ["a.txt"], "deep/er/b.epub": ["deep/er/b.TXT"], "deep/c.epub": ["deep/c.text"],
            "site.epub": ["site/index.html"], "pages.epub": ["pages/1.html", "pages/2.htm"],
            "album.epub": ["album/a.JPG", "album/b.png"], "beside/novel.epub": ["beside/novel.txt"],
            "two/a.epub": ["two/a.text"], "two/a.txt.epub": ["two/a.txt"],
            # A page among texts: the folder's own book.
            "../lib.epub": ["page.txt"],
        }
        beside = {os.path.normpath("lib/" + out): ["lib/" + i for i in ins] for out, ins in expected.items()}
        elsewhere = {os.path.normpath("out/lib/" + out): ["lib/" + i for i in ins]
                     for out, ins in expected.items()}
        self.assertEqual(self.planned("lib"), beside)
        self.assertEqual(self.planned("lib/", "-o", "out"), elsewhere)
        self.assertEqual(self.planned("lib/a.txt", "lib", "lib/", "lib/deep/../a.txt"), beside)
        self.assertEqual(self.books(), ["lib/beside.epub", "lib/old/x.epub"])

    def test_names(self):
        self.write("a.txt", "b.txt", "x/a.txt", "one/a.txt", "no extension", "a.b.txt")
        self.write("1.jpg", "x/1.jpg", content=JPEG)
        self.write("site/index.html", content=b"<html>")
        (self.dir / "there").mkdir()
        rows = (
            (["a.txt"], ["a.epub"]),
            (["no extension", "a.b.txt"], ["no extension.epub", "a.b.epub"]),
            (["a.txt", "-o", "b.out"], ["b.out"]),
            (["a.txt", "-o", "there"], ["there/a.epub"]),
            (["a.txt", "b.txt", "-o", "new"], ["new/a.epub", "new/b.epub"]),
            (["a.txt", "x/a.txt"], ["a.epub", "x/a.epub"]),
            (["a.txt", "x/a.txt", "one/a.txt", "-o", "there"],
             ["there/a.epub", "there/a.txt.epub", "there/a.txt-2.epub"]),
            (["one", "-o", "new"], ["new/one/a.epub"]),
            (["site", "-o", "new.epub"], ["new.epub"]),
            (["site/", "-o", "new"], ["new/site.epub"]),
            (["x/1.jpg", "1.jpg"], ["x/1.epub"]),
            (["x/1.jpg", "1.jpg", "a.txt"], ["x/1.epub", "a.epub"]),
            (["--separate", "x/1.jpg", "1.jpg"], ["x/1.epub", "1.epub"]),
            (["./a.txt", str(self.dir / "a.txt")], ["./a.epub"]),
        )
        for arguments, outputs in rows:
            with self.subTest(arguments):
                self.assertEqual(list(self.planned(*arguments)), outputs)
        done = run(KAVEPUB, "convert", ".", "--dry-run", cwd=self.dir / "site", env=self.environment)
        self.assertIn(f"{self.dir}/site.epub (HTML)\n", done.stdout)

    def test_dry_run(self):
        self.write("lib/new.txt", "lib/made.txt", "lib/bad.txt")
        self.write("lib/bad.txt", content=b"PK\3\4")
        self.assertEqual(self.kavepub("convert", "lib/made.txt").returncode, 0)
        done = self.kavepub("convert", "lib", "--dry-run")
        self.assertEqual(done.stdout, "lib/made.txt -> lib/made.epub (text, up to date)\n"
                                      "lib/new.txt -> lib/new.epub (text)\n")
        self.assertRegex(done.stderr, r"^Failed:\n  lib/bad\.txt  is a ZIP, EPUB or office file; .*\n$")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(self.statuses("lib", "--dry-run", code=1),
                         {"lib/bad.txt": "failed", "lib/made.txt": "up to date", "lib/new.txt": "planned"})
        self.assertEqual(self.kavepub("convert", "lib", "--dry-run", "--quiet").stdout, "")


class Batches(Files):
    def test_failing_books_do_not_stop_others(self):
        self.write("lib/a.txt", "lib/b/c.txt", "lib/z.txt", "lib/closed.txt", "lib/locked/d.txt")
        self.write("lib/zip.txt", content=b"PK\3\4")
        self.write("lib/nul.txt", content=b"\0" * 99)
        self.write("lib/broken.mobi", content=b"\0" * 60 + b"BOOKMOBI" + b"\1" * 99)
        (self.dir / "lib/lost.txt").symlink_to("nowhere")
        os.mkfifo(self.dir / "lib/pipe.txt")
        failing = {"zip.txt": "is a ZIP", "nul.txt": "NUL bytes", "lost.txt": "No such file",
                   "pipe.txt": "is no regular file", "broken.mobi": "damaged MOBI book",
                   "closed.txt": "Permission denied", "locked": "Permission denied"}
        (self.dir / "lib/closed.txt").chmod(0)
        (self.dir / "lib/locked").chmod(0)
        self.addCleanup((self.dir / "lib/locked").chmod, 0o700)
        identity = self.without_rights()
        done = self.kavepub("convert", "lib", "-j", "2", **identity)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stdout, r"^3 done, 7 failed in 0:\d\d, \d+ books/min\n$")
        title, *lines = done.stderr.splitlines()
        self.assertEqual(title, "Failed:")
        self.assertEqual([line.split()[0] for line in lines], sorted("lib/" + name for name in failing))
        for line in lines:
            self.assertIn(failing[line.split()[0].removeprefix("lib/")], line)
            self.assertRegex(line, "; ")  # what to do
        done = self.kavepub("convert", "lib", "--json", **identity)
        fates = {report["inputs"][0]: report["status"] for report in map(json.loads, done.stdout.splitlines())}
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        self.assertEqual(fates, {"lib/" + name: "failed" for name in failing}
                         | {"lib/" + name: "up to date" for name in ("a.txt", "b/c.txt", "z.txt")})

    def test_rerun_does_what_is_missing_or_older(self):
        self.write("lib/old.txt", "lib/new.txt", "lib/same.txt", "lib/foreign.txt")
        self.write("lib/site/index.html", "lib/site/deep/page.html", content=b"<html><body><p>Hi</p>")
        self.write("lib/album/1.jpg", "lib/album/2.jpg", content=JPEG)
        self.write("lib/foreign.epub", content=b"PK\3\4 made elsewhere")
        for path in (self.dir / "lib").rglob("*"):
            os.utime(path, (1e9, 1e9))
        inputs = {"lib/" + n for n in ("old.txt", "new.txt", "same.txt", "site/index.html", "album/1.jpg")}
        done = dict.fromkeys(inputs, "done")
        self.assertEqual(self.statuses("lib", code=1), done | {"lib/foreign.txt": "failed"})
        self.assertIn("is not a book of this tool; use --force", self.reports[1]["message"]
                      + "".join(r["message"] for r in self.reports))
        kept = dict.fromkeys(inputs, "up to date") | {"lib/foreign.txt": "failed"}
        self.assertEqual(self.statuses("lib", code=1), kept)
        for changed, book in (("lib/old.txt", "lib/old.txt"), ("lib/album/2.jpg", "lib/album/1.jpg"),
                              ("lib/site/deep/page.html", "lib/site/index.html")):
            with self.subTest(changed):
                os.utime(self.dir / changed)
                self.assertEqual(self.statuses("lib", code=1), kept | {book: "done"})
        (self.dir / "lib/site/deep/page.html").unlink()
        (self.dir / "lib/new.epub").unlink()
        self.assertEqual(self.statuses("lib", code=1),
                         kept | {"lib/new.txt": "done", "lib/site/index.html": "done"})
        self.assertEqual((self.dir / "lib/foreign.epub").read_bytes(), b"PK\3\4 made elsewhere")
        self.assertEqual(set(self.statuses("lib", "--force").values()), {"done"})

    def test_a_source_is_never_replaced(self):
        self.write("a.txt")
        (self.dir / "b.epub").symlink_to("a.txt")
        for output in ("a.txt", "b.epub", "./a.txt"):
            done = self.kavepub("convert", "--force", "a.txt", "-o", output)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr, "is the source of this book; use -o to name another place\n$")
        self.assertEqual((self.dir / "a.txt").read_bytes(), b"Hello\n")

    def test_jobs_make_the_same_books(self):
        for i in range(60):
            self.write(f"lib/{i}.txt", content=b"A line of text.\n" * i)
        sizes = []
        for jobs in ("1", "2", "5", "1000"):
            self.assertEqual(set(self.statuses("lib", "-o", jobs, "-j", jobs).values()), {"done"})
            self.assertEqual(len(self.reports), 60)
            sizes.append([len(Book(self.dir / jobs / "lib" / f"{i}.epub").text_of_pages())
                          for i in range(60)])
        self.assertEqual(sizes, [[16 * i for i in range(60)]] * 4)

    def test_reports(self):
        strange = "new\nline \x1b[31m.txt"
        self.write("a.txt", strange)
        done = self.kavepub("convert", "a.txt")
        self.assertEqual((done.stdout, done.stderr), ("a.epub (text: UTF-8, wrapped lines)\n", ""))
        done = self.kavepub("convert", "a.txt", strange)
        self.assertRegex(done.stdout, r"^1 done, 1 up to date in 0:\d\d, \d+ books/min\n$")
        self.assertEqual(done.stderr, "")
        done = self.kavepub("convert", strange)
        self.assertEqual(done.stderr, "kavepub: new?line ?[31m.epub: exists already; use --force to replace it "
                                      "or -o to name another\n")
        self.assertEqual(self.statuses("-f", strange), {strange: "done"})
        self.assertEqual(list(self.reports[0]), ["inputs", "output", "kind", "status", "message", "seconds"])
        for arguments in (["-f", "a.txt"], ["a.txt", strange], ["-f", "a.txt", strange]):
            done = self.kavepub("convert", "--quiet", *arguments)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))
        (self.dir / os.fsdecode(b"latin-\xe9.txt")).write_bytes(b"x\n")
        self.statuses(os.fsdecode(b"latin-\xe9.txt"), "a.txt")  # valid JSON


class Usage(Files):
    def test_wrong_usage_in_one_line(self):
        self.write("a.txt", "b.txt")
        self.write("c.mobi", content=b"\0" * 60 + b"BOOKMOBI")
        rows = (
            ([], "the first word must be a command, as in `kavepub convert FILE`; see `kavepub --help`"),
            (["a.txt"], "the first word must be a command, as in `kavepub convert FILE`; see `kavepub --help`"),
            (["convert"], "INPUT is required; see `kavepub convert --help`"),
            (["convert", "a.txt", "--nonsense"], ".*--nonsense; see `kavepub convert --help`"),
            (["convert", "a.txt", "--jobs", "0"], "--jobs: .* 1 to 1024; see `kavepub convert --help`"),
            (["convert", "a.txt", "--paragraphs", "2"], '--paragraphs: "2" is none of auto, line, wrapped; .*'),
            (["convert", "a.txt", "--encoding-errors", "x"], '.*"x" is none of replace, strict; .*'),
            (["convert", "a.txt", "b.txt", "--title", "T"], "--title and --cover are for one book, but 2 .*"),
            (["convert", "c.mobi", "--author", "A"], r"c\.mobi: a MOBI book brings its own title.*"),
            (["info"], "BOOK is required; see `kavepub info --help`"),
            (["preview", "a", "b"], ".*; see `kavepub preview --help`"),
        )
        for arguments, message in rows:
            with self.subTest(arguments):
                done = self.kavepub(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertRegex(done.stderr, f"^kavepub: {message}\n$")

    def test_help(self):
        for arguments in (["--help"], ["convert", "--help"], ["info", "-h"], ["preview", "-h"], ["--version"]):
            done = self.kavepub(*arguments)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertRegex(self.kavepub("--help").stdout, r"^.*\n\nExamples:\n  kavepub convert novel\.txt ")


class StandardStreams(Files):
    def shell(self, command):
        done = run("bash", "-c", command, cwd=self.dir, env={**self.environment, "K": str(KAVEPUB)})
        self.assertEqual(list(self.temp.iterdir()), [], "working files were left")
        return done.returncode, done.stdout, done.stderr

    def test_output_that_cannot_be_written(self):
        self.write("a.txt", "lib/b.txt", "lib/c.txt")
        for command in ("convert -f a.txt", "convert -f lib", "convert -f lib --json", "convert -n -f lib",
                        "info a.epub", "preview -f a.epub", "--help", "--version"):
            for sink, reason in (("/dev/full", "No space left on device"), ("&-", "Bad file descriptor")):
                with self.subTest(command, sink=sink):
                    code, _, message = self.shell(f"$K {command} >{sink}")
                    self.assertEqual(code, 1)
                    self.assertEqual(message, f"kavepub: standard output: {reason}; what was to be said is "
                                              "lost, send it to a file or use --quiet\n")
                    Book(self.dir / "a.epub").check_structure(self)
        self.assertEqual(self.shell("$K convert -fq a.txt >&- 2>&- <&-"), (0, "", ""))
        self.assertEqual(self.shell("$K convert -fq lib/ >/dev/full"), (0, "", ""))
        self.assertEqual(self.shell("$K convert a.txt >&- 2>&-")[0], 1)

    def test_a_reader_that_goes_away(self):
        for i in range(500):
            self.write(f"lib/{i}.txt")
        code, out, message = self.shell('set -o pipefail; $K convert lib --json | head -n 1')
        self.assertEqual((code, out.count("\n"), message), (1, 1, ""))
        self.assertLess(len(self.books()), 500)  # nobody waits for them


class Interruptions(Files):
    COUNT = 150

    def interrupt(self, sent, *arguments):
        with subprocess.Popen([KAVEPUB, "convert", "lib", *arguments], cwd=self.dir, env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as tool:
            while len(self.books("lib")) < 10:
                time.sleep(0.001)
            for signal_ in sent:
                tool.send_signal(signal_)
                time.sleep(0.001)
            out, err = tool.communicate(timeout=60)
        self.assertEqual(tool.returncode, 130, err)
        self.assertEqual(list(self.temp.iterdir()), [])
        return out, err

    def test_batch_stops_and_the_rerun_completes_it(self):
        # timeout(1) sends its signal to the program and to its group.
        for sent in ([signal.SIGINT], [signal.SIGTERM] * 3, [signal.SIGINT, signal.SIGHUP, signal.SIGINT]):
            with self.subTest(sent):
                shutil.rmtree(self.dir / "lib", ignore_errors=True)
                for i in range(self.COUNT):
                    self.write(f"lib/{i}.txt", content=b"A line of text.\n" * 900)
                out, err = self.interrupt(sent, "-j", "2")
                self.assertEqual(err, "kavepub: interrupted; the same command again makes the rest\n")
                done, left = map(int, re.match(r"(\d+) done, (\d+) not made in ", out).groups())
                self.assertEqual(done + left, self.COUNT)
                books = self.books("lib")
                self.assertEqual(len(books), done)
                self.assertEqual({p.suffix for p in (self.dir / "lib").iterdir()}, {".txt", ".epub"})
                for name in books:
                    self.assertIsNone(Book(self.dir / "lib" / name).archive.testzip())
                again = self.kavepub("convert", "lib")
                self.assertRegex(again.stdout, f"^{left} done, {done} up to date in ")
                self.assertEqual(len(self.books("lib")), self.COUNT)

    def test_json(self):
        for i in range(self.COUNT):
            self.write(f"lib/{i}.txt", content=b"A line of text.\n" * 900)
        out, err = self.interrupt([signal.SIGTERM], "--json")
        self.assertEqual(err, "")
        self.assertLessEqual({json.loads(line)["status"] for line in out.splitlines()},
                             {"done", "interrupted"})


class Albums(Files):
    def test_album(self):
        pictures = {"1.jpg": JPEG, "2.JPEG": JPEG, "3.PNG": png(), "x/1.jpg": JPEG, "y/1.jpg": JPEG,
                    "is a jpeg.png": JPEG, "is a png": png(), "is a gif.jpg": GIF, "ü 50%.gif": GIF}
        for name, content in pictures.items():
            self.write(name, content=content)
        book = self.convert(*pictures, "-o", "album.epub", "--author", "A. Painter", "--cover", "3.PNG")
        self.assertEqual((book.title, book.author, self.report["kind"]), ("album", "A. Painter", "pictures"))
        self.assertEqual(len(book.spine), 1 + len(pictures))
        book.check_structure(self)
        book.check_well_formed(self)
        shown = []
        for page in book.spine[1:]:
            source = re.search(rb'<img[^>]*src="([^"]*)"', book.read("OEBPS/" + page)).group(1).decode()
            shown.append(book.read("OEBPS/" + unquote(source)))
        self.assertEqual(shown, list(pictures.values()))
        if not IS_SANITIZED:  # every cover is listed as a JPEG
            self.assertEqual(epubcheck(book.path), ALLOWED | {"OPF-029"})

    def test_refusals(self):
        self.write("a.jpg", content=JPEG)
        self.write("empty.jpg", content=b"")
        self.write("text.png")
        self.write("web.webp", content=b"RIFF....WEBP")
        self.write("album/a.jpg", content=JPEG)
        self.write("album/b.jpg", content=b"\0")
        for name in ("empty.jpg", "text.png", "album"):
            done = self.kavepub("convert", name)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr, r"(empty\.jpg|text\.png|album/b\.jpg): is no JPEG, PNG or GIF picture.*; ")
        self.assertRegex(self.kavepub("convert", "web.webp").stderr, r"web\.webp: is a WebP picture, .*; only")
        self.assertEqual(self.books(), [])


class InfoAndPreview(Files):
    def test_info(self):
        self.write("a.txt", content="第一行\n".encode() * 100)
        self.write("c.jpg", content=JPEG)
        self.convert("a.txt", "--title", "A <T>", "--author", "Ü & Co", "--cover", "c.jpg")
        size = (self.dir / "a.epub").stat().st_size
        done = self.kavepub("info", "a.epub")
        self.assertEqual(done.stdout, "a.epub\n  Format    EPUB\n  Title     A <T>\n  Author    Ü & Co\n"
                                      f"  Pages     3\n  Pictures  1\n  Size      {size} bytes\n")
        done = self.kavepub("info", "--json", "a.epub")
        self.assertEqual(json.loads(done.stdout),
                         {"book": "a.epub", "format": "EPUB", "title": "A <T>", "author": "Ü & Co",
                          "pages": 3, "pictures": 1, "bytes": size})

    def test_what_is_no_book(self):
        self.write("a.txt")
        with zipfile.ZipFile(self.dir / "zip.epub", "w") as archive:
            archive.writestr("mimetype", "application/epub+zip")
        self.write("cut.epub", content=b"PK\3\4")
        self.convert("a.txt")
        rows = (("none.epub", "No such file or directory; check the path"),
                (".", "is a directory; name the files in it"),
                ("a.txt", "is no EPUB book, or damaged; open it in a reader to see"),
                ("cut.epub", "is no EPUB book, or damaged; open it in a reader to see"),
                ("zip.epub", "is a ZIP file without the documents of an EPUB book"))
        for name, reason in rows:
            for command in ("info", "preview"):
                with self.subTest(name, command=command):
                    done = self.kavepub(command, name)
                    self.assertEqual((done.returncode, done.stdout, done.stderr),
                                     (1, "", f"kavepub: {name}: {reason}\n"))
        done = self.kavepub("info", "none.epub", "a.epub")
        self.assertEqual((done.returncode, done.stdout.count("\n")), (1, 7))

    def test_preview(self):
        self.write("a.txt", content=b"A line of the text.\n" * 60 * 15)
        self.convert("a.txt")
        rows = ((["a.epub"], 0, r"^a\.png \(12 pages\)\n$"), (["a.epub"], 1, "exists already; use --force"),
                (["a.epub", "-f"], 0, r"^a\.png"), (["a.epub", "-o", "none/x.png"], 1, r"^kavepub: none/x\.png: "),
                (["a.epub", "-o", "b.png"], 0, r"^b\.png"), (["a.epub", "-o", "b.png"], 0, r"^b\.png"))
        for arguments, code, message in rows:
            with self.subTest(arguments):
                done = self.kavepub("preview", *arguments)
                self.assertEqual(done.returncode, code, done.stderr)
                self.assertRegex(done.stdout + done.stderr, message)
        header = (self.dir / "a.png").read_bytes()[:24]
        self.assertEqual(header[:16], b"\x89PNG\r\n\x1a\n\0\0\0\rIHDR")
        width, height = struct.unpack(">II", header[16:])
        self.assertGreater(width, 1000)
        self.assertGreater(height, 1000)

    def test_preview_without_mutool(self):
        self.write("a.txt")
        self.convert("a.txt")
        done = run(KAVEPUB, "preview", "a.epub", cwd=self.dir, env={**self.environment, "PATH": "/nowhere"})
        self.assertEqual((done.returncode, done.stderr), (
            1, "kavepub: mutool is not installed, which draws the pages; install the package mupdf-tools\n"))
        self.assertEqual(list(self.temp.iterdir()), [])

    def test_preview_interrupted(self):
        """A drawing program that takes for ever is ended with the tool."""
        self.write("a.txt")
        self.convert("a.txt")
        self.write("bin/mutool", content=b"#!/bin/sh\necho $$ > pid\nexec sleep 1000\n")
        (self.dir / "bin/mutool").chmod(0o700)
        path = f"{self.dir}/bin:{os.environ['PATH']}"
        with subprocess.Popen([KAVEPUB, "preview", "a.epub"], cwd=self.dir, stderr=subprocess.PIPE,
                              env={**self.environment, "PATH": path}, text=True) as tool:
            while not (self.dir / "pid").exists() or not (self.dir / "pid").read_text():
                time.sleep(0.001)
            tool.send_signal(signal.SIGTERM)
            message = tool.communicate(timeout=60)[1]
        self.assertEqual((tool.returncode, message), (130, "kavepub: interrupted; nothing was written\n"))
        self.assertEqual(list(self.temp.iterdir()), [])
        self.assertFalse(Path("/proc", (self.dir / "pid").read_text().strip()).exists())


class Terminals(Files):
    def on_terminal(self, *arguments, **environment):
        """What standard error shows on a terminal of 60 columns, while standard output is a pipe."""
        ours, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 60, 0, 0))
        with subprocess.Popen([KAVEPUB, *arguments], cwd=self.dir, stderr=theirs, stdout=subprocess.PIPE,
                              env={**self.environment, "TERM": "xterm", **environment}) as tool:
            os.close(theirs)
            shown = b""
            while select.select([ours], [], [], 60)[0]:
                try:
                    shown += os.read(ours, 4096)
                except OSError:  # the other end is closed
                    break
            out = tool.stdout.read().decode()
        os.close(ours)
        self.assertEqual(tool.returncode, 0)
        return shown.decode(), out

    def test_bar_and_live_line(self):
        self.write("big.txt", content=b"A line of the text.\n" * 60_000)
        for i in range(20):
            self.write(f"lib/{i}.txt", content=b"A line of the text.\n" * 600)
        bar = r"\[{0}#*\.*{1}\] +\d+%"
        green = bar.format(r"\x1b\[32m", r"\x1b\[0m")
        plain = bar.format("", "")
        one = r", \d+:\d\d left, big\.txt"
        many = r" \d+ done, 0 failed, \d+ books/min(, \d+:\d\d left)?"
        for source, text in (("big.txt", one), ("lib", many)):
            for setting, look in (({}, green), ({"NO_COLOR": "1"}, plain), ({"NO_COLOR": ""}, green)):
                with self.subTest(source, **setting):
                    shown, out = self.on_terminal("convert", "-f", source, **setting)
                    # Each drawing wipes the one before, and the last is wiped.
                    line = rf"\r\x1b\[K\x1b\[\?7l{look}{text}\x1b\[\?7h"
                    self.assertRegex(shown, rf"^({line})+\r\x1b\[K$")
                    self.assertNotIn("\x1b", out)
                    self.assertEqual(out.count("\n"), 1)
        for setting in ({"TERM": "dumb"}, {"TERM": ""}):
            self.assertEqual(self.on_terminal("convert", "-f", "big.txt", **setting)[0], "")
        for quiet in ("--quiet", "--json"):
            self.assertEqual(self.on_terminal("convert", "-f", "lib", quiet)[0], "")


if __name__ == "__main__":
    unittest.main()
