"""Subscripts on SciPy's matrices."""

import warnings
from typing import Any, Tuple, Union

import scipy.sparse as sp

from . import _core

# SciPy's own brackets, whatever accelerate() puts in their place later.
_scipy_getitem = sp.csc_matrix.__getitem__
_scipy_setitem = sp.csc_matrix.__setitem__

Shape = Union[int, Tuple[int, int], "list[int]"]


def getitem(C: Any, key: Any) -> Any:
    """C[key], with SciPy's meaning of the key.

    C    a SciPy matrix or array; in compressed columns or rows it is read where it lies, another format is converted
         to compressed columns first; a Matrix counts as what its tocsc() gives
    key  what stands between the brackets: a tuple for two subscripts. Integers, slices, masks, arrays of integers;
         0-based, negative ones from the end

    Gives a scalar for two integers, the values of pairs for two index arrays, else a matrix of C's class and dtype.

    IndexError: a subscript that lies outside, or is none. Cost: the entries of the rows or columns named.
    """
    found = _core.getitem(C, key)
    if found is not NotImplemented:
        return found
    prepared = _prepared(C)
    return _scipy_getitem(C, key) if prepared is C else getitem(prepared, key)


def setitem(C: Any, key: Any, value: Any, grow: bool = False) -> Any:
    """A new matrix: what C is after C[key] = value. C stays as it is.

    key    as for getitem()
    value  a number, an array or sequence that can be broadcast to the elements selected, or a sparse matrix of their
           shape (or with one row or column, which is repeated); of elements named twice the last value stays
    grow   integers and index arrays may lie outside, and the result is as large as they ask for

    Elements that become zero are not stored. The class and dtype are those of C.

    IndexError: a subscript. ValueError: a shape. TypeError: values that C's dtype cannot hold. Cost: a copy of C.
    """
    made = _core.setitem(C, key, value, grow)
    if made is not NotImplemented:
        return made
    prepared = _prepared(C)
    if prepared is not C:
        return setitem(prepared, key, value, grow)
    if grow:
        raise IndexError(f"pairs in a matrix of shape {C.shape} are too many for it to grow by them")
    made = C.copy()
    set_by_scipy(made, key, value)
    return made


def delete(C: Any, key: Any) -> Any:
    """A new matrix: C without the rows `key`, or, for a key (slice(None), columns), without those columns.

    IndexError: a subscript. ValueError: a key that names anything but whole rows or columns. Cost: a copy of C.
    """
    made = _core.delete(C, key)
    return delete(_prepared(C), key) if made is NotImplemented else made


def reshape(C: Any, shape: Shape, order: str = "C") -> Any:
    """A new matrix of the same elements in another shape.

    shape  two sizes, of which one may be -1
    order  "C" counts elements along the rows, as NumPy and SciPy do; "F" down the columns, which is cheaper for
           compressed columns

    ValueError: another number of elements, or another order. Cost: a copy of C; in the other order, two transposes.
    """
    sizes = resolved_shape((C if hasattr(C, "shape") else _prepared(C)).shape, shape)
    made = _core.reshape(C, sizes, by_columns(order))
    return reshape(_prepared(C), sizes, order) if made is NotImplemented else made


def set_by_scipy(C: Any, key: Any, value: Any) -> None:
    """C[key] = value by SciPy's own routine, without its advice to use another class."""
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", sp.SparseEfficiencyWarning)
        _scipy_setitem(C, key, value)


def _prepared(C: Any) -> Any:
    """C in compressed columns or rows and in order; C itself where it is so already."""
    if not sp.issparse(C):
        raise TypeError(f"a SciPy sparse matrix is needed, not {type(C).__name__}")
    if isinstance(C, _core.Matrix):
        return C._scipy(False)
    if C.format not in ("csc", "csr"):
        return C.tocsc()
    if C.has_canonical_format:
        return C
    made = C.copy()
    made.sum_duplicates()
    return made


def by_columns(order: str) -> bool:
    """Whether elements are counted down the columns."""
    if order not in ("C", "F"):
        raise ValueError(f"the order is 'C' or 'F', not {order!r}")
    return order == "F"


def resolved_shape(old: Tuple[int, int], *shape: Any) -> Tuple[int, int]:
    """Two sizes, given as one sequence or one by one, with a -1 computed."""
    sizes = shape[0] if len(shape) == 1 and not hasattr(shape[0], "__index__") else shape
    if len(sizes) != 2:
        raise ValueError(f"a matrix has two dimensions, not {len(sizes)}: {tuple(sizes)}")
    rows, columns = (int(size) for size in sizes)
    elements = old[0] * old[1]
    if rows == -1 and columns > 0 and elements % columns == 0:
        rows = elements // columns
    elif columns == -1 and rows > 0 and elements % rows == 0:
        columns = elements // rows
    if rows < 0 or columns < 0 or rows * columns != elements:
        raise ValueError(f"cannot reshape a matrix of shape {tuple(old)} into shape {tuple(sizes)}")
    return rows, columns
