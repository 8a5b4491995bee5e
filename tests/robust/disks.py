"""Disks that are full, and folders that vanish or may not be written to, while a batch or a map is
written: disks.py PROGRAM.
Each run ends with one sentence and without success, leaves no half-written file under its name,
and goes on with --resume to the bytes of an untroubled run."""
import ctypes
import os
import resource
import shutil
import signal
import subprocess
import sys
import tempfile

import kills

PROGRAM = kills.PROGRAM
LIBC = ctypes.CDLL(None)
PR_CAPBSET_DROP, CAP_DAC_OVERRIDE = 24, 1


def limited(words, folder, most):
    """Runs the program, whose files may have `most` bytes each; a write beyond that fails."""
    def limit():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        hard = resource.getrlimit(resource.RLIMIT_FSIZE)[1]
        resource.setrlimit(resource.RLIMIT_FSIZE, (most, hard))
    return subprocess.run([PROGRAM, *words], cwd=folder, preexec_fn=limit, text=True,
                          capture_output=True, timeout=300, check=False)


def require_sentence(done, what):
    assert done.returncode in (1, 2), (what, done.returncode, done.stderr)
    lines = done.stderr.strip().split("\n")
    assert len(lines) == 1 and lines[0].startswith("vorin: "), (what, done.stderr)


def full_disk(what, words_into, folder):
    whole = f"{what}_whole"
    kills.run(words_into(whole), folder)
    expected = kills.content_of(os.path.join(folder, whole))
    largest = max(map(len, expected.values()))
    refused = 0
    for number, most in enumerate((0, 1, 100, 500, largest // 4, largest // 2, largest - 1)):
        out = f"{what}_full{number}"
        done = limited([*words_into(out), "--resume"], folder, most)
        require_sentence(done, (what, most))
        refused += 1
        place = os.path.join(folder, out)
        if os.path.isdir(place):
            for name, content in kills.content_of(place).items():
                # What grows line by line while a batch runs may end early, behind a whole line.
                grows = what == "batch" and name in ("t.csv", "a.json")
                assert name.endswith(".unfinished") or grows or content == expected[name], \
                    (what, most, name)
        kills.run([*words_into(out), "--resume"], folder)
        assert kills.content_of(place) == expected, (what, most)
    print(f"{what}: refused {refused} times for a full disk, the same bytes afterwards")


def vanished_folder(what, words_into, folder):
    """The output folder is removed, and a file is in its place."""
    out = f"{what}_gone"
    with open(os.path.join(folder, out), "wb"):
        pass
    done = subprocess.run([PROGRAM, *words_into(out)], cwd=folder, text=True, capture_output=True,
                          timeout=300, check=False)
    require_sentence(done, (what, "file in place of the folder"))
    os.remove(os.path.join(folder, out))
    child = subprocess.Popen([PROGRAM, *words_into(out)], cwd=folder, stderr=subprocess.PIPE,
                             stdout=subprocess.DEVNULL, text=True)
    while child.poll() is None:
        shutil.rmtree(os.path.join(folder, out), ignore_errors=True)
    err = child.communicate()[1]
    # It may have been quicker, or have made the folder again.
    assert child.returncode in (0, 1, 2) and err.count("\n") <= 1, (what, child.returncode, err)
    print(f"{what}: a folder that vanishes: exit status {child.returncode}, {err.strip()!r}")


def obeying_permissions(words, folder):
    """Runs the program as one that permissions hold for: root's right to pass over them is dropped,
    and of other users the call is refused, who do not have it."""
    return subprocess.run([PROGRAM, *words], cwd=folder, text=True, capture_output=True, timeout=300,
                          preexec_fn=lambda: LIBC.prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0),
                          check=False)


def read_only_folder(what, words_into, folder):
    """The folder of the output, or the one around it, may be read and not written to."""
    whole = kills.content_of(os.path.join(folder, f"{what}_whole"))
    around = os.path.join(folder, f"{what}_locked")
    os.mkdir(around, 0o555)
    words = [*words_into(f"{what}_locked/out"), "--resume"]
    done = obeying_permissions(words, folder)
    require_sentence(done, (what, "read-only around the output"))
    assert os.listdir(around) == [], (what, os.listdir(around))
    os.chmod(around, 0o755)
    out = os.path.join(around, "out")
    os.mkdir(out, 0o555)
    done = obeying_permissions(words, folder)
    require_sentence(done, (what, "read-only output"))
    assert os.listdir(out) == [], (what, os.listdir(out))
    # And one that was begun, which the disk was too full to finish.
    os.chmod(out, 0o755)
    require_sentence(limited(words, folder, max(map(len, whole.values())) // 2), (what, "full"))
    begun = kills.content_of(out)
    os.chmod(out, 0o555)
    require_sentence(obeying_permissions(words, folder), (what, "read-only when begun"))
    assert kills.content_of(out).keys() == begun.keys(), what
    os.chmod(out, 0o755)
    kills.run(words, folder)
    assert kills.content_of(out) == whole, what
    print(f"{what}: refused three times by a folder that is read-only, the same bytes afterwards")


def main():
    with tempfile.TemporaryDirectory() as folder:
        for what, words_into in kills.jobs(folder, 6):
            full_disk(what, words_into, folder)
            read_only_folder(what, words_into, folder)
            vanished_folder(what, words_into, folder)


if __name__ == "__main__":
    main()
