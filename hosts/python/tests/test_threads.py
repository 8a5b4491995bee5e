"""Inversions side by side give the same bits as one after another."""

import functools
import multiprocessing
import threading
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

import vorin


@pytest.fixture(scope="module")
def decays():
    return [vorin.simulate(np.arange(1, 301) * 1e-3, noise=0.2 + 0.1 * k, seed=k)
            for k in range(12)]


def same(one, other):
    return (np.array_equal(one.distribution, other.distribution)
            and np.array_equal(one.fit, other.fit) and one.weight == other.weight)


def test_invert_many_gives_the_bits_of_single_calls(decays):
    t = decays[0].t
    rows = np.array([decay.y for decay in decays])
    serial = [vorin.invert(t, row, noise="scan") for row in rows]
    for workers in (1, 3, None):
        for one, other in zip(serial, vorin.invert_many(t, rows, workers=workers, noise="scan")):
            assert same(one, other)


def test_threads_with_different_settings_do_not_disturb_each_other(decays):
    options = [{"settings": {"BRDA": 1 + k % 3}, "weight": 0.1 * (k + 1),
                "prune": ("log", "linear", "none")[k % 3], "compress": k % 2 == 0}
               for k in range(len(decays))]
    serial = [vorin.invert(d.t, d.y, **o) for d, o in zip(decays, options)]
    with ThreadPoolExecutor(4) as pool:
        for _ in range(3):
            futures = [pool.submit(vorin.invert, d.t, d.y, **o) for d, o in zip(decays, options)]
            assert all(same(one, future.result()) for one, future in zip(serial, futures))


@pytest.mark.parametrize("workers", [1, 2, 8])
def test_a_thousand_decays_give_the_bits_of_one_after_the_other(workers):
    t = 2e-3 * np.arange(1, 33)
    rows = np.exp(-t / 0.02) + 0.01 * np.random.default_rng(5).standard_normal((1000, 32))
    grid = (1e-3, 0.3, 24)
    alone = _reference(t, rows, grid)
    many = vorin.invert_many(t, rows, workers=workers, grid=grid, noise=0.01)
    assert np.array_equal(alone, [result.distribution for result in many])


@functools.lru_cache(maxsize=1)
def _one_after_the_other(t, rows, grid):
    decays = np.frombuffer(rows).reshape(-1, 32)
    return np.array([vorin.invert(np.frombuffer(t), row, grid=grid, noise=0.01).distribution
                     for row in decays])


def _reference(t, rows, grid):
    return _one_after_the_other(t.tobytes(), rows.tobytes(), grid)


def test_logs_of_threads_do_not_mix(decays, tmp_path):
    with ThreadPoolExecutor(4) as pool:
        list(pool.map(lambda k: vorin.invert(decays[k].t, decays[k].y, weight=float(k + 1),
                                             log=tmp_path / f"{k}.log"), range(8)))
    assert sorted(path.name for path in tmp_path.iterdir()) == [f"{k}.log" for k in range(8)]
    for k in range(8):
        text = (tmp_path / f"{k}.log").read_text()
        assert text.count("Start inversion") == 1 and "Successful inversion" in text
        weight = text.split("WEIG: target W=")[1].split()[0]
        assert float(weight) == k + 1.0


@pytest.mark.parametrize("start", ["fork", "spawn"])
def test_processes_give_the_same_bits(decays, start):
    expected = [vorin.invert(d.t, d.y) for d in decays[:4]]
    with multiprocessing.get_context(start).Pool(2) as pool:
        answers = pool.starmap(_distribution, [(d.t, d.y) for d in decays[:4]])
    assert all(np.array_equal(w.distribution, a) for w, a in zip(expected, answers))


def test_a_process_forked_while_threads_invert_gives_the_same_bits(decays):
    expected = [vorin.invert(d.t, d.y).distribution for d in decays[:4]]
    done = threading.Event()

    def busy():
        while not done.is_set():
            vorin.invert(decays[5].t, decays[5].y)

    threads = [threading.Thread(target=busy) for _ in range(3)]
    for thread in threads:
        thread.start()
    try:
        with multiprocessing.get_context("fork").Pool(2) as pool:
            answers = pool.starmap_async(_distribution, [(d.t, d.y) for d in decays[:4]]).get(60)
    finally:
        done.set()
        for thread in threads:
            thread.join()
    assert all(np.array_equal(a, b) for a, b in zip(expected, answers))


def test_thirty_two_threads_give_the_bits_of_one(decays):
    jobs = [(k, w) for k in range(len(decays)) for w in (0.1, 1.0, 10.0)]
    alone = [vorin.invert(decays[k].t, decays[k].y, weight=w) for k, w in jobs]
    with ThreadPoolExecutor(32) as pool:
        found = list(pool.map(lambda job: vorin.invert(decays[job[0]].t, decays[job[0]].y,
                                                       weight=job[1]), jobs))
    assert found == alone


def test_a_result_goes_on_in_another_process(decays):
    result = vorin.invert(decays[0].t, decays[0].y)
    with multiprocessing.get_context("fork").Pool(1) as pool:
        assert pool.apply(vorin.bootstrap, (result, 20)) == result.bootstrap(20)
        assert pool.apply(vorin.lcurve, (result,)) == result.lcurve()


def _distribution(t, y):
    return vorin.invert(t, y).distribution


def test_an_error_in_one_of_many_is_raised(decays):
    rows = [decays[0].y, np.full(300, np.nan)]
    with pytest.raises(ValueError, match=r"y\[0\] is not a finite number"):
        vorin.invert_many(decays[0].t, rows, workers=2)
