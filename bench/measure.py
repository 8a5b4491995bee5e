#!/usr/bin/python3
"""Compares the library with its reference implementation and with scipy, in one process on
the same decays, results first; then how the cost grows, and its shares by stage. Times are CPU
times of the one thread, medians of several runs that take turns.

    measure.py [--quick] LIBRARY REFERENCE BENCH ONE_INVERSION PLANNED_DECAYS OUTPUT_FOLDER
               [DOCS_FOLDER]
    measure.py --one LIBRARY BENCH NF NG     (one size; used by the former)

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
from scipy_solution import NOISE, PATHS, Stacked, bracket_of, reduce, solve, verify

SEEDS = range(1, 10)

# Results that are equal, and those that may differ by how a double was rounded.
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


def usable_decay(path, library, bench, nf, ng, snr):
    """The first decay whose noise the search can reach: that of some 200 rows strays by
    five per cent, and a target below what any fit leaves is reported as a failure."""
    entry, settings = PATHS[path]
    library.set(settings | {"SIG": 1.0 / snr})
    for seed in SEEDS:
        K, Y = make_decay(bench, nf, ng, snr, seed)
        F = library.inverter(entry, K, Y)()
        if library.number("CSTA") == (999 if path == "corner" else 0):
            return K, Y, F
    raise SystemExit(f"no usable decay for {path} {nf} {ng} {snr}")


def reference_inverter(path, library, reference, K, Y, F, snr):
    """The reference implementation, after its results have been found the same. Its
    compression decomposes another matrix, whose rounding moves all that follows; `verify`
    says how far."""
    entry, settings = PATHS[path]
    reference.set(settings | {"SIG": 1.0 / snr})
    run = reference.inverter("referenceVorin_s" if entry == "Vorin_s" else entry, K, Y)
    moved = np.linalg.norm(run() - F) / np.linalg.norm(F)
    if path.startswith("C5"):
        assert reference.number("CSTA") == library.number("CSTA"), f"{path}: reference's status"
        assert moved < 1e-3, f"{path}: reference {moved:.1e} away"
    else:
        for key in SAME:
            assert reference.number(key) == library.number(key), f"{path}: reference's {key}"
        for key in NEARLY_SAME:
            gap = abs(reference.number(key) - library.number(key))
            assert gap <= 1e-6 * abs(library.number(key)), f"{path}: reference's {key}"
        assert moved < 1e-6, f"{path}: reference {moved:.1e} away"
    return run


def separate_solves(path, library, K, Y, pruning, snr):
    """The solves of the corner search as calls of their own."""
    weights, _ = Stacked(*reduce(path, K, Y, pruning)).weight_grid()
    single = PATHS["fixed"][1] | {"SIG": 1.0 / snr, "BRDA": 3.0}
    run = library.inverter("Vorin_s", K, Y)

    def all_of_them():
        library.set(single)
        for weight in weights:
            library.number("WEIG", weight)
            run()
        library.set(PATHS[path][1] | {"SIG": 1.0 / snr, "BRDA": 2.0})

    return all_of_them


def compare(path, library, reference, bench, nf, ng, snr, seconds, with_reference):
    entry, settings = PATHS[path]
    K, Y, F = usable_decay(path, library, bench, nf, ng, snr)
    F = F.copy()
    pruning = library.prune_map(nf, 200)
    row = {"path": path, "nf": nf, "ng": ng, "snr": snr, "solves": library.number("CWIT")}
    row["distance"] = verify(path, library, K, Y, F, pruning)
    wanted = library.number("DSE")
    runs = {"fast": library.inverter(entry, K, Y)}
    if with_reference:
        runs["reference"] = reference_inverter(path, library, reference, K, Y, F, snr)
    bracket = bracket_of(path, K, Y, pruning, wanted)
    runs["scipy"] = lambda: solve(path, K, Y, pruning, wanted, bracket)
    if path == "noise" and ng == 100 and snr == 100.0:
        # Of all samples the noise may be above the one wanted for the bins.
        whole = bracket_of("unpruned", K, Y, pruning, wanted)
        if whole is not None:
            runs["raw"] = lambda: solve("unpruned", K, Y, pruning, wanted, whole)
    if path == "corner":
        runs["separate"] = separate_solves(path, library, K, Y, pruning, snr)
    return row | turns(runs, seconds)


def one_size(library, bench, nf, ng):
    """Cost of one size on the default path: CPU seconds, and memory on top of the host's
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
    """The rows of the comparison: path, nf, ng, SNR, seconds, and whether the reference
    implementation runs, which takes a second and more where nothing is pruned."""
    if quick:
        for path in PATHS:
            yield path, 1000, 50, 100.0, 0.1, True
            yield path, 1000, 100, 100.0, 0.1, path != "unpruned"
        return
    for snr in (20.0, 100.0, 1000.0):
        for ng in (50, 100, 200):
            for nf in (256, 1000, 3000, 10000):
                yield "noise", nf, ng, snr, 0.5, True
    for snr in (20.0, 100.0, 1000.0):
        for ng in (50, 100, 200):
            yield "unpruned", 1000, ng, snr, 1.0, snr == 100.0
    for path in ("C5 pruned", "C5 whole", "fixed", "corner"):
        for nf in (256, 1000, 3000, 10000):
            yield path, nf, 100, 100.0, 0.5, True
        for snr in (20.0, 1000.0):
            yield path, 1000, 100, snr, 0.5, True
        for ng in (50, 200):
            yield path, 1000, ng, 100.0, 0.5, True


# The least ratios required, on 100 grid times at an SNR of 100.
REQUIRED = [(path, "scipy", times) for path, times in
          (("noise", 7.0), ("unpruned", 8.0), ("C5 pruned", 4.0), ("C5 whole", 4.0),
           ("corner", 3.0))] + [("noise", "reference", 30.0)]


def unmet(rows):
    return [f"{path} nf {row['nf']}: {row[other] / row['fast']:.1f} times {other}'s speed, "
            f"{times:.0f} required"
            for path, other, times in REQUIRED for row in rows
            if row["path"] == path and row["ng"] == 100 and row["snr"] == 100.0
            and row["nf"] >= 1000 and other in row and row[other] < times * row["fast"]]


def many_decays(planned_decays, count):
    """Milliseconds of a decay of many, and a bootstrap of 200 in units of its inversion."""
    done = subprocess.run([planned_decays, str(count), "json"], check=True,
                          stdout=subprocess.PIPE, text=True)
    return json.loads(done.stdout)


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
    *paths, one_inversion, planned_decays, folder = arguments[1:7] if quick else arguments[:6]
    docs = arguments[7:] if quick else arguments[6:]
    library, reference, bench = map(Library, paths)
    print("\n".join(report.comparison_heading()))
    rows = []
    for row in plan(quick):
        rows.append(compare(*row[:1], library, reference, bench, *row[1:]))
        print(report.comparison_line(rows[-1]), flush=True)
    samples = (256, 1000, 10000, 100000) if quick else (
        256, 1000, 3000, 10000, 30000, 100000, 300000, 1000000)
    grids = (20, 100, 200) if quick else (20, 50, 100, 200, 350, 500)
    results = {
        "machine": report.machine(bench), "rows": rows,
        "many": many_decays(planned_decays, 1000 if quick else 10000),
        "by_nf": measure_growth(paths[::2], [(nf, 100) for nf in samples]),
        "by_ng": measure_growth(paths[::2], [(1000, ng) for ng in grids]),
        "shares": shares.of_all_paths(one_inversion, planned_decays, (1000,) if quick else (1000, 10000)),
        "missed": unmet(rows)}
    with open(os.path.join(folder, "results.json"), "w") as out:
        json.dump(results, out, indent=1)
    report.write(results, folder)
    for docs_folder in docs:
        for name in ("performance.md", "performance.png"):
            shutil.copy(os.path.join(folder, name), docs_folder)
    print("\n".join(report.shares_table(results["shares"])))
    print("\n".join(report.goals_table(results)))
    print("below what is required: " + "; ".join(results["missed"]) if results["missed"]
          else "all ratios as required")


if __name__ == "__main__":
    main()
