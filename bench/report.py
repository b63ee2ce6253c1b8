"""Writes docs/performance.md and its plot, and the figures of the README, from one run: report.py RUN.json ROOT"""
import math
import os
import re
import subprocess
import sys

import numpy
import scipy

from measurements import PEERS, Summary, geometric_mean, number, read, spread
from plot import draw_plot

WORKLOADS = {
    "uniform": "100,000 square, 10 random entries per column",
    "grid": "five-point Laplacian of a 1000 x 1000 grid",
    "tall": "1,000,000 x 1,000, 1,000 random entries per column",
    "powerlaw": "2^17 square, a skewed graph of about a million entries",
    "skew": "1,000,000 x 100,000, one dense column, one entry in every tenth of the others",
}
STEPS = ("uniform1", "uniform4", "uniform16")
LOOPS = {"avx512": "registers of 512 bits", "avx2": "registers of 256 bits", "portable": "any processor"}
MARKS = ("<!-- written by bench/run -->", "<!-- up to here -->")


def table_of(rows, tables, with_workload=False):
    first = tables[0]
    heads = ["operation", f"{first} ms", "x copy", "peer / ours"]
    for table in tables[1:]:
        heads += [f"{table} ms", "peer / ours"]
    heads += ["copy", *PEERS.values(), "method", f"bar ({first})"]
    text = "| " + " | ".join(heads) + " |\n|---|" + "--:|" * (len(heads) - 3) + "---|---|\n"
    for row in rows:
        cells = [f"`{row.slug}` {row.label}" + (f" ({row.workload})" if with_workload else "")]
        for table in tables:
            cells.append(number(row.ours[table]))
            if table == first:
                cells.append("-" if row.is_single() else number(row.of_copy(first)))
            cells.append(spread(row.ratios.get(table)))
        cells.append(number(row.copy))
        for peer in PEERS:
            time = number(row.peers.get(peer))
            cells.append(f"**{time}**" if peer == row.best_peer else time)
        cells += [row.method() or "-", "; ".join(row.misses(first)) or "met"]
        text += "| " + " | ".join(cells) + " |\n"
    return text


def headline(rows, tables):
    text = "| loops | rows with a peer | geometric mean of best peer / ours | at least 2 | less, within 1.3 copies "
    text += "| slower than a peer |\n|---|--:|--:|--:|--:|--:|\n"
    for table in tables:
        summary = Summary(rows, table)
        text += f"| `{table}` ({LOOPS[table]}) | {summary.rows} | {summary.mean:.2f} | {summary.twice} "
        text += f"| {summary.near_copy} | {summary.slower} |\n"
    slower = [row.name for row in rows
              if row.ratio(tables[0]) < 1 and not row.is_against_copy_alone()]
    text += f"\nSlower than a peer with `{tables[0]}`: {', '.join(slower) or 'none'}.\n\n"
    ascending, permuting = ([row.of_copy(tables[0]) for row in rows if row.copies == copies] for copies in (4, 10))
    text += f"Against the copy, with `{tables[0]}`: {geometric_mean(ascending):.1f} copies where subscripts ascend, "
    return text + f"{geometric_mean(permuting):.1f} where entries are permuted (geometric means).\n"


def exponent(times):
    return math.log(times[-1] / times[0]) / math.log(16)


def growth(rows, table):
    by_slug = {}
    for row in rows:
        by_slug.setdefault(row.slug, {})[row.workload] = row
    text = "| operation | x1 | x4 | x16 | exponent | of the copy | beyond the copy | of Eigen |\n"
    text += "|---|--:|--:|--:|--:|--:|--:|--:|\n"
    for slug, steps in by_slug.items():
        if not all(step in steps for step in STEPS):
            continue
        ours = [steps[step].ours[table] for step in STEPS]
        copy, eigen = ([of(steps[step]) for step in STEPS]
                       for of in (lambda row: row.copy, lambda row: row.peers["eigen"]))
        mark = " (above 1.15)" if exponent(ours) > 1.15 else ""
        text += f"| `{slug}` {steps[STEPS[0]].label} | " + " | ".join(number(t) for t in ours)
        text += f" | {exponent(ours):.2f}{mark} | {exponent(copy):.2f} | {exponent(ours) - exponent(copy):.2f} "
        text += f"| {exponent(eigen):.2f} |\n"
    return text.replace("nan", "-")


def acceptance(context, others, table):
    text = "| call | ms | held against | ms | ratio | limit | |\n|---|--:|---|--:|--:|--:|---|\n"
    for name, run in others.items():
        if name.startswith("accept/"):
            limit, label, reference = context[name].split("\t")
            ratio = 1 / run[f"ratio:{table}"]
            text += f"| {label} | {number(run[f'ms:{table}'])} | {reference} | {number(run['reference'])} "
            text += f"| {ratio:.2f} | {limit} | {'met' if ratio <= float(limit) else 'missed'} |\n"
    return text


def small_calls(context, others):
    text = "| call | 10 x 10 | Eigen | 100 x 100 | Eigen | allocations | blocks kept |\n|---|--:|--:|--:|--:|--:|--:|\n"
    for name, ours in others.items():
        row, _, side = name.rpartition("/")
        if row.startswith("small10/") and side == "ours":
            large = row.replace("small10/", "small100/")
            runs = [others.get(f"{base}/{each}") for base in (row, large) for each in ("ours", "eigen")]
            text += f"| {context[row]} | " + " | ".join(number(run and run["cpu_time"]) for run in runs)
            text += f" | {ours['allocations']:.0f} | {max(ours['kept'], 0):.0f} |\n"
    return text


def first_line(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()[0]


def version_of(package):
    return first_line("dpkg-query", "-W", "-f=${Version}", package)


def processor():
    cpu = subprocess.run(["lscpu"], capture_output=True, text=True, check=True).stdout
    return re.search(r"Model name:\s*(.*)", cpu).group(1)


def machine(context):
    caches = ", ".join(f"L{c['level']} {c['size'] >> 10} KiB" for c in context["caches"] if c["type"] != "Instruction")
    with open("/proc/meminfo", encoding="ascii") as file:
        memory = int(file.readline().split()[1]) >> 20
    return (
        f"{processor()}, {context['num_cpus']} cores at {context['mhz_per_cpu'] / 1000:.1f} GHz ({caches}), "
        f"{memory} GiB; Linux {os.uname().release}; {first_line('c++', '--version')}, preset `release`; Eigen "
        f"{version_of('libeigen3-dev')}; SciPy {scipy.__version__} on NumPy {numpy.__version__}; SuiteSparse:GraphBLAS "
        f"of {version_of('libgraphblas-dev')}; Armadillo {version_of('libarmadillo-dev')}; one thread; "
        f"{context['date'][:10]}; load average at the start {context['load_avg'][0]:.1f}"
    )


INTRODUCTION = """# Performance

Written by `bench/run`; change the suite in `bench/`, not this page.

Measured on an {processor}. *Best peer / ours* says how many times as fast the library is as the fastest of {peers}:

{headline}
![Time against the best peer and against the copy](images/performance.svg)

Machine: {machine}.

To repeat: `bench/run` (some ten minutes, writes this page); `bench/run --quick 'uniform/rows'` (prints the rows whose
names match the expression).

## How to read the tables

Times are median milliseconds. Each row is measured with every table of loops that the processor can run, the widest one
first; a lesser table stands for a processor that has no more. *peer / ours* is the median, and in brackets the quartiles,
over at least five pairs in which the best peer (in bold) and ours are run in turns; a wide spread is the machine's.
*copy* is a warm `memcpy` of what the call must read or must write, whichever is more: the entries and column starts it
touches, and its subscripts (of single insertions: a memmove of what lies behind each). *method* is what the library
chose, where it has a choice.

The bar: at least twice as fast as the best peer, or within 1.3 of a copy that takes more than half of the peer's time;
and at most 4 copies (10 where entries must be permuted); calls for one element or column each are held against the
peers alone. Single insertions, which peers put off until all are there, are held against the memmoves alone, at most 1.2
of them, and left out of the figures above.

All sides compute the same matrix (compared by a weighted sum over the entries). Results are dropped outside of the
timed region on every side; what a peer puts off is finished within it. An operation in place works on a fresh copy whose
making is not timed. A turn is one untimed run and the median of up to five that follow; a run counts the lesser of wall
and processor time.
Linear subscripts are drawn from the first 2^31 - 1 cells; in `grid` these hold 10,700 entries only. Peers are given rows
and columns instead of positions, but have to search a mask; what a peer has no means for, it is not asked. SciPy's single
calls are scaled from 20 to 1,000.

"""


def page(context, rows, others, folder):
    tables = list(dict.fromkeys(table for row in rows for table in row.tables))
    main_rows = [row for row in rows if row.workload not in STEPS]
    slugs = {row.slug for row in rows if row.workload == "grid"} | {"whole"}
    text = INTRODUCTION.format(headline=headline(main_rows, tables), machine=machine(context), processor=processor(),
                               peers=", ".join(PEERS.values()))
    for workload, about in WORKLOADS.items():
        text += f"## {workload}: {about}\n\n"
        text += table_of([row for row in rows if row.workload == workload and row.slug in slugs], tables) + "\n"
    single = [row for row in rows if row.workload == "small100" or row.slug == "inserts"]
    text += "## Single calls: on 100 x 100 with 10 entries per column, and insertions into large matrices\n\n"
    text += table_of(single, tables, with_workload=True)
    text += "\n## Other forms of subscripts and right-hand sides (uniform)\n\n"
    text += table_of([row for row in rows
                      if row.workload == "uniform" and row.slug not in slugs and row not in single], tables)
    text += "\n## A subscript for every cell: 10,000 x 1,000, 100 entries per column\n\n"
    text += table_of([row for row in rows if row.workload == "cells"], tables)
    text += "\n## Complex and logical\n\n"
    text += table_of([row for row in rows if row.workload.startswith("uniform-")], tables, with_workload=True)
    limits = os.path.join(folder, "limits.md")
    if os.path.exists(limits):
        with open(limits, encoding="utf-8") as file:
            text += "\n" + file.read()
    text += "\n## Growth\n\nThe uniform workload with 10,000, 40,000 and 160,000 columns, subscripts in proportion. "
    text += "The exponent is that of time against size from x1 to x16. A copy has one "
    text += "above 1 itself, because the smallest size lives in the second-level cache and the largest does not.\n\n"
    text += growth(rows, tables[0])
    text += "\n## Calls held against plain work\n\n" + acceptance(context, others, tables[0])
    text += "\n## Small calls\n\nNanoseconds per call, each with the dropping of its result; a call in place includes "
    text += "the copy it works on (Eigen's reuses its memory). The last two columns are of the 10 x 10 call: blocks "
    text += "asked for, the copy's included, and blocks that its result keeps.\n\n" + small_calls(context, others)
    return text


def readme_figures(rows):
    tables = list(dict.fromkeys(table for row in rows for table in row.tables))
    lines = [f"From its last run, on an {processor()}, against the fastest of {', '.join(PEERS.values())}:\n"]
    for table in tables:
        summary = Summary(rows, table)
        lines.append(f"- `{table}` ({LOOPS[table]}): {summary.mean:.2f} times as fast (geometric mean of {summary.rows} "
                     f"rows), at least twice in {summary.twice}, slower in {summary.slower}")
    return "\n".join(lines)


def put_between_marks(path, text):
    with open(path, encoding="utf-8") as file:
        before, rest = file.read().split(MARKS[0])
    after = rest.split(MARKS[1])[1]
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"{before}{MARKS[0]}\n{text}\n{MARKS[1]}{after}")


def main():
    run, root = sys.argv[1:3]
    context, rows, others = read(run)
    images = os.path.join(root, "docs", "images")
    os.makedirs(images, exist_ok=True)
    with open(os.path.join(root, "docs", "performance.md"), "w", encoding="utf-8") as file:
        file.write(page(context, rows, others, os.path.join(root, "bench")))
    main_rows = [row for row in rows if row.workload not in STEPS]
    put_between_marks(os.path.join(root, "README.md"), readme_figures(main_rows))
    slugs = {row.slug for row in rows if row.workload == "grid"} | {"whole"}
    draw_plot([row for row in rows if row.workload in WORKLOADS and row.slug in slugs],
              os.path.join(images, "performance.svg"))


if __name__ == "__main__":
    main()
