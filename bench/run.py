#!/usr/bin/env python3
"""Runs the engine beside its floors and its peers, and tells what each book cost.

    run.py BUILD_DIR [--quick]

All programs that make a book take turns in rounds, each round begun by another one; medians count.
Without --quick the figures go to bench/results.csv and docs/performance.md with its plots.
"""
import argparse
import hashlib
import json
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import zipfile

import report

HERE = pathlib.Path(__file__).resolve().parent
SCRATCH = HERE.parent / "build/bench"
ROUNDS = 5
SMALL = 4  # MB, up to which our own programs run three times as often
LIMIT = 60  # seconds for a run
PATIENCE = 10  # seconds above which a peer's run is not repeated
TIMED_OUT = 124  # of measure
CHANGING = {"OEBPS/content.opf", "OEBPS/toc.ncx"}  # the time is in the book's identifier

# Sizes in MB (of pages-N and chapters-N: how many of them), and those of a quick run.
SIZES = {"english": ([1, 4, 10, 100], [1, 4]), "chinese": ([1, 10, 100], [1]),
         "html": ([1, 10, 100], [1]), "mobi": ([1, 10, 100], [1]),
         "pages": ([1, 10_000, 100_000], [1, 1000, 10_000]),
         "chapters": ([1, 10_000, 100_000], [1, 1000, 10_000])}


class CommandFailed(Exception):
    """A program could not do what it was to do."""


class Bench:
    """The programs, where they work, and what they cost."""

    def __init__(self, build, work):
        self.programs = build / "bench"
        self.tool = build / "bin/kavepub"
        self.inputs = SCRATCH / "inputs"
        self.work = work / "run"
        self.environment = {**os.environ, "TMPDIR": str(work)}
        self.plan = SCRATCH / "plan"
        self.results = []

    def make_inputs(self, names):
        maker = HERE / "make_inputs.py"
        digest = hashlib.sha256(maker.read_bytes()).hexdigest()
        stamp = self.inputs / "made-by"
        if not stamp.exists() or stamp.read_text() != digest:
            shutil.rmtree(self.inputs, ignore_errors=True)
            self.inputs.mkdir(parents=True)
            stamp.write_text(digest)
        missing = [name for name in names if not self.input(name)]
        subprocess.run([sys.executable, maker, self.inputs, *missing], check=True)

    def input(self, name):
        """The file of an input, of a site its first page; nothing when it is not made."""
        for path in (self.inputs / (name + ending) for ending in (".txt", ".mobi", "/index.html")):
            if path.exists():
                return path
        return None

    def engine(self, job, source, output):
        return [self.programs / "engine", job, source, output, self.work]

    def run(self, command, output=None):
        """Runs a command in an empty directory: (wall s, CPU s, peak KiB, bytes of its output)."""
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir(parents=True)
        if output:
            output.unlink(missing_ok=True)
        done = subprocess.run([self.programs / "measure", str(LIMIT), *map(str, command)], text=True,
                              capture_output=True, cwd=self.work, env=self.environment, check=False)
        if done.returncode == TIMED_OUT:
            raise CommandFailed(f"takes more than {LIMIT} s")
        if done.returncode != 0 or (output and not output.exists()):
            raise CommandFailed(f"failed: {done.stderr[-1000:]}")
        wall, cpu, peak = map(float, done.stdout.split())
        return wall, cpu, peak, output.stat().st_size if output else 0

    def compare(self, kind, size, commands, pages=0, rounds=ROUNDS):
        """Takes turns with the commands (name -> command, output) and keeps a result of each."""
        costs = {name: [] for name in commands}
        ended = set()
        for number in range(rounds * 3 if size <= SMALL else rounds):
            order = list(commands)
            for name in order[number % len(order):] + order[:number % len(order)]:
                if name in ended or (number >= rounds and name not in report.OURS):
                    continue
                try:
                    costs[name].append(self.run(*commands[name]))
                except CommandFailed as failure:
                    if name in report.OURS:
                        raise
                    print(f"{kind} {size}: {name} {failure}")
                    ended.add(name)
                    continue
                if name not in report.OURS and costs[name][0][0] > PATIENCE:
                    ended.add(name)
        results = [report.Result(kind, size, pages, name, len(runs),
                                 *(statistics.median(values) for values in zip(*runs)))
                   for name, runs in costs.items() if runs]
        self.results += results
        print("\n".join(report.rows(results)), flush=True)

    def is_within_reach(self, kind, size, peer):
        """Whether a peer, by what it took for the last size, can be expected to meet the limit."""
        before = [result for result in self.results if result.kind == kind]
        if not before:
            return True
        last = [result for result in before if result.program == peer]
        if last and last[-1].size == before[-1].size:
            if last[-1].wall_s * size / last[-1].size < LIMIT:
                return True
        print(f"{kind} {size}: {peer} would take more than {LIMIT} s and is left out")
        return False


def no_files(_):
    return lambda name: None


def site_files(source):
    """The files of a site keep their names in the book, but for the first page."""
    files = {"OEBPS/" + path.name: path for path in source.parent.rglob("*") if path.is_file()}
    files["OEBPS/page-1.html"] = source
    return files.get


def extracted_files(_):
    """What the floor takes out of a MOBI book, relative to its working directory."""
    def find(name):
        base = name.rpartition("/")[2]
        if base == "page-1.html":
            return pathlib.Path("extracted/book.html")
        return pathlib.Path("extracted", base) if base.startswith("picture-") else None
    return find


# kind: what the engine is to do, and which of a book's files it does not make up itself
JOBS = {"english": ("text", no_files), "chinese": ("text", no_files), "pages": ("text", no_files),
        "chapters": ("text", no_files), "html": ("html", site_files), "mobi": ("mobi", extracted_files)}


def write_plan(path, book, find_file):
    """The plan (see plan.h) of a book; the names of the pages that the floor parses itself."""
    parsed = set()
    with zipfile.ZipFile(book) as archive, path.open("wb") as plan:
        for entry in archive.infolist():
            file = find_file(entry.filename)
            source = "data" if file is None else "html" if file.suffix == ".html" else "copy"
            if source == "html":
                parsed.add(entry.filename)
            data = archive.read(entry) if file is None else str(file).encode()
            packing = "stored" if entry.compress_type == zipfile.ZIP_STORED else "deflated"
            plan.write(f"{source} {packing} {len(data)} {entry.filename}\n".encode() + data)
    return parsed


def check_equal(book, other, exempted):
    """Both are sound and have the same entries in the same order, packed to the same size; only the
    names are compared of those that are exempted."""
    def entries(path):
        with zipfile.ZipFile(path) as archive:
            if broken := archive.testzip():
                raise SystemExit(f"{path}: {broken} is damaged")
            return [(entry.filename,) if entry.filename in exempted else
                    (entry.filename, entry.CRC, entry.file_size, entry.compress_size,
                     entry.compress_type) for entry in archive.infolist()]
    if entries(book) != entries(other):
        raise SystemExit(f"{book} and {other} differ")


def peers(bench, kind, size, source, output):
    """What others would run: name -> command, output."""
    pages = sorted(source.parent.rglob("*.html")) if kind == "html" else [source]
    commands = {"ebook-convert": (["ebook-convert", source, output], output),
                "pandoc": (["pandoc", "-o", output, *pages], output)}
    if kind == "mobi":
        del commands["pandoc"]  # it reads no such book
        made = bench.work / f"{source.stem}.epub"
        commands["mobitool"] = (["mobitool", "-e", "-o", bench.work, source], made)
    return {name: command for name, command in commands.items()
            if shutil.which(name) and bench.is_within_reach(kind, size, name)}


def compare_book(bench, kind, size):
    """Makes one book by the engine, its floor, the tool and the peers."""
    job, files_of = JOBS[kind]
    source = bench.input(f"{kind}-{size}")
    reference, outputs = SCRATCH / "reference.epub", {
        name: SCRATCH / f"{name}.epub" for name in ("engine", "floor", "kavepub", "reader", "peer")}
    bench.run(bench.engine(job, source, reference), reference)
    parsed = write_plan(bench.plan, reference, files_of(source))
    floor = [bench.programs / "floor", bench.plan, bench.work, outputs["floor"]]
    tool = [bench.tool, "convert", "--edition", "plain", "-f", "--work-dir", bench.work, "-o",
            outputs["kavepub"], source]
    if job == "mobi":
        floor.append(source)
    if job == "text":
        tool += ["--paragraphs", "wrapped"]

    commands = {"engine": (bench.engine(job, source, outputs["engine"]), outputs["engine"]),
                "floor": (floor, outputs["floor"]), "kavepub": (tool, outputs["kavepub"])}
    if job in ("text", "html"):
        commands["reader"] = ([bench.tool, "convert", "--cover", "none", "-f", "-o",
                               outputs["reader"], source], outputs["reader"])
    if kind not in ("pages", "chapters"):
        commands.update(peers(bench, kind, size, source, outputs["peer"]))
    with zipfile.ZipFile(reference) as archive:
        pages = sum(name.endswith(".html") for name in archive.namelist())
    bench.compare(kind, size, commands, pages)
    check_equal(reference, outputs["floor"], parsed)
    check_equal(reference, outputs["engine"], CHANGING)


def compare_packing(bench, size):
    """The packer beside zip, with the directory of the last book of English text."""
    book = SCRATCH / "packed"
    shutil.rmtree(book, ignore_errors=True)
    reference, output = SCRATCH / "reference.epub", SCRATCH / "peer.epub"
    source = bench.input(f"english-{size}")
    bench.run(bench.engine("text", source, reference), reference)
    with zipfile.ZipFile(reference) as archive:
        archive.extractall(book)
    bench.compare("packing", size, {
        "engine": (bench.engine("pack", book, SCRATCH / "engine.epub"), SCRATCH / "engine.epub"),
        "zip": (["env", "-C", book, "zip", "-q", "-r", "-6", output, "."], output)})


def run_microbench(bench, seconds):
    """What Google Benchmark tells, which it also prints."""
    reference, figures = SCRATCH / "reference.epub", SCRATCH / "microbench.json"
    bench.run(bench.engine("text", bench.input("english-1"), reference), reference)
    write_plan(bench.plan, reference, no_files(None))
    subprocess.run([bench.programs / "microbench", bench.plan, f"--benchmark_min_time={seconds}",
                    f"--benchmark_out={figures}", "--benchmark_out_format=json"],
                   env=bench.environment, stderr=subprocess.DEVNULL, check=True)
    return json.loads(figures.read_text())["benchmarks"]


def measure_all(bench, quick):
    sizes = {kind: both[quick] for kind, both in SIZES.items()}
    bench.make_inputs(f"{kind}-{size}" for kind in sizes for size in sizes[kind])
    for peer in ("ebook-convert", "pandoc", "mobitool", "zip"):
        if not shutil.which(peer):
            print(f"{peer} is not installed and left out")

    print("\n".join(report.HEAD))
    for kind in sizes:
        for size in sizes[kind]:
            compare_book(bench, kind, size)
    compare_packing(bench, sizes["english"][-1])
    bench.compare("start-up", 0, {"kavepub": ([bench.tool, "--version"],)}, rounds=4 * ROUNDS)
    print()
    return run_microbench(bench, 0.02 if quick else 0.1)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true", help="small books, and nothing is written")
    parser.add_argument("--work-dir", default="/dev/shm", help="for the working files of all")
    options = parser.parse_args()
    start = time.monotonic()
    with tempfile.TemporaryDirectory(prefix="kav-bench-", dir=options.work_dir) as work:
        bench = Bench(options.build.resolve(), pathlib.Path(work))
        micro = measure_all(bench, options.quick)
    print("\n" + "\n".join(report.targets(bench.results)))
    if not options.quick:
        report.publish(bench.results, micro)
    print(f"\nDone in {(time.monotonic() - start) / 60:.0f} minutes")


if __name__ == "__main__":
    main()
