"""vorin map on volumes larger than the memory it may use: map_volumes.py PROGRAM MEGABYTES."""
import json
import os
import random
import resource
import subprocess
import sys
import tempfile
import time

import h5py
import nibabel
import numpy as np

PROGRAM = os.path.abspath(sys.argv[1])
MEGABYTES = int(sys.argv[2])
SAMPLES = 56
TIMES = np.arange(1, SAMPLES + 1) * 0.01
LIMIT = 300_000_000  # bytes of memory
GRID = "5ms:2s:40"
WORDS = ["--grid", GRID, "--weight", "0.3", "--threshold", "1"]


def rows(rng, count):
    """Most voxels are outside the sample, as air in an image is, so that the reading counts."""
    share = rng.uniform(0.1, 0.6, (count, 1))
    clean = 800 * (share * np.exp(-TIMES / 0.02) + (1 - share) * np.exp(-TIMES / 0.2))
    data = clean + rng.normal(0, 4, clean.shape)
    data[rng.uniform(size=count) > 0.02] = 0
    return data.astype(np.float32)


def make(folder):
    rng = np.random.default_rng(1)
    slices = max(2, MEGABYTES * 1_000_000 // (4 * SAMPLES * 128 * 128))
    shape = (slices, 128, 128, SAMPLES)
    array = np.lib.format.open_memmap(folder + "/a.npy", "w+", np.float32, shape)
    image = np.memmap(folder + "/image.tmp", np.float32, "w+", shape=(SAMPLES, *shape[:3]))
    with h5py.File(folder + "/a.h5", "w") as file:
        data = file.create_dataset("data", shape, np.float32, chunks=(1, 64, 64, SAMPLES),
                                   compression="gzip", compression_opts=1)
        file["t"] = TIMES
        for k in range(slices):
            block = rows(rng, 128 * 128).reshape(shape[1:])
            array[k] = block
            data[k] = block
            image[:, k] = block.transpose(2, 0, 1)
    # The axes of an image from the fastest to the slowest: x, y, z, t.
    header = nibabel.Nifti1Image(np.zeros((128, 128, 1, 1), np.float32), np.eye(4)).header
    header.set_data_shape((128, 128, slices, SAMPLES))
    header["vox_offset"] = 352
    with open(folder + "/a.nii", "wb") as file:
        file.write(header.binaryblock + bytes(4))
        image.tofile(file)
    os.remove(folder + "/image.tmp")
    with open(folder + "/a.json", "w", encoding="ascii") as file:
        json.dump({"EchoTime": list(TIMES)}, file)
    return shape


def limited(words, folder):
    """Runs the program; its largest memory in bytes, the children that it runs apart."""
    start = time.time()
    child = subprocess.Popen(
        [PROGRAM, *words], cwd=folder, stdout=subprocess.DEVNULL,
        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_DATA, (LIMIT, LIMIT)))
    _, status, usage = os.wait4(child.pid, 0)
    assert os.waitstatus_to_exitcode(status) == 0, words
    most = usage.ru_maxrss * 1024
    print(f"{words[1]}: {time.time() - start:.1f} s, {usage.ru_utime + usage.ru_stime:.1f} s of "
          f"processor time, {most / 1e6:.0f} MB")
    assert most < LIMIT
    return most


def main():
    with tempfile.TemporaryDirectory() as folder:
        shape = make(folder)
        size = os.path.getsize(folder + "/a.npy")
        print(f"{shape} in {size / 1e6:.0f} MB")
        times = ",".join(repr(float(t)) for t in TIMES)
        limited(["map", "a.npy", "--times", times, *WORDS, "--out", "npy"], folder)
        limited(["map", "a.h5:/data", *WORDS, "--out", "maps.h5"], folder)
        limited(["map", "a.nii", *WORDS, "--out", "nii"], folder)
        array = np.load(folder + "/a.npy", mmap_mode="r")
        maps = {name: np.load(f"{folder}/npy/{name}.npy", mmap_mode="r")
                for name in ("status", "total", "log_mean", "standard_error")}
        with h5py.File(folder + "/maps.h5") as file:
            for name, values in maps.items():
                np.testing.assert_array_equal(file[name][...], values)
                image = np.asanyarray(nibabel.load(f"{folder}/nii/{name}.nii").dataobj)
                np.testing.assert_array_equal(image.transpose(2, 1, 0), values)
        good = np.argwhere(maps["status"] == 0)
        random.seed(1)
        chosen = random.sample(range(len(good)), min(2000, len(good)))
        for number, k in enumerate(chosen):
            voxel = tuple(good[k])
            text = "".join(f"{t!r},{a!r}\n" for t, a in
                           zip(TIMES.tolist(), array[voxel].astype(float).tolist()))
            done = subprocess.run([PROGRAM, "invert", "-", "--json", "-", *WORDS[:4]], input=text,
                                  capture_output=True, text=True, check=True)
            told = json.loads(done.stdout)
            for name in ("total", "log_mean", "standard_error"):
                assert maps[name][voxel] == told[name], (voxel, name)
        print(f"{number + 1} voxels are what vorin invert says of them, to the last bit")
        killed = 0
        words = ["map", "a.npy", "--times", times, *WORDS, "--out", "again", "--resume"]
        while True:
            child = subprocess.Popen([PROGRAM, *words], cwd=folder, stdout=subprocess.DEVNULL)
            try:
                child.wait(random.uniform(0.02, 2.0) * (1 + killed / 20))
            except subprocess.TimeoutExpired:
                child.kill()
            if child.wait() == 0:
                break
            killed += 1
        for name in os.listdir(folder + "/npy"):
            with open(f"{folder}/npy/{name}", "rb") as one, open(f"{folder}/again/{name}",
                                                                 "rb") as other:
                assert one.read() == other.read(), name
        print(f"killed {killed} times, the same bytes")


main()
