"""Turns results into tables, targets, plots and the page docs/performance.md."""
import collections
import csv
import os
import pathlib
import platform
import re
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/performance.md"
OURS = ("engine", "floor", "kavepub", "reader")
MB = 1e6
KIB = 1024

Result = collections.namedtuple(
    "Result", "kind size pages program rounds wall_s cpu_s peak_kib book_bytes")

NAMES = {"english": "English text", "chinese": "Chinese text", "html": "site of HTML pages",
         "mobi": "MOBI book", "pages": "short pages of text", "chapters": "chapters of a paragraph"}
HEAD = ["| Input | Program | Rounds | Wall s | CPU s | Peak MB | Book MB "
        "| Wall ÷ floor | CPU ÷ floor | Peak ÷ floor | Wall ÷ engine |",
        "|---|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|"]


def find(results, kind, size, program):
    return next((result for result in results
                 if (result.kind, result.size, result.program) == (kind, size, program)), None)


def input_name(result):
    if result.size == 0:
        return result.kind
    unit = f"{result.size:,}" if result.kind in ("pages", "chapters") else f"{result.size} MB"
    return f"{NAMES.get(result.kind, result.kind)}, {unit}"


def rows(results):
    """The table of results, without its head."""
    lines = []
    for result in results:
        floor = find(results, result.kind, result.size, "floor")
        engine = find(results, result.kind, result.size, "engine")
        ratios = [f"{value / getattr(floor, name):.2f}" if floor else ""
                  for name in ("wall_s", "cpu_s", "peak_kib") for value in [getattr(result, name)]]
        ratios.append(f"{result.wall_s / engine.wall_s:.2f}" if engine else "")
        cells = [input_name(result), result.program, result.rounds, f"{result.wall_s:.3f}",
                 f"{result.cpu_s:.3f}", f"{result.peak_kib * KIB / MB:.1f}",
                 f"{result.book_bytes / MB:.2f}", *ratios]
        lines.append("| " + " | ".join(map(str, cells)) + " |")
    return lines


def targets(results):
    """The table of what is to be reached, and what was."""
    lines = ["| Target | At most | Measured | |", "|---|--:|--:|---|"]

    def add(name, bound, measured, unit=""):
        verdict = "met" if measured <= bound else "**missed**"
        lines.append(f"| {name} | {bound:.2f}{unit} | {measured:.2f}{unit} | {verdict} |")

    bounds = {"english": 1.33, "chinese": 1.33, "html": 2.5, "mobi": 1.5}
    for result in results:
        if result.program != "engine":
            continue
        floor = find(results, result.kind, result.size, "floor")
        if result.kind in bounds:
            add(f"{input_name(result)}: wall time, in floors", bounds[result.kind],
                result.wall_s / floor.wall_s)
        if result.kind in ("english", "chinese"):
            add(f"{input_name(result)}: peak memory", 12 + 0.002 * result.pages,
                result.peak_kib * KIB / MB, " MB")

    for kind, program in (("pages", "engine"), ("chapters", "reader")):
        base, small, large = (result for result in results
                              if (result.kind, result.program) == (kind, program))
        add(f"{large.size:,} {kind}: wall time, in {small.size:,} {kind}", 10.5,
            large.wall_s / small.wall_s)
        add(f"{large.size:,} {kind}: memory above that of one, in {small.size:,} {kind}", 10.5,
            (large.peak_kib - base.peak_kib) / (small.peak_kib - base.peak_kib))
    for result in results:
        if result.program != "reader" or result.kind not in bounds:
            continue
        plain = find(results, result.kind, result.size, "kavepub")
        name = f"{input_name(result)}, reader's edition"
        is_site = result.kind == "html"
        wall, peak = (0.7, 128) if is_site else (0.6, 48)
        add(f"{name}: wall time, in those of the plain one", wall, result.wall_s / plain.wall_s)
        if not is_site:
            add(f"{name}: CPU time, in those of the plain one", 1, result.cpu_s / plain.cpu_s)
        add(f"{name}: peak memory", peak, result.peak_kib * KIB / MB, " MB")
    start = next(result for result in results if result.kind == "start-up")
    add("`kavepub --version`: CPU time", 5, start.cpu_s * 1000, " ms")
    packing = {result.program: result for result in results if result.kind == "packing"}
    if "zip" in packing:
        ours, theirs = packing["engine"], packing["zip"]
        add("packing: wall time, in those of `zip -r -6`", 0.5, ours.wall_s / theirs.wall_s)
        add("packing: size, in those of `zip -r -6`", 1, ours.book_bytes / theirs.book_bytes)
    return lines


def levels(micro):
    """What each level of deflating costs and leaves."""
    lines = ["| Deflated by | Level | Left of the pages | MB/s |", "|---|--:|--:|--:|"]
    for run in micro:
        if "percent" in run:
            library, level = run["name"].split("/")
            lines.append(f"| {library.lower()} | {level} | {run['percent']:.2f} % "
                         f"| {run['bytes_per_second'] / MB:.0f} |")
    return lines


def figure(value):
    return f"{value:.3g}" if value < 1000 else f"{value:,.0f}"


def complexity(micro):
    """The fits, and the times they are made of."""
    lines = ["| Part | Fit | Root mean square | CPU time for each n |", "|---|---|--:|---|"]
    deviations = {run["run_name"]: run["rms"] for run in micro if "rms" in run}
    for fit in micro:
        if "big_o" not in fit:
            continue
        name = fit["run_name"]
        times = [f"{int(run['name'].split('/')[1]):,}: {figure(run['cpu_time'])} {run['time_unit']}"
                 for run in micro if run["name"].startswith(name + "/")]
        order = "constant" if fit["big_o"] == "(1)" else fit["big_o"]
        lines.append(f"| {name} | {order} × {figure(fit['cpu_coefficient'])} {fit['time_unit']} "
                     f"| {deviations[name] * 100:.0f} % | {'; '.join(times)} |")
    return lines


def machine():
    """The machine by its kind only."""
    virtual = "hypervisor" in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8")
    system = platform.freedesktop_os_release()
    return (f"{os.cpu_count()}-core {platform.machine().replace('_', '-')} "
            f"{'virtual machine' if virtual else 'machine'}, "
            f"{system['NAME'].split()[0]} {system['VERSION_ID']}")


def plot(results, path, field, label, factor):
    """Four plots of a figure over the size, in one picture."""
    script = ["set terminal svg size 1100,700 font 'sans,12' background '#ffffff'",
              f"set output '{path}'", "set multiplot layout 2,2", "set logscale xy", "set grid",
              "set key outside right top", "set xlabel 'input, MB'", f"set ylabel '{label}'",
              "set format y '%g'"]
    for kind in ("english", "chinese", "html", "mobi"):
        lines = collections.defaultdict(list)
        for result in results:
            if result.kind == kind:
                lines[result.program].append(f"{result.size} {getattr(result, field) * factor}")
        for number, points in enumerate(lines.values()):
            script += [f"$line{number} << end", *points, "end"]
        script.append(f"set title '{NAMES[kind]}'")
        script.append("plot [0.8:150] " + ", ".join(
            f"$line{number} with linespoints linewidth 2 title '{program}'"
            for number, program in enumerate(lines)))
    subprocess.run(["gnuplot"], input="\n".join(script), text=True, check=True)


def replace_figures(text, name, lines):
    begin, end = f"<!-- figures: {name} -->", "<!-- end of figures -->"
    pattern = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.DOTALL)
    if not pattern.search(text):
        raise SystemExit(f"{PAGE} has no place for the figures {name}")
    return pattern.sub(lambda _: "\n".join([begin, *lines, end]), text)


def publish(results, micro):
    with (ROOT / "bench/results.csv").open("w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(Result._fields)
        writer.writerows(results)
    plot(results, PAGE.with_name("performance-time.svg"), "wall_s", "wall time, s", 1)
    plot(results, PAGE.with_name("performance-memory.svg"), "peak_kib", "peak memory, MB", KIB / MB)
    text = PAGE.read_text(encoding="utf-8")
    for name, lines in {"machine": [f"Measured on a {machine()}."], "targets": targets(results),
                        "books": HEAD + rows(results), "levels": levels(micro),
                        "complexity": complexity(micro)}.items():
        text = replace_figures(text, name, lines)
    PAGE.write_text(text, encoding="utf-8")
