"""SciPy's side of the rows: what a user of scipy.sparse writes for each operation. scipy_peer.cpp hands over the operands
and measures.

Where SciPy's own item assignment forms an index for every cell of the region, the user's way around it (stacking and
reordering, or masking the entries) stands here instead.
"""
import warnings

import numpy as np
import scipy.sparse as sp

warnings.filterwarnings("ignore", category=sp.SparseEfficiencyWarning)

# Single calls are slow: so many are made, and the time is multiplied.
FEWER = {"reads": 1000, "writes": 200, "columnCalls": 200, "inserts": 20}


class Row:
    """A row's operands, and its result between run() and finish()."""

    def __init__(self, kind, A, I, J, b_form, B):
        """A: the arguments of csc_matrix; I, J: form, values and extent; B: None, arguments of csc_matrix or a full
        array; b_form: the name of its form."""
        self.kind, self.b_form = kind, b_form
        self.A = matrix(*A)
        self.shape = self.A.shape
        i_form, i_values, i_extent = I
        j_form, j_values, j_extent = J
        if kind.startswith("set"):  # B is laid along lists of indices
            i_form, j_form = (form if form == "colon" else "list" for form in (i_form, j_form))
        self.mask = None
        if self.is_linear():
            if i_form == "mask":
                self.mask = flags(i_values, i_extent)
            self.split(i_values)
        else:
            self.I = subscript(i_form, i_values, i_extent)
        self.J = subscript(j_form, j_values, j_extent)
        self.B = matrix(*B) if b_form == "sparse" else B
        self.scalar = 0.0 if b_form == "zero" else 2.0
        self.target = self.result = None

    def split(self, positions):
        """Positions as rows and columns, as SciPy wants them."""
        self.i = (positions % self.shape[0]).astype(np.int32)
        self.j = (positions // self.shape[0]).astype(np.int32)

    def is_linear(self):
        return self.kind in ("linear", "setLinear", "writes", "inserts")

    def prepare(self):
        self.target = self.A.copy() if self.kind in CHANGES else self.A

    def run(self):
        if self.mask is not None:
            self.split(np.flatnonzero(self.mask))
        self.result = CALLS[self.kind](self, self.target)

    def finish(self):
        self.target = self.result = None

    def scale(self):
        """All of the single calls for each that is made."""
        if self.kind not in FEWER:
            return 1.0
        wanted = min(len(self.i), 10000) if self.is_linear() else len(self.J)
        return max(1.0, wanted / FEWER[self.kind])

    def few(self, indices):
        return indices[:FEWER[self.kind]].tolist()

    def fingerprint(self):
        """Entries and a sum in which each value is weighted by its place, as the other sides make it."""
        if not sp.issparse(self.result) or self.scale() != 1.0:
            return 0.0, 0.0
        coo = self.result.tocoo()
        row, column = (coo.col, 0 * coo.col) if self.kind == "linear" else (coo.row, coo.col)
        data = coo.data.astype(complex)
        weight = (1.0 + row % 97) * (1.0 + column % 89)
        used = data != 0
        return float(used.sum()), float(np.sum(((data.real + 2 * data.imag) * weight)[used]))


def matrix(shape, values, rows, starts):
    return sp.csc_matrix((values, rows, starts), shape)


def subscript(form, values, extent):
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
    for i, j in zip(r.few(r.I), r.few(r.J)):
        total += A[i, j]
    return total


def column_calls(r, A):
    for j in r.few(r.J):
        column = A[:, j]
    return column


def writes(r, A):
    for i, j in zip(r.few(r.i), r.few(r.j)):
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


CHANGES = {
    "reshape": reshape,
    "deleteColumns": delete_columns,
    "deleteRows": delete_rows,
    "setColumns": set_columns,
    "setRows": set_rows,
    "setRegion": set_region,
    "setLinear": set_linear,
    "writes": writes,
    "inserts": writes,
}
CALLS = {
    "whole": lambda r, A: A.reshape((A.shape[0] * A.shape[1], 1), order="F").tocsc(),
    "columns": lambda r, A: A[:, r.J],
    "columnCalls": column_calls,
    "rows": lambda r, A: A[r.I, :],
    "region": region,
    "lists": region,
    "runs": region,
    "linear": lambda r, A: sp.csc_matrix(A[r.i, r.j]),
    "reads": reads,
    **CHANGES,
}
