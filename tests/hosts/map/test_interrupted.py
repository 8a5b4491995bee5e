"""Maps in parts, killed and gone on with, and on a full disk."""
import os
import resource
import signal
import subprocess
import time

import numpy as np
import pytest

from volumes import GRID, PROGRAM, TIMES, contents, decays, hdf5, nifti, refusal, run, times_text


def parts(folder, words, out, count):
    for number in range(count, 0, -1):
        run(folder, *words, "--part", f"{number}/{count}", "--out", out)
    return [f"{out}.part-{number}-of-{count}" for number in range(1, count + 1)]


@pytest.mark.parametrize("kind", [pytest.param("npz", marks=pytest.mark.containers),
                                  pytest.param("h5", marks=pytest.mark.containers), "nii", "csv"])
def test_parts_that_are_joined_are_one_run(tmp_path, kind):
    data = decays(1500)
    data[0] = data[5]
    if kind == "npz":
        np.save(tmp_path / "a.npy", data)
        source, out = "a.npy", "maps.npz"
    elif kind == "h5":
        hdf5(tmp_path, "a.h5", data, chunks=(100, 12))
        source, out = "a.h5", "maps.h5"
    elif kind == "nii":
        nifti(tmp_path, "a.nii.gz", data.reshape(10, 15, 10, 12))
        source, out = "a.nii.gz", "maps.nii.gz"
    else:
        np.savetxt(tmp_path / "a.csv", np.vstack([TIMES, data]), delimiter=",")
        source, out = "a.csv", "maps.csv"
    words = ["map", source, "--times", times_text(), "--grid", GRID, "--weight", "1"]
    if kind == "csv":
        np.savetxt(tmp_path / "a.csv", data, delimiter=",")
    run(tmp_path, *words, "--out", out)
    whole = contents(tmp_path, "maps")
    for name in whole:
        os.remove(tmp_path / name)
    names = parts(tmp_path, words, out, 3)
    run(tmp_path, "map", "--join", *names, "--out", out)
    joined = {name: content for name, content in contents(tmp_path, "maps").items()
              if ".part-" not in name}
    assert joined == whole
    assert "missing" in refusal(tmp_path, "map", "--join", *names[:2], "--out", out)
    assert "same voxels" in refusal(tmp_path, "map", "--join", names[0], *names, "--out", out)
    run(tmp_path, *words, "--skip", "1", "--part", "2/3", "--out", "other" + out[4:])
    assert "other options" in refusal(tmp_path, "map", "--join", names[0],
                                      f"other{out[4:]}.part-2-of-3", names[2], "--out", out)


@pytest.mark.signals
@pytest.mark.parametrize("how", [signal.SIGKILL, signal.SIGINT])
def test_interrupted_map_goes_on_to_the_same_bytes(tmp_path, how):
    data = decays(6000)
    np.save(tmp_path / "a.npy", data)
    words = ["map", "a.npy", "--times", times_text(), "--grid", "5ms:2s:12", "--weight", "1",
             "--out", "maps.npz"]
    run(tmp_path, *words)
    whole = (tmp_path / "maps.npz").read_bytes()
    os.remove(tmp_path / "maps.npz")
    # Where the tests run in the background SIGINT is ignored, which programs inherit.
    child = subprocess.Popen([PROGRAM, *words], cwd=tmp_path, stderr=subprocess.PIPE,
                             preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
    journal = tmp_path / "maps.npz.unfinished"
    while child.poll() is None and not (journal.exists() and journal.stat().st_size > 100_000):
        time.sleep(0.001)
    child.send_signal(how)
    child.communicate()
    if child.returncode != 0:
        assert child.returncode == -how
        assert not (tmp_path / "maps.npz").exists()
        assert "other options" in refusal(tmp_path, *words, "--resume", "--skip", "1")
        # What is behind the last whole block does not count.
        with open(journal, "ab") as file:
            file.write(b"half a block")
        run(tmp_path, *words, "--resume")
    assert (tmp_path / "maps.npz").read_bytes() == whole
    assert sorted(os.listdir(tmp_path)) == ["a.npy", "maps.npz"]


@pytest.mark.signals
def test_a_disk_that_is_full_loses_nothing(tmp_path):
    """A limit of the file's size refuses writes as a full disk does."""
    data = decays(40, 50)
    np.save(tmp_path / "a.npy", data)
    options = ["--times", times_text(), "--grid", GRID, "--weight", "0.3", "--distribution"]
    run(tmp_path, "map", "a.npy", *options, "--out", "whole.npz")

    def limited():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        hard = resource.getrlimit(resource.RLIMIT_FSIZE)[1]
        resource.setrlimit(resource.RLIMIT_FSIZE, (200_000, hard))

    done = subprocess.run([PROGRAM, "map", "a.npy", *options, "--out", "b.npz"], cwd=tmp_path,
                          capture_output=True, text=True, preexec_fn=limited)
    assert done.returncode == 2 and done.stderr.count("\n") == 1
    assert "b.npz.unfinished: the file can't be written" in done.stderr
    assert not (tmp_path / "b.npz").exists()
    run(tmp_path, "map", "a.npy", *options, "--out", "b.npz", "--resume")
    assert (tmp_path / "b.npz").read_bytes() == (tmp_path / "whole.npz").read_bytes()


@pytest.mark.signals
def test_parts_of_a_dead_process_with_the_same_number(tmp_path):
    """A shell leaves longer files where the program that takes its place will write."""
    np.save(tmp_path / "a.npy", decays(4, 5))
    options = ["a.npy", "--times", times_text(), "--grid", GRID, "--weight", "0.3"]
    run(tmp_path, "map", *options, "--out", "whole")
    names = sorted(os.listdir(tmp_path / "whole"))
    (tmp_path / "maps").mkdir()
    leave = 'for n in "$@"; do head -c 99999 /dev/zero >maps/.$n.$$.part; done; '
    subprocess.run(["sh", "-c", leave + f'exec "{PROGRAM}" map {" ".join(options)} --out maps', "sh",
                    *names], cwd=tmp_path, check=True, stdout=subprocess.DEVNULL)
    assert contents(tmp_path / "maps") == contents(tmp_path / "whole")
