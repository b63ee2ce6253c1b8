"""SciPy's own tests, run where SciPy has them: all of TestCSC and TestCSR without and with accelerate(). The outcomes are
the same, and it is here that their brackets are answered.
"""

import pytest
import zqspmatrix
from scipy.sparse.tests import test_base
from zqspmatrix import _core


class Outcomes:
    """What pytest says of each test."""

    def __init__(self):
        self.of = {}

    def pytest_runtest_logreport(self, report):
        if report.when == "call" or report.skipped:
            self.of[report.nodeid.split("::", 1)[1]] = report.outcome


def outcomes():
    plugin = Outcomes()
    classes = [f"{test_base.__file__}::{name}" for name in ("TestCSC", "TestCSR")]
    pytest.main(["-q", "-p", "no:cacheprovider", "-W", "ignore", "--tb=short", *classes], plugins=[plugin])
    return plugin.of


if __name__ == "__main__":
    without = outcomes()
    before = _core.answered_calls()
    with zqspmatrix.accelerate():
        with_us = outcomes()
    answered = _core.answered_calls() - before
    different = sorted(name for name in without if with_us.get(name) != without[name])
    counts = {outcome: list(with_us.values()).count(outcome) for outcome in set(with_us.values())}
    print(f"{counts}, {answered} calls answered here")
    assert not different and without.keys() == with_us.keys(), different
    assert answered > 10580  # of 10,587 by SciPy 1.10: no kind of key is left to SciPy unnoticed
