"""Cells, in which the tool makes books: what a parser that was taken over can do to a batch."""

import ctypes
import itertools
import os
import random
import re
import shutil
import signal
import subprocess
import time
import unittest
import zipfile

from book import BUILD, SOURCE, ToolTest, data_rows

FIXTURE = SOURCE / "tests" / "fixtures" / "mobi" / "lighthouse.mobi"
SUBSTITUTE = BUILD / "substitute" / "libmisbehaving_mobi.so"
GOOD = 20
ROUNDS = int(os.environ.get("KAV_KILLS", "8"))

# Some of each kind are tried; KAV_EVERYTHING has all of them tried, which takes half an hour.
EVERYTHING = "KAV_EVERYTHING" in os.environ

DAMAGED = "is a damaged MOBI book"
FORBIDDEN = "tried what no book may, and was ended; do not trust this file"
ENDS = {
    "reads a private file": DAMAGED,
    "connects": FORBIDDEN,
    "crashes": "crashed in the parser (SIGSEGV); report it, with the file",
    "ends without a word": "ended without an answer; report it, with the file",
    "sleeps forever": "took longer than 1 s; give it more by --memory or --time",
    "writes nonsense": "told nonsense, and was ended; do not trust this file",
}


def all_misdeeds():
    """The rows of the table, with the beginnings of what is told of them."""
    rows = re.findall(r'\{"([^"]+)",(?:(?!\n    \{).)*?(kRefused|kForbidden|"[^"]*")\},\n',
                      (SOURCE / "tests" / "misdeeds.h").read_text(), re.DOTALL)
    told = {"kRefused": DAMAGED, "kForbidden": FORBIDDEN}
    ends = {name: told.get(fate, fate.strip('".')) for name, fate in rows}
    del ends["fills the disk"]  # a quarter of a gigabyte at least
    del ends["throws"]  # which is caught
    return ends


class CellsTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.lib = self.dir / "lib"
        self.lib.mkdir()
        self.made = self.dir / "books" / "lib"
        self.made.mkdir(parents=True)
        for i in range(GOOD):
            (self.lib / f"{i}.txt").write_text(f"Chapter 1\n\nA book.\n\nChapter 2\n\n{i}\n" * 20)

    def command(self, *options):
        output = [] if "-o" in options else ["-o", self.made.parent]
        return [BUILD / "bin" / "kavepub", "convert", self.lib, *output, "-f", "-j2",
                "--cover", "none", *options]

    def convert(self, *options, **environment):
        return subprocess.run(self.command(*options), capture_output=True, text=True,
                              timeout=3600 if EVERYTHING else 300,
                              env={**os.environ, **environment})

    def books(self):
        return sorted(path.name for path in self.made.iterdir())

    @staticmethod
    def tally(told):
        """Of the books that were made, and that failed."""
        counts = {fate: int(count) for count, fate in re.findall(r"(\d+) (done|failed)", told)}
        return [counts.get("done", 0), counts.get("failed", 0)]

    def check_wholeness(self, books):
        found = list(self.made.rglob("*"))
        self.assertEqual(books, len([path for path in found if path.suffix == ".epub"]))
        for path in found:
            self.assertTrue(path.is_dir() or zipfile.ZipFile(path).testzip() is None, path)


class Misdeeds(CellsTest):
    def test_one_book_fails_and_all_others_are_made(self):
        (self.lib / "bad.mobi").write_bytes(FIXTURE.read_bytes())
        secret = self.dir / "secret"
        secret.write_text("secret")
        (self.lib / "link").symlink_to(secret)
        world = {"KAV_SECRET": str(secret), "KAV_LINK": str(self.lib / "link"),
                 "KAV_INPUT": str(self.lib / "bad.mobi"), "KAV_ELSEWHERE": str(self.dir / "new"),
                 "LD_PRELOAD": str(SUBSTITUTE)}
        for edition in ["reader", "plain"] if EVERYTHING else ["reader"]:
            for misdeed, end in (all_misdeeds() if EVERYTHING else ENDS).items():
                with self.subTest(misdeed=misdeed, edition=edition):
                    done = self.convert("--time", "1", "--edition", edition, KAV_MISDEED=misdeed,
                                        **world)
                    self.assertIn(f"bad.mobi  {end}", done.stderr)
                    self.assertIn(f"{GOOD} done, 1 failed", done.stdout)
                    self.assertEqual(1, done.returncode)
                    self.assertEqual(GOOD, len(self.books()))
                    self.assertFalse((self.dir / "new").exists())


class Kills(CellsTest):
    """Whoever is killed, and when: no book is half there, no process is left, and a rerun makes
    what is missing and leaves no file."""

    def test_nothing_is_left(self):
        adopt_orphans = 36  # PR_SET_CHILD_SUBREAPER
        ctypes.CDLL(None).prctl(adopt_orphans, 1, 0, 0, 0)
        chance = random.Random(1)
        for victim in ["host", "guard", "zygote", "cell"] * (ROUNDS // 4):
            edition = chance.choice(["reader", "plain"])
            with self.subTest(victim=victim, edition=edition):
                self.kill(victim, edition, chance.uniform(0, 0.15))

    def kill(self, victim, edition, delay):
        work = self.dir / "work"
        work.mkdir(exist_ok=True)
        options = ["--edition", edition, "--work-dir", str(work)]
        host = subprocess.Popen(self.command(*options), stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)
        time.sleep(delay)
        for process in self.victims(host.pid, victim):
            os.kill(process, signal.SIGKILL)
        host.wait(60)
        self.await_orphans()
        self.check_books()
        if victim != "host":  # but for those that were being made, the batch goes on
            self.assertGreaterEqual(len(self.books()), GOOD - 2)
        self.assertEqual(0, self.convert(*options).returncode)
        self.assertEqual(GOOD, len(self.books()))
        self.check_books()
        if edition == "plain":
            self.assertEqual([], list(work.iterdir()))

    def await_orphans(self):
        deadline = time.monotonic() + 10
        while self.children(os.getpid()) and time.monotonic() < deadline:
            os.waitpid(-1, os.WNOHANG)
            time.sleep(0.005)
        self.assertEqual([], self.children(os.getpid()))

    def check_books(self):
        for name in self.books():
            self.assertRegex(name, r"^\d+\.epub$")
            self.assertIsNone(zipfile.ZipFile(self.made / name).testzip())

    def victims(self, host, victim):
        found = [host]
        for _ in range(["host", "guard", "zygote", "cell"].index(victim)):
            found = [child for parent in found for child in self.children(parent)]
        return found

    @staticmethod
    def children(process):
        try:
            with open(f"/proc/{process}/task/{process}/children") as file:
                return [int(child) for child in file.read().split()]
        except FileNotFoundError:
            return []


class Faults(CellsTest):
    """A call that fails in every cell, in books of all kinds: the batch comes to its end."""

    CALLS = ["malloc", "open", "write", "read", "fopen", "fread", "fwrite", "fclose", "opendir",
             "readdir"]
    TURNS = [*range(1, 40), *(40 * 5 ** i // 4 ** i for i in range(36))] if EVERYTHING else [1, 300]

    def setUp(self):
        super().setUp()
        for seed in (SOURCE / "tests" / "fixtures" / "mobi").glob("*.*"):
            if seed.suffix in (".mobi", ".azw3", ".pdb"):
                shutil.copy(seed, self.lib)
        (self.lib / "site").mkdir()
        (self.lib / "site" / "page.html").write_text("<h1>T</h1><p>x<img src=dot.gif>" * 50)

    def test_the_batch_comes_to_its_end(self):
        preloaded = {"LD_PRELOAD": str(BUILD / "substitute" / "libfaults_of_cells.so")}
        inputs = len([path for path in self.lib.rglob("*") if path.is_file()])
        for edition in ["reader", "plain"] if EVERYTHING else ["reader"]:
            for call, turn in itertools.product(self.CALLS, self.TURNS):
                with self.subTest(edition=edition, call=call, turn=turn):
                    shutil.rmtree(self.made, ignore_errors=True)
                    done = self.convert("--edition", edition, "--time", "2", **preloaded,
                                        KAV_FAULT=f"{call} {turn}")
                    self.assertEqual(inputs, sum(self.tally(done.stdout)), done.stdout + done.stderr)
                    self.check_wholeness(self.tally(done.stdout)[0])
        done = self.convert(KAV_FAULT="malloc 1", **preloaded)
        self.assertEqual(inputs, done.stderr.count("took more than"), done.stderr)


class Strangers(CellsTest):
    """Files from those who mean harm, and files that were damaged, with too little memory."""

    def test_the_batch_comes_to_its_end(self):
        chance = random.Random(3)
        strange = self.dir / "strange"
        strange.mkdir()
        for name in ["hostile_pages.txt", "page_costs.txt"]:
            for i, row in enumerate(data_rows(name)):
                (strange / f"{name}{i}.html").write_text("<body>".join(row[1:]), errors="ignore")
        for folder, suffix in [("page", "html"), ("html", "html"), ("novel", "txt"),
                               ("mobi", "mobi"), ("picture", "jpg"), ("encoding", "txt")]:
            for seed in [*(SOURCE / "fuzz").glob(f"*/{folder}/*")]:
                for i in range(100 if EVERYTHING else 2):
                    data = bytearray(seed.read_bytes())
                    for _ in range(i if data else 0):
                        data[chance.randrange(len(data))] = chance.randrange(256)
                    (strange / f"{folder} {seed.stem} {i}.{suffix}").write_bytes(data)
        inputs = list(strange.iterdir())
        for edition, memory in itertools.product(["reader", "plain"], ["24", "400"]):
            if edition == "plain" and not EVERYTHING:
                continue
            with self.subTest(edition=edition, memory=memory):
                shutil.rmtree(self.made, ignore_errors=True)
                done = self.convert(*inputs, "-o", self.made, "--separate", "--edition", edition,
                                    "--memory", memory)
                self.assertEqual(len(inputs) + GOOD, sum(self.tally(done.stdout)))
                self.check_wholeness(self.tally(done.stdout)[0])


class Lacking(CellsTest):
    """Systems that cannot close cells, or that are closed themselves."""

    def run_on(self, system, *arguments):
        return subprocess.run([BUILD / "bin" / "poorer_system", system, BUILD / "bin" / "kavepub",
                               *arguments], capture_output=True, text=True, timeout=60)

    def test_rows(self):
        text = self.lib / "1.txt"
        for system, lacking in [("without-landlock", "Landlock"), ("without-seccomp", "seccomp"),
                                ("without-both", "Landlock and seccomp"), ("container", "")]:
            with self.subTest(system=system):
                by_auto = self.run_on(system, "convert", "-f", text)
                warning = f"kavepub: warning: this system has no {lacking}, so that"
                self.assertEqual(0, by_auto.returncode, by_auto.stderr)
                self.assertEqual(bool(lacking), by_auto.stderr.startswith(warning))
                self.assertEqual(0, self.run_on(system, "convert", "-f", text,
                                                "--sandbox", "off").returncode)
                by_require = self.run_on(system, "convert", "-f", text, "--sandbox", "require")
                doctor = self.run_on(system, "doctor")
                code = 1 if lacking else 0
                self.assertEqual((code, code), (by_require.returncode, doctor.returncode))
                self.assertEqual(len(lacking.split(" and ")) if lacking else 0,
                                 len(re.findall(r"^  (?:Landlock|seccomp) +missing", doctor.stdout,
                                                re.MULTILINE)))


if __name__ == "__main__":
    unittest.main()
