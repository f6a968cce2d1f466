"""Cells, in which the tool makes books: what a parser that was taken over can do to a batch."""

import ctypes
import os
import random
import re
import signal
import subprocess
import time
import unittest
import zipfile

from book import BUILD, SOURCE, ToolTest

FIXTURE = SOURCE / "tests" / "fixtures" / "mobi" / "lighthouse.mobi"
SUBSTITUTE = BUILD / "substitute" / "libmisbehaving_mobi.so"
GOOD = 20
ROUNDS = int(os.environ.get("KAV_KILLS", "8"))

# Of each way to come to an end one misdeed; KAV_ALL_MISDEEDS has all of them tried.
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
        return [BUILD / "bin" / "kavepub", "convert", self.lib, "-o", self.made.parent, "-f", "-j2",
                "--cover", "none", *options]

    def convert(self, *options, **environment):
        return subprocess.run(self.command(*options), capture_output=True, text=True, timeout=300,
                              env={**os.environ, **environment})

    def books(self):
        return sorted(path.name for path in self.made.iterdir())


class Misdeeds(CellsTest):
    def test_one_book_fails_and_all_others_are_made(self):
        (self.lib / "bad.mobi").write_bytes(FIXTURE.read_bytes())
        secret = self.dir / "secret"
        secret.write_text("secret")
        (self.lib / "link").symlink_to(secret)
        world = {"KAV_SECRET": str(secret), "KAV_LINK": str(self.lib / "link"),
                 "KAV_INPUT": str(self.lib / "bad.mobi"), "KAV_ELSEWHERE": str(self.dir / "new"),
                 "LD_PRELOAD": str(SUBSTITUTE)}
        everything = "KAV_ALL_MISDEEDS" in os.environ
        for edition in ["reader", "plain"] if everything else ["reader"]:
            for misdeed, end in (all_misdeeds() if everything else ENDS).items():
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
