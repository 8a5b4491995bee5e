"""Results of one inversion are equal, and a relaxed target is told in words."""

import copy
import pickle

import numpy as np
import pytest

import vorin


def test_results_are_equal_where_all_their_numbers_are(decay):
    result = vorin.invert(decay.t, decay.y)
    again = vorin.invert(decay.t, decay.y)
    assert result == again and hash(result) == hash(again) and not result != again
    for other in (pickle.loads(pickle.dumps(result)), copy.copy(result), copy.deepcopy(result)):
        assert other == result and hash(other) == hash(result)
    assert len({result, again}) == 1
    assert result != vorin.invert(decay.t, 2.0 * decay.y)
    assert result != vorin.invert(decay.t, decay.y, weight=result.weight)
    assert result != vorin.invert(decay.t[1:], decay.y[1:])
    assert result != "result" and result != None  # noqa: E711


def test_numbers_that_are_not_known_do_not_part_results(decay):
    fixed = [vorin.invert(decay.t, decay.y, weight=1.0, method="classic") for _ in range(2)]
    assert np.isnan(fixed[0].relaxed_target) and fixed[0] == fixed[1]
    assert hash(fixed[0]) == hash(fixed[1])


def test_bootstraps_are_equal_by_seed(decay):
    result = vorin.invert(decay.t, decay.y)
    band = result.bootstrap(30, seed=5)
    assert band == result.bootstrap(30, seed=5, workers=2) != result.bootstrap(30, seed=6)
    assert hash(band) == hash(pickle.loads(pickle.dumps(band)))
    assert len(repr(band)) < 100 and "30 replicates" in repr(band)


def test_a_relaxed_target_is_told_in_words(decay):
    spoiled = decay.y.copy()
    spoiled[0] *= 0.8
    relaxed = vorin.invert(decay.t, spoiled, method="classic", noise=0.3)
    plain = vorin.invert(decay.t, decay.y, method="classic", noise=0.3)
    assert relaxed.success and plain.success and relaxed.status_text == plain.status_text
    assert plain.outcome == "success" and "relaxed" not in repr(plain)
    assert "with a relaxed target: no fit of the binned samples comes closer" in relaxed.outcome
    assert f"{relaxed.relaxed_target:.4g}" in relaxed.outcome and relaxed.outcome in repr(relaxed)
    assert "relaxed target" in relaxed._repr_html_()
    failed = vorin.invert(decay.t, -decay.y, weight=1.0)
    assert failed.outcome == failed.status_text


def test_maps_are_equal_too():
    t1, t2 = np.geomspace(1e-3, 3.0, 12), 1e-3 * np.arange(1, 61)
    made = vorin.simulate2d(t1, t2, [(0.3, 0.1, 0.1, 10.0)], noise=0.02)
    results = [vorin.invert2d(t1, t2, made.D, grid1=(1e-2, 3, 12), grid2=(1e-2, 3, 12), weight=1.0)
               for _ in range(2)]
    assert results[0] == results[1] == pickle.loads(pickle.dumps(results[0]))
    assert hash(results[0]) == hash(results[1])


@pytest.mark.parametrize("name", ["plot", "plot_decay", "plot_residual", "plot_distribution"])
def test_every_picture_is_drawn_on_given_axes_and_returns_them(decay, name):
    pyplot = pytest.importorskip("matplotlib.pyplot")
    result = vorin.invert(decay.t, decay.y)
    _, axes = pyplot.subplots()
    assert getattr(result, name)(ax=axes) is axes and axes.lines and axes.get_xlabel()
    with pytest.raises(vorin.InputTypeError, match="ax is of type str; axes of matplotlib"):
        getattr(result, name)(ax="axes")
    pyplot.close("all")


def test_a_map_is_drawn_on_given_axes():
    pyplot = pytest.importorskip("matplotlib.pyplot")
    t1, t2 = np.geomspace(1e-3, 3.0, 12), 1e-3 * np.arange(1, 61)
    made = vorin.simulate2d(t1, t2, [(0.3, 0.1, 0.1, 10.0)], noise=0.02)
    result = vorin.invert2d(t1, t2, made.D, grid1=(1e-2, 3, 12), grid2=(1e-2, 3, 12), weight=1.0)
    _, axes = pyplot.subplots()
    assert result.plot(ax=axes, title="a map") is axes
    assert axes.get_title() == "a map" and len(axes.figure.axes) == 1
    pyplot.close("all")


def test_computed_data_are_equal_by_seed():
    for make in (lambda seed: vorin.simulate(seed=seed),
                 lambda seed: vorin.simulate2d([0.1, 1.0], [0.1, 0.2], [(0.3, 0.1, 0.1, 1.0)],
                                               seed=seed)):
        assert make(1) == make(1) == pickle.loads(pickle.dumps(make(1)))
        assert make(1) != make(2) and not make(1) != make(1) and make(1) != tuple(make(1))


def test_decays_of_one_file_are_equal(tmp_path):
    for name, last in (("a.csv", 1), ("b.csv", 1), ("c.csv", 2)):
        (tmp_path / name).write_text(f"0.1,5\n0.2,3\n0.3,{last}\n")
    assert vorin.read("a.csv") == vorin.read("b.csv") != vorin.read("c.csv")
