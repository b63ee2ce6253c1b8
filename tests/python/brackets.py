"""Brackets of a Matrix and the functions against SciPy's own brackets, over all dtypes and both kinds of objects.

brackets.py [FIRST [COUNT]]: seeds of sequences of calls.
"""

import warnings

import numpy as np
import scipy.sparse as sp
import zqspmatrix
from scipy.sparse import _index
from draws import SERVED, chance, check_canonical, random_index, random_matrix, random_values, run_seeds
from zqspmatrix import Matrix

DTYPES = SERVED + [np.dtype(code) for code in "FgG"]  # the functions move these too
KINDS = [sp.csc_matrix, sp.csr_matrix, sp.csc_array, sp.csr_array]
warnings.simplefilter("ignore", sp.SparseEfficiencyWarning)  # SciPy's, of its own brackets
scipy_get, scipy_set = _index.IndexMixin.__getitem__, _index.IndexMixin.__setitem__


def random_bracket(rng, extent, writing):
    """A subscript of one dimension, or a column of indices. Written elements are named once."""
    index = random_index(rng, extent, writing)
    made_column = isinstance(index, np.ndarray) and index.ndim == 1 and index.dtype != bool and chance(rng, 0.3)
    return index[:, None] if made_column else index


def random_key(rng, shape, writing):
    kind = rng.integers(10)
    if kind == 0:
        mask = rng.random(shape) < 0.3
        return [mask, sp.csr_matrix(mask), sp.csc_matrix(mask)][rng.integers(3)]
    if kind == 1:
        return random_bracket(rng, shape[0], writing)
    if kind == 2:
        return (..., random_bracket(rng, shape[1], writing))
    if kind == 3:  # pairs
        size = (int(rng.integers(1, 4)), int(rng.integers(1, 4)))[: rng.integers(1, 3)]
        places = rng.choice(shape[0] * shape[1], size, replace=not writing) if np.prod(shape) >= 9 else np.zeros(0, int)
        return places % max(shape[0], 1), places // max(shape[0], 1)
    if kind == 4:
        return np.ix_(*(rng.choice(extent, int(rng.integers(0, extent + 1)), replace=False) for extent in shape))
    return random_bracket(rng, shape[0], writing), random_bracket(rng, shape[1], writing)


def random_value(rng, dtype, E, key):
    """For a key of a dense array: a number, or something of the selected shape, or now and then of another."""
    if chance(rng, 0.3):
        return random_values(rng, dtype, ()).item()
    selected = outcome(lambda: E[key])
    shape = (2, 3) if isinstance(selected, type) else np.shape(selected)
    if chance(rng, 0.05):
        shape = (2, 7)
    values = random_values(rng, dtype, shape)
    if values.ndim == 2 and values.size and chance(rng, 0.4):
        return [sp.csc_matrix, sp.csr_array, sp.coo_matrix][rng.integers(3)](values)
    return values.tolist() if values.ndim and dtype.char not in "gG" and chance(rng, 0.3) else values


def outcome(call):
    """What a call gives, or the class of its error."""
    try:
        return call()
    except (IndexError, ValueError, TypeError, NotImplementedError) as error:
        assert str(error)
        return next(cls for cls in (IndexError, ValueError, TypeError, NotImplementedError) if isinstance(error, cls))


def dense(found):
    return found.toarray() if hasattr(found, "toarray") else np.asarray(found)


def check(found, expected):
    """The same values, shape, dtype and class; or an error of the same class."""
    if isinstance(expected, type):
        assert found is expected, f"{found} instead of {expected.__name__}"
        return
    wanted = expected if sp.issparse(expected) or not isinstance(found, Matrix) else sp.csc_matrix(expected)
    given = found.tocsc() if isinstance(found, Matrix) else found
    assert not isinstance(found, type), f"{found.__name__} instead of {expected}"
    assert sp.issparse(given) == sp.issparse(wanted), f"{type(given)} instead of {type(wanted)}"
    assert np.shape(dense(given)) == np.shape(dense(wanted)) and given.dtype == wanted.dtype
    assert np.array_equal(dense(given), dense(wanted)), f"\n{dense(given)}\ninstead of\n{dense(wanted)}"
    if sp.issparse(given):
        check_canonical(given)
    if not isinstance(found, Matrix):
        assert type(found) is type(expected), f"{type(found)} instead of {type(expected)}"


def copied(C, method, *arguments):
    made = C.copy()
    method(made, *arguments)
    return made


def run_read(rng, C, M):
    key = random_key(rng, C.shape, False)
    # SciPy's compressed rows give pairs for C[[0, 1], ::2], so its compressed columns are asked.
    expected = outcome(lambda: scipy_get(C.tocsc(), key))
    if sp.issparse(expected):
        expected = type(C)(expected)
    check(outcome(lambda: zqspmatrix.getitem(C, key)), expected)
    if M is not None:
        if expected is NotImplementedError:  # rows and columns of a Matrix keep two dimensions
            expected = outcome(lambda: scipy_get(sp.csc_matrix(C), key))
        check(outcome(lambda: M[key]), expected)


def run_write(rng, C, M):
    key = random_key(rng, C.shape, True)
    value = random_value(rng, C.dtype, np.asarray(C.toarray()), key.toarray() if sp.issparse(key) else key)
    expected = outcome(lambda: copied(C, scipy_set, key, value))
    made = outcome(lambda: zqspmatrix.setitem(C, key, value))
    check(made, expected)
    if M is not None:
        if outcome(lambda: M.__setitem__(key, value)) is not None:
            expected = C if isinstance(expected, type) else None
        check(M, expected)
    return C if isinstance(made, type) else made


def run_delete(rng, C, M):
    axis = int(rng.integers(2))
    index = random_index(rng, C.shape[axis], False)
    key = (index, slice(None)) if axis == 0 else (slice(None), index)
    everything = np.arange(C.shape[axis])
    kept = outcome(lambda: np.setdiff1d(everything, everything[index]))
    if axis == 1 and isinstance(index, slice) and index == slice(None):
        kept, axis = np.zeros(0, int), 0
    made = outcome(lambda: zqspmatrix.delete(C, key))
    check(made, kept if isinstance(kept, type) else type(C)(C.toarray().take(kept, axis)))
    if M is not None:
        outcome(lambda: M.__delitem__(key))
        check(M, C if isinstance(made, type) else made)
    return C if isinstance(made, type) else made


def run_reshape(rng, C, M):
    order = "CF"[rng.integers(2)]
    size = C.shape[0] * C.shape[1]
    rows = int(rng.choice([d for d in range(1, size + 1) if size % d == 0])) if size else 0
    shape = (rows, -1) if size else (0, 5)
    expected = C.toarray().reshape(shape, order=order)
    made = zqspmatrix.reshape(C, shape, order)
    assert type(made) is type(C) and np.array_equal(made.toarray(), expected)
    if M is not None:
        check(M.reshape(shape, order=order), sp.csc_matrix(expected))
    return C


def run_sequence(rng):
    C = random_matrix(rng, KINDS, DTYPES)
    for _ in range(5):
        M = Matrix(C, copy=chance(rng, 0.7)) if C.dtype in SERVED else None
        before = C.toarray()
        made = [run_read, run_read, run_write, run_write, run_delete, run_reshape][rng.integers(6)](rng, C, M)
        assert np.array_equal(C.toarray(), before), "the operand changed"
        C = C if made is None else made


if __name__ == "__main__":
    calls = 5 * run_seeds(run_sequence, 2000)
    print(f"{calls} calls of the functions, and as many of Matrix where it has the dtype")
