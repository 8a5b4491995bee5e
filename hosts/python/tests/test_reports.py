"""Reports, calibrations and intervals of peaks."""

import shutil

import numpy as np
import pytest

import vorin

gnuplot = pytest.mark.skipif(shutil.which("gnuplot") is None, reason="gnuplot is not installed")


@pytest.fixture(scope="module")
def result():
    decay = vorin.simulate(seed=3)
    return vorin.invert(decay.t, decay.y)


@gnuplot
def test_a_report_is_one_page_with_results_and_intervals(result, tmp_path):
    file = tmp_path / "r.html"
    result.report(file, cutoffs=0.033, percentiles=(20, 80), bootstrap=20, name="plug <7>",
                  amplitude_label="porosity")
    page = file.read_text()
    for text in ("plug &lt;7&gt;", "share below 33.0 ms", "percentile 20 %", "68 % interval",
                 "Checks of the residual", "<svg"):
        assert text in page
    assert "<7>" not in page


@gnuplot
def test_a_report_as_pdf(result, tmp_path):
    result.report(tmp_path / "r.pdf")
    assert (tmp_path / "r.pdf").read_bytes()[:5] == b"%PDF-"


def test_other_kinds_of_reports_are_refused(result, tmp_path):
    with pytest.raises(vorin.InputValueError, match=r"the name must end in \.html or \.pdf"):
        result.report(tmp_path / "r.doc")
    with pytest.raises(vorin.InputTypeError, match="colour"):
        result.report(tmp_path / "r.html", colour="red")
    assert not list(tmp_path.iterdir())


def test_peaks_have_the_intervals_of_a_bootstrap(result):
    band = result.bootstrap(40)
    plain, found = result.peaks(), result.peaks(band=band)
    assert [peak.position for peak in plain] == [peak.position for peak in found]
    assert plain[0].share_interval is None and "share_lower" not in plain[0].to_dict()
    for peak in found:
        for name in ("position", "centre", "width", "share", "amount"):
            lower, upper = getattr(peak, f"{name}_interval")
            assert lower <= upper
            assert peak.to_dict()[f"{name}_lower"] == lower
        # Of a share the interval is that of the part between two cutoffs, as the toolkit has it.
        assert 0.0 <= peak.share_interval[0] <= peak.share_interval[1] <= 1.0


def test_a_calibration_scales_amplitudes_and_nothing_else(result):
    scaled = vorin.invert(result.t, result.y, calibrate="25pu=100")
    assert scaled.amplitude_unit == "pu" and result.amplitude_unit == ""
    assert scaled.to_dict()["amplitude_unit"] == "pu"
    np.testing.assert_allclose(scaled.distribution, 0.25 * result.distribution, rtol=1e-6,
                               atol=1e-9)
    assert scaled.noise == pytest.approx(0.25 * result.noise)
    assert scaled.log_mean == pytest.approx(result.log_mean)
    with pytest.raises(vorin.InputValueError, match="calibrate"):
        vorin.invert(result.t, result.y, calibrate="pu")
