"""Maps of many voxels: the processor time of a voxel, on one thread and on two, and what the
Python package adds to the toolkit.

    VORIN_TOOLKIT=build/libvorin_toolkit.so PYTHONPATH=hosts/python \\
        /usr/bin/python3 bench/maps/maps_bench.py [VOXELS] [--json]

A voxel has 56 samples, which are inverted on 60 relaxation times at an S/N of 100; VOXELS is
10000 unless given, and times are scaled to 350000, a brain. What is compared takes turns in one
process, block by block, and the results are compared first: the package with the toolkit, two
threads with one, and a hundred voxels with an inversion of their own. On a shared machine trust
processor times and ratios more than elapsed times.
"""

import json
import statistics
import sys
import time

import numpy as np

import vorin
from vorin import toolkit
from vorin.inversion import DEFAULTS
from vorin.voxels import VoxelJob

BRAIN = 350_000
NOISE = 0.01
T = 2e-3 * np.arange(1, 57)
GRID = (1e-3, 1.0, 60)
TURNS = 5

#: Each with its part of the voxels: the slower, the fewer.
PATHS = {
    "noise given": ({"method": "classic", "noise": NOISE}, 1.0),
    "noise of differences": ({"method": "classic"}, 1.0),
    "noise of its own fit": ({"method": "classic", "noise": "fit"}, 0.5),
    "weight given": ({"method": "classic", "weight": 0.1}, 1.0),
    "corner": ({"method": "classic", "weight": "corner"}, 0.2),
    "t2-epg, angle estimated": ({"method": "classic", "noise": NOISE, "kernel": "t2-epg",
                                 "flip": "estimate"}, 0.5),
    "default method": ({}, 0.1),
}


def voxels(count):
    generator = np.random.default_rng(7)
    slow = generator.uniform(0.02, 0.05, (count, 1))
    clean = 0.4 * np.exp(-T / 0.005) + 0.6 * np.exp(-T / slow)
    return clean + generator.normal(0.0, NOISE, clean.shape)


def timed(run):
    """Processor and elapsed seconds, and what ``run`` returns."""
    cpu, wall = time.process_time(), time.perf_counter()
    result = run()
    return time.process_time() - cpu, time.perf_counter() - wall, result


def by_the_toolkit(settings, rows):
    """The two calls of the C functions, in which the package has no part."""
    made = toolkit.Map(settings, T)
    found = toolkit.job("vorin_map_invert", made.raw, toolkit.address(rows), 8, len(rows), None,
                        None, None, toolkit._PROGRESS(), None)
    return {name: found.array(name) for name in ("total", "log_mean", "weight", "status")}


def same(maps, found):
    return all(np.array_equal(getattr(maps, name), values, equal_nan=True)
               for name, values in found.items())


def require_single_inversions(options, rows, maps):
    for k in range(100 if "method" in options else 20):
        single = vorin.invert(T, rows[k], grid=GRID, **options)
        if single.success != (maps.status[k] == 0) or (
                single.success and single.log_mean != maps.log_mean[k]):
            raise SystemExit(f"maps_bench: voxel {k} has other bits than vorin.invert gives")


def measured(options, rows):
    """Medians over the turns, in milliseconds a voxel."""
    job = VoxelJob(T, {**DEFAULTS, "grid": GRID, **options}, {"threads": 1})
    settings = job.settings()
    times = {"toolkit": [], "package": [], "two": [], "elapsed one": [], "elapsed two": []}
    for part in np.array_split(rows, TURNS):
        part = np.ascontiguousarray(part)
        cpu, _, found = timed(lambda: by_the_toolkit(settings, part))
        times["toolkit"].append(cpu / len(part))
        cpu, wall, maps = timed(lambda: vorin.invert_map(T, part, grid=GRID, jobs=1, **options))
        times["package"].append(cpu / len(part))
        times["elapsed one"].append(wall / len(part))
        cpu, wall, two = timed(lambda: vorin.invert_map(T, part, grid=GRID, jobs=2, **options))
        times["two"].append(cpu / len(part))
        times["elapsed two"].append(wall / len(part))
        if not (same(maps, found) and two == maps):
            raise SystemExit("maps_bench: toolkit, package and threads give different bits")
    require_single_inversions(options, rows, vorin.invert_map(T, rows[:100], grid=GRID, **options))
    ratios = {"added": [b / a for a, b in zip(times["toolkit"], times["package"])],
              "two over one": [b / a for a, b in zip(times["package"], times["two"])]}
    figures = {name: 1e3 * statistics.median(values) for name, values in times.items()}
    figures.update({name: statistics.median(values) for name, values in ratios.items()})
    return figures


def main():
    arguments = [one for one in sys.argv[1:] if one != "--json"]
    count = int(arguments[0]) if arguments else 10_000
    rows = voxels(count)
    if count >= BRAIN:
        options, _ = PATHS["noise of differences"]
        cpu, wall, maps = timed(lambda: vorin.invert_map(T, rows, grid=GRID, **options))
        print(f"{count} voxels, noise of differences: {cpu:.1f} s of processor time, {wall:.1f} s "
              f"elapsed; {maps.counts}")
        return
    results = {name: measured(options, rows[:max(100, int(part * count))])
               for name, (options, part) in PATHS.items()}
    if "--json" in sys.argv:
        print(json.dumps(results))
        return
    print(f"{'56 samples, 60 times, S/N 100':<25}{'ms of processor time a voxel':>30}"
          f"{'350000, s':>11}{'package':>10}{'2 threads':>11}{'elapsed':>9}")
    print(f"{'':<25}{'toolkit':>10}{'package':>10}{'2 threads':>10}{'':>11}{'added':>10}"
          f"{'over 1':>11}{'1 over 2':>9}")
    for name, row in results.items():
        print(f"{name:<25}{row['toolkit']:10.3f}{row['package']:10.3f}{row['two']:10.3f}"
              f"{1e-3 * BRAIN * row['package']:11.1f}{100 * (row['added'] - 1):9.1f}%"
              f"{row['two over one']:11.2f}{row['elapsed one'] / row['elapsed two']:9.2f}")


if __name__ == "__main__":
    main()
