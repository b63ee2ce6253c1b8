#!/usr/bin/env python3
"""Makes the example problem: heat conduction in a plate with a hole, by linear finite elements.

The plate is 2 by 1 with a round hole. Its left edge is held at temperature 0, the rim of the hole at 1. Points are
scattered with a spacing that grows with the distance from the hole, and joined by a Delaunay triangulation.

Writes beside this script (Matrix Market):
  plate.mtx            the stiffness matrix of all nodes, symmetric
  plate_dirichlet.mtx  one row per held node: its number and its temperature
  plate_order.mtx      an order of the free nodes that keeps neighbours close (reverse Cuthill-McKee)

Usage: python3 make_plate.py    (the standard library suffices; the random numbers are seeded)
"""

import math
import pathlib
import random

WIDTH, HEIGHT = 2.0, 1.0
HOLE_X, HOLE_Y, HOLE_RADIUS = 0.7, 0.5, 0.2
FINEST, COARSEST = 0.012, 0.032  # spacing of the points at the hole and far away from it


def spacing(x, y):
    away = max(0.0, math.hypot(x - HOLE_X, y - HOLE_Y) - HOLE_RADIUS)
    return min(COARSEST, FINEST + 0.05 * away)


def edge_points():
    """Points on the outline and on the rim of the hole; the rim comes last. Returns them and the size of the rim."""
    points = []
    corners = [(0, 0), (WIDTH, 0), (WIDTH, HEIGHT), (0, HEIGHT)]
    for (x0, y0), (x1, y1) in zip(corners, corners[1:] + corners[:1]):
        pieces = round(math.hypot(x1 - x0, y1 - y0) / (COARSEST * 0.8))
        points += [(x0 + (x1 - x0) * i / pieces, y0 + (y1 - y0) * i / pieces) for i in range(pieces)]
    rim = round(2 * math.pi * HOLE_RADIUS / FINEST)
    for i in range(rim):
        angle = 2 * math.pi * i / rim
        points.append((HOLE_X + HOLE_RADIUS * math.cos(angle), HOLE_Y + HOLE_RADIUS * math.sin(angle)))
    return points, rim


def scatter(points, rng):
    """Adds random inner points, each farther than the local spacing from all others."""
    cells = {}

    def cell(x, y):
        return int(x / COARSEST), int(y / COARSEST)

    def free(x, y, distance):
        cx, cy = cell(x, y)
        near = (p for i in (-1, 0, 1) for j in (-1, 0, 1) for p in cells.get((cx + i, cy + j), ()))
        return all(math.hypot(x - px, y - py) >= distance for px, py in near)

    for p in points:
        cells.setdefault(cell(*p), []).append(p)
    for _ in range(120000):
        x, y = rng.random() * WIDTH, rng.random() * HEIGHT
        distance = spacing(x, y)
        inside = min(x, y, WIDTH - x, HEIGHT - y) > 0.5 * distance
        outside_hole = math.hypot(x - HOLE_X, y - HOLE_Y) > HOLE_RADIUS + 0.5 * distance
        if inside and outside_hole and free(x, y, distance):
            points.append((x, y))
            cells.setdefault(cell(x, y), []).append((x, y))
    return points


def bulged(point):
    """Rounds the straight sides outwards a little, so that no three points of a side lie on one line."""
    x, y = point
    return x + 1e-3 * (x - WIDTH / 2) * y * (HEIGHT - y), y + 1e-3 * (y - HEIGHT / 2) * x * (WIDTH - x)


def circumcircle(a, b, c):
    d = 2 * (a[0] * (b[1] - c[1]) + b[0] * (c[1] - a[1]) + c[0] * (a[1] - b[1]))
    sa, sb, sc = (p[0] ** 2 + p[1] ** 2 for p in (a, b, c))
    x = (sa * (b[1] - c[1]) + sb * (c[1] - a[1]) + sc * (a[1] - b[1])) / d
    y = (sa * (c[0] - b[0]) + sb * (a[0] - c[0]) + sc * (b[0] - a[0])) / d
    return x, y, (a[0] - x) ** 2 + (a[1] - y) ** 2


def triangulate(points):
    """Delaunay triangles by insertion: those whose circle holds the new point give way to a fan around it."""
    n = len(points)
    points = [bulged(p) for p in points]
    everything = points + [(-50.0, -40.0), (60.0, -41.0), (1.0, 70.0)]
    triangles = {(n, n + 1, n + 2): circumcircle(*everything[n:])}
    for i, (x, y) in enumerate(points):
        hit = [t for t, (cx, cy, r2) in triangles.items() if (x - cx) ** 2 + (y - cy) ** 2 < r2]
        rim = {}
        for a, b, c in hit:
            del triangles[a, b, c]
            for edge in ((a, b), (b, c), (c, a)):
                if edge[::-1] in rim:
                    del rim[edge[::-1]]
                else:
                    rim[edge] = True
        for a, b in rim:
            triangles[a, b, i] = circumcircle(everything[a], everything[b], everything[i])
    return [t for t in triangles if max(t) < n]


def stiffness(points, triangles):
    """Sums the element matrices of the Laplace operator into {(row, column): value}, both triangles."""
    entries = {}
    for nodes in triangles:
        (x0, y0), (x1, y1), (x2, y2) = (points[i] for i in nodes)
        slopes = [(y1 - y2, x2 - x1), (y2 - y0, x0 - x2), (y0 - y1, x1 - x0)]
        twice_area = (x1 - x0) * (y2 - y0) - (x2 - x0) * (y1 - y0)
        for i, (bx, by) in zip(nodes, slopes):
            for j, (cx, cy) in zip(nodes, slopes):
                entries[i, j] = entries.get((i, j), 0.0) + (bx * cx + by * cy) / (2 * twice_area)
    return entries


def neighbour_order(nodes, entries):
    """Reverse Cuthill-McKee: breadth first from a node of low degree, neighbours of low degree first, turned round."""
    neighbours = {i: [] for i in nodes}
    for i, j in entries:
        if i != j and i in neighbours and j in neighbours:
            neighbours[i].append(j)
    order, seen = [], set()
    for start in sorted(nodes, key=lambda i: (len(neighbours[i]), i)):
        if start in seen:
            continue
        seen.add(start)
        queue = [start]
        for i in queue:
            for j in sorted(neighbours[i], key=lambda k: (len(neighbours[k]), k)):
                if j not in seen:
                    seen.add(j)
                    queue.append(j)
        order += queue
    return order[::-1]


def write(name, header, sizes, lines):
    path = pathlib.Path(__file__).parent / name
    path.write_text(f"%%MatrixMarket matrix {header}\n{sizes}\n" + "".join(line + "\n" for line in lines))


def main():
    rng = random.Random(2024)
    points, rim = edge_points()
    outline = len(points) - rim
    points = scatter(points, rng)
    # The centre of the hole keeps the points of its rim from lying on one empty circle; its triangles are dropped.
    centre = len(points)
    triangles = [t for t in triangulate(points + [(HOLE_X, HOLE_Y)]) if centre not in t]

    # Mesh generators number nodes in no useful order; so does this one.
    numbers = list(range(len(points)))
    rng.shuffle(numbers)
    held = {numbers[i]: 1.0 for i in range(outline, outline + rim)}
    held |= {numbers[i]: 0.0 for i in range(outline) if points[i][0] == 0}
    entries = {(numbers[i], numbers[j]): v for (i, j), v in stiffness(points, triangles).items()}

    n = len(points)
    lower = sorted((j, i) for i, j in entries if i >= j)
    write("plate.mtx", "coordinate real symmetric", f"{n} {n} {len(lower)}",
          (f"{i + 1} {j + 1} {entries[i, j]!r}" for j, i in lower))
    nodes = sorted(held)
    write("plate_dirichlet.mtx", "array integer general", f"{len(nodes)} 2",
          [str(i + 1) for i in nodes] + [str(int(held[i])) for i in nodes])
    free = [i for i in range(n) if i not in held]
    place = {node: k + 1 for k, node in enumerate(free)}
    write("plate_order.mtx", "array integer general", f"{len(free)} 1",
          [str(place[i]) for i in neighbour_order(free, entries)])


if __name__ == "__main__":
    main()
