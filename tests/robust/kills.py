"""A batch and a map that are killed at random moments and go on with --resume end with the bytes
of one run: kills.py PROGRAM KILLS [SEED]. KILLS is for each of them."""
import os
import random
import struct
import subprocess
import sys
import tempfile
import time

PROGRAM = os.path.abspath(sys.argv[1])
SEED = int(sys.argv[3]) if len(sys.argv) > 3 else 1
DECAYS = 24


def run(words, folder):
    subprocess.run([PROGRAM, *words], cwd=folder, check=True, stdout=subprocess.DEVNULL)


def make_decays(folder, count):
    names = []
    for number in range(count):
        name = f"d{number:02}.csv"
        run(["simulate", "--samples", "300", "--seed", str(number + 1), "--out", name], folder)
        names.append(name)
    return names


def make_volume(folder):
    """An array of 16 x 20 voxels with 12 samples, in the format of numpy."""
    rng = random.Random(SEED)
    shape = (16, 20, 12)
    values = []
    for _ in range(shape[0] * shape[1]):
        rate = rng.uniform(3, 60)
        values += [100 * 2.718281828 ** (-rate * 0.01 * k) + rng.gauss(0, 1)
                   for k in range(1, shape[2] + 1)]
    head = str({"descr": "<f8", "fortran_order": False, "shape": shape}).ljust(117) + "\n"
    with open(folder + "/v.npy", "wb") as file:
        file.write(b"\x93NUMPY\x01\x00" + struct.pack("<H", len(head)) + head.encode())
        file.write(struct.pack(f"<{len(values)}d", *values))


def content_of(folder):
    """The files of a folder; parts of files that a kill has cut off stay beside them."""
    found = {}
    for name in sorted(os.listdir(folder)):
        if not name.endswith(".part"):
            with open(os.path.join(folder, name), "rb") as file:
                found[name] = file.read()
    return found


def test(what, words_into, folder, kills):
    started = time.monotonic()
    run(words_into(what + "_whole"), folder)
    whole_run = time.monotonic() - started
    expected = content_of(f"{folder}/{what}_whole")
    rng = random.Random(SEED)
    killed, rounds = 0, 0
    while killed < kills:
        out = f"{what}_round{rounds}"
        rounds += 1
        while True:
            child = subprocess.Popen([PROGRAM, *words_into(out), "--resume"], cwd=folder,
                                     stdout=subprocess.DEVNULL)
            try:
                # The whole run and a little more, so that starts and ends are met, too.
                child.wait(rng.uniform(0.0, 1.2 * whole_run) if killed < kills else None)
            except subprocess.TimeoutExpired:
                child.kill()
            status = child.wait()
            if status == 0:
                break
            assert status == -9, (what, status)
            killed += 1
        found = content_of(os.path.join(folder, out))
        assert found.keys() == expected.keys(), (what, sorted(found.keys() ^ expected.keys()))
        for name, content in expected.items():
            assert found[name] == content, (what, out, name)
    print(f"{what}: killed {killed} times in {rounds} runs, the same bytes of "
          f"{len(expected)} files each time")


def jobs(folder, decays):
    """A batch and a map: what each is called, and its words for an output folder."""
    names = make_decays(folder, decays)
    make_volume(folder)
    times = ",".join(str(0.01 * k) for k in range(1, 13))
    return (("batch", lambda out: [
                "invert", *names, "--table", out + "/t.csv", "--json", out + "/a.json", "--out",
                out + "/{}_f.csv", "--weight", "1", "--bootstrap", "30", "--jobs", "2"]),
            ("map", lambda out: [
                "map", "v.npy", "--times", times, "--grid", "5ms:1s:24", "--noise", "1", "--out",
                out]))


def main():
    with tempfile.TemporaryDirectory() as folder:
        for what, words_into in jobs(folder, DECAYS):
            test(what, words_into, folder, int(sys.argv[2]))


if __name__ == "__main__":
    main()
