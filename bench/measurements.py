"""The results of one run of the benchmarks, by row."""
import json
import math
import re
import statistics

PEERS = {"eigen": "Eigen", "scipy": "SciPy", "graphblas": "GraphBLAS", "armadillo": "Armadillo"}


class Row:
    """What was measured of a row: milliseconds of each side, and for each table of loops the best peer's time over ours
    as (median, lower quartile, upper quartile) of the pairs."""

    def __init__(self, run, copies, label):
        self.name, self.label, self.copies = run["name"].split("/iterations")[0], label, float(copies)
        self.workload, self.slug = self.name.split("/")
        self.peers = {peer: run[peer] for peer in PEERS if peer in run}
        self.copy = run.get("copy", math.nan)
        self.pairs = int(run["pairs"])
        self.methods = dict(part.split("=") for part in run["label"].split(";"))
        self.tables = list(self.methods)  # the widest first
        self.ours = {table: run[f"ms:{table}"] for table in self.tables}
        self.ratios = {
            table: tuple(run[f"{part}:{table}"] for part in ("ratio", "low", "high"))
            for table in self.tables
            if f"ratio:{table}" in run
        }

    @property
    def best_peer(self):
        return min(self.peers, key=self.peers.get) if self.peers else None

    def ratio(self, table):
        return self.ratios.get(table, (math.nan,))[0]

    def of_copy(self, table):
        return self.ours[table] / max(self.copy, 1e-6)

    def is_against_copy_alone(self):
        """Peers put single insertions off, until all of them are there."""
        return self.slug == "inserts"

    def is_single(self):
        """Calls for one element each are held against the peers only."""
        return self.copies == 0

    def is_near_copy(self, table):
        """Within 1.3 of a copy that takes more than half of the best peer's time: twice as fast is out of reach."""
        return self.of_copy(table) <= 1.3 and 2 * self.copy > self.ours[table] * self.ratio(table)

    def misses(self, table):
        """What the row falls short of with this table."""
        found = []
        if self.is_against_copy_alone():
            pass
        elif self.ratio(table) < 1:
            found.append("slower than a peer")
        elif self.ratio(table) < 2 and not self.is_near_copy(table):
            found.append("less than twice as fast")
        if not self.is_single() and self.of_copy(table) > self.copies:
            found.append(f"{self.copies:g} copies")
        return found

    def method(self):
        """What was chosen; where the tables differ, by table."""
        chosen = list(dict.fromkeys(self.methods.values()))
        if len(chosen) < 2:
            return "".join(chosen)
        return "; ".join(f"{table}: {self.methods[table]}" for table in self.tables)


def geometric_mean(values):
    return statistics.geometric_mean(values) if values else math.nan


class Summary:
    """How the rows that have a peer stand with one table."""

    def __init__(self, rows, table):
        compared = [row for row in rows if table in row.ratios and not row.is_against_copy_alone()]
        self.rows = len(compared)
        self.mean = geometric_mean([row.ratio(table) for row in compared])
        self.twice = sum(row.ratio(table) >= 2 for row in compared)
        self.near_copy = sum(row.ratio(table) < 2 and row.is_near_copy(table) for row in compared)
        self.slower = sum(row.ratio(table) < 1 for row in compared)


def number(value, digits=3):
    if value is None or math.isnan(value):
        return "-"
    return f"{value:,.0f}" if value >= 1000 else f"{value:.{digits}g}"


def spread(ratio):
    """"3.2 (3.1-3.4)": the median and the quartiles."""
    return "-" if ratio is None else f"{ratio[0]:.2f} ({ratio[1]:.2f}-{ratio[2]:.2f})"


def read(path):
    """(context, rows in the order of the suite, the runs of the other suites by name)"""
    with open(path, encoding="utf-8") as file:
        document = json.load(file)
    context, rows, others = document["context"], [], {}
    for run in document["benchmarks"]:
        if run.get("error_occurred"):
            raise SystemExit(f"{run['name']}: {run['error_message']}")
        if run.get("run_type") == "aggregate":
            continue
        name = re.sub(r"/(iterations|min_time):.*", "", run["name"])
        if "pairs" in run and not name.startswith("accept/"):
            rows.append(Row(run, *context[name].split("\t")))
        else:
            others[name] = run
    return context, rows, others
