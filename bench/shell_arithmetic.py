#!/usr/bin/env python3
"""Arithmetic of the shell beside SciPy's: shell_arithmetic.py KXSH [ENTRIES].

Both work on random matrices of one size and number of entries, five to a column. Prints milliseconds of wall time, the
least of five rounds after one that does not count, and their ratio.
"""
import subprocess
import sys
import time

import numpy as np
import scipy.sparse as sp

ROUNDS = 5
OPERATIONS = {  # in the shell's words, and in SciPy's
    "A + A": lambda a, b: a + a,
    "A + B": lambda a, b: a + b,
    "2 * A": lambda a, b: 2 * a,
    "A .* A": lambda a, b: a.multiply(a),
    "A .* B": lambda a, b: a.multiply(b),
    "A > 0.5": lambda a, b: a > 0.5,
    "A'": lambda a, b: a.T.tocsc(),
    "[A A]": lambda a, b: sp.hstack([a, a], format="csc"),
    "[A; A]": lambda a, b: sp.vstack([a, a], format="csc"),
    "sum(A)": lambda a, b: a.sum(axis=0),
    "sum(A, 2)": lambda a, b: a.sum(axis=1),
    "sum(A, 'all')": lambda a, b: a.sum(),
}


def of_shell(program, n):
    script = "A = sprand({0}, {0}, 5 / {0}, 7); B = sprand({0}, {0}, 5 / {0}, 8);\n".format(n)
    for operation in OPERATIONS:
        script += f"x = {operation}; best = Inf;\n"
        script += f"for k = 1:{ROUNDS}, tic; x = {operation}; t = toc; if t < best, best = t; end, end\n"
        script += "printf('%.9f\\n', best)\n"
    done = subprocess.run([program, "-e", script], check=True, capture_output=True, text=True)
    return [float(line) for line in done.stdout.split()]


def of_scipy(n):
    a, b = (sp.random(n, n, 5 / n, format="csc", random_state=np.random.default_rng(seed)) for seed in (7, 8))
    for matrix in (a, b):
        matrix.sort_indices()
    times = []
    for operation in OPERATIONS.values():
        operation(a, b)
        best = float("inf")
        for _ in range(ROUNDS):
            started = time.perf_counter()
            operation(a, b)
            best = min(best, time.perf_counter() - started)
        times.append(best)
    return times


def main():
    n = (int(sys.argv[2]) if len(sys.argv) > 2 else 5_000_000) // 5
    print(f"{5 * n} entries, {n}-by-{n}\n{'':13} {'shell':>9} {'SciPy':>9} ratio")
    for operation, ours, theirs in zip(OPERATIONS, of_shell(sys.argv[1], n), of_scipy(n)):
        print(f"{operation:13} {ours * 1e3:9.1f} {theirs * 1e3:9.1f} {ours / theirs:5.2f}")


main()
