"""The instructions of an inversion by stage, as callgrind counts them."""

import os
import re
import subprocess
import tempfile

# Stages, the functions that make them (costs include what these call), and functions whose
# cost is subtracted.
STAGES = [
    ("placing the bins", ["vorin::reduce::PrunePlan::PrunePlan("], []),
    ("pruning kernel and data", ["vorin::reduce::PrunePlan::apply(int,"], []),
    ("triangular factor for the SVD", ["vorin::reduce::pivotedCholesky("], []),
    ("SVD (LAPACK)", ["vorin::gesvd("], []),
    ("conversion to double, transposition", ["vorin::brd::KernelForms<double>::converted<float>("],
     []),
    ("K'K", ["::gram<true, double>("],
     ["vorin::reduce::pivotedCholesky("]),
    ("factor of K'K of few rows", ["vorin::brd::rankFactorOf("], []),
    ("passes in few unknowns", ["vorin::brd::PassPrediction::run("], []),
    ("m-by-m matrix", ["vorin::brd::System<double>::formActiveColumns("], []),
    ("LU factors and solves (LAPACK)", ["vorin::getrf(", "vorin::getrs("], []),
    ("passes by their own system", [
        f"vorin::brd::System<double>::{step}("
        for step in ("factor", "solveData", "solveDual", "distributionOfData",
                     "distributionFromDual")],
     ["vorin::brd::System<double>::formActiveColumns(", "vorin::getrf(", "vorin::getrs("]),
    ("quadratic program: Cholesky factors", ["vorin::brd::BlockFactor::assign("], []),
    ("quadratic program: the rest", ["vorin::brd::QuadraticProgram::minimise("],
     ["vorin::brd::BlockFactor::assign("]),
]

PATHS = {"noise": "noise", "unpruned": "unpruned", "C5 pruned": "C5-pruned",
         "C5 whole": "C5-whole", "fixed": "fixed", "corner": "corner"}


def inclusive_costs(function, command):
    """Instructions of each function, what it calls included, while `function` runs."""
    with tempfile.TemporaryDirectory() as folder:
        counts = os.path.join(folder, "counts")
        subprocess.run(
            ["valgrind", "--tool=callgrind", f"--toggle-collect={function}",
             f"--callgrind-out-file={counts}", *command],
            check=True, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        text = subprocess.run(
            ["callgrind_annotate", "--inclusive=yes", "--threshold=100", "--auto=no", counts],
            check=True, stdout=subprocess.PIPE, text=True).stdout
    costs = []
    for line in text.splitlines():
        found = re.match(r"\s*([\d,]+) \(.*?%\)\s+\S*?:(.*)", line)
        if found:
            costs.append((int(found[1].replace(",", "")), found[2]))
    return costs


def shares_of(costs):
    """All instructions, and the share of each stage."""

    def cost(names):
        return sum(value for value, function in costs if any(name in function for name in names)
                   and "'2" not in function)

    total = max(value for value, _ in costs)
    stages = {stage: max(0, cost(names) - cost(less)) / total for stage, names, less in STAGES}
    stages["everything else"] = max(0.0, 1.0 - sum(stages.values()))
    return total, stages


def of_path(one_inversion, path, nf):
    total, stages = shares_of(inclusive_costs(
        "profiledInversion", [one_inversion, PATHS[path], str(nf), "100", "100"]))
    return {"path": path, "nf": nf, "millions": total / 1e6, "stages": stages}


def of_planned_decay(planned_decays, count=400):
    """The same for one decay of many on a plan, whose forms are not counted in full."""
    total, stages = shares_of(inclusive_costs(
        "profiledDecays", [planned_decays, str(count), "profile"]))
    return {"path": "planned", "nf": 56, "millions": total / 1e6 / count, "stages": stages}


def of_all_paths(one_inversion, planned_decays, samples):
    return [of_path(one_inversion, path, nf) for path in PATHS for nf in samples
            if path != "unpruned" or nf == 1000] + [of_planned_decay(planned_decays)]
