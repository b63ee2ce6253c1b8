"""What the random tests draw, by seeds, so that what fails can be repeated: PROGRAM [FIRST [COUNT]]."""

import sys

import numpy as np
import scipy.sparse as sp

SERVED = [np.dtype(code) for code in "?bBhHiIlLqQfdD"]


def run_seeds(run, default_count):
    """run(generator) for each seed; the number of seeds. Names the seed that fails."""
    first = int(sys.argv[1]) if len(sys.argv) > 1 else 0
    count = int(sys.argv[2]) if len(sys.argv) > 2 else default_count
    for seed in range(first, first + count):
        try:
            run(np.random.default_rng(seed))
        except BaseException:
            print(f"sequence {seed} fails; to repeat: {sys.argv[0]} {seed} 1", file=sys.stderr)
            raise
    return count


def chance(rng, probability):
    return rng.random() < probability


def random_values(rng, dtype, shape):
    """Small whole numbers, about half of them zero."""
    values = rng.integers(0 if dtype.kind == "u" else -9, 10, shape) * rng.integers(0, 2, shape)
    if dtype.kind == "c":
        values = values + 1j * rng.integers(-1, 2, shape)
    return np.asarray(values).astype(dtype)


def random_matrix(rng, kinds, dtypes):
    """Sometimes with an explicit zero or 64-bit indices."""
    shape = [(0, 0), (0, 4), (3, 0), (1, 7), (6, 1), (1, 1), None, None, None, None][rng.integers(10)]
    shape = shape or tuple(rng.integers(2, 8, 2))
    matrix = kinds[rng.integers(len(kinds))](random_values(rng, dtypes[rng.integers(len(dtypes))], shape))
    if matrix.nnz and chance(rng, 0.25):
        matrix.data[rng.integers(matrix.nnz)] = 0
    if chance(rng, 0.1):
        matrix.indices, matrix.indptr = matrix.indices.astype(np.int64), matrix.indptr.astype(np.int64)
    return matrix


def random_index(rng, extent, once=False):
    """A subscript of one dimension; now and then one that lies outside. `once`: no index array names one twice."""
    kind = rng.integers(7)
    size = int(rng.integers(0, extent + 1))
    out = extent + 1 if chance(rng, 0.06) else extent
    if kind == 0:
        return [int, np.int8, np.array][rng.integers(3)](rng.integers(-out, out)) if out else 0
    if kind <= 2:
        ends = [int(end) if chance(rng, 0.7) else None for end in rng.integers(-extent - 3, extent + 4, 2)]
        return slice(*ends, [None, 1, 2, -1, -3, 100][rng.integers(6)])
    if kind == 3:
        mask = rng.random(extent) < 0.5
        return [mask, mask.tolist()][rng.integers(2)] if extent else mask
    if kind == 4 and extent and not once:
        return [range(extent), rng.integers(-out, out, size).astype(np.int8)][rng.integers(2)]
    if once:
        chosen = rng.choice(extent, size, replace=False) - extent * rng.integers(0, 2)
    else:
        chosen = rng.integers(-out, out, size) if extent else np.zeros(0, int)
    if kind == 5 and chosen.min(initial=0) >= 0:
        return chosen.astype(np.uint64)
    chosen = chosen.astype([np.int64, np.int32, np.intp][rng.integers(3)])
    return chosen.tolist() if kind == 6 and size else chosen


def check_canonical(matrix):
    matrix.check_format(full_check=True)
    assert matrix.has_canonical_format
