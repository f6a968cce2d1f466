"""Runs transcripts, which show the tool at a shell: python3 transcript.py [--update] FILE...

A line "$ COMMAND" is followed by what the command prints, on both outputs, and by its exit code in
brackets unless that is 0. "..." stands for anything on a line. A line that begins with "##" begins
again in an empty directory; other lines that begin with "#" are comments. The functions of
transcript.bash are there. With --update the files are rewritten as the commands come out.
"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

COMMAND = re.compile(r"^\$ (.*(?:\\\n.*)*)\n((?:(?!\$ |#).*\n)*)", re.MULTILINE)
HERE = Path(__file__).resolve().parent


def come_out(command, **options):
    """What a command prints, with its exit code when that is another than 0."""
    done = subprocess.run(["timeout", "120", "bash", "-c", command], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    code = f"[{done.returncode}]\n" if done.returncode else ""
    return done.stdout.decode(errors="backslashreplace") + code


def is_as_expected(shown, expected):
    pattern = re.escape(expected.strip("\n")).replace(re.escape("..."), ".*")
    return re.fullmatch(pattern, shown.strip("\n")) is not None


def played(scenario, build):
    """The scenario as its commands come out now, and whether that is as expected."""
    with tempfile.TemporaryDirectory() as top:
        files, temp = Path(top, "files"), Path(top, "temporary files")
        files.mkdir()
        temp.mkdir()
        environment = {**os.environ, "TMPDIR": str(temp), "TERM": "dumb", "LC_ALL": "C.UTF-8",
                       "PATH": f"{build}/bin:{os.environ['PATH']}",
                       "BASH_ENV": str(HERE / "transcript.bash"), "HERE": str(HERE)}
        good = True

        def play(match):
            nonlocal good
            command, expected = match.groups()
            shown = come_out(command, cwd=files, env=environment)
            if left := sorted(str(path.relative_to(temp)) for path in temp.rglob("*")):
                shown += f"working files were left: {left}\n"
            if is_as_expected(shown, expected):
                return match[0]
            print(f"$ {command}\n-- expected\n{expected}-- came out\n{shown}--")
            good = False
            blank = "\n" if expected.endswith("\n\n") or expected == "\n" else ""
            return f"$ {command}\n{shown.rstrip()}\n{blank}".replace("\n\n\n", "\n\n")

        return COMMAND.sub(play, scenario), good


def main(arguments):
    update = "--update" in arguments
    build = Path(os.environ["KAV_BUILD_DIR"]).resolve()
    good = True
    for path in map(Path, (name for name in arguments if name != "--update")):
        scenarios = re.split(r"^(?=## )", path.read_text(), flags=re.MULTILINE)
        results = [played(scenario, build) for scenario in scenarios]
        good = good and all(fine for _, fine in results)
        if update:
            path.write_text("".join(text for text, _ in results))
    return 0 if good or update else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
