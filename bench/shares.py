"""What an inversion's instructions go into, by stage, as callgrind counts them."""

import os
import re
import subprocess
import tempfile

# Stages by the functions that make them, costs inclusive of what these call; a stage after
# a minus is part of the one before it and taken away from it.
STAGES = [
    ("laying the bins", ["vorin::reduce::PrunePlan::PrunePlan("], []),
    ("pruning kernel and data", ["vorin::reduce::PrunePlan::apply(int,"], []),
    ("triangular factor for the SVD", ["vorin::reduce::factorToRank("], []),
    ("SVD (LAPACK)", ["vorin::gesvd("], []),
    ("conversion to double, transposition", ["vorin::brd::System<double>::converted<float>("],
     []),
    ("K'K", ["vorin::brd::SmallerSide<double>::SmallerSide("], []),
    ("m-by-m matrix", ["vorin::brd::System<double>::formFull("], []),
    ("LU factors (LAPACK)", ["vorin::getrf("], []),
    ("solves with them (LAPACK)", ["vorin::getrs("], []),
    ("gathering the active block", ["vorin::brd::SmallerSide<double>::factor("],
     ["vorin::getrf(int, double"]),
    ("products with K and K'", ["::combineRows<double>(", "::combineColumns<double>("], []),
    ("quadratic program: Cholesky factors", ["vorin::brd::BlockFactor::assign("], []),
    ("quadratic program: the rest", ["vorin::brd::nk0000("],
     ["vorin::brd::BlockFactor::assign("]),
]

ROADS = {"noise": "noise", "unpruned": "unpruned", "C5 pruned": "C5-pruned",
         "C5 whole": "C5-whole", "fixed": "fixed", "corner": "corner"}


def inclusive_costs(one_road, road, nf):
    with tempfile.TemporaryDirectory() as folder:
        counts = os.path.join(folder, "counts")
        subprocess.run(
            ["valgrind", "--tool=callgrind", "--toggle-collect=profiledInversion",
             f"--callgrind-out-file={counts}", one_road, ROADS[road], str(nf), "100", "100"],
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


def of_road(one_road, road, nf):
    """Millions of instructions, and the share of each stage."""
    costs = inclusive_costs(one_road, road, nf)

    def cost(names):
        return sum(value for value, function in costs if any(name in function for name in names)
                   and "'2" not in function)

    total = max(value for value, _ in costs)
    stages = {stage: max(0, cost(names) - cost(less)) / total for stage, names, less in STAGES}
    stages["everything else"] = max(0.0, 1.0 - sum(stages.values()))
    return {"road": road, "nf": nf, "millions": total / 1e6, "stages": stages}


def of_all_roads(one_road, samples):
    return [of_road(one_road, road, nf) for road in ROADS for nf in samples
            if road != "unpruned" or nf == 1000]
