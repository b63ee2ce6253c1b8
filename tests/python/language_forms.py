"""The matrix language's forms of subscripts against NumPy: references, assignments, deletions, and calls that must fail.

language_forms.py [FIRST [COUNT]]: sequences of calls on one matrix each; every one has its own seed, named on failure.
"""

import ctypes
import gc

import numpy as np
import scipy.sparse as sp
from draws import SERVED, chance, check_canonical, random_index, random_matrix, random_values, run_seeds
from zqspmatrix import Matrix

CALLS_EACH = 5
WHOLE = slice(None)
RUNTIME = ctypes.CDLL("libkx.so")  # the one that the module has loaded
live_blocks = RUNTIME._ZN4kxrt11live_blocksEv
live_blocks.restype = ctypes.c_size_t
fail_allocation_after = RUNTIME._ZN4kxrt21fail_allocation_afterEl
fail_allocation_after.argtypes = [ctypes.c_long]


def is_whole(key):
    return isinstance(key, slice) and key == WHOLE


def random_source(rng):
    """Also with unsorted rows, or in another format."""
    matrix = random_matrix(rng, [sp.csc_matrix, sp.csc_array], SERVED)
    if chance(rng, 0.2):
        matrix = matrix.tocoo() if chance(rng, 0.5) else matrix.tocsr().tocsc()[:, np.arange(matrix.shape[1])[::-1]]
    return matrix


# ---- Subscripts: a key, and the positions that it selects, in the shape of the key ----


def random_key(rng, extent, shape=None):
    """For the elements, `shape` is that of the matrix: then keys may have two dimensions. IndexError: out of range."""
    kind = rng.integers(6)
    if kind == 0:
        mask = rng.random(shape or [(1, extent), (extent, 1)][rng.integers(2)]) < rng.random()
        positions = np.flatnonzero(mask.T)
        return mask if shape and chance(rng, 0.5) else with_stored_zeros(rng, mask), positions
    if kind == 1 and shape and extent:
        key = rng.integers(-extent, extent, (2, rng.integers(1, 9)))
        key = np.asfortranarray(key) if chance(rng, 0.5) else key
    else:
        key = WHOLE if kind == 2 else random_index(rng, extent)
    return key, np.atleast_1d(np.arange(extent)[key])


def with_stored_zeros(rng, mask):
    """A sparse mask; what is stored as False selects nothing."""
    matrix = sp.csc_matrix(np.ones(mask.shape, bool)) if chance(rng, 0.3) else sp.csc_matrix(mask)
    if matrix.nnz != np.count_nonzero(mask):
        matrix.data[:] = mask.T[np.ones(mask.T.shape, bool)]
    return matrix if chance(rng, 0.7) else matrix.tocsr()


def is_single(key):
    return not isinstance(key, slice) and not sp.issparse(key) and np.ndim(key) == 0


def selected_shape(matrix_shape, key, positions):
    """The shape of S.elements[key]."""
    m, n = matrix_shape
    if is_whole(key):
        return m * n, 1
    shape = 1, positions.size
    key = key if isinstance(key, slice) or sp.issparse(key) else np.asarray(key)
    if getattr(key, "dtype", None) == bool:
        shape = (1, positions.size) if key.ndim == 1 or key.shape[0] == 1 else (positions.size, 1)
    elif getattr(key, "ndim", 1) == 2:
        shape = key.shape
    if (m == 1) != (n == 1) and 1 in shape:
        return (1, positions.size) if m == 1 else (positions.size, 1)
    if getattr(key, "dtype", None) == bool and positions.size == 0 and key.shape in ((0, 0), (1, 1), (1,)):
        return 0, 0
    return shape


# ---- Calls, and what NumPy answers for an expected state E ----


def read(rng, S, E):
    if chance(rng, 0.4):
        key, positions = random_key(rng, E.size, E.shape)
        expected = E.ravel("F")[positions.ravel("F")].reshape(selected_shape(E.shape, key, positions), order="F")
        return (lambda: S.elements[key]), expected, is_single(key)
    (row_key, rows), (column_key, columns) = random_key(rng, E.shape[0]), random_key(rng, E.shape[1])
    return (lambda: S.region[row_key, column_key]), E[np.ix_(rows, columns)], is_single(row_key) and is_single(column_key)


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
    grow = chance(rng, 0.3) and E.size != 0  # elsewhere the bare colon would follow the right-hand side
    if chance(rng, 0.4):
        key, positions = random_key(rng, E.size, E.shape)
        if grow and 1 in E.shape and chance(rng, 0.7):
            key = positions = rng.integers(0, E.size + 4, 3)
            more = key.max(initial=E.size - 1) + 1 - E.size
            E = np.pad(E, ((0, 0), (0, more)) if m == 1 else ((0, more), (0, 0)))
        value, values = random_right_side(rng, E.dtype, selected_shape(E.shape, key, positions))
        elements = E.flatten("F")  # of repeated positions the last wins
        elements[positions.ravel("F")] = values.ravel("F")
        form, expected = S.elements, elements.reshape(E.shape, order="F")
    else:
        (row_key, rows), (column_key, columns) = random_key(rng, m), random_key(rng, n)
        if grow:
            if chance(rng, 0.7):
                row_key = rows = rng.integers(0, m + 3, 3)
            if chance(rng, 0.7):
                column_key = columns = rng.integers(0, n + 3, 3)
            E = np.pad(E, ((0, rows.max(initial=m - 1) + 1 - m), (0, columns.max(initial=n - 1) + 1 - n)))
        value, values = random_right_side(rng, E.dtype, (rows.size, columns.size))
        form, key, expected = S.region, (row_key, column_key), E.copy()
        expected[np.ix_(rows, columns)] = values
    if grow:
        return (lambda: form.assign(key, value, grow=True)), expected
    return (lambda: form.__setitem__(key, value)), expected


def delete(rng, S, E):
    axis = rng.integers(3)
    if axis == 2:
        key, positions = random_key(rng, E.size, E.shape)
        expected = np.delete(E.ravel("F"), positions.ravel())
        if is_whole(key):
            expected = np.zeros((0, 0), E.dtype)
        elif expected.size == E.size:
            expected = E
        else:
            expected = expected[:, None] if E.shape[1] == 1 and E.shape[0] != 1 else expected[None, :]
        return (lambda: S.elements.__delitem__(key)), expected
    key, positions = random_key(rng, E.shape[axis])
    if is_whole(key):  # S[:, :] loses its columns
        return (lambda: S.region.__delitem__((WHOLE, key))), E[:, :0]
    return (lambda: S.region.__delitem__((WHOLE, key) if axis else (key, WHOLE))), np.delete(E, positions, axis)


def reshape(rng, S, E):
    m = int(rng.choice([d for d in range(1, E.size + 1) if E.size % d == 0] or [0, 5]))
    shape = m, E.size // m if m else int(rng.integers(4))
    return (lambda: setattr(S, "shape", shape)), E.reshape(shape)


def failing(rng, S, E):
    """A call that must raise, and what."""
    m, n = E.shape
    elements = [E.size, -E.size - 1, np.ones(E.size + 1, bool), np.ones((m + 1, n + 1), bool),
                sp.csc_matrix((m + 1, n + 1), dtype=bool), 0.5, [0.5], (0, 0, 0), "0", None,
                sp.csc_matrix(np.eye(m, n)), np.zeros((1, 1, 1), int)]
    regions = [(m, 0), (WHOLE, [n]), (0, 2**40), (np.ones(m + 1, bool), WHOLE), 0, (0, 0, 0)]
    chosen = rng.integers(len(elements) + len(regions))
    form, key = (S.elements, elements[chosen]) if chosen < len(elements) else (S.region, regions[chosen - len(elements)])
    calls = [
        (IndexError, lambda: form[key]),
        (IndexError, lambda: form.__setitem__(key, 1)),
        (IndexError, lambda: form.__delitem__(key)),
        (ValueError, lambda: S.region.__setitem__((WHOLE, WHOLE), np.ones((m + 1, n + 2)))),
        (ValueError, lambda: S.elements.__setitem__(WHOLE, np.ones(E.size + 2))),
        (ValueError, lambda: S.region.__setitem__((WHOLE, WHOLE), np.ones((1, 1, 1)))),
        (TypeError, lambda: S.region.__setitem__((WHOLE, WHOLE), "text")),
    ]
    if E.size:
        calls.append((ValueError, lambda: S.region.__delitem__((0, 0))))
    if E.dtype.kind != "c":
        calls.append((TypeError, lambda: S.region.__setitem__((WHOLE, WHOLE), 1j)))
    if min(m, n) > 1:
        calls.append((ValueError, lambda: S.elements.assign(E.size, 1, grow=True)))
    return calls[rng.integers(len(calls))]


# ---- Checks ----


def check_equal(S, expected):
    matrix = S.tocsc()
    assert S.shape == matrix.shape == expected.shape, f"shape {S.shape}, not {expected.shape}"
    assert S.dtype == matrix.dtype == expected.dtype, f"dtype {S.dtype}, not {expected.dtype}"
    check_canonical(matrix)
    assert S.nnz == matrix.nnz
    assert np.array_equal(matrix.toarray(), expected), f"\n{matrix.toarray()}\nnot\n{expected}"


def check_raises(exception, call):
    try:
        call()
    except exception as error:
        assert str(error)
        return
    raise AssertionError(f"no {exception.__name__}")


def run_without_memory(rng, call, S, E):
    """Lets one allocation after another fail, some of the time, until the call succeeds."""
    failures = 1 if chance(rng, 0.2) else -1
    while True:
        fail_allocation_after(failures)
        try:
            return call()
        except MemoryError:
            fail_allocation_after(-1)
            check_equal(S, E)
            failures += 1
        finally:
            fail_allocation_after(-1)


def run_call(rng, S, E):
    """One call of S; what S must hold afterwards."""
    draw = [read, read, read, assign, assign, delete, reshape][rng.integers(7)]
    try:
        call, expected, *single = draw(rng, S, E)
    except IndexError:  # NumPy's: a key that lies outside
        return E
    answer = run_without_memory(rng, call, S, E)
    if draw is not read:
        return expected
    if single[0]:
        assert np.isscalar(answer) and answer.dtype == E.dtype and answer == expected.item()
    else:
        check_equal(answer, expected)
    return E


def run_sequence(rng):
    source = random_source(rng)
    S, E = Matrix(source), np.asarray(source.toarray())
    snapshots = [(source, E)]  # no SciPy matrix changes with S
    for _ in range(CALLS_EACH):
        if chance(rng, 0.15):
            check_raises(*failing(rng, S, E))
        else:
            E = run_call(rng, S, E)
        check_equal(S, E)
        if chance(rng, 0.3):
            snapshots.append((S.tocsc(), E))
        if chance(rng, 0.1):
            S = S.copy()
    for matrix, values in snapshots:
        assert np.array_equal(matrix.toarray(), values), "an operand changed"


if __name__ == "__main__":
    gc.collect()
    before = live_blocks()
    calls = CALLS_EACH * run_seeds(run_sequence, 1000)
    gc.collect()
    assert live_blocks() == before, f"{live_blocks() - before} blocks are lost"
    print(f"{calls} calls")
