"""The L-curve: its norms by a second method, and where the corner lies."""

import json
import pickle

import numpy as np
import pytest
from solvers import regularised

import vorin


@pytest.fixture(scope="module")
def small():
    return vorin.simulate(1e-3 * np.arange(1, 61), [(0.02, 0.1, 10.0)], noise=0.05, seed=4)


def test_the_norms_are_those_of_the_regularised_fit(small):
    options = {"prune": "none", "grid": (1e-3, 0.3, 20), "method": "classic"}
    curve = vorin.lcurve(small.t, small.y, weight=0.5, **options)
    kernel = vorin.kernel_matrix("t2", small.t, vorin.log_grid(1e-3, 0.3, 20))
    for k in (6, 11, 16):
        f = regularised(kernel, small.y, curve.weights[k])
        assert curve.residual_norms[k] == pytest.approx(
            np.linalg.norm(kernel @ f - small.y), rel=1e-4)
        assert curve.solution_norms[k] == pytest.approx(np.linalg.norm(f), rel=1e-4)
    f = regularised(kernel, small.y, 0.5)
    assert curve.used_weight == pytest.approx(0.5)
    assert curve.used_residual_norm == pytest.approx(np.linalg.norm(kernel @ f - small.y), rel=1e-4)
    assert curve.used_solution_norm == pytest.approx(np.linalg.norm(f), rel=1e-4)


def test_the_weights_rise_by_a_quarter_of_a_decade_and_the_norms_part(decay):
    curve = vorin.lcurve(decay.t, decay.y)
    assert curve.weights.size == 17
    assert np.diff(np.log10(curve.weights)) == pytest.approx(np.full(16, 0.25))
    assert np.all(np.diff(curve.residual_norms) > 0.0)
    assert np.all(np.diff(curve.solution_norms) < 0.0)


def test_the_corner_is_that_of_the_corner_search(decay):
    result = vorin.invert(decay.t, decay.y, weight="corner")
    curve = result.lcurve()
    assert curve.corner_weight == curve.weights[curve.corner]
    assert curve.corner_weight == pytest.approx(result.corner_weight, rel=1e-6)
    assert curve.used_weight == pytest.approx(result.weight, rel=1e-6)


def test_a_result_and_its_samples_have_one_curve(decay):
    result = vorin.invert(decay.t, decay.y, weight=0.3)
    curve = vorin.lcurve(decay.t, decay.y, weight=0.3)
    assert curve == result.lcurve() == vorin.lcurve(result) == vorin.lcurve(decay, weight=0.3)
    assert hash(curve) == hash(result.lcurve())
    assert curve == pickle.loads(pickle.dumps(curve))
    assert curve == pickle.loads(pickle.dumps(result)).lcurve()
    assert curve != vorin.lcurve(decay.t, decay.y, weight=0.4) and curve != 3
    with pytest.raises(vorin.InputTypeError, match="takes no further arguments"):
        vorin.lcurve(result, weight=1.0)


def test_it_is_short_in_words_and_whole_as_a_table(decay):
    curve = vorin.lcurve(decay.t, decay.y)
    assert repr(curve).startswith("<vorin.LCurve 17 weights from ") and len(repr(curve)) < 100
    table = curve.to_dataframe()
    assert np.array_equal(table.index, curve.weights) and table.index.name == "weight"
    assert np.array_equal(table["solution_norm"], curve.solution_norms)
    plain = json.loads(json.dumps(curve.to_dict()))
    assert plain["corner"] == curve.corner and plain["weights"] == curve.weights.tolist()


def test_its_picture_shows_the_curve_the_corner_and_the_weight_used(decay, tmp_path):
    pyplot = pytest.importorskip("matplotlib.pyplot")
    curve = vorin.lcurve(decay.t, decay.y)
    figure, given = pyplot.subplots()
    assert curve.plot(ax=given) is given
    line, corner, used = given.lines
    assert np.array_equal(line.get_xdata(), curve.residual_norms)
    assert np.array_equal(line.get_ydata(), curve.solution_norms)
    assert corner.get_xdata()[0] == curve.residual_norms[curve.corner]
    assert used.get_xdata()[0] == curve.used_residual_norm
    assert given.get_xscale() == given.get_yscale() == "log"
    curve.plot(tmp_path / "l.png")
    assert (tmp_path / "l.png").stat().st_size > 5000
    pyplot.close("all")


def test_where_there_is_no_curve_a_sentence_says_why():
    t = 1e-3 * np.arange(1, 41)
    with pytest.raises(vorin.InputValueError, match="there is no L-curve"):
        vorin.lcurve(t, -np.exp(-t / 0.01), weight=1.0)
