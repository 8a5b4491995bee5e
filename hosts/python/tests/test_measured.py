"""Measured decays against figures that owe nothing to this library."""

import numpy as np
import pytest

import vorin

# Log mean by a non-negative least-squares fit with an identity penalty whose standard error
# is 1.02 times that of the unpenalised fit; the latter; both by general tools.
FIGURES = [("berea_cpmg", "t2", 2.46e-3, 24.65), ("rock_cpmg", "t2", 22.5e-3, 0.0798),
           ("rock_saturation_recovery", "t1-saturation", 647e-3, 0.569)]


@pytest.mark.parametrize("name, kernel, log_mean, error", FIGURES)
def test_the_log_mean_comes_out(measured, name, kernel, log_mean, error):
    t, y = vorin.read(measured / f"{name}.csv")
    result = vorin.invert(t, y, kernel=kernel, method="classic")
    assert result.success
    assert result.log_mean == pytest.approx(log_mean, rel=0.02)
    assert error <= result.fit_error <= 1.1 * error
    assert result.noise == pytest.approx(error, rel=0.05)


@pytest.mark.parametrize("name, kernel, log_mean, error", FIGURES)
def test_the_log_mean_comes_out_of_the_data_s_own_choice(measured, name, kernel, log_mean, error):
    t, y = vorin.read(measured / f"{name}.csv")
    result = vorin.invert(t, y, kernel=kernel)
    assert result.success and result.left_out.size == 0
    assert result.log_mean == pytest.approx(log_mean, rel=0.02)
    # Of 98 samples with some six degrees of freedom, the noise is known to 7 %.
    assert result.noise == pytest.approx(error, rel=0.1)


def test_a_band_lies_about_the_log_mean(measured):
    t, y = vorin.read(measured / "rock_cpmg.csv")
    band = vorin.invert(t, y, skip=3).bootstrap(40)
    assert 0.9 < band.log_mean_lower / 25e-3 < band.log_mean_upper / 25e-3 < 1.2
    assert np.all(np.isfinite(band.upper))
