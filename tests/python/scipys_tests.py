"""SciPy's own tests, run where SciPy has them.

scipys_tests.py functions   its tests of getting, setting, slicing and fancy indexing, on a csc_matrix whose brackets
                            are getitem() and setitem(); they must be answered here and not by SciPy
scipys_tests.py accelerate  all of TestCSC and TestCSR without and with accelerate(): the same outcomes
"""

import sys

import pytest
import scipy.sparse as sp
import zqspmatrix
from scipy.sparse import _index
from scipy.sparse.tests import test_base
from zqspmatrix import _core

GROUPS = "GetSet Slicing SlicingAssign FancyIndexing FancyIndexingAssign FancyMultidim FancyMultidimAssign".split()


class Bracketed(sp.csc_matrix):
    def __getitem__(self, key):
        return zqspmatrix.getitem(self, key)

    def __setitem__(self, key, value):
        made = zqspmatrix.setitem(self, key, value)
        self.data, self.indices, self.indptr = made.data, made.indices, made.indptr


def make_test_class():
    groups = tuple(getattr(test_base, f"_Test{group}") for group in GROUPS)
    return type("TestBracketed", groups, {"spmatrix": Bracketed, "math_dtypes": test_base.TestCSC.math_dtypes})


class Outcomes:
    """What pytest says of each test."""

    def __init__(self):
        self.of = {}

    def pytest_runtest_logreport(self, report):
        if report.when == "call" or report.skipped:
            self.of[report.nodeid.split("::", 1)[1]] = report.outcome


def outcomes(*arguments):
    plugin = Outcomes()
    pytest.main(["-q", "-p", "no:cacheprovider", "-W", "ignore", "--tb=short", *arguments], plugins=[plugin])
    return plugin.of


def run_functions():
    answered_by_scipy = []
    for name in ("__getitem__", "__setitem__"):
        original = getattr(_index.IndexMixin, name)

        def counted(self, *arguments, original=original):
            if type(self).__name__ == Bracketed.__name__:  # the class of the module as pytest imports it
                answered_by_scipy.append(arguments)
            return original(self, *arguments)

        setattr(zqspmatrix._functions, f"_scipy_{name.strip('_')}", counted)
    before = _core.answered_calls()
    of = outcomes(__file__)
    failed = sorted(name for name, outcome in of.items() if outcome != "passed")
    answered = _core.answered_calls() - before
    print(f"{len(of)} tests, {answered} calls answered here, {len(answered_by_scipy)} by SciPy")
    assert len(of) == 43 and not failed, failed
    assert answered > 1000 and not answered_by_scipy


def run_accelerated():
    classes = [f"{test_base.__file__}::{name}" for name in ("TestCSC", "TestCSR")]
    without = outcomes(*classes)
    before = _core.answered_calls()
    with zqspmatrix.accelerate():
        with_us = outcomes(*classes)
    different = sorted(name for name in without if with_us.get(name) != without[name])
    counts = {outcome: list(with_us.values()).count(outcome) for outcome in set(with_us.values())}
    print(f"{counts}, {_core.answered_calls() - before} calls answered here")
    assert not different and without.keys() == with_us.keys(), different
    assert _core.answered_calls() - before > 1000


if __name__ == "__main__":
    {"functions": run_functions, "accelerate": run_accelerated}[sys.argv[1]]()
else:
    TestBracketed = make_test_class()
