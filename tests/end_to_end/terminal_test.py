"""The tool on a terminal."""

import fcntl
import os
import pty
import select
import struct
import subprocess
import termios

from book import KAVEPUB, ToolTest

LINES = b"A line of the text.\n"


class Terminals(ToolTest):
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
