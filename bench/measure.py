#!/usr/bin/python3
"""Compares the library with its own plain road and with scipy, in one process on the same
decays, results first; then how the cost grows, and what it goes into. Times are CPU times of
the one thread, medians of several runs that take turns.

    measure.py [--quick] LIBRARY BENCH_LIBRARY ONE_ROAD OUTPUT_FOLDER [DOCS_FOLDER]
    measure.py --one LIBRARY BENCH_LIBRARY NF NG     (one size; used by the former)

Leaves results.json, performance.md and performance.png in OUTPUT_FOLDER, and the latter two
in DOCS_FOLDER when that is given.
"""

import json
import os
import shutil
import statistics
import subprocess
import sys
import time

import numpy as np

import report
import shares
from library import Library, make_decay
from reference import NOISE, ROADS, Stacked, bracket_of, reduce, reference, verify

SEEDS = range(1, 10)

# What two roads to the same result agree in, and what may differ as a double was rounded.
SAME = ("CSTA", "CITE", "CWIT", "CSIG", "DSE")
NEARLY_SAME = ("CWEI", "CSE")


def cpu_time(run):
    begin = time.thread_time_ns()
    run()
    return (time.thread_time_ns() - begin) * 1e-9


def turns(runs, seconds, fewest=3, most=25):
    """Median CPU time of each run, of turns that share `seconds`. A short run follows one of
    its own that is not timed: what ran before it has filled the caches with other things."""
    times = {name: [] for name in runs}
    end = time.thread_time() + seconds
    while len(next(iter(times.values()))) < fewest or (
            time.thread_time() < end and len(next(iter(times.values()))) < most):
        for name, run in runs.items():
            first = cpu_time(run)
            times[name].append(cpu_time(run) if first < 0.02 else first)
    return {name: statistics.median(values) for name, values in times.items()}


def resident(field):
    """MB of the resident set: VmRSS now, VmHWM at its peak."""
    with open("/proc/self/status") as text:
        for line in text:
            if line.startswith(field):
                return int(line.split()[1]) * 1024 / 1e6
    return 0.0


def usable_decay(road, library, bench, nf, ng, snr):
    """The first decay whose noise the search can reach: that of some 200 rows strays by
    five per cent, and a target below what any fit leaves is reported as a failure."""
    entry, settings = ROADS[road]
    library.set(settings | {"SIG": 1.0 / snr})
    for seed in SEEDS:
        K, Y = make_decay(bench, nf, ng, snr, seed)
        F = library.inverter(entry, K, Y)()
        if library.number("CSTA") == (999 if road == "corner" else 0):
            return K, Y, F
    raise SystemExit(f"no usable decay for {road} {nf} {ng} {snr}")


def plain_inverter(road, library, bench, K, Y, F, snr):
    """The plain road, after its results have been found the same. A compression decomposes
    another matrix, whose rounding moves all that follows; of that the road's own
    verification says how far."""
    entry, settings = ROADS[road]
    bench.lib.benchPlainRoad(1)
    bench.set(settings | {"SIG": 1.0 / snr})
    run = bench.inverter("benchPlainInversion" if entry == "Vorin_s" else entry, K, Y)
    plain = run()
    moved = np.linalg.norm(plain - F) / np.linalg.norm(F)
    if road.startswith("C5"):
        assert bench.number("CSTA") == library.number("CSTA"), f"{road}: plain road's status"
        assert moved < 1e-3, f"{road}: plain road {moved:.1e} away"
    else:
        for key in SAME:
            assert bench.number(key) == library.number(key), f"{road}: plain road's {key}"
        for key in NEARLY_SAME:
            gap = abs(bench.number(key) - library.number(key))
            assert gap <= 1e-6 * abs(library.number(key)), f"{road}: plain road's {key}"
        assert moved < 1e-6, f"{road}: plain road {moved:.1e} away"
    return run


def separate_solves(road, library, K, Y, pruning, snr):
    """The solves of the corner search as calls of their own."""
    weights, _ = Stacked(*reduce(road, K, Y, pruning)).ladder()
    single = ROADS["fixed"][1] | {"SIG": 1.0 / snr, "BRDA": 3.0}
    run = library.inverter("Vorin_s", K, Y)

    def all_of_them():
        library.set(single)
        for weight in weights:
            library.number("WEIG", weight)
            run()
        library.set(ROADS[road][1] | {"SIG": 1.0 / snr, "BRDA": 2.0})

    return all_of_them


def compare(road, library, bench, nf, ng, snr, seconds, with_plain):
    entry, settings = ROADS[road]
    K, Y, F = usable_decay(road, library, bench, nf, ng, snr)
    F = F.copy()
    pruning = library.prune_map(nf, 200)
    row = {"road": road, "nf": nf, "ng": ng, "snr": snr, "solves": library.number("CWIT")}
    row["distance"] = verify(road, library, K, Y, F, pruning)
    wanted = library.number("DSE")
    runs = {"fast": library.inverter(entry, K, Y)}
    if with_plain:
        runs["plain"] = plain_inverter(road, library, bench, K, Y, F, snr)
    bracket = bracket_of(road, K, Y, pruning, wanted)
    runs["scipy"] = lambda: reference(road, K, Y, pruning, wanted, bracket)
    if road == "noise" and ng == 100 and snr == 100.0:
        # Of all samples the noise may be above what is wanted of the bins.
        whole = bracket_of("unpruned", K, Y, pruning, wanted)
        if whole is not None:
            runs["raw"] = lambda: reference("unpruned", K, Y, pruning, wanted, whole)
    if road == "corner":
        runs["separate"] = separate_solves(road, library, K, Y, pruning, snr)
    return row | turns(runs, seconds)


def one_size(library, bench, nf, ng):
    """Cost of one size on the default road: CPU seconds, and memory on top of the host's
    own arrays."""
    K, Y = make_decay(bench, nf, ng, 100.0, 1)
    library.set(NOISE | {"SIG": 0.011})
    run = library.inverter("Vorin_s", K, Y)
    with open("/proc/self/clear_refs", "w") as reset:
        reset.write("5")  # the peak begins anew
    before = resident("VmRSS")
    first = cpu_time(run)  # with the pages that a first call takes
    peak = resident("VmHWM")
    repeats = [cpu_time(run) for _ in range(max(3, min(25, int(1.0 / first))))]
    return {"nf": nf, "ng": ng, "seconds": statistics.median(repeats),
            "host": (K.nbytes + Y.nbytes) / 1e6, "added": peak - before,
            "status": library.number("CSTA")}


def plan(quick):
    """The rows of the comparison: road, nf, ng, SNR, seconds, and whether the plain road
    is run, which takes a second and more where nothing is pruned."""
    if quick:
        for road in ROADS:
            yield road, 1000, 50, 100.0, 0.1, True
            yield road, 1000, 100, 100.0, 0.1, road != "unpruned"
        return
    for snr in (20.0, 100.0, 1000.0):
        for ng in (50, 100, 200):
            for nf in (256, 1000, 3000, 10000):
                yield "noise", nf, ng, snr, 0.5, True
    for snr in (20.0, 100.0, 1000.0):
        for ng in (50, 100, 200):
            yield "unpruned", 1000, ng, snr, 1.0, snr == 100.0
    for road in ("C5 pruned", "C5 whole", "fixed", "corner"):
        for nf in (256, 1000, 3000, 10000):
            yield road, nf, 100, 100.0, 0.5, True
        for snr in (20.0, 1000.0):
            yield road, 1000, 100, snr, 0.5, True
        for ng in (50, 200):
            yield road, 1000, ng, 100.0, 0.5, True


# What the library is held to, on 100 grid times at an SNR of 100.
WANTED = [(road, "scipy", times) for road, times in
          (("noise", 7.0), ("unpruned", 8.0), ("C5 pruned", 4.0), ("C5 whole", 4.0),
           ("corner", 3.0))] + [("noise", "plain", 30.0)]


def unmet(rows):
    return [f"{road} nf {row['nf']}: {row[other] / row['fast']:.1f} times {other}'s speed, "
            f"{times:.0f} wanted"
            for road, other, times in WANTED for row in rows
            if row["road"] == road and row["ng"] == 100 and row["snr"] == 100.0
            and row["nf"] >= 1000 and other in row and row[other] < times * row["fast"]]


def measure_growth(paths, sizes):
    rows = []
    for nf, ng in sizes:
        command = [sys.executable, os.path.abspath(__file__), "--one", *paths, str(nf), str(ng)]
        rows.append(json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE,
                                              text=True).stdout))
        print(report.growth_table(rows)[-1], flush=True)
    return rows


def main():
    arguments = sys.argv[1:]
    if arguments[0] == "--one":
        library, bench = Library(arguments[1]), Library(arguments[2])
        print(json.dumps(one_size(library, bench, int(arguments[3]), int(arguments[4]))))
        return
    quick = arguments[0] == "--quick"
    paths, one_road, folder, *docs = arguments[1:3] if quick else arguments[:2], *arguments[
        3 if quick else 2:]
    library, bench = Library(paths[0]), Library(paths[1])
    print("\n".join(report.comparison_heading()))
    rows = []
    for row in plan(quick):
        rows.append(compare(*row[:1], library, bench, *row[1:]))
        print(report.comparison_line(rows[-1]), flush=True)
    samples = (256, 1000, 10000, 100000) if quick else (
        256, 1000, 3000, 10000, 30000, 100000, 300000, 1000000)
    grids = (20, 100, 200) if quick else (20, 50, 100, 200, 350, 500)
    results = {
        "machine": report.machine(bench), "rows": rows,
        "by_nf": measure_growth(paths, [(nf, 100) for nf in samples]),
        "by_ng": measure_growth(paths, [(1000, ng) for ng in grids]),
        "shares": shares.of_all_roads(one_road, (1000,) if quick else (1000, 10000)),
        "missed": unmet(rows)}
    with open(os.path.join(folder, "results.json"), "w") as out:
        json.dump(results, out, indent=1)
    report.write(results, folder)
    for docs_folder in docs:
        for name in ("performance.md", "performance.png"):
            shutil.copy(os.path.join(folder, name), docs_folder)
    print("\n".join(report.shares_table(results["shares"])))
    print("below what is wanted: " + "; ".join(results["missed"]) if results["missed"]
          else "all ratios as wanted")


if __name__ == "__main__":
    main()
