"""The picture of docs/performance.md."""
import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402  (after the choice of the backend)

MARKERS = {"uniform": "o", "grid": "s", "tall": "^", "powerlaw": "D", "skew": "v"}


def draw_panel(axes, rows, labels, ratio, limits, title):
    """One dot per row, by operation from the top; dashed lines at the limits."""
    for workload, marker in MARKERS.items():
        mine = [row for row in rows if row.workload == workload]
        axes.plot([ratio(row) for row in mine], [labels.index(row.label) for row in mine], marker, label=workload,
                  alpha=0.8, markersize=5)
    for limit, name in limits:
        axes.axvline(limit, color="grey", linestyle="--", linewidth=0.8)
        axes.text(limit, -0.8, name, ha="center", fontsize=7, color="grey")
    axes.set_xscale("log")
    axes.set_title(title, fontsize=10, pad=14)
    axes.grid(axis="y", linewidth=0.3)


def draw_plot(rows, path):
    """How many times as fast as the best peer, for the operations that every workload has: with the widest loops, with
    the least, and of the first the time against the copy."""
    plt.rcParams["svg.hashsalt"] = "performance"
    labels = list(dict.fromkeys(row.label for row in rows))
    first, last = rows[0].tables[0], rows[0].tables[-1]
    figure, (left, middle, right) = plt.subplots(1, 3, sharey=True, figsize=(14, 7))
    for axes, table in ((left, first), (middle, last)):
        draw_panel(axes, rows, labels, lambda row, table=table: row.ratio(table), [(1, "equal"), (2, "twice")],
                   f"best peer / ours, {table}")
    middle.set_xlim(left.get_xlim())
    copied = [row for row in rows if not row.is_single()]
    draw_panel(right, copied, labels, lambda row: row.of_copy(first), [(1, "copy"), (4, "4"), (10, "10")],
               f"ours / copy, {first}")
    left.set_yticks(range(len(labels)), labels, fontsize=8)
    left.set_ylim(len(labels) - 0.5, -0.5)
    right.legend(fontsize=8, loc="upper left")
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
