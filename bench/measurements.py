"""The results of one run of the benchmarks, joined by row."""
import csv
import json
import math
import os
import re
import statistics

PEERS = ("eigen", "scipy")


class Row:
    """Milliseconds of each side of a row, and the bar."""

    def __init__(self, name, copies_allowed, label):
        self.name, self.copies_allowed, self.label = name, int(copies_allowed), label
        self.workload, self.slug = name.split("/")
        self.sides = {}
        self.recorded = None

    def ms(self, side):
        return self.sides.get(side, math.nan)

    @property
    def best_peer(self):
        return min((self.sides[p] for p in PEERS if p in self.sides), default=math.nan)

    @property
    def of_peer(self):
        return self.ms("ours") / self.best_peer

    @property
    def of_copy(self):
        return self.ms("ours") / max(self.ms("copy"), 1e-6)

    def misses(self):
        """What the row falls short of."""
        found = []
        if self.of_peer > 1:
            found.append("slower than a peer")
        elif self.of_peer > 0.5:
            found.append("half of the peer")
        if self.of_copy > self.copies_allowed and not self.is_single():
            found.append(f"{self.copies_allowed} copies")
        return found

    def is_single(self):
        """Calls for one element each are held against the peers only."""
        return self.slug in ("reads", "writes")


def side_times(path):
    """Median milliseconds by name without the last part, then by that part; errors are raised."""
    times = {}
    with open(path, encoding="utf-8") as file:
        document = json.load(file)
    for run in document["benchmarks"]:
        if run.get("run_type") == "aggregate":
            continue
        name, side = re.sub(r"/(iterations|min_time):.*", "", run["name"]).rsplit("/", 1)
        if run.get("error_occurred"):
            raise SystemExit(f"{name}/{side}: {run['error_message']}")
        times.setdefault(name, {}).setdefault(side, []).append(run)
    return document["context"], times


def median(runs, key="real_time"):
    return statistics.median(run[key] for run in runs)


def read_recorded():
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "recorded.tsv")
    with open(path, encoding="ascii") as file:
        lines = csv.reader((line for line in file if not line.startswith("#")), delimiter="\t")
        return {f"{workload}/{slug}": float(best) for slug, workload, best, _ in lines}


def check_agreement(name, ours, scipy):
    """The SciPy side must have computed the same matrix."""
    if "entries" in scipy and not (
        ours["entries"] == scipy["entries"] and math.isclose(ours["weighted"], scipy["weighted"], rel_tol=1e-9)
    ):
        raise SystemExit(f"{name}: SciPy's result differs from ours")


def read_rows(folder):
    """(context, rows in the order of the suite, the other suites' runs by name and side)"""
    context, times = side_times(os.path.join(folder, "bench.json"))
    with open(os.path.join(folder, "scipy.json"), encoding="ascii") as file:
        scipy = json.load(file)
    recorded = read_recorded()
    rows = []
    with open(os.path.join(folder, "rows.tsv"), encoding="ascii") as lines:
        for line in lines:
            fields = line.rstrip("\n").split("\t")
            row = Row(fields[0], *fields[12:14])
            runs = times.pop(row.name, {})
            if "ours" not in runs:
                continue
            row.sides = {side: median(found) for side, found in runs.items()}
            if row.name in scipy:
                check_agreement(row.name, runs["ours"][0], scipy[row.name])
                row.sides["scipy"] = scipy[row.name]["ms"]
            row.recorded = recorded.get(row.name)
            rows.append(row)
    return context, rows, times
