"""The class Matrix."""

from typing import Any, Iterator, Optional, Tuple

import numpy as np
import scipy.sparse as sp

from . import _core, _functions

#: numpy.asarray(M) gives a dense array of up to this many bytes, and an error above; M.toarray() always gives one.
DENSE_LIMIT = 1 << 30


# What scipy.sparse.issparse() looks for: the class that all of SciPy's sparse classes have in common.
_Sparse: Any = next(cls for cls in reversed(sp.csc_matrix.__mro__) if cls.__name__ in ("_spbase", "spmatrix"))


class Matrix(_core.Matrix, _Sparse):  # type: ignore[misc]
    """A sparse matrix in compressed columns: bool, integers, float32, float64 or complex128.

    Matrix(C)               owns a copy of C, a SciPy matrix or array or another Matrix, that is checked as it is made
    Matrix(C, copy=False)   stands on C's own arrays and only reads them; they must not change while it does so. They
                            are copied before the Matrix changes, and copied at once where they cannot be lent: complex
                            values, 64-bit indices, other formats than compressed columns
    check=False             with copy=False: no look at the entries. Broken arrays then crash

    Brackets mean what they mean in SciPy and NumPy; subscripts are 0-based, and negative ones count from the end:

        M[i, j]             an element
        M[i], M[i, :]       a row (1-by-n); M[:, j] a column
        M[rows, cols]       slices and integers: a region. Two index arrays go pairwise, broadcast against each other;
                            numpy.ix_(rows, cols) gives a region
        M[mask], M[:, mask] rows, columns; a mask of M's shape, dense or sparse: elements
        M[key] = value      a number, an array that can be broadcast, or a sparse matrix; the last of repeated
                            subscripts wins. The shape stays, see assign()
        del M[rows], del M[:, cols]

    The matrix language's forms have names:

        M.region[I, J]      every row of I by every column of J
        M.elements[K]       elements, counted down the columns; the result has the shape of K (of a vector, the
                            direction of the vector; a slice is a row, `:` a column)
        both                can be read, assigned to and deleted from: del M.elements[K] leaves a row, or a column

    A result of two dimensions is a Matrix, of one (pairs) what SciPy gives for the class that M was made of.
    tocsc() gives that class back. For scipy.sparse.issparse() a Matrix is sparse, so that SciPy's functions take it;
    arithmetic and comparisons are SciPy's, with SciPy's results.

    A failing call leaves M as it was. IndexError: a subscript; ValueError: a shape or a broken matrix; TypeError: a
    type; MemoryError. RuntimeError: another thread uses M, and one of the two changes it.
    """

    __array_priority__ = 10.1  # NumPy leaves mixed operations to this class
    __hash__ = None  # type: ignore[assignment]
    ndim = 2
    format = "csc"

    def __init__(self, source: Any, copy: bool = True, check: bool = True) -> None:
        if isinstance(source, _core.Matrix):
            self._load_copy(source)
        else:
            self._load(source, copy, check)

    # ---- Subscripts ----

    def __getitem__(self, key: Any) -> Any:
        found = self._get(key)
        if found is None:
            found = _functions._scipy_getitem(self._scipy(False), key)
            return type(self)(found) if sp.issparse(found) else found
        return found

    def __setitem__(self, key: Any, value: Any) -> None:
        self.assign(key, value)

    def __delitem__(self, key: Any) -> None:
        self._delete(key)

    def assign(self, key: Any, value: Any, grow: bool = False) -> None:
        """M.assign(key, value) is M[key] = value; a tuple is a key of two subscripts.

        With grow=True integers and index arrays may lie outside the shape, and M grows to cover them. Slices are
        clipped to the shape all the same. IndexError, ValueError, TypeError as for brackets.
        """
        if isinstance(value, _core.Matrix):
            value = value._scipy(True)
        if self._set(key, value, grow):
            return
        if grow:
            raise IndexError(f"pairs in a matrix of shape {self.shape} are too many for it to grow by them")
        changed = self._scipy(True)
        _functions.set_by_scipy(changed, key, value)
        self._load(changed, True, False)

    @property
    def region(self) -> "Region":
        """M.region[I, J]: every row of I by every column of J, to read, assign to and delete from."""
        return Region(self)

    @property
    def elements(self) -> "Elements":
        """M.elements[K]: elements counted down the columns from 0, to read, assign to and delete from."""
        return Elements(self)

    # ---- Shape and copies ----

    @property
    def shape(self) -> Tuple[int, int]:
        """(rows, columns); assigning reshapes in place, counted along the rows as in SciPy."""
        return super().shape

    @shape.setter
    def shape(self, shape: Any) -> None:
        self._reshape(_functions.resolved_shape(super().shape, shape), False)

    def get_shape(self) -> Tuple[int, int]:
        """(rows, columns)."""
        return super().shape

    def set_shape(self, shape: Any) -> None:
        """As M.shape = shape."""
        self.shape = shape

    def reshape(self, *shape: Any, order: str = "C") -> "Matrix":
        """A new Matrix of the same elements: reshape((m, n)) or reshape(m, n); one size may be -1.

        order "C" counts along the rows, as SciPy does; "F" down the columns, which needs no transposes.
        ValueError for another number of elements.
        """
        if not shape:
            raise TypeError("reshape() needs a shape")
        by_columns = _functions.by_columns(order)
        sizes = _functions.resolved_shape(super().shape, *shape)
        made: Matrix = self._copied()
        made._reshape(sizes, by_columns)
        return made

    @property
    def T(self) -> "Matrix":
        """The transpose, a new Matrix. Cost: the entries and both sizes."""
        transposed: Matrix = self._transposed()
        return transposed

    def transpose(self, axes: None = None, copy: bool = True) -> "Matrix":
        """The transpose, a new Matrix. Other axes than None are a ValueError, as in SciPy."""
        if axes is not None:
            raise ValueError("a Matrix is transposed as a whole: axes must be None")
        return self.T

    def copy(self) -> "Matrix":
        """A Matrix of its own."""
        made: Matrix = self._copied()
        return made

    def __copy__(self) -> "Matrix":
        return self.copy()

    def __deepcopy__(self, memo: Any) -> "Matrix":
        return self.copy()

    def __reduce__(self) -> Tuple[Any, ...]:
        return type(self), (self._scipy(True),)

    # ---- NumPy and SciPy ----

    def tocsc(self, copy: bool = True) -> Any:
        """A csc_array or csc_matrix, whichever M was made of (of another format: SciPy's array or matrix class).

        A copy of its own. With copy=False it shares M's arrays (complex values are copied all the same), which then
        are read-only; when M changes, it keeps what it has.
        """
        return self._scipy(copy)

    def tocsr(self, copy: bool = True) -> Any:
        """In compressed rows, as SciPy converts."""
        return self._scipy(False).tocsr()

    def tocoo(self, copy: bool = True) -> Any:
        """In coordinates, as SciPy converts."""
        return self._scipy(False).tocoo()

    def toarray(self, order: Optional[str] = None, out: Any = None) -> "np.ndarray[Any, Any]":
        """A dense array of all elements, of M's dtype; order ("C", "F") and out as in SciPy."""
        dense: "np.ndarray[Any, Any]" = self._scipy(False).toarray(order, out)
        return dense

    def __array__(self, dtype: Any = None, copy: Optional[bool] = None) -> "np.ndarray[Any, Any]":
        if dtype == object:  # as SciPy's matrices: one object, which is how SciPy's functions take lists of matrices
            single = np.empty((), object)
            single[()] = self
            return single
        size = self.shape[0] * self.shape[1] * self.dtype.itemsize
        if size > DENSE_LIMIT:
            raise ValueError(
                f"a Matrix of shape {self.shape} would take {size} bytes as a dense array; give tocsc() to functions "
                "that take sparse matrices, or ask for toarray()"
            )
        return self.toarray() if dtype is None else self.toarray().astype(dtype)

    def __repr__(self) -> str:
        rows, columns = self.shape
        return f"<{rows}x{columns} Matrix of {self.dtype} with {self.nnz} stored elements>"

    def __len__(self) -> int:
        raise TypeError("the length of a Matrix is ambiguous; use shape[0] or nnz")

    def __bool__(self) -> bool:
        if self.shape == (1, 1):
            return bool(self[0, 0])
        raise ValueError("the truth value of a Matrix of more than one element is ambiguous")

    def __iter__(self) -> Iterator["Matrix"]:
        transposed = self.T
        for row in range(self.shape[0]):
            yield transposed[:, row].T


class _Form:
    """A form of subscripts of the matrix language."""

    __slots__ = ("_matrix",)

    def __init__(self, matrix: Matrix) -> None:
        self._matrix = matrix


class Region(_Form):
    """M.region[I, J]: integers, slices, masks and index arrays of one dimension."""

    def __getitem__(self, key: Any) -> Any:
        return self._matrix._get_region(key)

    def __setitem__(self, key: Any, value: Any) -> None:
        self.assign(key, value)

    def __delitem__(self, key: Any) -> None:
        self._matrix._delete_region(key)

    def assign(self, key: Any, value: Any, grow: bool = False) -> None:
        """As M.region[key] = value; with grow=True, M grows to cover the subscripts."""
        self._matrix._set_region(key, _scipy_value(value), grow)


class Elements(_Form):
    """M.elements[K]: an integer, a slice, a mask or an array of integers, of up to two dimensions."""

    def __getitem__(self, key: Any) -> Any:
        return self._matrix._get_elements(key)

    def __setitem__(self, key: Any, value: Any) -> None:
        self.assign(key, value)

    def __delitem__(self, key: Any) -> None:
        self._matrix._delete_elements(key)

    def assign(self, key: Any, value: Any, grow: bool = False) -> None:
        """As M.elements[key] = value; with grow=True, a vector grows to cover the subscripts."""
        self._matrix._set_elements(key, _scipy_value(value), grow)


def _scipy_value(value: Any) -> Any:
    return value._scipy(True) if isinstance(value, _core.Matrix) else value


def _by_scipy(name: str) -> Any:
    def method(self: Matrix, *arguments: Any, **keywords: Any) -> Any:
        call = getattr(self._scipy(False), name)
        return call(*(_scipy_value(argument) for argument in arguments), **keywords)

    method.__name__ = name
    method.__doc__ = f"{name} as SciPy has it, with a result of SciPy's."
    return method


def _changed_by_scipy(name: str) -> Any:
    def method(self: Matrix, *arguments: Any, **keywords: Any) -> None:
        changed = self._scipy(True)
        getattr(changed, name)(*arguments, **keywords)
        self._load(changed, True, False)

    method.__name__ = name
    method.__doc__ = f"{name} as SciPy has it, in place."
    return method


def _attribute_of_scipy(name: str) -> property:
    return property(lambda self: getattr(self._scipy(False), name), doc=f"{name} as SciPy has it, read-only.")


# What SciPy computes on M's arrays without changing them.
for _name in (
    "sum mean min max argmin argmax dot multiply power conj conjugate getH maximum minimum diagonal trace nonzero "
    "count_nonzero astype asfptype asformat getmaxprint __str__ todense tobsr todia todok tolil getrow getcol getnnz "
    "__eq__ __ne__ __lt__ __le__ __gt__ __ge__ __add__ __radd__ __sub__ __rsub__ __mul__ __rmul__ __matmul__ "
    "__rmatmul__ __truediv__ __rtruediv__ __pow__ __neg__ __abs__ __round__ arcsin arcsinh arctan arctanh ceil deg2rad "
    "expm1 floor log1p rad2deg rint sign sin sinh sqrt tan tanh trunc nanmax nanmin check_format sorted_indices"
).split():
    if hasattr(sp.csc_matrix, _name):
        setattr(Matrix, _name, _by_scipy(_name))
for _name in "eliminate_zeros prune resize sort_indices sum_duplicates".split():
    setattr(Matrix, _name, _changed_by_scipy(_name))
for _name in "data indices indptr has_sorted_indices has_canonical_format maxprint A H real imag size".split():
    setattr(Matrix, _name, _attribute_of_scipy(_name))
