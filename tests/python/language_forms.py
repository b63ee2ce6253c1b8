"""The matrix language's forms of subscripts against SciPy: references, assignments, deletions, and calls that must fail.

language_forms.py [FIRST [COUNT]]: sequences of calls on one matrix each; every one has its own seed, named on failure.
"""

import ctypes
import gc

import numpy as np
import scipy.sparse as sp
from seeds import run_seeds
from zqspmatrix import Matrix

CALLS_EACH = 5
DTYPES = [np.dtype(code) for code in "?bBhHiIlLqQfdD"]
RUNTIME = ctypes.CDLL("libkx.so")  # the one that the module has loaded
live_blocks = RUNTIME._ZN4kxrt11live_blocksEv
live_blocks.restype = ctypes.c_size_t
fail_allocation_after = RUNTIME._ZN4kxrt21fail_allocation_afterEl
fail_allocation_after.argtypes = [ctypes.c_long]


def chance(rng, probability):
    return rng.random() < probability


# ---- Matrices and values ----


def random_values(rng, dtype, shape):
    """Small whole numbers, about half of them zero."""
    values = rng.integers(0 if np.dtype(dtype).kind == "u" else -2, 3, shape) * rng.integers(0, 2, shape)
    if dtype == complex:
        values = values + 1j * rng.integers(-1, 2, shape)
    return np.asarray(values).astype(dtype)


def random_matrix(rng):
    """Sometimes with explicit zeros, unsorted rows, 64-bit indices, or in another format."""
    shape = [(0, 0), (0, 4), (3, 0), (1, 7), (6, 1), (1, 1), None, None, None, None][rng.integers(10)]
    m, n = shape or rng.integers(1, 8, 2)
    kind = [sp.csc_matrix, sp.csc_array][rng.integers(2)]
    matrix = kind(random_values(rng, DTYPES[rng.integers(len(DTYPES))], (m, n)))
    if matrix.nnz and chance(rng, 0.3):
        matrix.data[rng.integers(matrix.nnz)] = 0
    if chance(rng, 0.1):
        matrix.indices, matrix.indptr = matrix.indices.astype(np.int64), matrix.indptr.astype(np.int64)
    if chance(rng, 0.2):
        matrix = matrix.tocsr().tocoo() if chance(rng, 0.5) else matrix.tocsr().tocsc()[:, np.arange(n)[::-1]]
    return matrix


def dense(matrix):
    """The expected state is kept as NumPy has it; SciPy computes on sparse forms of it."""
    return np.asarray(matrix.toarray())


# ---- Subscripts: a key, and the positions that it selects, in the shape of the key ----


def random_key(rng, extent, shape=None):
    """For the elements, `shape` is that of the matrix: then keys may have two dimensions."""
    kind = rng.integers(8)
    mask = rng.random(extent) < rng.random()
    if kind == 0 and extent:
        key = int(rng.integers(-extent, extent))
        return [key, np.int32(key)][rng.integers(2)], np.arange(extent)[[key]]
    if kind <= 2:
        ends = [int(end) if chance(rng, 0.7) else None for end in rng.integers(-extent - 3, extent + 4, 2)]
        step = [None, 1, 2, 3, -1, -2, -7, 100][rng.integers(8)]
        key = slice(*ends, step) if kind == 1 else slice(None)
        return key, np.arange(extent)[key]
    if kind == 3 and shape is not None:
        mask = mask.reshape(shape)
        if chance(rng, 0.5):
            return mask, np.flatnonzero(mask.T)[:, None]
        return with_stored_zeros(rng, mask), np.flatnonzero(mask.T)[:, None]
    if kind == 3:
        return with_stored_zeros(rng, mask[None, :] if chance(rng, 0.5) else mask[:, None]), np.flatnonzero(mask)
    if kind == 4:
        return (mask, list(mask))[rng.integers(2)], np.flatnonzero(mask)
    size = int(rng.integers(0, 9)) if extent else 0
    dims = (2, size) if shape is not None and kind == 5 and size else size
    values = rng.integers(-extent, extent, dims) if size else np.zeros(dims, int)
    if kind == 7:
        values = np.abs(values) % max(extent, 1)
        return values.astype(np.uint64), np.arange(extent)[values]
    key = [values, values.tolist(), np.asfortranarray(values), values.astype(np.int8)][rng.integers(4)]
    return key, np.arange(extent)[values]


def with_stored_zeros(rng, mask):
    """A sparse mask; what is stored as False selects nothing."""
    matrix = sp.csc_matrix(np.ones(mask.shape, bool)) if chance(rng, 0.3) else sp.csc_matrix(mask)
    if matrix.nnz != np.count_nonzero(mask):
        matrix.data[:] = mask.T[np.ones(mask.T.shape, bool)]
    return matrix if chance(rng, 0.7) else matrix.tocsr()


def selected_shape(matrix_shape, key, positions):
    """The shape of S[key]."""
    m, n = matrix_shape
    if isinstance(key, slice) and key == slice(None):
        return m * n, 1
    shape = 1, positions.size
    if not isinstance(key, slice):
        key = key if sp.issparse(key) else np.asarray(key)
        shape = key.shape if key.ndim == 2 else (1, key.size)
        if key.dtype == bool:
            shape = (1, positions.size) if shape[0] == 1 else (positions.size, 1)
    if (m == 1) != (n == 1) and 1 in shape:
        shape = (1, positions.size) if m == 1 else (positions.size, 1)
    elif getattr(key, "dtype", None) == bool and positions.size == 0 and key.shape in ((0, 0), (1, 1), (1,)):
        shape = (0, 0)
    return shape


# ---- Calls: what SciPy answers, for an expected state E ----


def flat(E):
    """The elements as one sparse row, counted down the columns."""
    return sp.csc_matrix(E.T.reshape(1, -1))


def read(rng, S, E):
    if chance(rng, 0.4):
        key, positions = random_key(rng, E.size, E.shape)
        expected = flat(E)[:, positions.ravel(order="F")].toarray()
        expected = expected.reshape(selected_shape(E.shape, key, positions), order="F")
        single = isinstance(key, (int, np.integer))
        return (lambda: S.elements[key]), expected, single
    (row_key, rows), (column_key, columns) = random_key(rng, E.shape[0]), random_key(rng, E.shape[1])
    expected = sp.csc_matrix(E)[rows][:, columns].toarray()
    single = all(isinstance(key, (int, np.integer)) for key in (row_key, column_key))
    return (lambda: S.region[row_key, column_key]), expected, single


def random_right_side(rng, dtype, shape):
    """A value to assign to a region of this shape, and its elements in that shape."""
    if chance(rng, 0.3):
        value = random_values(rng, dtype, ()).item()
        return value, np.full(shape, value)
    if dtype.kind in "fc" and chance(rng, 0.3):
        dtype = np.dtype([bool, np.int8, np.float32][rng.integers(3)])
    values = random_values(rng, dtype, shape)
    forms = [np.asarray, np.asfortranarray, sp.csc_matrix, sp.coo_matrix, np.ndarray.tolist]
    if 1 in shape:
        forms.append(np.ravel)
    if chance(rng, 0.3):
        forms.append(lambda array: Matrix(sp.csc_matrix(array)))
    return forms[rng.integers(len(forms))](values), values


def assign(rng, S, E):
    m, n = E.shape
    grow = chance(rng, 0.3)
    if chance(rng, 0.4):
        key, positions = random_key(rng, E.size, E.shape)
        if grow and E.size and 1 in E.shape and chance(rng, 0.7):
            key = rng.integers(0, E.size + 4, 3)
            positions = key
            more = key.max(initial=E.size - 1) + 1 - E.size
            E = np.pad(E, ((0, 0), (0, more)) if m == 1 else ((0, more), (0, 0)))
        value, values = random_right_side(rng, E.dtype, selected_shape(E.shape, key, positions))
        target = flat(E).tolil()
        target[0, positions.ravel(order="F")] = values.ravel(order="F")
        expected = target.toarray().reshape(E.shape, order="F")
    else:
        (row_key, rows), (column_key, columns) = random_key(rng, m), random_key(rng, n)
        if grow and E.size:
            if chance(rng, 0.7):
                row_key = rows = rng.integers(0, m + 3, 3)
            if chance(rng, 0.7):
                column_key = columns = rng.integers(0, n + 3, 3)
            E = np.pad(E, ((0, rows.max(initial=m - 1) + 1 - m), (0, columns.max(initial=n - 1) + 1 - n)))
        grow = grow and E.size != 0  # elsewhere the bare colon would follow the right-hand side
        key = row_key, column_key
        value, values = random_right_side(rng, E.dtype, (rows.size, columns.size))
        target = sp.lil_matrix(E)
        if values.size:
            target[np.ix_(rows, columns)] = values
        expected = target.toarray()
    form = S.region if isinstance(key, tuple) else S.elements
    if grow:
        return (lambda: form.assign(key, value, grow=True)), expected
    return (lambda: form.__setitem__(key, value)), expected


def delete(rng, S, E):
    kind = rng.integers(3)
    if kind == 2:
        key, positions = random_key(rng, E.size, E.shape)
        kept = np.setdiff1d(np.arange(E.size), positions)
        expected = flat(E)[:, kept].toarray()
        if isinstance(key, slice) and key == slice(None):
            expected = np.zeros((0, 0), E.dtype)
        elif kept.size == E.size:
            expected = E
        elif E.shape[1] == 1 and E.shape[0] != 1:
            expected = expected.T
        return (lambda: S.elements.__delitem__(key)), expected
    key, positions = random_key(rng, E.shape[kind])
    kept = np.setdiff1d(np.arange(E.shape[kind]), positions)
    matrix = sp.csc_matrix(E)
    if kind == 1 or isinstance(key, slice) and key == slice(None):  # S[:, :] loses its columns
        kept = kept if kind == 1 else []
        return (lambda: S.region.__delitem__((slice(None), key))), matrix[:, kept].toarray()
    return (lambda: S.region.__delitem__((key, slice(None)))), matrix[kept].toarray()


def reshape(rng, S, E):
    order = "CF"[rng.integers(2)]
    divisors = [d for d in range(1, E.size + 1) if E.size % d == 0] or [0, 5]
    m = int(rng.choice(divisors))
    shape = (m, E.size // m if m else int(rng.integers(4)))
    if order == "C":
        return (lambda: setattr(S, "shape", shape)), E.reshape(shape)
    return (lambda: S._reshape(shape, True)), E.reshape(shape, order="F")


def failing(rng, S, E):
    """A call that must raise, and what."""
    m, n = E.shape
    whole = slice(None)
    elements = [E.size, -E.size - 1, np.array([0, E.size]), np.ones(E.size + 1, bool), np.ones((m + 1, n + 1), bool),
                sp.csc_matrix((m + 1, n + 1), dtype=bool), 0.5, [0.5], (0, 0, 0), "0", None,
                sp.csc_matrix(np.eye(m, n)), np.zeros((1, 1, 1), int)]
    regions = [(m, 0), (whole, [n]), ([0, -m - 1], whole), (0, 2**40), (np.ones(m + 1, bool), whole), 0, (0, 0, 0)]
    chosen = rng.integers(len(elements) + len(regions))
    form, key = (S.elements, elements[chosen]) if chosen < len(elements) else (S.region, regions[chosen - len(elements)])
    calls = [
        (IndexError, lambda: form[key]),
        (IndexError, lambda: form.__setitem__(key, 1)),
        (IndexError, lambda: form.__delitem__(key)),
        (ValueError, lambda: S.region.__setitem__((whole, whole), np.ones((m + 1, n + 2)))),
        (ValueError, lambda: S.elements.__setitem__(whole, np.ones(E.size + 2))),
        (ValueError, lambda: S.region.__setitem__((whole, whole), np.ones((1, 1, 1)))),
        (TypeError, lambda: S.region.__setitem__((whole, whole), "text")),
    ]
    if E.size:
        calls.append((ValueError, lambda: S.region.__delitem__((0, 0))))
    if E.dtype.kind != "c":
        calls.append((TypeError, lambda: S.region.__setitem__((whole, whole), 1j)))
    if min(m, n) > 1:
        calls.append((ValueError, lambda: S.elements.assign(E.size, 1, grow=True)))
    return calls[rng.integers(len(calls))]


# ---- Checks ----


def check_equal(S, expected):
    matrix = S.tocsc()
    assert S.shape == matrix.shape == expected.shape, f"shape {S.shape}, not {expected.shape}"
    assert S.dtype == matrix.dtype == expected.dtype, f"dtype {S.dtype}, not {expected.dtype}"
    matrix.check_format(full_check=True)
    assert matrix.has_canonical_format and S.nnz == matrix.nnz
    assert np.array_equal(matrix.toarray(), expected), f"\n{matrix.toarray()}\nnot\n{expected}"


def check_raises(exception, call):
    try:
        call()
    except exception as error:
        assert str(error) or exception is MemoryError
        return
    raise AssertionError(f"no {exception.__name__}")


def run_without_memory(rng, call, S, E):
    """Lets one allocation after another fail, some of the time, until the call succeeds."""
    failures = 1 if chance(rng, 0.2) else None
    while failures:
        fail_allocation_after(failures)
        try:
            answer = call()
            fail_allocation_after(-1)
            return answer
        except MemoryError:
            fail_allocation_after(-1)
            check_equal(S, E)
            failures += 1
    return call()


def run_sequence(rng):
    source = random_matrix(rng)
    E = dense(source)
    S = Matrix(source)
    snapshots = [(source, E)]  # no SciPy matrix changes with S
    for _ in range(CALLS_EACH):
        if chance(rng, 0.15):
            check_raises(*failing(rng, S, E))
        elif chance(rng, 0.45):
            call, expected, single = read(rng, S, E)
            answer = run_without_memory(rng, call, S, E)
            if single:
                assert np.isscalar(answer) and answer.dtype == E.dtype
                assert answer == expected.item()
            else:
                check_equal(answer, expected)
        else:
            call, expected = [assign, assign, delete, reshape][rng.integers(4)](rng, S, E)
            run_without_memory(rng, call, S, E)
            E = expected
        check_equal(S, E)
        if chance(rng, 0.3):
            snapshots.append((S.tocsc(), E))
        if chance(rng, 0.1):
            S = S.copy()
    for matrix, values in snapshots:
        assert np.array_equal(matrix.toarray(), values), "an operand changed"


def main():
    gc.collect()
    before = live_blocks()
    calls = CALLS_EACH * run_seeds(run_sequence, 1000)
    gc.collect()
    assert live_blocks() == before, f"{live_blocks() - before} blocks are lost"
    print(f"{calls} calls")


if __name__ == "__main__":
    main()
