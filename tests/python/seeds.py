"""Random tests by seeds, so that what fails can be repeated: PROGRAM [FIRST [COUNT]]."""

import sys

import numpy as np


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
