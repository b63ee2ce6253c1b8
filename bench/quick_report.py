"""Prints the rows of a run to the terminal: quick_report.py FOLDER"""
import math
import sys

import measurements


def number(value):
    return "-" if value is None or math.isnan(value) else f"{value:.3g}" if value < 100 else f"{value:.0f}"


def main():
    _, rows, others = measurements.read_rows(sys.argv[1])
    heads = ("row", "ours ms", "copy", "result", "eigen", "scipy", "/copy", "/peer", "recorded", "/rec", "misses")
    print("{:<42}{:>9}{:>9}{:>9}{:>9}{:>9}{:>7}{:>7}{:>9}{:>7}  {}".format(*heads))
    for row in rows:
        against = row.ms("ours") / row.recorded if row.recorded else None
        sides = [number(row.ms(side)) for side in ("ours", "copy", "result-copy", "eigen", "scipy")]
        ratios = [number(row.of_copy), number(row.of_peer), number(row.recorded), number(against)]
        print(
            "{:<42}{:>9}{:>9}{:>9}{:>9}{:>9}{:>7}{:>7}{:>9}{:>7}  {}".format(
                row.name, *sides, *ratios, ", ".join(row.misses())
            )
        )
    for name, sides in others.items():
        print(f"{name:<42}" + "  ".join(f"{side} {measurements.median(runs):.4g}" for side, runs in sides.items()))


if __name__ == "__main__":
    main()
