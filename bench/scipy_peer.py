"""SciPy's side of the rows: what a user of scipy.sparse writes for each operation, on the operands that
`zqsp_bench --dump` wrote.

    scipy_peer.py FOLDER RESULT.json [SECONDS]

Results are dropped outside of the timed region; operations that change a matrix work on a fresh copy each time, whose
making is not timed either. Where SciPy's own item assignment forms an index for every cell of the region, the user's
way around it (stacking and reordering, or masking the entries) stands here instead.
"""
import json
import os
import sys
import time
import warnings

import numpy as np
import scipy.sparse as sp

warnings.filterwarnings("ignore", category=sp.SparseEfficiencyWarning)

SINGLE_READS = 1000  # of the 100,000; the time is scaled
SINGLE_WRITES = 200  # of the 10,000


class Row:
    """Operands of one line of rows.tsv."""

    def __init__(self, folder, line, matrices):
        (self.name, self.kind, matrix, m, n, values, files, i_form, j_form, self.b_form, bm, bn) = line.split("\t")[:12]
        self.shape = (int(m), int(n))
        if matrix not in matrices:
            matrices.clear()
            matrices[matrix] = load_matrix(folder, matrix, self.shape, int(values))
        self.A = matrices[matrix]
        if self.kind.startswith("set"):  # B is laid along lists of indices
            i_form, j_form = (form if form == "colon" else "list" for form in (i_form, j_form))
        if not self.is_linear():
            self.I = load_subscript(folder, files + ".I", i_form, self.shape[0])
        self.J = load_subscript(folder, files + ".J", j_form, self.shape[1])
        if self.is_linear():
            positions = np.fromfile(os.path.join(folder, files + ".I"), np.uint32)
            self.mask = None
            if i_form == "mask":
                self.mask = flags(positions, self.shape[0] * self.shape[1])
            self.split(positions)
        self.B = None
        if self.b_form == "sparse":
            self.B = load_matrix(folder, files + ".B", (int(bm), int(bn)), int(values))
        elif self.b_form == "full":
            self.B = np.full((int(bm), int(bn)), 2.0)
        self.scalar = 0.0 if self.b_form == "zero" else 2.0

    def split(self, positions):
        """Positions as rows and columns, as SciPy wants them."""
        self.i = (positions % self.shape[0]).astype(np.int32)
        self.j = (positions // self.shape[0]).astype(np.int32)

    def is_linear(self):
        return self.kind in ("linear", "deleteLinear", "setLinear", "writes")


def load_matrix(folder, name, shape, values):
    path = os.path.join(folder, name)
    data = np.fromfile(path + ".re", np.float64)
    if os.path.exists(path + ".im"):
        data = data + 1j * np.fromfile(path + ".im", np.float64)
    if values == 2:
        data = data.astype(bool)
    rows = np.fromfile(path + ".ir", np.uint32).astype(np.int32)
    starts = np.fromfile(path + ".jc", np.uint32).astype(np.int32)
    return sp.csc_matrix((data, rows, starts), shape)


def load_subscript(folder, name, form, extent):
    values = np.fromfile(os.path.join(folder, name), np.uint32).astype(np.int32)
    if form == "colon":
        return slice(None)
    if form == "run" and len(values):
        return slice(int(values[0]), int(values[-1]) + 1)
    if form == "mask":
        return flags(values, extent)
    return values


def entry_columns(A):
    return np.repeat(np.arange(A.shape[1], dtype=np.int32), np.diff(A.indptr))


def flags(subscript, extent):
    chosen = np.zeros(extent, bool)
    chosen[subscript] = True
    return chosen


def region(r, A):
    return A[r.I, :][:, r.J] if not isinstance(r.J, slice) else A[r.I, r.J]


def reads(r, A):
    total = 0.0
    for i, j in zip(r.I[:SINGLE_READS].tolist(), r.J[:SINGLE_READS].tolist()):
        total += A[i, j]
    return total


def writes(r, A):
    for i, j in zip(r.i[:SINGLE_WRITES].tolist(), r.j[:SINGLE_WRITES].tolist()):
        A[i, j] = r.scalar
    return A


def right_side(r, rows, columns):
    """B as a sparse matrix."""
    return r.B if sp.issparse(r.B) else sp.csc_matrix(np.full((rows, columns), r.scalar))


def cleared(r, A):
    """A without the entries of the region."""
    inside = flags(r.I, A.shape[0])[A.indices]
    if not isinstance(r.J, slice):
        inside &= np.repeat(flags(r.J, A.shape[1]), np.diff(A.indptr))
    A.data[inside] = 0
    A.eliminate_zeros()
    return A


def set_columns(r, A):
    if r.b_form == "zero":
        A.data[np.repeat(flags(r.J, A.shape[1]), np.diff(A.indptr))] = 0
        A.eliminate_zeros()
        return A
    order = np.arange(A.shape[1])
    order[r.J] = A.shape[1] + np.arange(len(r.J))
    return sp.hstack([A, right_side(r, A.shape[0], len(r.J))], "csc")[:, order]


def set_rows(r, A):
    if r.b_form == "zero":
        return cleared(r, A)
    order = np.arange(A.shape[0])
    order[r.I] = A.shape[0] + np.arange(len(r.I))
    return sp.vstack([A, right_side(r, len(r.I), A.shape[1])], "csc")[order, :]


def set_region(r, A):
    if r.b_form == "zero":
        return cleared(r, A)
    B = right_side(r, len(r.I), len(r.J)).tocoo()
    spread = sp.csc_matrix((B.data, (r.I[B.row], r.J[B.col])), A.shape)
    return cleared(r, A) + spread


def set_linear(r, A):
    A[r.i, r.j] = r.scalar if r.B is None else r.B.ravel()
    if r.b_form == "zero":
        A.eliminate_zeros()
    return A


def delete_columns(r, A):
    return A[:, ~flags(r.J, A.shape[1])]


def delete_rows(r, A):
    return A[~flags(r.I, A.shape[0]), :]


def reshape(r, A):
    return A.reshape((A.shape[0] // 2, A.shape[1] * 2), order="F").tocsc()


REFERENCES = {
    "whole": lambda r, A: A.reshape((A.shape[0] * A.shape[1], 1), order="F").tocsc(),
    "columns": lambda r, A: A[:, r.J],
    "rows": lambda r, A: A[r.I, :],
    "region": region,
    "lists": region,
    "runs": region,
    "linear": lambda r, A: sp.csc_matrix(A[r.i, r.j]),
    "reads": reads,
}
CHANGES = {
    "reshape": reshape,
    "deleteColumns": delete_columns,
    "deleteRows": delete_rows,
    "setColumns": set_columns,
    "setRows": set_rows,
    "setRegion": set_region,
    "setLinear": set_linear,
    "writes": writes,
}
SCALES = {"reads": lambda r: len(r.I) / SINGLE_READS, "writes": lambda r: min(10000, len(r.i)) / SINGLE_WRITES}


def fingerprint(r, result):
    """Entries and a sum in which each value is weighted by its place, as the other contenders make it."""
    if not sp.issparse(result) or r.kind == "writes":
        return {}
    coo = result.tocoo()
    row, column = (coo.col, 0 * coo.col) if r.kind == "linear" else (coo.row, coo.col)
    data = coo.data.astype(complex)
    weight = (1.0 + row % 97) * (1.0 + column % 89)
    used = data != 0
    return {"entries": int(used.sum()), "weighted": float(np.sum(((data.real + 2 * data.imag) * weight)[used]))}


def measure(r, budget):
    """Median milliseconds of at least three runs, and the fingerprint of the result."""
    is_change = r.kind in CHANGES
    call = (CHANGES if is_change else REFERENCES)[r.kind]
    times, timed, print_ = [], 0.0, None
    while len(times) < 3 or (timed < budget and len(times) < 200):
        A = r.A.copy() if is_change else r.A
        busy, start = time.thread_time(), time.perf_counter()
        if r.is_linear() and r.mask is not None:
            r.split(np.flatnonzero(r.mask))
        result = call(r, A)
        taken = min(time.perf_counter() - start, time.thread_time() - busy)
        if print_ is None:
            print_ = fingerprint(r, result)
            if taken < budget:
                continue  # a warming run
        times.append(taken)
        timed += taken
        del result
        if taken > 2.0:
            break
    scale = SCALES.get(r.kind, lambda r: 1.0)(r)
    return {"ms": float(np.median(times)) * scale * 1e3, **print_}


def main():
    folder, target = sys.argv[1], sys.argv[2]
    budget = float(sys.argv[3]) if len(sys.argv) > 3 else 0.1
    results, matrices = {}, {}
    with open(os.path.join(folder, "rows.tsv"), encoding="ascii") as lines:
        for line in lines:
            row = Row(folder, line.rstrip("\n"), matrices)
            if row.kind in REFERENCES or row.kind in CHANGES:
                results[row.name] = measure(row, budget)
    with open(target, "w", encoding="ascii") as file:
        json.dump(results, file, indent=1)


if __name__ == "__main__":
    main()
