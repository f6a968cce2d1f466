"""The tool as people and scripts use it: batches, reports, interruptions, albums, terminals."""

import fcntl
import json
import os
import pty
import re
import select
import shlex
import shutil
import signal
import struct
import subprocess
import termios
import time
import zipfile
from pathlib import Path
from urllib.parse import unquote

from book import (ALLOWED, GIF, JPEG, KAVEPUB, PNG, TESTS, Book, ToolTest, data_rows, run)

LINES = b"A line of the text.\n"
MOBI = TESTS / "fixtures" / "mobi" / "old.mobi"


class Files(ToolTest):
    def books(self, root="."):
        top = self.dir / root
        return sorted(str(path.relative_to(top)) for path in top.rglob("*.epub"))

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

    def interrupt(self, is_ready, signals, *arguments, **environment):
        """What a call prints that is sent signals when it has got so far."""
        with subprocess.Popen([KAVEPUB, *arguments], cwd=self.dir, text=True,
                              env={**self.environment, **environment},
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as tool:
            while not is_ready():
                time.sleep(0.001)
            for number in signals:
                tool.send_signal(number)
                time.sleep(0.001)
            output = tool.communicate(timeout=60)
        self.assertEqual(tool.returncode, 130, output)
        self.assertEqual(list(self.temp.iterdir()), [])
        return output


class Refusals(Files):
    def test_refusals(self):
        self.write_rows("tool_files.txt")
        os.mkfifo(self.dir / "pipe.txt")
        (self.dir / "link.epub").symlink_to("in.txt")
        locked = bytearray(MOBI.read_bytes())
        first_record = int.from_bytes(locked[78:82], "big")
        locked[first_record + 12:first_record + 14] = b"\0\2"
        self.write("locked.mobi", content=locked)
        with zipfile.ZipFile(self.dir / "zip.epub", "w") as archive:
            archive.writestr("mimetype", "application/epub+zip")
        names = {"OLD": str(MOBI), "LOCKED": "locked.mobi", "ZIP": "zip.epub"}
        before = self.contents()
        for arguments, code, message in data_rows("tool_refusals.txt"):
            with self.subTest(arguments):
                done = self.kavepub(*[names.get(word, word) for word in shlex.split(arguments)])
                self.assertEqual((done.returncode, done.stdout), (int(code), ""))
                self.assertRegex(done.stderr, f"^kavepub: {message}\n$")
        self.assertEqual(self.contents(), before)

    def contents(self):
        return {path: path.read_bytes() for path in self.dir.rglob("*") if path.is_file()}


class Planning(Files):
    def test_plans(self):
        self.write_rows("tool_plan_files.txt")
        (self.dir / "lib/deep/loop").symlink_to(self.dir / "lib")
        (self.dir / "lib/deep/itself").symlink_to("itself")
        for arguments, plan in data_rows("tool_plans.txt"):
            with self.subTest(arguments):
                words = shlex.split(arguments.replace("$PWD", str(self.dir)))
                done = self.kavepub("convert", "--dry-run", "--json", *words)
                books = map(json.loads, done.stdout.splitlines())
                self.assertEqual("|".join(f"{book['output']}: {', '.join(book['inputs'])}"
                                          for book in books), plan)
        self.assertEqual(self.books(), ["lib/beside.epub", "lib/old/x.epub"])
        done = run(KAVEPUB, "convert", ".", "--dry-run", cwd=self.dir / "site",
                   env=self.environment)
        self.assertIn(f"{self.dir}/site.epub (HTML)\n", done.stdout)

    def test_dry_run(self):
        self.write("lib/new.txt", "lib/made.txt")
        self.write("lib/bad.txt", content=b"PK\3\4")
        self.assertEqual(self.kavepub("convert", "lib/made.txt").returncode, 0)
        done = self.kavepub("convert", "lib", "--dry-run")
        self.assertEqual(done.stdout, "lib/made.txt -> lib/made.epub (text, up to date)\n"
                                      "lib/new.txt -> lib/new.epub (text)\n")
        self.assertRegex(done.stderr, r"^Failed:\n  lib/bad\.txt  is a ZIP, EPUB or .*\n$")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(self.statuses("lib", "--dry-run", code=1), {
            "lib/bad.txt": "failed", "lib/made.txt": "up to date", "lib/new.txt": "planned"})
        self.assertEqual(self.kavepub("convert", "lib", "--dry-run", "--quiet").stdout, "")


class Batches(Files):
    def test_failing_books_do_not_stop_others(self):
        self.write("lib/a.txt", "lib/b/c.txt", "lib/z.txt", "lib/closed.txt", "lib/locked/d.txt")
        self.write("lib/zip.txt", content=b"PK\3\4")
        self.write("lib/album/1.jpg", content=JPEG)
        self.write("lib/album/2.jpg", content=b"\0")
        (self.dir / "lib/lost.txt").symlink_to("nowhere")
        failing = {"album/1.jpg": "album/2.jpg: is no JPEG", "closed.txt": "Permission denied",
                   "locked": "Permission denied", "lost.txt": "No such file",
                   "zip.txt": "is a ZIP"}
        (self.dir / "lib/closed.txt").chmod(0)
        (self.dir / "lib/locked").chmod(0)
        self.addCleanup((self.dir / "lib/locked").chmod, 0o700)
        identity = self.without_rights()
        done = self.kavepub("convert", "lib", "-j", "2", **identity)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stdout, r"^3 done, 5 failed in 0:\d\d, \d+ books/min\n$")
        title, *lines = done.stderr.splitlines()
        self.assertEqual((title, len(lines)), ("Failed:", len(failing)))
        for line, (name, reason) in zip(lines, failing.items()):
            self.assertRegex(line, f"^  lib/{name}  .*{reason}.*; ")
        done = self.kavepub("convert", "lib", "--json", **identity)
        fates = {report["inputs"][0].removeprefix("lib/"): report["status"]
                 for report in map(json.loads, done.stdout.splitlines())}
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        self.assertEqual(fates, dict.fromkeys(failing, "failed")
                         | dict.fromkeys(("a.txt", "b/c.txt", "z.txt"), "up to date"))

    def test_rerun_does_what_is_missing_or_older(self):
        self.write("lib/old.txt", "lib/new.txt", "lib/same.txt", "lib/foreign.txt")
        self.write("lib/site/index.html", "lib/site/deep/page.html",
                   content=b"<html><body><p>Hi</p>")
        self.write("lib/album/1.jpg", "lib/album/2.jpg", content=JPEG)
        self.write("lib/foreign.epub", content=b"PK\3\4 made elsewhere")
        for path in (self.dir / "lib").rglob("*"):
            os.utime(path, (1e9, 1e9))
        inputs = ["lib/" + name for name in ("old.txt", "new.txt", "same.txt", "site/index.html",
                                             "album/1.jpg")]
        foreign = {"lib/foreign.txt": "failed"}
        self.assertEqual(self.statuses("lib", code=1), dict.fromkeys(inputs, "done") | foreign)
        self.assertIn("is not a book of this tool; use --force",
                      "".join(report["message"] for report in self.reports))
        kept = dict.fromkeys(inputs, "up to date") | foreign
        self.assertEqual(self.statuses("lib", code=1), kept)
        for changed, book in (("old.txt", "old.txt"), ("album/2.jpg", "album/1.jpg"),
                              ("site/deep/page.html", "site/index.html")):
            with self.subTest(changed):
                os.utime(self.dir / "lib" / changed)
                self.assertEqual(self.statuses("lib", code=1), kept | {"lib/" + book: "done"})
        (self.dir / "lib/site/deep/page.html").unlink()
        (self.dir / "lib/new.epub").unlink()
        self.assertEqual(self.statuses("lib", code=1),
                         kept | {"lib/new.txt": "done", "lib/site/index.html": "done"})
        self.assertEqual((self.dir / "lib/foreign.epub").read_bytes(), b"PK\3\4 made elsewhere")
        self.assertEqual(set(self.statuses("lib", "--force").values()), {"done"})

    def test_jobs_make_the_same_books(self):
        for i in range(60):
            self.write(f"lib/{i}.txt", content=LINES * i)
        for jobs in ("1", "5", "1000"):
            self.assertEqual(set(self.statuses("lib", "-o", jobs, "-j", jobs).values()), {"done"})
            self.assertEqual(len(self.reports), 60)
            self.assertEqual([len(Book(self.dir / jobs / "lib" / f"{i}.epub").text_of_pages())
                              for i in range(60)], [len(LINES) * i for i in range(60)])

    def test_reports(self):
        strange = "new\nline \x1b[31m.txt"
        self.write("a.txt", strange)
        done = self.kavepub("convert", "a.txt")
        self.assertEqual((done.stdout, done.stderr), ("a.epub (text: UTF-8, wrapped lines)\n", ""))
        done = self.kavepub("convert", "a.txt", strange)
        self.assertRegex(done.stdout, r"^1 done, 1 up to date in 0:\d\d, \d+ books/min\n$")
        self.assertEqual(done.stderr, "")
        done = self.kavepub("convert", strange)
        self.assertRegex(done.stderr, r"^kavepub: new\?line \?\[31m\.epub: exists already; .*\n$")
        self.assertEqual(self.statuses("-f", strange), {strange: "done"})
        self.assertEqual(list(self.reports[0]),
                         ["inputs", "output", "kind", "status", "message", "seconds"])
        for arguments in (["-f", "a.txt"], ["a.txt", strange], ["-f", "a.txt", strange]):
            done = self.kavepub("convert", "--quiet", *arguments)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))
        (self.dir / os.fsdecode(b"latin-\xe9.txt")).write_bytes(b"x\n")
        self.statuses(os.fsdecode(b"latin-\xe9.txt"), "a.txt")  # valid JSON


class StandardStreams(Files):
    def shell(self, command):
        done = run("bash", "-c", command, cwd=self.dir,
                   env={**self.environment, "K": str(KAVEPUB)})
        self.assertEqual(list(self.temp.iterdir()), [], "working files were left")
        return done.returncode, done.stdout, done.stderr

    def test_help(self):
        for words in ("--help", "convert --help", "info -h", "preview -h", "--version"):
            done = self.kavepub(*words.split())
            self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertRegex(self.kavepub("--help").stdout,
                         r"^.*\n\nExamples:\n  kavepub convert novel\.txt ")

    def test_output_that_cannot_be_written(self):
        self.write("a.txt", "lib/b.txt", "lib/c.txt")
        for command in ("convert -f a.txt", "convert -f lib", "convert -f lib --json",
                        "convert -n -f lib", "info a.epub", "preview -f a.epub", "--help",
                        "--version"):
            for sink, reason in (("/dev/full", "No space left on device"),
                                 ("&-", "Bad file descriptor")):
                with self.subTest(command, sink=sink):
                    code, _, message = self.shell(f"$K {command} >{sink}")
                    self.assertEqual((code, message), (
                        1, f"kavepub: standard output: {reason}; what was to be said is lost, "
                           "send it to a file or use --quiet\n"))
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

    def write_batch(self):
        shutil.rmtree(self.dir / "lib", ignore_errors=True)
        for i in range(self.COUNT):
            self.write(f"lib/{i}.txt", content=LINES * 900)

    def has_ten_books(self):
        return len(self.books("lib")) >= 10

    def test_batch_stops_and_the_rerun_completes_it(self):
        # timeout(1) sends its signal to the program and to its group.
        for sent in ([signal.SIGINT], [signal.SIGTERM] * 3, [signal.SIGHUP, signal.SIGINT]):
            with self.subTest(sent):
                self.write_batch()
                out, err = self.interrupt(self.has_ten_books, sent, "convert", "lib", "-j", "2")
                self.assertEqual(err,
                                 "kavepub: interrupted; the same command again makes the rest\n")
                done, left = map(int, re.match(r"(\d+) done, (\d+) not made in ", out).groups())
                self.assertEqual(done + left, self.COUNT)
                books = self.books("lib")
                self.assertEqual(len(books), done)
                self.assertEqual({p.suffix for p in (self.dir / "lib").iterdir()},
                                 {".txt", ".epub"})
                for name in books:
                    self.assertIsNone(Book(self.dir / "lib" / name).archive.testzip())
                again = self.kavepub("convert", "lib")
                self.assertRegex(again.stdout, f"^{left} done, {done} up to date in ")
                self.assertEqual(len(self.books("lib")), self.COUNT)

    def test_json(self):
        self.write_batch()
        out, err = self.interrupt(self.has_ten_books, [signal.SIGTERM], "convert", "lib", "--json")
        self.assertEqual(err, "")
        self.assertLessEqual({json.loads(line)["status"] for line in out.splitlines()},
                             {"done", "interrupted"})

    def test_one_book(self):
        self.write("long.txt", content=LINES * 2_000_000)
        self.write("long.epub", content=b"older")
        for sent in (signal.SIGINT, signal.SIGTERM):
            out, err = self.interrupt(
                lambda: list(self.temp.glob("*/epub_temp/epub/OEBPS/page-9.html")), [sent],
                "convert", "--force", "long.txt")
            self.assertEqual((out, err), ("", "kavepub: interrupted; nothing was written\n"))
            self.assertEqual((self.dir / "long.epub").read_bytes(), b"older")

    def test_preview(self):
        """A drawing program that takes for ever is ended with the tool."""
        self.write("a.txt")
        self.convert("a.txt")
        self.write("bin/mutool", content=b"#!/bin/sh\necho $$ > pid\nexec sleep 1000\n")
        (self.dir / "bin/mutool").chmod(0o700)
        pid = self.dir / "pid"
        out, err = self.interrupt(lambda: pid.exists() and pid.read_text(), [signal.SIGTERM],
                                  "preview", "a.epub", PATH=f"{self.dir}/bin:{os.environ['PATH']}")
        self.assertEqual((out, err), ("", "kavepub: interrupted; nothing was written\n"))
        self.assertFalse(Path("/proc", pid.read_text().strip()).exists())


class Albums(Files):
    def test_album(self):
        pictures = {"1.jpg": JPEG, "2.JPEG": JPEG, "3.PNG": PNG, "x/1.jpg": JPEG, "y/1.jpg": JPEG,
                    "is a jpeg.png": JPEG, "is a png": PNG, "is a gif.jpg": GIF, "ü 50%.gif": GIF}
        for name, content in pictures.items():
            self.write(name, content=content)
        book = self.convert(*pictures, "-o", "album.epub", "--author", "A. Painter",
                            "--cover", "3.PNG")
        self.assertEqual((book.title, book.author, self.report["kind"]),
                         ("album", "A. Painter", "pictures"))
        self.assertEqual(len(book.spine), 1 + len(pictures))
        shown = []
        for page in book.spine[1:]:
            source = re.search(rb'<img[^>]*src="([^"]*)"', book.read("OEBPS/" + page))[1].decode()
            shown.append(book.read("OEBPS/" + unquote(source)))
        self.assertEqual(shown, list(pictures.values()))
        book.check_all(self, ALLOWED | {"OPF-029"})  # every cover is listed as a JPEG


class InfoAndPreview(Files):
    def test_info(self):
        self.write("a.txt", content="第一行\n".encode() * 100)
        self.write("c.jpg", content=JPEG)
        self.convert("a.txt", "--title", "A <T>", "--author", "Ü & Co", "--cover", "c.jpg")
        size = (self.dir / "a.epub").stat().st_size
        done = self.kavepub("info", "a.epub")
        self.assertEqual(done.stdout, "a.epub\n  Format    EPUB\n  Title     A <T>\n"
                                      "  Author    Ü & Co\n  Pages     3\n  Pictures  1\n"
                                      f"  Size      {size} bytes\n")
        done = self.kavepub("info", "--json", "a.epub")
        self.assertEqual(json.loads(done.stdout),
                         {"book": "a.epub", "format": "EPUB", "title": "A <T>", "author": "Ü & Co",
                          "pages": 3, "pictures": 1, "bytes": size})
        done = self.kavepub("info", "none.epub", "a.epub")
        self.assertEqual((done.returncode, done.stdout.count("\n")), (1, 7))

    def test_preview(self):
        self.write("a.txt", content=LINES * 60 * 15)
        self.convert("a.txt")
        for arguments, code, message in (
                ("a.epub", 0, r"^a\.png \(12 pages\)\n$"), ("a.epub", 1, "already; use --force"),
                ("a.epub -f", 0, r"^a\.png"),
                ("a.epub -o none/x.png", 1, r"^kavepub: none/x\.png: "),
                ("a.epub -o b.png", 0, r"^b\.png"), ("a.epub -o b.png", 0, r"^b\.png")):
            with self.subTest(arguments):
                done = self.kavepub("preview", *arguments.split())
                self.assertEqual(done.returncode, code, done.stderr)
                self.assertRegex(done.stdout + done.stderr, message)
        header = (self.dir / "a.png").read_bytes()[:24]
        self.assertEqual(header[:16], b"\x89PNG\r\n\x1a\n\0\0\0\rIHDR")
        self.assertGreater(min(struct.unpack(">II", header[16:])), 1000)
        self.environment["PATH"] = "/nowhere"
        done = self.kavepub("preview", "a.epub", "-f")
        self.assertEqual((done.returncode, done.stderr), (
            1, "kavepub: mutool is not installed, which draws the pages; "
               "install the package mupdf-tools\n"))


class Terminals(Files):
    def on_terminal(self, *arguments, **environment):
        """What standard error shows on a terminal of 60 columns; standard output is a pipe."""
        ours, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 60, 0, 0))
        with subprocess.Popen([KAVEPUB, *arguments], cwd=self.dir, stderr=theirs,
                              stdout=subprocess.PIPE,
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
        self.write("big.txt", content=LINES * 60_000)
        for i in range(20):
            self.write(f"lib/{i}.txt", content=LINES * 600)
        bar = r"\[{0}#*\.*{1}\] +\d+%"
        green = bar.format(r"\x1b\[32m", r"\x1b\[0m")
        plain = bar.format("", "")
        one = r", \d+:\d\d left, big\.txt"
        many = r" \d+ done, 0 failed, \d+ books/min(, \d+:\d\d left)?"
        for source, text in (("big.txt", one), ("lib", many)):
            for setting, look in (({}, green), ({"NO_COLOR": ""}, green),
                                  ({"NO_COLOR": "1"}, plain)):
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
