"""The package behind SciPy's own brackets."""

from typing import Any, Callable, Dict, Tuple

import scipy.sparse as sp

from . import _core

_CLASSES = tuple(getattr(sp, name) for name in ("csc_matrix", "csr_matrix", "csc_array", "csr_array"))
_original: Dict[Tuple[type, str], Any] = {}  # methods that the classes had of their own, or None


def _getitem_before(original: Callable[[Any, Any], Any]) -> Callable[[Any, Any], Any]:
    answer = _core.try_getitem

    def __getitem__(self: Any, key: Any) -> Any:
        found = answer(self, key)
        return original(self, key) if found is NotImplemented else found

    return __getitem__


def _setitem_before(original: Callable[[Any, Any, Any], None]) -> Callable[[Any, Any, Any], None]:
    answer = _core.try_setitem

    def __setitem__(self: Any, key: Any, value: Any) -> None:
        if answer(self, key, value) is NotImplemented:
            original(self, key, value)

    return __setitem__


class _Accelerated:
    """What accelerate() gives: a context manager that takes it back."""

    def __init__(self, outermost: bool) -> None:
        self._outermost = outermost

    def __enter__(self) -> None:
        return None

    def __exit__(self, *error: object) -> None:
        if self._outermost:
            restore()


def accelerate() -> _Accelerated:
    """Puts the package behind the brackets of csc_matrix, csr_matrix, csc_array and csr_array, to read and to write.

    What it does not serve goes to SciPy's own code: keys that raise an error, entries out of order, 64-bit indices,
    results of one dimension. Zeros that are assigned where nothing is stored are not stored, where SciPy may store
    them; SciPy's warning that a change is expensive does not come.

    restore() takes it back. In `with accelerate():` the end of the block does, unless it was so before.
    """
    if _original:
        return _Accelerated(False)
    methods = [(cls, cls.__getitem__, cls.__setitem__) for cls in _CLASSES]
    for cls, getitem, setitem in methods:
        for name, method in (("__getitem__", _getitem_before(getitem)), ("__setitem__", _setitem_before(setitem))):
            _original[cls, name] = cls.__dict__.get(name)
            setattr(cls, name, method)
    return _Accelerated(True)


def restore() -> None:
    """Gives SciPy's classes their own brackets back; nothing where accelerate() is not in force."""
    for (cls, name), method in _original.items():
        if method is None:
            delattr(cls, name)
        else:
            setattr(cls, name, method)
    _original.clear()
