"""Second methods to hold the library against, in plain numpy."""

import numpy as np


def nnls(a, b):
    """The x >= 0 that minimises |a x - b|, by an active set (Lawson and Hanson, chapter 23)."""
    n = a.shape[1]
    x, free = np.zeros(n), np.zeros(n, bool)
    gain = a.T @ (b - a @ x)
    tolerance = 1e-12 * np.max(np.abs(a.T @ b))
    for _ in range(50 * n):
        if free.all() or np.max(gain[~free]) <= tolerance:
            return x
        candidates = np.where(free, -np.inf, gain)
        free[int(np.argmax(candidates))] = True
        while True:
            trial = np.zeros(n)
            trial[free] = np.linalg.lstsq(a[:, free], b, rcond=None)[0]
            if np.min(trial[free]) > 0.0:
                break
            falling = free & (trial <= 0.0)
            step = np.min(x[falling] / (x[falling] - trial[falling]))
            x = x + step * (trial - x)
            free &= x > 1e-14 * np.max(x)
            x[~free] = 0.0
        x = trial
        gain = a.T @ (b - a @ x)
    raise AssertionError("no end")


def regularised(kernel, y, weight):
    """The F >= 0 that minimises 1/2 |K F - y|^2 + w/2 |F|^2, as a larger non-negative fit."""
    n = kernel.shape[1]
    return nnls(np.vstack((kernel, np.sqrt(weight) * np.eye(n))), np.concatenate((y, np.zeros(n))))
