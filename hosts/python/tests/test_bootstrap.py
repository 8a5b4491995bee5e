"""The bootstrap: what it draws, what it answers, and how often its interval is right."""

import pickle

import numpy as np
import pytest

import vorin


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


def test_what_progress_raises_ends_the_bootstrap_and_leaves_it(result):
    told = []

    def stop(done):
        told.append(done)
        if done == 5:
            raise ZeroDivisionError("enough")

    with pytest.raises(ZeroDivisionError, match="enough"):
        result.bootstrap(2000, workers=2, progress=stop)
    assert told == [1, 2, 3, 4, 5]


def test_a_result_that_was_pickled_gives_the_same_band(result):
    again = pickle.loads(pickle.dumps(result))
    assert np.array_equal(again.distribution, result.distribution)
    assert np.array_equal(again.bootstrap(20).upper, result.bootstrap(20).upper)


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


def test_its_name_is_one_line(result):
    band = result.bootstrap(20)
    assert repr(band) == (f"<vorin.Bootstrap 20 replicates: log mean {band.log_mean_lower:.4g} to "
                          f"{band.log_mean_upper:.4g}>")


def test_progress_reaches_the_last_replicate(result):
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
