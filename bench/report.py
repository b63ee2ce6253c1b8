"""Writes docs/performance.md and its plot from one run: report.py FOLDER DOCS"""
import math
import os
import re
import statistics
import subprocess
import sys

import numpy
import scipy

import measurements
from plot import draw_plot

WORKLOADS = {
    "uniform": "100,000 square, 10 random entries per column",
    "grid": "five-point Laplacian of a 1000 x 1000 grid",
    "tall": "1,000,000 x 1,000, 1,000 random entries per column",
    "powerlaw": "2^17 square, a skewed graph of about a million entries",
    "skew": "1,000,000 x 100,000, one dense column, one entry in every tenth of the others",
}
STEPS = ("uniform1", "uniform4", "uniform16")
HEAD = "| operation | ours | copy | x copy | Eigen | SciPy | x best peer | bar |\n|---|--:|--:|--:|--:|--:|--:|---|\n"


def number(value, digits=3):
    if value is None or math.isnan(value):
        return "-"
    return f"{value:,.0f}" if value >= 1000 else f"{value:.{digits}g}"


def mean(ratios):
    return statistics.geometric_mean(ratios) if ratios else math.nan


def table(rows, with_workload=False):
    lines = []
    for row in rows:
        label = f"{row.label} ({row.workload})" if with_workload else row.label
        copy_ratio = "-" if row.is_single() else number(row.of_copy)
        sides = " | ".join(number(row.ms(side)) for side in ("eigen", "scipy"))
        lines.append(
            f"| `{row.slug}` {label} | {number(row.ms('ours'))} | {number(row.ms('copy'))} | {copy_ratio} | {sides} "
            f"| {number(row.of_peer)} | {'; '.join(row.misses()) or 'met'} |\n"
        )
    return HEAD + "".join(lines)


def headline(rows):
    compared = [row for row in rows if not math.isnan(row.best_peer)]
    copied = [row for row in rows if not row.is_single()]
    ascending = [row.of_copy for row in copied if row.copies_allowed == 4]
    permuting = [row.of_copy for row in copied if row.copies_allowed != 4]
    return (
        f"- {len(rows)} rows; {sum(not row.misses() for row in rows)} meet the whole bar.\n"
        f"- Against the best peer: {mean([row.of_peer for row in compared]):.2f} of its time (geometric mean of "
        f"{len(compared)} rows); at most half of it in {sum(row.of_peer <= 0.5 for row in compared)}, slower in "
        f"{sum(row.of_peer > 1 for row in compared)}.\n"
        f"- Against the copy: {mean(ascending):.1f} copies where subscripts ascend, {mean(permuting):.1f} where "
        "entries are permuted (geometric means).\n"
    )


def exponent(times):
    return math.log(times[-1] / times[0]) / math.log(16)


def growth(rows):
    by_slug = {}
    for row in rows:
        by_slug.setdefault(row.slug, {})[row.workload] = row
    text = "| operation | x1 | x4 | x16 | exponent | of the copy | beyond the copy | of Eigen |\n"
    text += "|---|--:|--:|--:|--:|--:|--:|--:|\n"
    for slug, steps in by_slug.items():
        if all(step in steps for step in STEPS):
            ours, copy, eigen = ([steps[step].ms(side) for step in STEPS] for side in ("ours", "copy", "eigen"))
            mark = " (above 1.15)" if exponent(ours) > 1.15 else ""
            text += f"| `{slug}` {steps[STEPS[0]].label} | " + " | ".join(number(t) for t in ours)
            text += f" | {exponent(ours):.2f}{mark} | {exponent(copy):.2f} | {exponent(ours) - exponent(copy):.2f} "
            text += f"| {exponent(eigen):.2f} |\n"
    return text


def acceptance(context, others):
    text = "| call | ms | held against | ms | ratio | limit | |\n|---|--:|---|--:|--:|--:|---|\n"
    for name, sides in others.items():
        if name.startswith("accept/"):
            limit, label, reference = context[name].split("\t")
            ours, work = (measurements.median(sides[side]) for side in ("measured", "reference"))
            verdict = "met" if ours <= float(limit) * work else "missed"
            text += f"| {label} | {number(ours)} | {reference} | {number(work)} "
            text += f"| {ours / work:.2f} | {limit} | {verdict} |\n"
    return text


def small_calls(context, others):
    text = "| call | 10 x 10 | Eigen | 100 x 100 | Eigen | allocations | blocks kept |\n|---|--:|--:|--:|--:|--:|--:|\n"
    for name, small in others.items():
        large = others.get(name.replace("small10/", "small100/"))
        if name.startswith("small10/") and large is not None:
            measured = (sides[side] for sides in (small, large) for side in ("ours", "eigen"))
            times = (measurements.median(runs, "cpu_time") for runs in measured)
            text += f"| {context[name]} | " + " | ".join(f"{t:.0f}" for t in times)
            ours = small["ours"][0]
            text += f" | {ours['allocations']:.0f} | {max(ours['kept'], 0):.0f} |\n"
    return text


def first_line(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()[0]


def machine(context):
    cpu = subprocess.run(["lscpu"], capture_output=True, text=True, check=True).stdout
    model = re.search(r"Model name:\s*(.*)", cpu).group(1)
    caches = ", ".join(f"L{c['level']} {c['size'] >> 10} KiB" for c in context["caches"] if c["type"] != "Instruction")
    with open("/proc/meminfo", encoding="ascii") as file:
        memory = int(file.readline().split()[1]) >> 20
    return (
        f"{model}, {context['num_cpus']} cores at {context['mhz_per_cpu'] / 1000:.1f} GHz ({caches}), {memory} GiB; "
        f"Linux {os.uname().release}; {first_line('c++', '--version')}, preset `release`; Eigen "
        f"{first_line('dpkg-query', '-W', '-f=${Version}', 'libeigen3-dev')}; SciPy {scipy.__version__} on NumPy "
        f"{numpy.__version__}; one thread; {context['date'][:10]}; load average at the start "
        f"{context['load_avg'][0]:.1f}"
    )


INTRODUCTION = """# Performance

Written by `bench/run`; change the suite in `bench/`, not this page.

{headline}
![Time against the best peer and against the copy](images/performance.svg)

Machine: {machine}.

To repeat: `bench/run` (under 15 minutes, writes this page); `bench/run --quick 'uniform/rows'` (prints the rows whose
names match the expression).

## How to read the tables

Times are median milliseconds. *copy* is a warm `memcpy` of what the call must read or must write, whichever is more:
the entries and column starts it touches, and its subscripts. *x copy* and *x best peer* are our time as a multiple of
the copy and of the faster one of Eigen and SciPy. The bar: at most half the time of the best peer, and at most 4 copies
(10 where entries must be permuted); calls for one element each are held against the peers alone.

All sides compute the same matrix (compared by a weighted sum over the entries). Results are dropped outside of the
timed region on every side. An operation in place works on a fresh copy whose making is not timed. Each side of a row is
run at least three times within a fixed budget after a warming run; a run counts the lesser of wall and processor time.
Linear subscripts are drawn from the first 2^31 - 1 cells; in `grid` these hold 10,700 entries only. Eigen and SciPy are
given rows and columns instead of positions, but have to search a mask. SciPy's single reads and writes are scaled from
1,000 and 200 calls.

"""


def main():
    folder, docs = sys.argv[1:3]
    context, rows, others = measurements.read_rows(folder)
    main_rows = [row for row in rows if row.workload not in STEPS]
    slugs = {row.slug for row in rows if row.workload == "grid"} | {"whole"}
    text = INTRODUCTION.format(headline=headline(main_rows), machine=machine(context))
    for workload, about in WORKLOADS.items():
        text += f"## {workload}: {about}\n\n"
        text += table([row for row in rows if row.workload == workload and row.slug in slugs]) + "\n"
    text += "## Other forms of subscripts and right-hand sides (uniform)\n\n"
    text += table([row for row in rows if row.workload == "uniform" and row.slug not in slugs])
    text += "\n## A subscript for every cell: 10,000 x 1,000, 100 entries per column\n\n"
    text += table([row for row in rows if row.workload == "cells"])
    text += "\n## Complex and logical\n\n"
    text += table([row for row in rows if row.workload.startswith("uniform-")], with_workload=True)
    limits = os.path.join(os.path.dirname(os.path.abspath(__file__)), "limits.md")
    if os.path.exists(limits):
        with open(limits, encoding="utf-8") as file:
            text += "\n" + file.read()
    text += "\n## Growth\n\nThe uniform workload with 10,000, 40,000 and 160,000 columns, subscripts in proportion. "
    text += "The exponent is that of time against size from x1 to x16. A copy has one "
    text += "above 1 itself, because the smallest size lives in the second-level cache and the largest does not.\n\n"
    text += growth(rows)
    text += "\n## Calls held against plain work\n\n" + acceptance(context, others)
    text += "\n## Small calls\n\nNanoseconds per call, each with the dropping of its result; a call in place includes "
    text += "the copy it works on (Eigen's reuses its memory). The last two columns are of the 10 x 10 call: blocks "
    text += "asked for, the copy's included, and blocks that its result keeps.\n\n" + small_calls(context, others)
    os.makedirs(os.path.join(docs, "images"), exist_ok=True)
    with open(os.path.join(docs, "performance.md"), "w", encoding="utf-8") as file:
        file.write(text)
    draw_plot([row for row in rows if row.workload in WORKLOADS and row.slug in slugs],
              os.path.join(docs, "images", "performance.svg"))


if __name__ == "__main__":
    main()
