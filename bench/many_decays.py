"""Many decays through the Python package: threads, which must give equal bits, and processes.

    PYTHONPATH=hosts/python python3 bench/many_decays.py [DECAYS]

The decays are like those of many_decays.cpp: 56 samples on 60 grid times, 10000 unless given.
"""

import multiprocessing
import resource
import sys
import time

import numpy as np

import vorin

NOISE = 0.01
T = 2e-3 * np.arange(1, 57)
OPTIONS = {"grid": (1e-3, 1.0, 60), "noise": NOISE}


def decays(count):
    slow = 0.02 + 0.03 * np.arange(count)[:, None] / count
    clean = 0.4 * np.exp(-T / 0.005) + 0.6 * np.exp(-T / slow)
    return clean + np.random.default_rng(7).normal(0.0, NOISE, clean.shape)


def share(rows):
    return [result.distribution for result in vorin.invert_many(T, rows, workers=1, **OPTIONS)]


def processor_time():
    return sum(usage.ru_utime + usage.ru_stime
               for usage in map(resource.getrusage,
                                (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)))


def timed(count, what, rows, run):
    start, before = time.perf_counter(), processor_time()
    found = run()
    wall, each = time.perf_counter() - start, 1e3 * (processor_time() - before) / len(rows)
    print(f"{count} {what:<10} {wall:7.2f} s  {len(rows) / wall:7.0f} decays a second  "
          f"{each:6.3f} ms of processor time each", end="  ", flush=True)
    return np.array(found)


def main():
    rows = decays(int(sys.argv[1]) if len(sys.argv) > 1 else 10000)
    alone = timed(1, "thread", rows, lambda: share(rows))
    print()
    same = True

    def compare(found):
        nonlocal same
        equal = np.array_equal(found, alone)
        same = same and equal
        print("the same bits" if equal else "OTHER BITS")

    for workers in (2, 8):
        compare(timed(workers, "threads", rows, lambda: [
            result.distribution
            for result in vorin.invert_many(T, rows, workers=workers, **OPTIONS)]))
    for processes in (2, 8):
        def run():
            with multiprocessing.Pool(processes) as pool:
                return [row for part in pool.map(share, np.array_split(rows, processes))
                        for row in part]
        compare(timed(processes, "processes", rows, run))
    return 0 if same else 1


if __name__ == "__main__":
    sys.exit(main())
