#!/usr/bin/env python3
"""Maps over two axes: time and memory of the toolkit, beside the same method in numpy and the
classic undamped iteration in numpy, each on one core.

    bench/two_dimensional/two_dimensional_bench.py [SIZE...]      (64 100 200 without them)

Data: a T1-T2 experiment of SIZE x 4000 samples, two peaks, S/N 100, a map of SIZE x SIZE cells,
weight by the noise. Times are processor time, the least of several runs, with the kernels and
their decompositions. Before it times, it verifies: the numpy form has the toolkit's map at the
toolkit's weight. Prints the table of docs/two_dimensional.md.
"""

import os
import subprocess
import sys
import time
from pathlib import Path

for _name in ("OPENBLAS_NUM_THREADS", "OMP_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[_name] = "1"
import numpy as np  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "hosts" / "python"))
import vorin  # noqa: E402

PEAKS = [(0.5, 0.3, 0.1, 60.0), (0.05, 0.02, 0.1, 40.0)]
SAMPLES = 4000
SURPLUS = 14.0  # noise variances of the aim above the least sum of squares
SEARCH_CUT = 1e-4
MOST_STEPS = 200


def experiment(size):
    """Data and grids."""
    grids = {"grid1": (3e-3, 10.0, size), "grid2": (1e-3, 3.0, size)}
    t1, t2 = np.geomspace(1e-3, 5.0, size), 2.5e-4 * np.arange(1, SAMPLES + 1)
    return vorin.simulate2d(t1, t2, PEAKS, noise=1.0, seed=1), grids


class Compressed:
    """The rows that carry signal: A (m x cells), d (m), and the noise of a sample."""

    def __init__(self, data, grid1, grid2, cut=SEARCH_CUT):
        k1 = 1.0 - 2.0 * np.exp(-data.t1[:, None] / grid1)
        k2 = np.exp(-data.t2[:, None] / grid2)
        u1, s1, v1 = np.linalg.svd(k1, full_matrices=False)
        u2, s2, v2 = np.linalg.svd(k2, full_matrices=False)
        p, q = np.nonzero(np.outer(s1, s2) > cut * s1[0] * s2[0])
        self.scale = np.sqrt(np.sum(k1**2) / grid1.size * np.sum(k2**2) / grid2.size)
        a1, a2 = s1[:, None] * v1, s2[:, None] * v2
        self.A = (a1[p][:, :, None] * a2[q][:, None, :]).reshape(p.size, -1) / self.scale
        self.d = (u1.T @ data.D @ u2)[p, q]
        beyond = data.D.size - p.size
        self.noise = np.sqrt((np.sum(data.D**2) - np.sum(self.d**2)) / beyond)


def damped(rows, w, c, tolerance):
    """Newton's method on the dual problem, steps halved until they lower it."""
    A, d = rows.A, rows.d
    z = A.T @ c
    for _ in range(MOST_STEPS):
        f = np.maximum(z, 0.0)
        residual = A @ f - d
        g = residual + w * c
        squares = residual @ residual
        if g @ g <= tolerance * (squares + w * (f @ f)):
            return c, f, squares, True
        active = A[:, f > 0.0]
        step = np.linalg.solve(active @ active.T + w * np.eye(d.size), -g)
        change, slope, t = A.T @ step, g @ step, 1.0
        for _ in range(40):
            after = np.maximum(z + t * change, 0.0)
            chi = (0.5 * np.sum((after - f) * (after + f)) + t * (w * (c @ step) - d @ step)
                   + 0.5 * t * t * w * (step @ step))
            if chi <= 1e-4 * t * slope:
                break
            t *= 0.5
        else:
            t = 1.0
        c = c + t * step
        z = A.T @ c
    return c, f, squares, False


def by_the_noise(rows):
    """The same search as the toolkit's: decades down to the least, then false position."""
    points, c, w = [], np.zeros(rows.d.size), 1.0
    while w >= 1e-12:
        c, f, squares, _ = damped(rows, w, c, 1e-6)
        points.append((w, c, squares))
        surplus = SURPLUS * max(rows.noise**2, squares / rows.d.size)
        if len(points) > 1 and points[-2][2] - squares < 0.25 * surplus:
            break
        w *= 0.1
    least = points[-1][2]
    aim = least + SURPLUS * max(rows.noise**2, least / rows.d.size)
    at = max(k for k, point in enumerate(points) if k == 0 or point[2] > aim)
    high, low = points[at], points[min(at + 1, len(points) - 1)]

    def height(squares):
        return np.log(max(squares - least, 1e-6 * (aim - least)) / (aim - least))

    below, above, side = height(low[2]), height(high[2]), 0
    for _ in range(40):
        part = min(max(below / (below - above), 0.02), 0.98)
        w = low[0] * (high[0] / low[0]) ** part
        c, f, squares, _ = damped(rows, w, (low if part < 0.5 else high)[1], 1e-11)
        if abs(squares - aim) <= 1e-4 * aim:
            break
        if height(squares) > 0.0:
            high, above, below, side = (w, c, squares), height(squares), below * (
                0.5 if side == 1 else 1.0), 1
        else:
            low, below, above, side = (w, c, squares), height(squares), above * (
                0.5 if side == -1 else 1.0), -1
    return w, f


def classic(rows):
    """Undamped Newton steps, and w = sqrt(m) sigma / |c| until it stays (Butler, Reeds and
    Dawson, SIAM J. Numer. Anal. 18, 381, 1981; Song et al., J. Magn. Reson. 154, 261, 2002)."""
    A, d = rows.A, rows.d
    w, c, failures = 1.0, np.zeros(d.size), 0
    for _ in range(40):
        for _ in range(MOST_STEPS):
            f = np.maximum(A.T @ c, 0.0)
            g = A @ f - d + w * c
            if g @ g <= 1e-12 * (d @ d):
                break
            active = A[:, f > 0.0]
            c = c - np.linalg.solve(active @ active.T + w * np.eye(d.size), g)
        else:
            failures += 1
        fresh = np.sqrt(d.size) * rows.noise / np.linalg.norm(c)
        if abs(fresh - w) <= 1e-3 * w:
            break
        w = fresh
    return w, f, failures


def least_time(body, runs):
    """Processor time of the fastest run, in ms, and the last answer."""
    best = np.inf
    for _ in range(runs):
        start = time.process_time()
        answer = body()
        best = min(best, time.process_time() - start)
    return 1e3 * best, answer


MEMORY = """
import sys
sys.path.insert(0, {python!r}); sys.path.insert(0, {bench!r})
import two_dimensional_bench as bench, vorin
data, grids = bench.experiment({size})
vorin.invert2d(data.t1[::4], data.t2[::100], data.D[::4, ::100], grid1=(1e-2, 1, 8),
               grid2=(1e-2, 1, 8))
def status(name):
    with open("/proc/self/status") as lines:
        return next(int(line.split()[1]) for line in lines if line.startswith(name)) / 1024
with open("/proc/self/clear_refs", "w") as peak:
    peak.write("5")  # the peak begins anew
before = status("VmRSS")
vorin.invert2d(data.t1, data.t2, data.D, **grids)
print(status("VmHWM") - before)
"""


def memory(size):
    """Resident megabytes that an inversion adds to a process that holds the data."""
    code = MEMORY.format(python=str(ROOT / "hosts" / "python"),
                         bench=str(Path(__file__).resolve().parent), size=size)
    return float(subprocess.run([sys.executable, "-c", code], capture_output=True, text=True,
                                check=True).stdout)


def main(sizes):
    print("| map | data | toolkit | memory | the same in numpy | undamped in numpy |\n"
          "| --- | --- | --- | --- | --- | --- |")
    for size in sizes:
        data, grids = experiment(size)
        ours, result = least_time(lambda: vorin.invert2d(data.t1, data.t2, data.D, **grids), 7)
        assert result.success, result.status_text

        def in_numpy():
            return by_the_noise(Compressed(data, result.grid1, result.grid2))

        whole = Compressed(data, result.grid1, result.grid2, 1e-7)
        _, f, _, _ = damped(whole, result.weight / whole.scale**2, np.zeros(whole.d.size), 1e-11)
        same = f.reshape(size, size) / whole.scale
        apart = np.max(np.abs(same - result.distribution)) / np.max(same)
        assert apart < 1e-4, f"the two maps differ by {apart} of the highest cell"
        theirs, (weight, _) = least_time(in_numpy, 2)
        assert abs(weight * whole.scale**2 / result.weight - 1.0) < 0.05
        old, (_, _, failures) = least_time(
            lambda: classic(Compressed(data, result.grid1, result.grid2)), 1)
        print(f"| {size} x {size} | {size} x {SAMPLES} | {ours:.0f} ms | {memory(size):.0f} MB | "
              f"{theirs:.0f} ms | {old:.0f} ms, {failures} of its solutions without end |",
              flush=True)


if __name__ == "__main__":
    main([int(word) for word in sys.argv[1:]] or [64, 100, 200])
