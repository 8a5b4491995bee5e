"""The same by scipy, as one would write it. For each weight w it takes the
non-negative least squares of [K; sqrt(w) I] against [d; 0] from scipy.optimize.nnls, and for
a requested standard error brentq on the logarithm of w. It stops as soon as the library would,
and is given the reduced data of the library's path, or all samples.
"""

import math

import numpy as np
import scipy.linalg
import scipy.optimize


class Found(Exception):
    pass


class Stacked:
    """min |K f - d|^2 + w |f|^2 over f >= 0, by scipy's nnls."""

    def __init__(self, K, d):
        m, n = K.shape
        self.m, self.n = m, n
        self.K, self.d = K, d
        self.stack = np.zeros((m + n, n), order="F")
        self.stack[:m] = K
        self.right = np.concatenate([d, np.zeros(n)])
        self.diagonal = np.arange(n)

    def solve(self, w):
        self.stack[self.m + self.diagonal, self.diagonal] = math.sqrt(w)
        f, _ = scipy.optimize.nnls(self.stack, self.right)
        residual = self.K @ f - self.d
        return f, residual @ residual

    def wfac(self):
        """The mean squared column norm: the natural size of a weight."""
        return (self.K * self.K).sum() / self.n

    def bracket(self, wanted):
        """Multiples of wfac between which the weight for `wanted` lies, or None."""
        target = self.m * wanted * wanted
        ends = (1e-6, 1.0, 10.0, 100.0)
        if self.solve(ends[0] * self.wfac())[1] >= target:
            return None
        for end in ends[1:]:
            if self.solve(end * self.wfac())[1] > target:
                return ends[0], end
        return None

    def search(self, wanted, bracket, tolerance=1e-3):
        """The f whose standard error is `wanted`, to the library's own tolerance."""
        target = self.m * wanted * wanted
        wfac = self.wfac()
        best = {}

        def missing(log_w):
            f, rss = self.solve(math.exp(log_w))
            if abs(rss - target) < tolerance * rss:
                best["f"] = f
                raise Found
            return rss - target

        try:
            scipy.optimize.brentq(missing, math.log(bracket[0] * wfac),
                                  math.log(bracket[1] * wfac), xtol=1e-10)
        except Found:
            pass
        return best["f"]

    def weight_grid(self):
        """The weights of the corner search and the distribution of the last: one for the
        noise, a grid of seventeen, and the middle of the grid in place of the corner."""
        F = (self.K * self.K).sum()
        weights = [F * 50.0 / (self.m * 1e4) * 1e-3]
        f, rss = self.solve(weights[0])
        snr = (self.K @ f)[0] / math.sqrt(rss / self.m)
        base = F * 50.0 / (self.m * snr * snr)
        weights += [10.0**exponent * base for exponent in np.arange(17) * 0.25 - 2.0]
        weights.append(base)
        for weight in weights[1:]:
            f, _ = self.solve(weight)
        return weights, f


def compressed(K, d, rows, threshold):
    U, s, VT = scipy.linalg.svd(K, full_matrices=False, overwrite_a=True, check_finite=False)
    keep = max(1, int((s[:rows] > threshold * s[0]).sum()))
    return (s[:keep, None] * VT[:keep]).astype(float), (U[:, :keep].T @ d).astype(float)


def compressed_in_double(K, d, rows, threshold):
    return compressed(K.astype(float), d.astype(float), rows, threshold)


# TOL as `vorin invert` has it: the load value can end a solve at a large weight before it
# has converged, so that scipy would solve another problem.
NOISE = {"PRMO": "LOG", "TARG": "NOISE", "SVDN": 0.0, "WEIG": 0.01, "TOL": 1e-12}
PATHS = {
    "noise": ("Vorin_s", NOISE),
    "unpruned": ("Vorin_s", NOISE | {"PRMO": "NONE"}),
    "C5 pruned": ("VorinC5_s", NOISE | {"SVDN": 20.0, "SVDT": 1e-6}),
    "C5 whole": ("VorinC5_s", NOISE | {"PRMO": "NONE", "SVDN": 20.0, "SVDT": 1e-6}),
    "fixed": ("Vorin_s", NOISE | {"TARG": "WEIG", "WEIG": 0.1}),
    "corner": ("Vorin_s", NOISE | {"TARG": "2"}),
}


def reduce(path, K, Y, pruning, compress=compressed):
    """The problem that the path hands to its solver, in double precision."""
    if path in ("unpruned", "C5 whole"):
        K, d = K, Y
    else:
        K, d = pruning @ K, pruning @ Y
    if path.startswith("C5"):
        return compress(K.astype(np.float32), d.astype(np.float32), 20, 1e-6)
    return np.asarray(K, float), np.asarray(d, float)


def bracket_of(path, K, Y, pruning, wanted):
    """Where a search is to look: given to scipy at no cost."""
    if path in ("fixed", "corner"):
        return None
    return Stacked(*reduce(path, K, Y, pruning)).bracket(wanted)


def solve(path, K, Y, pruning, wanted, bracket):
    problem = Stacked(*reduce(path, K, Y, pruning))
    if path == "fixed":
        return problem.solve(0.1)[0]
    if path == "corner":
        return problem.weight_grid()[1]
    return problem.search(wanted, bracket)


def verify(path, library, K, Y, F, pruning):
    """The library's result against scipy at the same weight and in the standard
    error. Returns the relative distance of the distributions."""
    problem = Stacked(*reduce(path, K, Y, pruning, compressed_in_double))
    f, rss = problem.solve(library.number("CWEI"))
    distance = np.linalg.norm(F - f) / np.linalg.norm(f)
    error = math.sqrt(rss / problem.m)
    assert distance < 0.01, f"{path}: distributions {distance:.1e} apart"
    # The last of the rows that are kept depend on the rounding of the pruned kernel, which is
    # formed here in double precision.
    tolerance = 0.03 if path == "C5 pruned" else 1e-3
    assert abs(library.number("CSE") - error) < tolerance * error, f"{path}: standard error"
    if path not in ("fixed", "corner"):
        wanted = library.number("DSE")
        assert abs(library.number("CSE") - wanted) < 1e-3 * wanted, f"{path}: target missed"
    return distance
