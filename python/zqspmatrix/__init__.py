"""Subscripted reference, assignment, deletion and reshape of sparse matrices in compressed columns.

Matrix                                 a sparse matrix of its own
getitem, setitem, delete, reshape      the same for SciPy's matrices, which stay SciPy's
accelerate, restore                    the package behind SciPy's own brackets
"""

from . import _core
from ._accelerate import accelerate, restore
from ._functions import delete, getitem, reshape, setitem
from ._matrix import Matrix

__version__: str = _core.version
__all__ = ["Matrix", "accelerate", "delete", "getitem", "reshape", "restore", "setitem"]
