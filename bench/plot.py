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
    """Our time against the best peer and against the copy, for the operations that every workload has."""
    plt.rcParams["svg.hashsalt"] = "performance"
    labels = list(dict.fromkeys(row.label for row in rows))
    figure, (left, right) = plt.subplots(1, 2, sharey=True, figsize=(11, 7))
    draw_panel(left, rows, labels, lambda row: row.of_peer, [(0.5, "half"), (1, "equal")], "time / best peer")
    copied = [row for row in rows if not row.is_single()]
    draw_panel(right, copied, labels, lambda row: row.of_copy, [(1, "copy"), (4, "4"), (10, "10")], "time / copy")
    left.set_yticks(range(len(labels)), labels, fontsize=8)
    left.set_ylim(len(labels) - 0.5, -0.5)
    right.legend(fontsize=8, loc="upper left")
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
