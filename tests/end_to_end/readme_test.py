"""What the README shows is true: its example compiles and makes a book."""

import re
import unittest

from book import BUILD, SOURCE, WITHOUT_COVER, Book, ToolTest, run


class Example(ToolTest):
    def test_example_in_c(self):
        readme = (SOURCE / "README.md").read_text()
        code = re.search(r"```c\n(.*?)```", readme, re.DOTALL).group(1)
        (self.dir / "example.c").write_text(code.replace('"/tmp"', '"."'))
        compiled = run("cc", "-std=c99", "-Wall", "-Wextra", "-Wpedantic", "-Werror", f"-I{SOURCE}",
                       "example.c", f"-L{BUILD}/lib", "-lKav_Epub", f"-Wl,-rpath,{BUILD}/lib",
                       "-Wl,--allow-shlib-undefined", "-o", "example", cwd=self.dir)
        self.assertEqual((compiled.returncode, compiled.stderr), (0, ""))
        environment = dict(self.environment)
        if not (BUILD.name == "release"):
            runtime = run("gcc", "-print-file-name=libasan.so").stdout.strip()
            environment["LD_PRELOAD"] = runtime
        made = run(self.dir / "example", cwd=self.dir, env=environment)
        self.assertEqual((made.returncode, made.stdout + made.stderr), (0, ""))
        book = Book(self.dir / "book.epub")
        self.assertEqual(book.text_of_pages(), "First line, second line. ")
        book.check_all(self, WITHOUT_COVER)
        self.assertFalse((self.dir / "epub_temp").exists())


if __name__ == "__main__":
    unittest.main()
