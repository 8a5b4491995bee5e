"""The bootstrap: what it draws, what it answers, and how often its interval is right."""

import numpy as np
import pytest

import vorin
from vorin import bootstrapping


@pytest.fixture(scope="module")
def result():
    made = vorin.simulate(np.arange(1, 401) * 1e-3, noise=0.5, seed=4)
    return vorin.invert(made.t, made.y)


def test_one_seed_gives_the_same_band_with_any_count_of_threads(result):
    one = result.bootstrap(40, seed=9, workers=1)
    for workers in (2, 5, None):
        other = result.bootstrap(40, seed=9, workers=workers)
        assert np.array_equal(one.log_means, other.log_means)
        assert np.array_equal(one.lower, other.lower) and np.array_equal(one.upper, other.upper)
    assert not np.array_equal(one.log_means, result.bootstrap(40, seed=10).log_means)
    assert np.array_equal(one.log_means, vorin.bootstrap(result, 40, 9).log_means)


def test_a_replicate_is_the_fit_plus_drawn_residuals_at_the_same_weight(result):
    band = result.bootstrap(20, seed=3)
    residual = result.residual - np.mean(result.residual)
    for index in (0, 7, 19):
        drawn = np.random.default_rng((3, index)).integers(400, size=400)
        again = vorin.invert(result.t, result.fit + residual[drawn], weight=result.weight)
        assert band.log_means[index] == pytest.approx(again.log_mean, rel=2e-4)


def test_the_interval_takes_half_the_bias_and_counts_the_other_half_as_spread(result):
    band = result.bootstrap(50)
    low, middle, high = np.log(np.percentile(band.log_means, (15.8655, 50.0, 84.1345),
                                             method="lower"))
    centre = np.log(result.log_mean) - 0.5 * (middle - np.log(result.log_mean))
    reach = np.sqrt(0.25 * (high - low) ** 2 + 0.25 * (middle - np.log(result.log_mean)) ** 2)
    # Percentiles between neighbours differ from the lower neighbours by less than this.
    slack = np.max(np.diff(np.sort(np.log(band.log_means)))[5:-5])
    assert np.log(band.log_mean_lower) == pytest.approx(centre - reach, abs=slack)
    assert np.log(band.log_mean_upper) == pytest.approx(centre + reach, abs=slack)
    assert band.log_mean_lower < result.log_mean < band.log_mean_upper


def test_the_interval_of_given_replicates():
    # b = 2, h = 1.5 and the middle of the interval 1 below the result: 1 -+ sqrt(2.25 + 1).
    logs = 5.0 + np.interp(np.linspace(0, 1, 2001), [0, 0.158655, 0.5, 0.841345, 1],
                           [-3, 0.5, 2, 3.5, 6])
    lower, upper = bootstrapping._interval(np.exp(5.0), logs)
    assert np.log(lower) == pytest.approx(4.0 - np.sqrt(3.25), abs=1e-2)
    assert np.log(upper) == pytest.approx(4.0 + np.sqrt(3.25), abs=1e-2)


def test_the_band_holds_the_distribution_and_nothing_negative(result):
    band = result.bootstrap(50)
    assert band.replicates == 50 and band.lower.shape == band.upper.shape == result.grid.shape
    assert np.all(band.lower >= 0.0)
    assert np.all(band.lower <= result.distribution) and np.all(result.distribution <= band.upper)
    assert np.any(band.lower < band.upper)


def test_less_noise_gives_a_narrower_interval():
    widths = []
    for noise in (0.05, 0.5):
        made = vorin.simulate(np.arange(1, 401) * 1e-3, noise=noise, seed=4)
        # A weight so small that the residual is the noise.
        band = vorin.invert(made.t, made.y, weight=0.01).bootstrap(60)
        widths.append(np.log(band.log_mean_upper / band.log_mean_lower))
    assert widths[0] < 0.2 * widths[1]


def test_progress_is_told_to_the_last_replicate(result):
    told = []
    result.bootstrap(30, workers=3, progress=told.append)
    assert told == list(range(1, 31))


@pytest.mark.parametrize("how", [True, "robust"])
def test_rejected_samples_are_never_drawn(how):
    made = vorin.simulate(np.arange(1, 401) * 1e-3, noise=0.3, seed=4)
    y = made.y.copy()
    y[30] += 500.0
    result = vorin.invert(made.t, y, reject_outliers=how)
    band = result.bootstrap(20)
    assert result.rejected.tolist() == [30]
    assert np.max(np.abs(np.log(band.log_means / made.log_mean))) < 0.2


def test_the_68_percent_interval_holds_the_truth_about_so_often():
    """60 trials: the share's standard deviation is 6 %, so three of them either way."""
    held = 0
    for trial in range(60):
        made = vorin.simulate(noise=0.2, seed=1 + trial)
        band = vorin.invert(made.t, made.y).bootstrap(60, seed=trial)
        held += band.log_mean_lower <= made.log_mean <= band.log_mean_upper
    assert 0.50 <= held / 60 <= 0.86
