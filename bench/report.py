"""Tables, picture and page of the results of measure.py."""

import math
import os
import platform
import subprocess

import numpy
import scipy

TEMPLATE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "performance.template.md")
LEVELS = ("baseline", "AVX2", "AVX-512")


def milliseconds(seconds):
    return f"{1e3 * seconds:.3g}" if seconds < 0.9995 else f"{1e3 * seconds:.0f}"


def shown(row, key):
    return milliseconds(row[key]) if key in row else ""


def ratio(row, key):
    times = row[key] / row["fast"] if key in row else 0.0
    return f"{times:.1f}" if 0.0 < times < 99.5 else f"{times:.0f}" if key in row else ""


def comparison_heading():
    return ["| path | nf | ng | SNR | library, ms | reference, ms | scipy, ms "
            "| reference / library | scipy / library | distance |",
            "| --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: |"]


def comparison_line(row):
    return (f"| {row['path']} | {row['nf']} | {row['ng']} | {row['snr']:.0f} "
            f"| {shown(row, 'fast')} | {shown(row, 'reference')} | {shown(row, 'scipy')} "
            f"| {ratio(row, 'reference')} | {ratio(row, 'scipy')} | {row['distance']:.0e} |")


def comparison_table(rows):
    return comparison_heading() + [comparison_line(row) for row in rows]


def raw_table(rows):
    lines = ["| nf | library, ms | scipy on all samples, ms | scipy / library |",
             "| ---: | ---: | ---: | ---: |"]
    return lines + [f"| {row['nf']} | {shown(row, 'fast')} | {shown(row, 'raw')} "
                    f"| {ratio(row, 'raw')} |" for row in rows if "raw" in row]


def grid_table(rows):
    lines = ["| nf | ng | SNR | corner search, ms | 19 calls, ms | 19 calls / search |",
             "| ---: | ---: | ---: | ---: | ---: | ---: |"]
    return lines + [f"| {row['nf']} | {row['ng']} | {row['snr']:.0f} | {shown(row, 'fast')} "
                    f"| {shown(row, 'separate')} | {ratio(row, 'separate')} |"
                    for row in rows if "separate" in row]


def growth_table(rows):
    lines = ["| nf | ng | CPU, ms | host's arrays, MB | added by the library, MB |",
             "| ---: | ---: | ---: | ---: | ---: |"]
    return lines + [f"| {row['nf']} | {row['ng']} | {milliseconds(row['seconds'])} "
                    f"| {row['host']:.1f} | {row['added']:.1f} |" for row in rows]


def shares_table(columns):
    stages = columns[0]["stages"]
    lines = ["| stage | " + " | ".join(f"{c['path']}, nf {c['nf']}" for c in columns) + " |",
             "| --- |" + " ---: |" * len(columns)]
    for stage in stages:
        cells = [c["stages"][stage] for c in columns]
        lines.append(f"| {stage} | " + " | ".join(
            f"{100 * cell:.0f} %" if cell >= 0.005 else "" for cell in cells) + " |")
    lines.append("| million instructions | "
                 + " | ".join(f"{c['millions']:.1f}" for c in columns) + " |")
    return lines


# What the default path and its neighbours are to reach against scipy: path, nf, ng, times.
GOALS = [("noise", 1000, 100, 25), ("noise", 1000, 200, 35), ("corner", 1000, 100, 25),
         ("C5 whole", 10000, 100, 10), ("fixed", 1000, 100, 10)]


def goals_table(results):
    lines = ["| | goal | this run |", "| --- | ---: | ---: |"]
    for path, nf, ng, times in GOALS:
        row = next((row for row in results["rows"] if (row["path"], row["nf"], row["ng"])
                    == (path, nf, ng) and row["snr"] == 100.0), {})
        reached = f"{ratio(row, 'scipy')}x" if row else "not run"
        lines.append(f"| {path}, nf {nf}, ng {ng}, SNR 100, against scipy | {times}x | {reached} |")
    many = results["many"]
    planned = next(c for c in results["shares"] if c["path"] == "planned")
    lines.append("| a decay of 56 samples on 60 grid times among many on a plan, one thread "
                 f"| 0.06 ms | {many['one thread']:.3f} ms, {planned['millions']:.2f} million "
                 "instructions |")
    lines.append("| a bootstrap of 200 of 3000 samples, in single inversions | 60 "
                 f"| {many['bootstrap, classic']:.1f} classic, "
                 f"{many['bootstrap, default']:.1f} default |")
    return lines


# Million instructions of the same inversions with LU factors in each pass, with Cholesky factors
# in each pass, and with the passes in few unknowns factored anew each time.
EARLIER = {("noise", 1000): (15.2, 6.0, 3.8), ("noise", 10000): (15.4, 7.2, 6.6),
           ("unpruned", 1000): (25.4, 13.8, 8.9), ("C5 pruned", 1000): (6.3, 5.3, 5.1),
           ("C5 whole", 1000): (10.0, 8.9, 7.7), ("C5 whole", 10000): (63.0, 61.9, 50.0),
           ("fixed", 1000): (4.4, 3.0, 2.5), ("corner", 1000): (36.4, 9.8, 9.6),
           ("planned", 56): (None, None, 0.80)}


def history_table(columns):
    lines = ["| path | nf | LU in each pass | Cholesky in each pass | few unknowns, factored "
             "| now | first / now |", "| --- | ---: | ---: | ---: | ---: | ---: | ---: |"]
    for column in columns:
        earlier = EARLIER.get((column["path"], column["nf"]))
        if earlier is None:
            continue
        digits = 2 if column["millions"] < 1.0 else 1
        first = next(value for value in earlier if value is not None)
        cells = ["" if value is None else f"{value:.{digits}f}"
                 for value in (*earlier, column["millions"])]
        lines.append(f"| {column['path']} | {column['nf']} | " + " | ".join(cells)
                     + f" | {first / column['millions']:.1f} |")
    return lines


def cpu_model():
    with open("/proc/cpuinfo") as text:
        for line in text:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return platform.machine()


def machine(bench):
    """What the figures were taken on, as a sentence."""
    compiler = subprocess.run(["c++", "--version"], stdout=subprocess.PIPE,
                              text=True).stdout.splitlines()[0]
    return (f"{cpu_model()}, {os.cpu_count()} cores of which one is used; "
            f"{LEVELS[bench.lib.benchLevel()]} kernels; {compiler}; "
            f"numpy {numpy.__version__}, scipy {scipy.__version__}")


def panel(axis, title, xlabel, ylabel, xticks, legend="upper left"):
    """Names, whole decades on the y axis, and ticks that say what was measured."""
    axis.set_title(title)
    axis.set_xlabel(xlabel)
    axis.set_ylabel(ylabel)
    low, high = axis.get_ylim()
    below = 1 if legend == "lower left" else 0  # a decade of room for it
    axis.set_ylim(10.0 ** (math.floor(math.log10(low)) - below),
                  10.0 ** math.ceil(math.log10(high)))
    axis.yaxis.set_major_formatter(lambda value, _: f"{value:g}")
    axis.set_xticks(xticks, [f"{tick:g}" if tick < 1e5 else f"$10^{math.log10(tick):.0f}$"
                             for tick in xticks])
    axis.set_xticks([], minor=True)
    axis.grid(True, which="both", alpha=0.3)
    axis.legend(loc=legend)


def linear(axis, rows, value):
    """A line in proportion to nf through the last point, over its last three decades."""
    ends = [max(rows[0]["nf"], rows[-1]["nf"] / 1000), rows[-1]["nf"]]
    slope = value(rows[-1]) / ends[1]
    axis.loglog(ends, [slope * end for end in ends], "k:", label="in proportion to nf")


def picture(results, path):
    import matplotlib
    matplotlib.use("Agg")
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(2, 2, figsize=(11, 8.4))
    default = [row for row in results["rows"] if row["path"] == "noise" and row["ng"] == 100
               and row["snr"] == 100.0]
    for key, label in (("raw", "scipy, all samples"), ("reference", "reference implementation"),
                       ("scipy", "scipy, pruned data"), ("fast", "library")):
        there = [row for row in default if key in row]
        axes[0][0].loglog([row["nf"] for row in there], [1e3 * row[key] for row in there], "o-",
                          label=label)
    panel(axes[0][0], "default path, ng 100, SNR 100", "samples nf", "CPU time, ms",
          sorted({row["nf"] for row in default}), "lower left")
    by_nf, by_ng = results["by_nf"], results["by_ng"]
    decades = [10.0**k for k in range(3, 7) if 10.0**k <= by_nf[-1]["nf"]]
    axes[0][1].loglog([row["nf"] for row in by_nf], [1e3 * row["seconds"] for row in by_nf],
                      "o-", color="C3", label="library")
    linear(axes[0][1], by_nf, lambda row: 1e3 * row["seconds"])
    panel(axes[0][1], "growth with the samples, ng 100", "samples nf", "CPU time, ms", decades)
    axes[1][0].loglog([row["nf"] for row in by_nf], [row["host"] for row in by_nf], "s-",
                      color="C7", label="the host's arrays")
    axes[1][0].loglog([row["nf"] for row in by_nf], [max(row["added"], 0.01) for row in by_nf],
                      "o-", color="C3", label="added by the library")
    panel(axes[1][0], "memory, ng 100", "samples nf", "MB", decades)
    axes[1][1].loglog([row["ng"] for row in by_ng], [1e3 * row["seconds"] for row in by_ng],
                      "o-", color="C3", label="library")
    panel(axes[1][1], "growth with the grid, nf 1000", "grid points ng", "CPU time, ms",
          [row["ng"] for row in by_ng])
    figure.tight_layout()
    figure.savefig(path, dpi=80)


def spread(rows, path, key):
    """The least and the largest ratio on 100 grid times at an SNR of 100 from 1000 samples."""
    times = [row[key] / row["fast"] for row in rows if row["path"] == path and row["ng"] == 100
             and row["snr"] == 100.0 and row["nf"] >= 1000 and key in row]
    if not times:
        return "not run"
    ends = f"{min(times):.0f}", f"{max(times):.0f}"
    return ends[0] if ends[0] == ends[1] else f"{ends[0]} to {ends[1]}"


def write(results, folder):
    """performance.md from its template, and performance.png."""
    rows = results["rows"]
    with open(TEMPLATE) as text:
        page = text.read()
    values = {
        "machine": results["machine"],
        "comparison": "\n".join(comparison_table(rows)),
        "raw": "\n".join(raw_table(rows)),
        "grid": "\n".join(grid_table(rows)),
        "by_nf": "\n".join(growth_table(results["by_nf"])),
        "by_ng": "\n".join(growth_table(results["by_ng"])),
        "shares": "\n".join(shares_table(results["shares"])),
        "history": "\n".join(history_table(results["shares"])),
        "goals": "\n".join(goals_table(results)),
        "single_ms": f"{results['many']['single']:.3f}",
        "planned_ms": f"{results['many']['one thread']:.3f}",
        "threads_ms": f"{results['many']['two threads']:.3f}",
        "bootstrap_classic": f"{results['many']['bootstrap, classic']:.1f}",
        "bootstrap_default": f"{results['many']['bootstrap, default']:.1f}",
        "summary": "\n".join(
            f"| {path} | {spread(rows, path, 'scipy')} | {spread(rows, path, 'reference')} |"
            for path in dict.fromkeys(row["path"] for row in rows)),
    }
    for name, value in values.items():
        page = page.replace("{{" + name + "}}", value)
    assert "{{" not in page, "a placeholder of the template was not filled"
    with open(os.path.join(folder, "performance.md"), "w") as out:
        out.write(page)
    picture(results, os.path.join(folder, "performance.png"))
