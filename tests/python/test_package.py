"""What users of the package meet besides subscripts that succeed: errors, conversions, copies, threads, references."""

import copy
import gc
import inspect
import pickle
import sys
import threading
import time

import numpy as np
import pytest
import scipy.sparse as sp
import zqspmatrix
from zqspmatrix import Matrix

pytestmark = pytest.mark.filterwarnings(
    "ignore:the matrix subclass", "ignore::scipy.sparse.SparseEfficiencyWarning"  # advice of NumPy's and SciPy's
)
DENSE = np.array([[1.0, 0, 2], [0, 3, 0], [4, 0, 5], [0, 6, 0]])


@pytest.fixture(params=[sp.csc_matrix, sp.csc_array])
def C(request):
    return request.param(DENSE)


@pytest.fixture
def M(C):
    return Matrix(C)


def large(n=20000, seed=0):
    rng = np.random.default_rng(seed)
    return sp.csc_matrix((rng.random(20 * n), (rng.integers(0, n, 20 * n), np.repeat(np.arange(n), 20))), shape=(n, n))


# ---- Handed to NumPy and SciPy ----


def test_numpy_sees_the_elements(M, C):
    assert np.array_equal(np.asarray(M), DENSE) and np.sum(M) == DENSE.sum()
    assert np.array_equal(sp.csc_matrix(M).toarray(), DENSE)
    assert np.array_equal(sp.hstack([M, C]).toarray(), np.hstack([DENSE, DENSE]))
    assert np.array_equal(np.ones(4) @ M, np.ones(4) @ DENSE)
    assert (C != M).nnz == 0 and (M != C).nnz == 0 and np.array_equal((C @ M.T).toarray(), DENSE @ DENSE.T)
    far = Matrix(sp.csc_matrix(([1.0], ([99999], [99999]))))
    assert sp.issparse(M) and sp.hstack([far, far]).nnz == 2
    with pytest.raises(ValueError, match="shape .100000, 100000.*tocsc"):
        np.asarray(Matrix(sp.csc_matrix((100000, 100000))))


@pytest.mark.parametrize("name", ["eq", "ne", "lt", "le", "gt", "ge", "add", "sub", "mul", "matmul", "radd"])
@pytest.mark.parametrize("other", [lambda x: 0, lambda x: 2.5, lambda x: x, lambda x: x.T, lambda x: np.ones((3, 4))])
def test_operators_are_scipys(M, C, name, other):
    def outcome(value):
        try:
            found = getattr(value, f"__{name}__")(other(value))
        except Exception as error:
            return type(error)
        return found if isinstance(found, bool) or found is NotImplemented else np.asarray(sp.csc_matrix(found).toarray())

    assert np.array_equal(outcome(M), outcome(C))


def test_everything_a_sparse_matrix_has_is_there(M, C):
    def outcome(value, name):
        try:
            found = getattr(value, name)
            found = found() if callable(found) else found
        except Exception as error:
            return type(error).__name__
        return np.asarray(sp.csc_matrix(found).toarray()).tolist() if sp.issparse(found) else repr(found)

    names = [name for name in dir(sp.csc_matrix) if not name.startswith("_")]
    assert not [name for name in names if not hasattr(M, name)]
    for call in (np.transpose, lambda x: x.transpose(copy=True), lambda x: x.toarray("F"), lambda x: x.resize((2, 9)) or x):
        found, expected = (sp.csc_matrix(call(x.copy())).toarray() for x in (M, C))
        assert np.array_equal(found, expected)
    different = [name for name in names if outcome(M.copy(), name) != outcome(C.copy(), name)]
    assert not different
    assert str(M) == str(C)


def test_truth_length_hash_and_iteration(M, C):
    for raising in (bool, lambda x: x in [C * 2], len, hash):
        assert type(pytest.raises((TypeError, ValueError), raising, M).value) is type(
            pytest.raises((TypeError, ValueError), raising, C).value
        )
    assert [row.toarray().tolist() for row in M] == [[row] for row in DENSE.tolist()]
    assert M.T.shape == (3, 4) and M.ndim == 2 and np.array_equal(M.T.toarray(), DENSE.T)


def test_copies_and_pickles(M, C):
    for made in (copy.copy(M), copy.deepcopy(M), pickle.loads(pickle.dumps(M)), Matrix(M), M.copy()):
        made[0, 0] = 9
        assert type(made) is Matrix and M[0, 0] == 1 and made[0, 0] == 9 and made.dtype == M.dtype
        assert type(made.tocsc()) is type(C)


def test_what_is_given_out_does_not_change_the_matrix(M):
    T = M.tocsc()
    T[0, 0] = 77
    shared = M.tocsc(copy=False)
    with pytest.raises(ValueError, match="read-only"):
        shared.data[:] = 7
    M[0, 0] = 8
    assert M[0, 0] == 8 and shared[0, 0] == 1


# ---- Operands from anywhere ----


def test_a_matrix_owns_what_it_stands_on():
    C = sp.csc_matrix(DENSE)
    M = Matrix(C)
    C.indices[:] = 2**30
    assert np.array_equal(M[:, [2, 0]].toarray(), DENSE[:, [2, 0]])
    lent = Matrix(sp.csc_matrix(DENSE), copy=False)  # the source dies
    gc.collect()
    lent[0, 0] = 5
    assert lent[0, 0] == 5


@pytest.mark.parametrize(
    "arrays",
    [([1.0], [4], [0, 1, 1]), ([1.0], [-1], [0, 1, 1]), ([1.0], [0], [0, 2**30, 1]), ([1.0, 2.0], [0, 1], [0, 2, 1]),
     ([1.0], [0], [1, 1, 1]), ([1.0], [0], [0, 1, 2]), ([1.0, 2.0], [0, 1], [0, -1, 2])],
)  # fmt: skip
@pytest.mark.parametrize("options", [{}, {"copy": False}])
def test_broken_matrices(arrays, options):
    C = sp.csc_matrix((4, 2))
    C.data, C.indices, C.indptr = (np.array(a, t) for a, t in zip(arrays, (float, np.int32, np.int32)))
    with pytest.raises(ValueError, match="broken matrix"):
        Matrix(C, **options)


def test_unsorted_and_repeated_entries():
    C = sp.csc_matrix((np.array([1.0, 2, 3]), np.array([2, 0, 0]), np.array([0, 3])), shape=(4, 1))
    assert Matrix(C).toarray().ravel().tolist() == [5, 0, 1, 0] and Matrix(C).nnz == 2
    assert [zqspmatrix.getitem(C, (0, 0)) for _ in range(2)] == [5, 5] and C.nnz == 3
    assert zqspmatrix.setitem(sp.csc_matrix((4, 1)), slice(None), C).indices.tolist() == [0, 2]
    with pytest.raises(ValueError, match="sum_duplicates"):
        Matrix(C, copy=False)


def test_empty_instances():
    with pytest.raises(TypeError):
        Matrix.__new__(object)
    with pytest.raises(TypeError):
        zqspmatrix._core.Matrix().nnz

    class Forgetful(Matrix):
        def __init__(self):
            pass

    assert Forgetful().nnz == 0 and Forgetful().shape == (0, 0)


@pytest.mark.parametrize("dtype", ["F", "g", "G"])
def test_dtypes_that_are_not_served(dtype):
    with pytest.raises(TypeError, match=f"{np.dtype(dtype)}.*float64 and complex128"):
        Matrix(sp.csc_matrix(DENSE).astype(dtype))


# ---- Errors say what and where ----


@pytest.mark.parametrize(
    "call, error, said",
    [
        (lambda M: M[4, 0], IndexError, r"row 4 .*\(4, 3\)"),
        (lambda M: M[:, [0, -4]], IndexError, r"column -4 .*\(4, 3\)"),
        (lambda M: M.elements[12], IndexError, r"element 12 .*\(4, 3\)"),
        (lambda M: M[np.ones(5, bool)], IndexError, r"row 4 .*\(4, 3\)"),
        (lambda M: M[None], IndexError, "None is no subscript"),
        (lambda M: M[0.5], IndexError, "0.5 is no subscript"),
        (lambda M: M.__setitem__((0, 3), 1), IndexError, r"column 3 .*\(4, 3\)"),
        (lambda M: M.__setitem__((0, 0), [1, 2]), ValueError, "2 values"),
        (lambda M: M.__setitem__(slice(2), sp.eye(3)), ValueError, r"\(3, 3\).*\(2, 3\)"),
        (lambda M: M.__delitem__((0, 0)), ValueError, "rows or columns"),
        (lambda M: M.reshape((1, 9)), ValueError, r"\(4, 3\).*\(1, 9\)"),
        (lambda M: M.reshape(-1, 5), ValueError, r"\(4, 3\).*\(-1, 5\)"),
        (lambda M: Matrix(DENSE), TypeError, "ndarray"),
        (lambda M: zqspmatrix.getitem(DENSE, 0), TypeError, "not ndarray"),
        (lambda M: M.transpose((0, 1)), ValueError, "axes"),
    ],
)
def test_messages(M, call, error, said):
    with pytest.raises(error, match=said):
        call(M)
    assert np.array_equal(M.toarray(), DENSE)


def test_keys_of_all_kinds(M):
    assert np.array_equal(M[...].toarray(), DENSE) and np.array_equal(M.reshape(-1, 6).toarray(), DENSE.reshape(-1, 6))
    M.assign((5, [0, 3]), [7, 8], grow=True)
    assert M.shape == (6, 4) and M[5, 3] == 8
    M.assign(([1, 2], [0, 5]), [7, 9], grow=True)
    assert M.shape == (6, 6) and M[2, 5] == 9


def test_pairs_beyond_one_subscript():
    C = sp.csc_matrix((100000, 100000))
    assert zqspmatrix.setitem(C, ([99999, 0], [99999, 1]), [3, 4]).nnz == 2 and C.nnz == 0
    M = Matrix(C)
    M[[99999, 0], [99999, 1]] = [3, 4]
    assert np.asarray(M[[0, 99999, 5], [1, 99999, 5]]).ravel().tolist() == [4, 3, 0]
    with pytest.raises(IndexError, match="too many"):
        M.elements[0]


def test_signatures_and_help():
    assert str(inspect.signature(Matrix)) == "(source: Any, copy: bool = True, check: bool = True) -> None"
    assert str(inspect.signature(zqspmatrix.setitem)) == "(C: Any, key: Any, value: Any, grow: bool = False) -> Any"
    for name in zqspmatrix.__all__:
        assert len(inspect.getdoc(getattr(zqspmatrix, name))) > 60


def test_functions_take_a_matrix_as_what_it_stands_for(M, C):
    for call in (lambda x: zqspmatrix.getitem(x, [1]), lambda x: zqspmatrix.setitem(x, (0, 0), 7),
                 lambda x: zqspmatrix.delete(x, 1), lambda x: zqspmatrix.reshape(x, (2, 6))):  # fmt: skip
        assert type(call(M)) is type(C) and np.array_equal(call(M).toarray(), call(C).toarray())


def test_accelerate_is_taken_back():
    original = sp.csc_matrix.__getitem__
    with zqspmatrix.accelerate():
        with zqspmatrix.accelerate():
            pass
        assert sp.csr_array.__getitem__ is not original
    assert sp.csr_array.__getitem__ is original is sp.csc_matrix.__getitem__
    assert "__getitem__" not in vars(sp.csc_matrix)


# ---- Threads and references ----


def test_threads_on_one_matrix_give_errors_and_no_crash():
    M, errors, wrong = Matrix(large()), [], []
    rows = np.random.default_rng(1).permutation(20000)

    def work(change):
        for k in range(15):
            try:
                if change:
                    M[rows[:4000], :] = 0 if k % 2 else M.tocsc(copy=False)[:4000] * 1.0
                else:
                    M[rows]
            except RuntimeError as error:
                errors.append(str(error))
            except Exception as error:
                wrong.append(error)

    threads = [threading.Thread(target=work, args=(change,)) for change in (True, False, False)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong and all("another thread" in error for error in errors)
    assert sp.csc_matrix(M.tocsc()).has_canonical_format
    M.tocsc().check_format(full_check=True)


def test_other_threads_run_during_a_call():
    M, ticks = Matrix(large(200000)), []
    rows = np.random.default_rng(1).permutation(200000)

    def tick():
        time.sleep(0.01)
        ticks.append(1)

    thread = threading.Thread(target=tick)
    interval = sys.getswitchinterval()
    sys.setswitchinterval(20)  # from now on only who gives the lock back lets the other thread run
    try:
        thread.start()
        M[rows]
        during = len(ticks)
    finally:
        sys.setswitchinterval(interval)
        thread.join()
    assert during == 1


def test_no_reference_is_leaked():
    C = sp.csc_matrix(DENSE)
    M, R = Matrix(C), C.tocsr().astype("F")
    key, rows, mask, values = (slice(None), [0, 2]), np.array([3, 1]), np.arange(4) < 2, np.ones(3)
    outside = (9, 9)

    def calls():
        M[0, 0], M[key], M[rows, rows - 1], M.T, M.region[key], M.elements[3], M.tocsc(copy=False)
        M[1, :] = values
        del M.copy()[mask]
        zqspmatrix.getitem(C, key), zqspmatrix.getitem(R, (rows, rows - 1)), zqspmatrix.setitem(R, key, 1)
        zqspmatrix.delete(C, rows), zqspmatrix.reshape(C, (2, 6)), Matrix(C, copy=False)[key]
        for raising in (M.__getitem__, M.__delitem__):
            try:
                raising(outside)
            except (IndexError, ValueError):
                pass

    watched = [C, R, key, rows, mask, values, outside, np.dtype(float), sp.csc_matrix, Matrix, None, NotImplemented]
    calls()
    gc.collect()
    blocks, before = sys.getallocatedblocks(), [sys.getrefcount(x) for x in watched]
    for _ in range(6000):  # 17 calls each
        calls()
    gc.collect()
    after = [sys.getrefcount(x) for x in watched]
    assert max(abs(a - b) for a, b in zip(after, before)) < 50
    assert sys.getallocatedblocks() - blocks < 500
