"""Prints the rows of a run to the terminal: quick_report.py FILE"""
import sys

from measurements import PEERS, Summary, number, read, spread


def main():
    _, rows, others = read(sys.argv[1])
    tables = list(dict.fromkeys(table for row in rows for table in row.tables))
    if rows:
        print("{:<34}".format("milliseconds; best peer / ours") + "".join(f"{table:>9}{'':19}" for table in tables)
              + f"{'copy':>9}{'copies':>7}" + "".join(f"{peer:>10}" for peer in PEERS) + "  method")
    for row in rows:
        ours = "".join(f"{number(row.ours.get(table)):>9} {spread(row.ratios.get(table)):<18}" for table in tables)
        peers = "".join(f"{number(row.peers.get(peer)):>10}" for peer in PEERS)
        copies = row.of_copy(row.tables[0])
        print(f"{row.name:<34}{ours}{number(row.copy):>9}{number(copies):>7}{peers}  {row.method()}")
    for table in tables:
        summary = Summary(rows, table)
        print(f"{table}: geometric mean {summary.mean:.2f} of {summary.rows} rows; at least 2 in {summary.twice}, "
              f"within 1.3 copies in {summary.near_copy}, below 1 in {summary.slower}")
    for name, run in others.items():
        figures = {key: value for key, value in run.items() if key in ("allocations", "kept", "reference")
                   or key.startswith(("ms:", "ratio:", "low:", "high:"))} or {"ns": run["cpu_time"]}
        if name.startswith("small"):
            figures["ns"] = run["cpu_time"]
        print(f"{name:<40}" + "  ".join(f"{key} {value:.4g}" for key, value in figures.items()))


if __name__ == "__main__":
    main()
