"""The Debian packages: well made, installable, and at work in a root of their own."""

import re
import shlex
import sys
from pathlib import Path

from book import SOURCE, ToolTest, run

EXAMPLES = SOURCE / "docs" / "examples"
PACKAGES = ["kavepub", "libkav-epub", "libkav-epub-dev"]


class Packages(ToolTest):
    def test_packages(self):
        packed = run(SOURCE / "scripts" / "package")
        self.assertEqual(packed.returncode, 0, packed.stderr)
        packages = [SOURCE / file for file in packed.stdout.split()]
        self.assertEqual(sorted(file.name.split("_")[0] for file in packages), PACKAGES)
        self.check_with_lintian(packages)
        self.check_dependencies(packages)

        self.root = self.dir / "root"
        for package in packages:
            self.succeed("dpkg-deb", "--extract", package, self.root)
        [self.loader_dir] = [path.parent for path in self.root.glob("usr/lib/*/libKav_Epub.so")]
        self.check_tool()
        self.check_library_by_name()
        self.check_foreign_program()

    def check_with_lintian(self, packages):
        report = run("lintian", "--allow-root", *packages)
        self.assertNotRegex(report.stdout + report.stderr, "(?m)^[EW]:")
        self.assertEqual(report.returncode, 0, report.stdout + report.stderr)

    def check_dependencies(self, packages):
        """What apt would do with the packages on this system, which has what they depend on."""
        plan = self.succeed("apt-get", "--simulate", "--no-download", "install", *packages)
        self.assertEqual(sorted(re.findall(r"^Inst (\S+)", plan, re.MULTILINE)), PACKAGES)

    def check_tool(self):
        self.write("in.txt", content=b"Hello, reader.\n")
        tool = self.root / "usr" / "bin" / "kavepub"
        loaded = self.succeed("ldd", tool)
        paths = re.findall(r"libKav_\w+\.so => (\S+)", loaded)
        self.assertEqual({Path(path).resolve() for path in paths},
                         set(self.loader_dir.glob("kav-epub/*.so")))
        self.succeed(tool, "convert", "in.txt")
        self.check_book("in.epub", "Hello, reader. ")

    def check_library_by_name(self):
        """The loader knows the engine, which finds its companions in the directory of their own."""
        where = {**self.environment, "LD_LIBRARY_PATH": str(self.loader_dir)}
        self.succeed(sys.executable, EXAMPLES / "book.py", "python.epub", env=where)
        self.check_book("python.epub", "First line, second line. third line: 你好. ")

    def check_foreign_program(self):
        where = {**self.environment, "LD_LIBRARY_PATH": str(self.loader_dir),
                 "PKG_CONFIG_PATH": str(self.loader_dir / "pkgconfig")}
        flags = shlex.split(self.succeed("pkg-config", "--cflags", "--libs", "kav_epub", env=where))
        self.succeed("cc", EXAMPLES / "convert.c", *flags, "-o", "convert", env=where)
        self.succeed(self.dir / "convert", "in.txt", "foreign.epub", env=where)
        self.check_book("foreign.epub", "Hello, reader. ")
