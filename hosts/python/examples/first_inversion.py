#!/usr/bin/env python3
"""A decay with known truth, from samples to a figure with its uncertainty.

    examples/first_inversion.py [PICTURE]
"""

import sys

import numpy as np

import vorin


def main(picture: str = "first_inversion.png") -> None:
    decay = vorin.simulate(5e-4 * np.arange(1, 1001), [(0.008, 0.15, 30.0), (0.09, 0.15, 70.0)],
                           noise=1.0, seed=5)
    result = vorin.invert(decay.t, decay.y)
    band = result.bootstrap(200)
    print(f"{result.status_text}: noise {result.noise:.3f} ({result.noise_origin}), "
          f"weight {result.weight:.3f}")
    print(f"log mean {1e3 * result.log_mean:.1f} ms, 68 % from {1e3 * band.log_mean_lower:.1f} to "
          f"{1e3 * band.log_mean_upper:.1f} ms; the truth is {1e3 * decay.log_mean:.1f} ms")
    for peak in result.peaks():
        print(f"peak at {1e3 * peak.position:.2f} ms with {100 * peak.share:.1f} %")
    result.plot(picture, truth=decay, band=band, title="A computed decay, two peaks")
    print(f"see {picture}")


if __name__ == "__main__":
    main(*sys.argv[1:])
