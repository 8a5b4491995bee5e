"""Inversions against the conditions of the minimum, a second method and closed forms."""

import json

import numpy as np
import pytest
from solvers import regularised

import vorin

KERNELS = {
    "t2": lambda t, T: np.exp(-t / T),
    "t1-saturation": lambda t, T: 1.0 - np.exp(-t / T),
    "t1-inversion": lambda t, T: 1.0 - 2.0 * np.exp(-t / T),
    "diffusion": lambda b, D: np.exp(-b * D),
}


def matrix(result, name="t2"):
    return KERNELS[name](result.t[:, None], result.grid[None, :])


@pytest.mark.parametrize("weight", [0.01, 1.0, 100.0])
def test_the_distribution_meets_the_conditions_of_the_minimum(decay, weight):
    result = vorin.invert(decay.t, decay.y, weight=weight, prune="none")
    kernel = matrix(result)
    gradient = kernel.T @ (kernel @ result.distribution - decay.y) + weight * result.distribution
    held = result.distribution == 0.0
    size = np.max(np.abs(kernel.T @ decay.y))
    assert result.success and result.weight == pytest.approx(weight, rel=1e-6)
    assert np.min(result.distribution) >= 0.0 and held.any() and not held.all()
    assert np.all(gradient[held] > -1e-5 * size)
    assert np.max(np.abs(gradient[~held])) < 1e-5 * size


@pytest.mark.parametrize("weight", [0.1, 10.0])
def test_a_second_method_finds_the_same_distribution(decay, weight):
    result = vorin.invert(decay.t, decay.y, weight=weight, prune="none", grid=(1e-3, 1.0, 40))
    expected = regularised(matrix(result), decay.y, weight)
    assert result.distribution == pytest.approx(expected, abs=2e-3 * np.max(expected))


@pytest.mark.parametrize("name, centre", [("t2", 0.05), ("t1-saturation", 0.05),
                                          ("t1-inversion", 0.05), ("diffusion", 2e-9)])
def test_every_kernel_gives_back_what_it_was_made_of(name, centre):
    t = np.linspace(0.0, 4e9, 200) if name == "diffusion" else 1e-3 * np.arange(1, 501)
    grid = (1e-11, 1e-7, 200) if name == "diffusion" else (1e-4, 10.0, 200)
    made = vorin.simulate(t, [(centre, 0.1, 50.0)], noise=0.05, seed=2, kernel=name, grid=grid)
    result = vorin.invert(made.t, made.y, kernel=name)
    assert result.success and result.kernel == name
    assert result.log_mean == pytest.approx(made.log_mean, rel=0.04)
    assert result.total == pytest.approx(50.0, rel=0.01)
    assert result.fit == pytest.approx(matrix(result, name) @ result.distribution, abs=1e-4)
    top = max(result.peaks(), key=lambda peak: peak.share)
    assert top.position == pytest.approx(centre, rel=0.05) and not top.at_grid_end


def test_a_kernel_of_the_callers_own_is_taken_as_it_is(decay):
    named = vorin.invert(decay.t, decay.y)
    own = vorin.invert(decay.t, decay.y, kernel=vorin.kernel_matrix("t2", decay.t, named.grid),
                       grid=named.grid)
    assert own.kernel == "own" and np.array_equal(own.distribution, named.distribution)
    skipped = vorin.invert(decay.t, decay.y, skip=5, grid=named.grid,
                           kernel=vorin.kernel_matrix("t2", decay.t, named.grid))
    assert skipped.t.size == decay.t.size - 5 and skipped.success


def test_the_search_reaches_the_standard_error_it_wants(decay):
    result = vorin.invert(decay.t, decay.y, method="classic", noise=0.3)
    assert result.success and result.weight_origin == "noise" and result.noise_origin == "given"
    assert result.wanted_standard_error == pytest.approx(1.05 * 0.3, rel=1e-5)
    assert result.standard_error == pytest.approx(result.wanted_standard_error, rel=1e-3)
    assert result.iterations > 0 and result.signal_to_noise == pytest.approx(
        np.max(decay.y) / 0.3)


def test_residual_fit_and_errors_belong_together(decay):
    result = vorin.invert(decay.t, decay.y)
    assert np.array_equal(result.residual, decay.y - result.fit)
    assert result.fit_error == pytest.approx(np.sqrt(np.mean(result.residual**2)), rel=1e-6)
    assert result.total == pytest.approx(np.sum(result.distribution))
    weights = result.distribution / result.total
    assert np.log(result.log_mean) == pytest.approx(np.sum(weights * np.log(result.grid)))


@pytest.mark.parametrize("unit", [1e-9, 1e6])
def test_the_unit_of_the_data_does_not_matter(decay, unit):
    one, other = vorin.invert(decay.t, decay.y), vorin.invert(decay.t, unit * decay.y)
    assert other.weight == pytest.approx(one.weight, rel=1e-3)
    assert other.distribution / unit == pytest.approx(one.distribution, rel=1e-2, abs=1e-2)
    assert other.noise == pytest.approx(unit * one.noise, rel=1e-9)


def test_no_inversion_depends_on_what_ran_before(decay):
    first = vorin.invert(decay.t, decay.y)
    vorin.invert(decay.t, decay.y, weight="corner", compress=True, prune="none", noise="scan",
                 settings={"MAXI": 9, "RWEI": 1, "BRDA": 3, "TOL": 1e-3, "WREF": 4, "PRAV": "X"})
    again = vorin.invert(decay.t, decay.y)
    assert np.array_equal(first.distribution, again.distribution)
    assert first.weight == again.weight and first.passes == again.passes


def test_the_corner_s_weight_is_scaled_by_rwei(decay):
    tenth = vorin.invert(decay.t, decay.y, weight="corner")
    whole = vorin.invert(decay.t, decay.y, weight="corner", settings={"RWEI": 1})
    assert tenth.status == 999 and tenth.success and tenth.weight_origin == "corner"
    assert tenth.corner_weight == pytest.approx(whole.weight, rel=1e-6)
    assert tenth.weight == pytest.approx(0.1 * whole.weight, rel=1e-6)
    assert "corner" in tenth.status_text and tenth.iterations == 0


def test_noise_difference_is_that_of_second_differences(decay):
    result = vorin.invert(decay.t, decay.y, noise="difference")
    second = np.diff(decay.y, n=2)
    assert result.noise == pytest.approx(np.sqrt(np.mean(second**2) / 6.0), rel=1e-5)
    compressed = vorin.invert(decay.t, decay.y, noise="difference", compress=True)
    assert result.noise_origin == compressed.noise_origin == "difference"
    assert compressed.noise == pytest.approx(result.noise, rel=1e-6)


def test_noise_fit_is_the_standard_error_of_the_fit_without_a_penalty(decay):
    from solvers import nnls
    result = vorin.invert(decay.t, decay.y, noise="fit", prune="none", grid=(1e-3, 1.0, 15))
    kernel = matrix(result)
    rest = kernel @ nnls(kernel, decay.y) - decay.y
    assert result.noise == pytest.approx(np.sqrt(np.mean(rest**2)), rel=1e-4)
    assert result.noise_origin == "fit"


@pytest.mark.parametrize("how", ["fit", "ridge", "scan", "difference"])
def test_every_estimate_comes_near_the_noise(decay, how):
    result = vorin.invert(decay.t, decay.y, method="classic", noise=how, prune="none")
    assert result.noise == pytest.approx(0.3, rel=0.15) and result.success
    assert result.wanted_standard_error == pytest.approx(1.05 * result.noise, rel=1e-4)


def test_an_estimator_chosen_by_key_is_named(decay):
    result = vorin.invert(decay.t, decay.y, noise=0.1, settings={"NALG": "FIT"})
    assert result.noise_origin == "library" and result.noise > 0.2


def test_whole_compression_changes_nothing_but_rounding(decay):
    plain = vorin.invert(decay.t, decay.y, prune="none", weight=1.0, grid=(1e-3, 1.0, 40))
    whole = vorin.invert(decay.t, decay.y, prune="none", weight=1.0, grid=(1e-3, 1.0, 40),
                         compress=(40, 0.0))
    assert whole.distribution == pytest.approx(plain.distribution,
                                               abs=1e-3 * np.max(plain.distribution))


def test_complex_data_are_turned_to_the_real_channel(decay):
    rng = np.random.default_rng(8)
    z = (decay.y + 0.3j * rng.standard_normal(decay.y.size)) * np.exp(0.7j)
    result = vorin.invert(decay.t, z, noise="quadrature")
    angles = np.linspace(-np.pi, np.pi, 20001)
    squares = [np.sum((z * np.exp(-1j * angle)).imag ** 2) for angle in angles[::100]]
    assert np.sum((z * np.exp(-1j * result.phase)).imag ** 2) <= min(squares)
    assert result.phase == pytest.approx(0.7, abs=2e-3) and np.sum(result.y) > 0.0
    imaginary = (z * np.exp(-1j * result.phase)).imag
    assert result.noise == pytest.approx(np.std(imaginary, ddof=1), rel=1e-9)
    assert result.noise_origin == "quadrature"
    opposite = vorin.invert(decay.t, -z, noise="quadrature")
    assert np.allclose(opposite.y, result.y)
    assert abs(opposite.phase - result.phase) == pytest.approx(np.pi)


def test_an_inversion_recovery_is_turned_by_its_last_sample():
    made = vorin.simulate(1e-2 * np.arange(1, 61), [(0.9, 0.05, 1.0)], noise=1e-3, seed=1,
                          kernel="t1-inversion")
    assert np.sum(made.y) < 0.0 < made.y[-1] or made.y[-1] < 0.0
    late = vorin.simulate(1e-2 * np.arange(1, 101), [(0.9, 0.05, 1.0)], noise=1e-3, seed=1,
                          kernel="t1-inversion")
    assert np.sum(late.y) < 0.0 < late.y[-1]
    result = vorin.invert(late.t, late.y * np.exp(2.5j), kernel="t1-inversion", noise=1e-3)
    assert result.y == pytest.approx(late.y, abs=1e-9)


def test_an_aim_out_of_reach_gives_way_to_the_closest_fit(decay):
    spoiled = decay.y.copy()
    spoiled[0] *= 0.8
    result = vorin.invert(decay.t, spoiled, method="classic", noise=0.3)
    assert result.success and result.relaxed_target > 1.05 * 0.3
    assert result.wanted_standard_error == pytest.approx(1.05 * result.relaxed_target, rel=1e-4)
    assert result.noise == 0.3
    assert np.isnan(
        vorin.invert(decay.t, spoiled, method="classic", skip=1, noise=0.3).relaxed_target)


def test_a_first_echo_off_the_curve_is_left_out(decay):
    spoiled = decay.y.copy()
    spoiled[0] *= 0.8
    result = vorin.invert(decay.t, spoiled)
    assert result.success and result.left_out.tolist() == result.rejected.tolist() == [0]
    clean = vorin.invert(decay.t, decay.y)
    assert clean.left_out.size == 0
    # Less than 2 ms are no longer seen: a hundredth of the signal at 1 ms would be 3 %.
    assert result.log_mean == pytest.approx(clean.log_mean, rel=0.05)


def test_the_range_the_noise_and_the_weight_come_from_the_data(decay):
    result = vorin.invert(decay.t, decay.y)
    assert result.weight_origin == "automatic" and result.noise_origin == "residual"
    assert result.noise == pytest.approx(0.3, rel=3.0 * result.noise_spread)
    first, last = result.support
    outside = (result.grid < first) | (result.grid > last)
    assert np.all(result.distribution[outside] == 0.0)
    assert result.finding == result.finding_text == "" and result.offset is None


def test_data_that_the_kernel_cannot_describe_are_told(decay):
    result = vorin.invert(decay.t, -decay.y)
    assert not result.success and result.finding == "negative"
    assert result.finding_text == result.status_text != ""
    # Half of the samples hold the constant alone, 0.3 / sqrt(200).
    short = vorin.simulate(decay.t, [(0.02, 0.1, 50.0)], noise=0.3, seed=5)
    raised = vorin.invert(short.t, short.y + 5.0, baseline="fit")
    assert raised.success and raised.offset == pytest.approx(5.0, abs=0.15)
    with pytest.raises(vorin.InputValueError, match="write fit or a number"):
        vorin.invert(decay.t, decay.y, baseline="some")
    with pytest.raises(vorin.InputTypeError, match="write automatic or classic"):
        vorin.invert(decay.t, decay.y, method=3)


def test_outliers_are_left_out_and_listed(decay):
    spoiled = decay.y.copy()
    spoiled[[50, 200]] += [20.0, -9.0]
    result = vorin.invert(decay.t, spoiled, reject_outliers=("robust", 5))
    assert result.rejected.tolist() == [50, 200]
    clean = vorin.invert(np.delete(decay.t, [50, 200]), np.delete(decay.y, [50, 200]),
                         grid=result.grid, noise=result.noise)
    assert result.distribution == pytest.approx(clean.distribution, rel=1e-3, abs=1e-3)
    assert result.fit.size == decay.t.size
    assert result.fit == pytest.approx(matrix(result) @ result.distribution, abs=1e-3)


def test_the_library_rejects_outliers_by_its_own_keys(decay):
    spoiled = decay.y.copy()
    spoiled[[50, 200]] += [20.0, -9.0]
    result = vorin.invert(decay.t, spoiled, reject_outliers=5, noise=0.3, method="classic")
    assert result.rejected.tolist() == [50, 200]
    by_keys = vorin.invert(decay.t, spoiled, compress=True, noise=0.3,
                           settings={"L2MO": 1, "L2NS": 5, "SVDN": 0})
    assert np.array_equal(result.distribution, by_keys.distribution)
    assert result.fit.size == decay.t.size
    chosen = vorin.invert(decay.t, spoiled, reject_outliers=5)
    rest = vorin.invert(np.delete(decay.t, [50, 200]), np.delete(decay.y, [50, 200]),
                        grid=chosen.grid)
    assert chosen.rejected.tolist() == [50, 200]
    assert np.array_equal(chosen.distribution, rest.distribution)
    kept = np.delete(decay.y - result.fit, [50, 200])
    assert result.fit_error == pytest.approx(np.sqrt(np.mean(kept**2)), rel=1e-6)


@pytest.mark.parametrize("options, words", [
    ({"weight": 1e-12, "settings": {"MAXI": 1}}, "the solver ran out of passes"),
    ({"noise": 0.3, "settings": {"WITE": 1}}, "the weight search ran out of iterations|closer"),
    ({"noise": 60.0, "settings": {"WMAX": 1.0}}, "every fit is closer to the data|limit"),
])
def test_a_failure_says_what_to_try(decay, options, words):
    import re
    result = vorin.invert(decay.t, decay.y, **options)
    assert not result.success and re.search(words, result.status_text)
    assert result.distribution.shape == result.grid.shape


def test_settings_reach_the_library(decay):
    result = vorin.invert(decay.t, decay.y, noise=0.3, settings={"rsig": 1.2})
    assert result.wanted_standard_error == pytest.approx(0.36, rel=1e-5)
    assert vorin.invert(decay.t, decay.y, settings={"BRDA": 3}).passes == 0
    assert vorin.invert(decay.t, decay.y, settings={"TARG": "WEIG", "WEIG": 2.0}).weight == 2.0


def test_the_log_is_kept_where_it_is_requested(decay, tmp_path):
    (tmp_path / "logs").mkdir()
    vorin.invert(decay.t, decay.y, log=tmp_path / "logs" / "run.txt")
    text = (tmp_path / "logs" / "run.txt").read_text()
    assert "Vorin::M::Start inversion" in text and "Successful inversion" in text
    assert [path.name for path in tmp_path.iterdir()] == ["logs"]
    vorin.invert(decay.t, decay.y)
    assert [path.name for path in tmp_path.iterdir()] == ["logs"]


def test_grids(decay):
    default = vorin.invert(decay.t, decay.y).grid
    assert default.size == 100 and default[0] == decay.t[0] / 3 and default[-1] == 3 * decay.t[-1]
    assert np.diff(np.log(default)) == pytest.approx(np.log(default[1] / default[0]))
    given = vorin.invert(decay.t, decay.y, grid=(1e-3, 1.0, 7)).grid
    assert given == pytest.approx(10.0 ** np.linspace(-3, 0, 7)) and given[-1] == 1.0
    own = vorin.invert(decay.t, decay.y, grid=[0.001, 0.01, 0.5]).grid
    assert own.tolist() == [0.001, 0.01, 0.5]
    b = vorin.default_grid(np.array([0.0, 2.0, 8.0]), "diffusion")
    assert b[0] == pytest.approx(1 / 24) and b[-1] == pytest.approx(1.5)


def test_a_first_time_of_zero_is_taken(decay):
    t = np.concatenate(([0.0], decay.t))
    y = np.concatenate(([np.sum(decay.distribution)], decay.y))
    result = vorin.invert(t, y)
    assert result.success and result.grid[0] == decay.t[0] / 3


def test_a_result_as_plain_numbers(decay):
    result = vorin.invert(decay.t, decay.y, weight=1.0)
    values = json.loads(json.dumps(result.to_dict(result.bootstrap(20)), allow_nan=False))
    assert set(values) == {
        "kernel", "status", "status_text", "success", "samples", "weight", "weight_origin",
        "noise", "noise_origin", "signal_to_noise", "wanted_standard_error", "standard_error",
        "fit_error", "iterations", "passes", "noise_spread", "support", "left_out", "offset",
        "efficiency", "flip", "finding", "finding_text", "notes", "amplitude_unit", "total", "log_mean",
        "mean", "percentiles", "cutoffs", "peaks", "grid", "distribution", "cumulative",
        "bootstrap"}
    assert values["wanted_standard_error"] is None and values["weight_origin"] == "given"
    assert set(values["bootstrap"]) == {"replicates", "lower", "upper", "log_mean_lower",
                                        "log_mean_upper", "interval_too_narrow"}
    assert set(values["peaks"][0]) == {"position", "width", "share", "at_grid_end", "centre",
                                        "amount"}


def test_inputs_stay_as_they_are_and_lists_will_do(decay):
    t, y = decay.t.copy(), decay.y.copy()
    result = vorin.invert(list(t), list(y))
    assert np.array_equal(t, decay.t) and np.array_equal(y, decay.y)
    strided = vorin.invert(np.repeat(t, 2)[::2], np.repeat(y.astype(np.float32), 2)[::2])
    assert strided.weight == pytest.approx(result.weight, rel=1e-2)
