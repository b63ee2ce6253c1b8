"""What the package takes for what SciPy's users complain of most, against SciPy, in one run on one matrix.

    measure.py            prints the table
    measure.py DOCS       writes it into DOCS/python.md, and the picture DOCS/images/python.svg

Each time is the smallest of several repetitions on a fresh copy, whose making is not timed, and which is marked as in
order like the matrix it is of (SciPy's copy() drops the mark).
"""

import re
import sys
import time
import warnings
from pathlib import Path

import numpy as np
import scipy.sparse as sp
import zqspmatrix
from zqspmatrix import Matrix

warnings.simplefilter("ignore", sp.SparseEfficiencyWarning)
SIZE, PER_COLUMN, CHOSEN, BUDGET = 40_000, 10, 1_000, 0.2
WAYS = ["SciPy csc", "functions", "Matrix", "accelerated csc", "SciPy csr", "accelerated csr"]


def make_operands():
    rng = np.random.default_rng(1)
    rows = rng.integers(0, SIZE, SIZE * PER_COLUMN)
    columns = np.repeat(np.arange(SIZE), PER_COLUMN)
    C = sp.csc_matrix((rng.random(rows.size), (rows, columns)), shape=(SIZE, SIZE))
    C.sum_duplicates()
    unsorted = rng.choice(SIZE, CHOSEN, replace=False)
    mask = np.zeros(SIZE, bool)
    mask[unsorted] = True
    stored = C.tocoo()
    return {
        "C": C,
        "places": list(zip(rng.integers(0, SIZE, 200).tolist(), rng.integers(0, SIZE, 200).tolist())),
        "stored": list(zip(stored.row[:200].tolist(), stored.col[:200].tolist())),
        "rows": np.sort(unsorted),
        "unsorted": unsorted,
        "columns": rng.choice(SIZE, CHOSEN, replace=False),
        "mask": mask,
        "values": rng.random(CHOSEN),
        "vector": rng.random(SIZE) * (rng.random(SIZE) < 0.01),
        "block": (slice(1000, 1300), slice(2000, 2300)),
    }


def read_each(get, A, o):
    for place in o["places"]:
        get(A, place)


def write_each(set_, A, o):
    for place in o["stored"]:
        A = set_(A, place, 1.5)


ALL = slice(None)
# Name, then what is done by the brackets at hand: get(A, key), set_(A, key, value), delete(A, key).
ROWS = [
    ("`C[i, j]`, 200 times", lambda get, set_, delete, A, o: read_each(get, A, o)),
    ("`C[rows]`, 1,000 ascending", lambda get, set_, delete, A, o: get(A, o["rows"])),
    ("`C[rows]`, 1,000 in any order", lambda get, set_, delete, A, o: get(A, o["unsorted"])),
    ("`C[:, cols]`, 1,000 in any order", lambda get, set_, delete, A, o: get(A, (ALL, o["columns"]))),
    ("`C[rows][:, cols]`", lambda get, set_, delete, A, o: get(get(A, o["rows"]), (ALL, o["columns"]))),
    ("`C[mask]`", lambda get, set_, delete, A, o: get(A, o["mask"])),
    ("`C[rows, cols]`, 1,000 pairs", lambda get, set_, delete, A, o: get(A, (o["unsorted"], o["columns"]))),
    ("`C[i, :] = v`", lambda get, set_, delete, A, o: set_(A, (77, ALL), o["vector"])),
    ("`C[rows, cols] = v`, 1,000 new", lambda get, set_, delete, A, o: set_(A, (o["unsorted"], o["columns"]), o["values"])),
    ("`C[i, j] = v`, 200 stored", lambda get, set_, delete, A, o: write_each(set_, A, o)),
    ("`C[a:b, c:d] = 0`, 300-by-300", lambda get, set_, delete, A, o: set_(A, o["block"], 0)),
    ("1,000 rows deleted", lambda get, set_, delete, A, o: delete(A, o["rows"], 0)),
    ("1,000 columns deleted", lambda get, set_, delete, A, o: delete(A, o["rows"], 1)),
]  # fmt: skip
# Not measured: setitem() gives a new matrix, so each element costs a copy.
COPIES = {("`C[i, j] = v`, 200 stored", "functions")}


def get_by_brackets(A, key):
    return A[key]


def set_by_brackets(A, key, value):
    A[key] = value
    return A


def keep_by_brackets(A, index, axis):
    """How SciPy's users delete."""
    kept = np.ones(A.shape[axis], bool)
    kept[index] = False
    return A[kept] if axis == 0 else A[:, kept]


def delete_by_brackets(A, index, axis):
    if axis == 0:
        del A[index]
    else:
        del A[:, index]


def delete_by_function(A, index, axis):
    return zqspmatrix.delete(A, index if axis == 0 else (ALL, index))


def ways(C):
    scipys = (get_by_brackets, set_by_brackets, keep_by_brackets)
    functions = (zqspmatrix.getitem, zqspmatrix.setitem, delete_by_function)
    return {
        "SciPy csc": (C, scipys),
        "functions": (C, functions),
        "Matrix": (Matrix(C), (get_by_brackets, set_by_brackets, delete_by_brackets)),
        "accelerated csc": (C, scipys),
        "SciPy csr": (C.tocsr(), scipys),
        "accelerated csr": (C.tocsr(), scipys),
    }


def least_time(call, A):
    spent, least, repetitions = 0.0, float("inf"), 0
    while repetitions < 3 or (spent < BUDGET and repetitions < 200):
        fresh = A.copy()
        if sp.issparse(A) and not isinstance(A, Matrix):
            fresh.has_canonical_format = A.has_canonical_format
        started = time.perf_counter()
        kept = call(fresh)  # dropped outside of the timed region
        taken = time.perf_counter() - started
        del kept
        spent, least, repetitions = spent + taken, min(least, taken), repetitions + 1
    return least


def measure():
    operands = make_operands()
    table = {}
    for name, call in ROWS:
        for way, (A, brackets) in ways(operands["C"]).items():
            if (name, way) in COPIES:
                continue
            if way.startswith("accelerated"):
                zqspmatrix.accelerate()
            table[name, way] = least_time(lambda fresh: call(*brackets, fresh, operands), A)
            zqspmatrix.restore()
    return table


def written(table):
    lines = ["| microseconds | " + " | ".join(WAYS) + " |", "|---|" + "---:|" * len(WAYS)]
    for name, _ in ROWS:
        times = [f"{table[name, way] * 1e6:,.0f}" if (name, way) in table else "a copy each" for way in WAYS]
        lines.append(f"| {name} | " + " | ".join(times) + " |")
    return "\n".join(lines)


def ratios(table, name):
    """Of each way to SciPy's own for the same format."""
    peers = {way: "SciPy csr" if way.endswith("csr") else "SciPy csc" for way in WAYS if not way.startswith("SciPy")}
    return {way: table.get((name, way), np.nan) / table[name, peer] for way, peer in peers.items()}


def draw(table, path):
    import matplotlib

    matplotlib.use("svg")
    import matplotlib.pyplot as plt

    plt.rcParams["svg.hashsalt"] = "python"
    figure, axes = plt.subplots(figsize=(9, 5))
    for way, marker in zip(ratios(table, ROWS[0][0]), "os^D"):
        axes.plot([ratios(table, name)[way] for name, _ in ROWS], range(len(ROWS)), marker, label=way, alpha=0.8)
    for limit in (0.5, 1):
        axes.axvline(limit, color="grey", linestyle="--", linewidth=0.8)
    axes.set_xscale("log")
    axes.set_xlabel("time / SciPy's time for the same format")
    axes.set_yticks(range(len(ROWS)), [name.replace("`", "") for name, _ in ROWS], fontsize=8)
    axes.invert_yaxis()
    axes.grid(axis="y", linewidth=0.3)
    axes.legend(fontsize=8)
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})


def main():
    table = measure()
    text = written(table)
    print(text)
    if len(sys.argv) > 1:
        docs = Path(sys.argv[1])
        document = docs / "python.md"
        marked = re.compile(r"(<!-- measured -->\n).*(<!-- end -->)", re.S)
        document.write_text(marked.sub(lambda match: match[1] + text + "\n" + match[2], document.read_text()))
        draw(table, docs / "images" / "python.svg")


main()
