"""What every shipped binary has from the compiler and the linker against those who find a fault."""

import re
import unittest

from book import BUILD, KAVEPUB, run

BINARIES = [KAVEPUB, *sorted((BUILD / "lib").glob("libKav_*.so"))]
# What readelf prints, and of which binaries.
PRESENT = (
    ("every symbol is bound at the start", r"FLAGS_1.*\bNOW\b", BINARIES),
    ("and their table is read-only then", r"\bGNU_RELRO\b", BINARIES),
    ("the stack holds no code", r"GNU_STACK( +0x\w+){5} RW +", BINARIES),
    ("functions notice an overwritten stack", r"\b__stack_chk_fail\b", BINARIES),
    ("libc's calls know the room they have", r"\b__snprintf_chk@", [BUILD / "lib/libKav_Ebase.so"]),
    ("the program lies anywhere", r"FLAGS_1.*\bPIE\b", [KAVEPUB]),
    ("libraries are found beside their users", r"RUNPATH.*\[\$ORIGIN(/\.\./lib)?\]", BINARIES),
)
ABSENT = (
    ("code is never written to", r"TEXTREL"),
    ("no segment is both writable and code", r"LOAD .* RWE "),
    ("no call writes without knowing its room", r" (gets|strcpy|strcat|v?sprintf|stpcpy)@"),
)


class Binaries(unittest.TestCase):
    def test_binaries(self):
        self.assertEqual(len(BINARIES), 5)
        for binary in BINARIES:
            found = run("readelf", "--wide", "--dynamic", "--segments", "--notes", "--dyn-syms", binary).stdout
            for name, pattern, binaries in PRESENT:
                with self.subTest(name, binary=binary.name):
                    if binary in binaries:
                        self.assertRegex(found, pattern)
            for name, pattern in ABSENT:
                with self.subTest(name, binary=binary.name):
                    self.assertNotRegex(found, pattern)

    def test_jumps_land_where_they_may(self):
        # The objects of the C library that every binary begins with have no such marks, so the linker
        # does not mark the binaries as a whole; the functions are ready for the day when it does.
        for library in BINARIES[1:]:
            code = run("objdump", "--disassemble", "--no-show-raw-insn", library).stdout
            firsts = dict(re.findall(r"^([0-9a-f]+) <.+>:\n[^\t]+\t(\w+)", code, re.MULTILINE))
            exported = re.findall(r": ([0-9a-f]+) +\d+ FUNC +GLOBAL +DEFAULT +\d+ ",
                                  run("readelf", "--wide", "--dyn-syms", library).stdout)
            self.assertTrue(exported)
            self.assertEqual({firsts.get(place) for place in exported}, {"endbr64"}, library.name)


if __name__ == "__main__":
    unittest.main()
