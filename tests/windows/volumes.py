#!/usr/bin/env python3
"""Volumes of 60 decays of 32 samples for `vorin map`, in the present folder: an array, an image, a
packed image and a table."""
import os

import nibabel
import numpy as np

rng = np.random.default_rng(7)
times = 0.01 * np.arange(1, 33)
share = rng.uniform(0.1, 0.6, (5, 4, 3, 1))
decays = 800 * (share * np.exp(-times / 0.02) + (1 - share) * np.exp(-times / 0.2))
decays += rng.normal(0, 4, decays.shape)
decays[0, 0, 0] = 0
np.save("array.npy", decays)
for name in ("image.nii", "image.nii.gz"):
    nibabel.Nifti1Image(decays, np.diag([2.0, 2.0, 3.0, 1.0])).to_filename(name)
np.savetxt("log.csv", decays.reshape(-1, len(times)), delimiter=",", fmt="%.17g")
for folder in ("here", "there"):
    os.mkdir(folder)
