"""The numbers of `vorin map`: each voxel is what `vorin invert` says of the same samples, to the last
bit."""
import json

import numpy as np
import pytest

from volumes import (GRID, TIMES, compare, contents, decays, inverted, maps_in, refusal, run,
                     times_text)


@pytest.mark.parametrize("options", [["--weight", "0.3"], ["--weight", "corner"],
                                     ["--noise", "4", "--method", "classic"],
                                     ["--prune", "none", "--weight", "noise"]])
def test_settings_are_those_of_invert(tmp_path, options):
    data = decays(3, 2)
    np.save(tmp_path / "a.npy", data)
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, *options, "--out", "a")
    compare(tmp_path, maps_in(tmp_path / "a"), data, [(0, 0), (2, 1)], *options)


def test_cutoffs_calibration_skip_mask_and_threshold(tmp_path):
    data = decays(6)
    data[5] *= 0.01
    np.save(tmp_path / "a.npy", data)
    np.save(tmp_path / "mask.npy", np.array([1, 1, 1, 0, 1, 1], dtype=bool))
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--mask", "mask.npy",
        "--threshold", "100", "--cutoff", "40ms", "--calibrate", "100pu=800", "--skip", "1",
        "--out", "a")
    maps = maps_in(tmp_path / "a")
    assert list(maps["status"][1:]) == [4, 3, 1, 0, 2]
    one = inverted(tmp_path, data[4], "--cutoff", "40ms", "--calibrate", "100pu=800", "--skip", "1")
    assert maps["total"][4] == one["total"]
    assert maps["noise"][4] == one["noise"]
    below = maps["share_below_0.04"][4]
    assert 0 < below < 1 and below + maps["share_above_0.04"][4] == pytest.approx(1, abs=1e-12)
    assert below == one["cutoffs"][0]["share"]


def test_complex_data_are_turned_by_one_phase_a_voxel(tmp_path):
    data = decays(4)
    data[1:3] = data[0:1]
    rng = np.random.default_rng(5)
    turned = (data + 1j * rng.normal(0, 4, data.shape)) * np.exp(1j * np.arange(4))[:, None]
    np.save(tmp_path / "a.npy", turned)
    for options in ([], ["--noise", "quadrature"]):
        run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, *options, "--out",
            "a")
        rows = "".join(f"{t!r},{z.real!r},{z.imag!r}\n"
                       for t, z in zip(TIMES.tolist(), turned[3].tolist()))
        (tmp_path / "z.csv").write_text(rows)
        done = run(tmp_path, "invert", "z.csv", "--columns", "1,2,3", "--grid", GRID, "--json", "-",
                   *options)
        wanted = json.loads(done.stdout)
        maps = maps_in(tmp_path / "a")
        assert maps["total"][3] == wanted["total"]
        assert maps["noise"][3] == wanted["noise"]


def test_trains_of_echoes_with_an_angle_for_all_a_map_and_an_estimate(tmp_path):
    data = np.abs(decays(4))
    data[1:3] = data[0:1]
    np.save(tmp_path / "a.npy", data)
    np.save(tmp_path / "angle.npy", np.array([150.0, 120.0, 0.0, np.nan]))
    words = ["map", "a.npy", "--times", times_text(), "--grid", GRID, "--kernel", "t2-epg", "--t1",
             "2s", "--weight", "0.5"]
    own = ["--kernel", "t2-epg", "--t1", "2s", "--weight", "0.5"]
    run(tmp_path, *words, "--flip", "150", "--out", "one")
    one = maps_in(tmp_path / "one")
    assert set(one["flip"]) == {150.0}
    compare(tmp_path, one, data, [(0,), (3,)], *own, "--flip", "150")
    run(tmp_path, *words, "--flip-map", "angle.npy", "--out", "map")
    each = maps_in(tmp_path / "map")
    assert list(each["flip"][:2]) == [150.0, 120.0]
    assert each["total"][0] == one["total"][0]
    compare(tmp_path, each, data, [(1,)], *own, "--flip", "120")
    compare(tmp_path, each, data, [(2,), (3,)], *own, "--flip", "estimate")
    out = ["--out", "a"]
    assert "--flip 150: give one" in refusal(tmp_path, *words, "--flip", "150", "--flip-map",
                                            "angle.npy", *out)
    assert "t2-epg" in refusal(tmp_path, "map", "a.npy", "--times", times_text(), "--flip-map",
                               "angle.npy", *out)


def test_magnitudes_without_their_floor(tmp_path):
    data = np.abs(decays(3))
    np.save(tmp_path / "a.npy", data)
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--rician", "--noise",
        "4", "--out", "a")
    maps = maps_in(tmp_path / "a")
    assert maps["status"][0] == 0
    compare(tmp_path, maps, data, [(0,)], "--rician", "--noise", "4")


def test_shared_weight_is_that_of_the_mean_decay(tmp_path):
    data = decays(8)
    np.save(tmp_path / "a.npy", data)
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--weight", "shared",
        "--noise", "4", "--out", "a")
    maps = maps_in(tmp_path / "a")
    good = maps["status"] == 0
    total = np.zeros(len(TIMES))
    for row in data[good]:
        total = total + row
    wanted = inverted(tmp_path, total / good.sum(), "--noise", "4")
    assert set(maps["weight"][good]) == {wanted["weight"]}
    compare(tmp_path, maps, data, [(0,), (7,)], "--noise", "4", "--weight", repr(wanted["weight"]))
    # A run that was interrupted in its first write has left no weight behind.
    (tmp_path / "b.unfinished").write_bytes(b"")
    run(tmp_path, "map", "a.npy", "--times", times_text(), "--grid", GRID, "--weight", "shared",
        "--noise", "4", "--out", "b", "--resume")
    assert contents(tmp_path / "b") == contents(tmp_path / "a")


def test_answer_does_not_depend_on_jobs(tmp_path):
    np.save(tmp_path / "a.npy", decays(60))
    words = ["map", "a.npy", "--times", times_text(), "--grid", GRID]
    run(tmp_path, *words, "--jobs", "1", "--out", "one")
    run(tmp_path, *words, "--jobs", "3", "--out", "three")
    assert contents(tmp_path / "one") == contents(tmp_path / "three")


def test_no_voxel_at_all_is_no_success(tmp_path):
    np.save(tmp_path / "a.npy", np.zeros((3, 12)))
    done = run(tmp_path, "map", "a.npy", "--times", times_text(), "--out", "a", status=1)
    assert done.stdout.startswith("0 of 3 voxels inverted, 3 all zero\n")
    assert np.isnan(maps_in(tmp_path / "a")["total"]).all()


def test_refocusing_angles_estimated_and_from_a_map(tmp_path):
    rows = []
    for seed, flip in enumerate((120, 150, 120)):
        run(tmp_path, "simulate", "--kernel", "t2-epg", "--flip", flip, "--spacing", "10ms",
            "--samples", 32, "--noise", "0.3", "--seed", seed, "--peak", "20ms:0.08:20",
            "--peak", "80ms:0.08:80", "--out", "s.csv")
        rows.append(np.genfromtxt(tmp_path / "s.csv", delimiter=",", comments="#")[-32:, 1])
    np.save(tmp_path / "a.npy", np.array(rows))
    np.save(tmp_path / "angles.npy", np.array([0.0, 0.0, 123.4]))
    options = ["--kernel", "t2-epg", "--noise", "0.3", "--method", "classic", "--grid", "8ms:1s:40"]
    run(tmp_path, "map", "a.npy", "--spacing", "10ms", *options, "--flip-map", "angles.npy",
        "--out", "a")
    maps = maps_in(tmp_path / "a")
    assert abs(maps["flip"][0] - 120) < 6 and abs(maps["flip"][1] - 150) < 6
    assert maps["flip"][2] == 123
    for k, flip in enumerate(("estimate", "estimate", 123)):
        text = "".join(f"{0.01 * (n + 1)!r},{float(a)!r}\n" for n, a in enumerate(rows[k]))
        (tmp_path / "one.csv").write_text(text)
        single = json.loads(run(tmp_path, "invert", "one.csv", *options, "--flip", flip,
                                "--json", "-").stdout)
        assert maps["flip"][k] == single["flip"] and maps["total"][k] == single["total"]
    np.save(tmp_path / "wrong.npy", np.zeros(4))
    told = refusal(tmp_path, "map", "a.npy", "--spacing", "10ms", *options, "--flip-map",
                   "wrong.npy", "--out", "b")
    assert "--flip-map wrong.npy: the map of angles has 4 voxels, but a.npy has 3" in told
    told = refusal(tmp_path, "map", "a.npy", "--spacing", "10ms", "--flip-map", "angles.npy",
                   "--out", "b")
    assert "they are those of --kernel t2-epg" in told
