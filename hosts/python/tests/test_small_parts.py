"""Noise from differences, measures of a distribution, files, computed decays, pictures."""

import sys

import numpy as np
import pytest

import vorin
from vorin.measures import per_decade


def test_noise_of_an_echo_train_and_of_a_logarithmic_recovery():
    for seed in range(10):
        train = vorin.simulate(4e-4 * np.arange(1, 1501), noise=0.5, seed=seed)
        # The root mean square of n second differences spreads by sqrt(1.94 / (2 n)).
        assert vorin.difference_noise(train.t, train.y) == pytest.approx(
            0.5, rel=4 * np.sqrt(0.97 / 1310))
        recovery = vorin.simulate(np.geomspace(1e-3, 3.0, 100), noise=0.5, seed=seed,
                                  kernel="t1-saturation")
        assert vorin.difference_noise(recovery.t, recovery.y) == pytest.approx(
            0.5, rel=4 * np.sqrt(0.97 / 49))


def test_noise_by_the_formula_of_divided_differences():
    t = np.array([0.1, 0.2, 0.5, 1.3, 2.0, 2.2])
    y = np.array([5.0, 4.6, 3.9, 2.8, 2.7, 2.1])
    x, values = np.log(t), []
    for k in range(4):
        c = [1 / np.prod([x[k + i] - x[k + j] for j in range(3) if j != i]) for i in range(3)]
        values.append(np.dot(c, y[k:k + 3]) / np.linalg.norm(c))
    expected = np.sqrt(np.mean(np.square(values)) / 0.998929)
    assert vorin.difference_noise(t, y) == pytest.approx(expected)
    assert vorin.difference_noise(np.concatenate(([0.0], t)), np.concatenate(([9.0], y))) == (
        pytest.approx(expected))


def test_no_noise_where_there_is_none_to_see():
    t = 1e-3 * np.arange(1, 501)
    assert vorin.difference_noise(t[:4], np.array([3.0, 1.0, 2.0, 1.0])) is None
    assert vorin.difference_noise(t, np.ones(500)) is None


def test_outliers_do_not_spoil_the_noise():
    made = vorin.simulate(noise=0.5, seed=3)
    y = made.y.copy()
    y[1000::200] += 50.0
    assert vorin.difference_noise(made.t, y) == pytest.approx(0.5, rel=0.05)


def test_log_mean_of_two_values_is_their_weighted_geometric_mean():
    assert vorin.log_mean(np.array([1.0, 100.0]), np.array([1.0, 1.0])) == pytest.approx(10.0)
    assert vorin.log_mean(np.array([1.0, 8.0]), np.array([2.0, 1.0])) == pytest.approx(2.0)
    assert np.isnan(vorin.log_mean(np.array([1.0, 8.0]), np.zeros(2)))


def test_peaks_of_a_distribution_of_known_parts():
    grid = 10.0 ** np.arange(-3.0, 4.0)
    found = vorin.peaks(grid, np.array([0.0, 2.0, 4.0, 2.0, 1.0, 3.0, 0.0]))
    assert [peak.position for peak in found] == pytest.approx(
        [0.1, 10 ** (1.5 + (2 / 1) / (2 * 5 / 2))])
    # The minimum of 1 goes to both in halves.
    assert [peak.share for peak in found] == pytest.approx([8.5 / 12, 3.5 / 12])
    mean = (2 * -2 + 4 * -1 + 2 * 0 + 0.5 * 1) / 8.5
    spread = (2 * 4 + 4 * 1 + 0 + 0.5) / 8.5 - mean**2
    assert found[0].width == pytest.approx(np.sqrt(spread)) and not found[0].at_grid_end
    assert found[1].width == pytest.approx(np.sqrt(3 * 0.5 / 3.5**2))


def test_peaks_at_the_ends_plateaus_and_small_ones():
    grid = 10.0 ** np.arange(5.0)
    ends = vorin.peaks(grid, np.array([3.0, 1.0, 0.0, 1.0, 1.0]))
    assert [peak.at_grid_end for peak in ends] == [True, True]
    assert ends[1].position == pytest.approx(10**3.5)
    assert vorin.peaks(grid, np.array([0.0, 100.0, 0.0, 0.4, 0.0]))[0].width == 0.0
    assert len(vorin.peaks(grid, np.array([0.0, 100.0, 0.0, 0.4, 0.0]))) == 1
    assert len(vorin.peaks(grid, np.array([0.0, 100.0, 0.0, 0.4, 0.0]), 0.001)) == 2
    assert vorin.peaks(grid, np.zeros(5)) == []


def test_amplitude_per_decade_integrates_to_the_total():
    grid = vorin.log_grid(1e-3, 1.0, 31)
    f = np.zeros(31)
    f[10:20] = 2.0
    assert np.sum(per_decade(grid, f) * 0.1) == pytest.approx(20.0)


@pytest.mark.parametrize("text", [
    "# c\ntime_s,amplitude\n0.1,5\n0.2,4e0\n", "0.1;5\n0.2;4\n", "0.1\t5\r\n0.2\t4\r\n\r\n",
    "\ufeff0.1   5\n  0.2 4", "t y\n0.1 5\n# between\n0.2 +4\n"])
def test_two_columns_are_read(tmp_path, text):
    (tmp_path / "a.csv").write_text(text, encoding="utf-8", newline="")
    t, y = vorin.read("a.csv")
    assert t.tolist() == [0.1, 0.2] and y.tolist() == [5.0, 4.0]


def test_a_third_column_is_imaginary_only_when_it_is_named(tmp_path):
    (tmp_path / "a.csv").write_text("t,re,im\n0.1,5,1\n0.2,4,-2\n")
    with pytest.raises(vorin.InputValueError, match="a.csv, line 2: this row has 3 fields; say by "
                                                    "columns which hold time and amplitude"):
        vorin.read("a.csv")
    assert vorin.read("a.csv", columns="1,2,3")[1].tolist() == [5 + 1j, 4 - 2j]
    assert vorin.read("a.csv", columns="t,im")[1].tolist() == [1.0, -2.0]
    assert vorin.read("a.csv", columns="1,2", time_unit="ms")[0].tolist() == [1e-4, 2e-4]


def test_a_unit_in_the_header_is_taken_and_told(tmp_path):
    (tmp_path / "a.csv").write_text("Sample 5\ntime (ms),y\n2,4\n1,5\n3,nan\n")
    decay = vorin.read("a.csv")
    assert decay.t.tolist() == [1e-3, 2e-3] and decay.y.tolist() == [5.0, 4.0]
    assert (decay.unit, decay.unit_origin) == ("ms", "header, line 2")
    assert decay.notes == ["1 row is without a number left out (line 5)",
                           "the rows are not in order: sorted by time"]


def test_columns_of_one_file_are_many_decays(tmp_path):
    (tmp_path / "a.csv").write_text("t,a,b\n0.1,5,1\n0.2,4,2\n0.3,3,\n")
    first, second = vorin.read_all("a.csv", columns="1,2..3")
    assert (first.column, second.column) == ("a", "b")
    assert second.t.tolist() == [0.1, 0.2] and second.y.tolist() == [1.0, 2.0]
    with pytest.raises(ValueError, match="choose 2 decays"):
        vorin.read("a.csv", columns="1,2..3")
    assert vorin.read("a.csv", columns="2", spacing="1ms").t.tolist() == [1e-3, 2e-3, 3e-3]


@pytest.mark.parametrize("text, words", [
    ("", "a.csv: "),
    ("t,y\n", "a.csv: "),
    ("0.1\n", "a.csv, line 1: this row has 1 field"),
    ("0.1,5\n0.2,4,3\n", "a.csv, line 2: "),
    ("0.1,5\n# c\n0.2,x\n", "a.csv, line 3: "),
    ("0.1,5\n0.2,nan\n", "a.csv, line 1: this is the only row with numbers"),
    ("0.1,5\n0.1,3\n", "a.csv: all rows have one time"),
    ("b (s/mm2),y\n0.1,5\n0.2,3\n", "but the kernel takes times"),
])
def test_files_that_cannot_be_read(tmp_path, text, words):
    (tmp_path / "a.csv").write_text(text)
    with pytest.raises(vorin.InputValueError, match=words):
        vorin.read("a.csv")


def test_files_that_are_not_there(tmp_path):
    with pytest.raises(ValueError, match="none.csv: there is no such file"):
        vorin.read("none.csv")
    with pytest.raises(ValueError, match="this is a folder"):
        vorin.read(tmp_path)


def test_a_computed_decay_is_the_kernel_times_its_truth():
    made = vorin.simulate([0.0, 0.01, 0.1], [(0.05, 0.2, 3.0)], noise=0.0)
    assert made.distribution.sum() == pytest.approx(3.0) and made.y[0] == pytest.approx(3.0)
    assert made.y == pytest.approx(np.exp(-made.t[:, None] / made.grid) @ made.distribution)
    assert made.log_mean == pytest.approx(0.05, rel=1e-3)
    narrow = vorin.simulate(peaks=[(0.05, 1e-9, 3.0)])
    assert np.count_nonzero(narrow.distribution) == 1
    noisy = [vorin.simulate(noise=0.2, seed=1).y, vorin.simulate(noise=0.2, seed=2).y]
    assert np.std(noisy[0] - noisy[1]) == pytest.approx(0.2 * np.sqrt(2), rel=0.06)
    assert np.array_equal(noisy[0], vorin.simulate(noise=0.2, seed=1).y)


def test_pictures_are_written_in_every_kind(decay, tmp_path):
    pytest.importorskip("matplotlib")
    result = vorin.invert(decay.t, decay.y, reject_outliers=3)
    for kind, begins in (("png", b"\x89PNG"), ("pdf", b"%PDF"), ("svg", b"<?xml")):
        result.plot(tmp_path / f"p.{kind}", truth=decay, band=result.bootstrap(20))
        assert (tmp_path / f"p.{kind}").read_bytes().startswith(begins)


def test_a_picture_shows_data_fit_residual_and_distribution(decay):
    pyplot = pytest.importorskip("matplotlib.pyplot")
    result = vorin.invert(decay.t, decay.y)
    upper, middle, lower = result.plot(truth=(decay.grid, decay.distribution)).axes
    measured, fit = upper.lines
    assert np.array_equal(measured.get_ydata(), decay.y)
    assert np.array_equal(fit.get_ydata(), result.fit)
    assert np.array_equal(measured.get_xdata(), 1e3 * decay.t) or np.allclose(
        measured.get_xdata(), 1e3 * decay.t)
    assert np.array_equal(middle.lines[0].get_ydata(), result.residual)
    assert upper.get_xscale() == "log" and lower.get_xscale() == "log"
    assert middle.get_xlabel() == "time (ms)" and "T2 (ms)" in lower.get_xlabel()
    assert upper.get_ylabel() and middle.get_ylabel() and lower.get_ylabel()
    labels = [text.get_text() for text in lower.get_legend().get_texts()]
    assert labels[:2] == ["distribution", "truth"] and labels[2].startswith("log mean")
    pyplot.close("all")


def test_few_decades_are_drawn_on_a_linear_axis(decay):
    pyplot = pytest.importorskip("matplotlib.pyplot")
    figure = vorin.invert(decay.t[10:], decay.y[10:]).plot(title="short")
    assert figure.axes[0].get_xscale() == "linear"
    assert figure._suptitle.get_text() == "short"
    pyplot.close("all")


def test_without_matplotlib_a_sentence_says_what_to_install(decay, monkeypatch):
    result = vorin.invert(decay.t, decay.y)
    monkeypatch.setitem(sys.modules, "matplotlib", None)
    with pytest.raises(vorin.VorinError, match="python3-matplotlib"):
        result.plot()


def test_importing_the_package_does_not_import_matplotlib():
    import subprocess
    code = "import sys, vorin; sys.exit('matplotlib' in sys.modules)"
    import os
    path = os.path.dirname(os.path.dirname(vorin.__file__))
    subprocess.run([sys.executable, "-c", code], check=True, env={**os.environ,
                                                                "PYTHONPATH": path})


def test_cutoffs_percentiles_and_the_cumulative_curve():
    # Bins from 10^(k - 1/2) to 10^(k + 1/2) around 0.1, 1, 10.
    grid, amplitudes = np.array([0.1, 1.0, 10.0]), np.array([1.0, 4.0, 5.0])
    parts = vorin.measures.cutoffs(grid, amplitudes, [10 ** 0.5, 1.0])
    assert [part.amount for part in parts] == pytest.approx([3.0, 2.0, 5.0], abs=1e-12)
    assert [part.share for part in parts] == pytest.approx([0.3, 0.2, 0.5], abs=1e-12)
    assert (parts[0].start, parts[1].end, parts[2].end) == (0.0, 10 ** 0.5, np.inf)
    assert parts[0].share_interval is None
    found = vorin.measures.percentiles(grid, amplitudes, 30, 50)
    assert [one.position for one in found] == pytest.approx([1.0, 10 ** 0.5], rel=1e-12)
    assert [one.percent for one in vorin.measures.percentiles(grid, amplitudes)] == [10, 50, 90]
    assert vorin.measures.cumulative(grid, amplitudes).tolist() == [1.0, 5.0, 10.0]
    assert vorin.measures.mean(grid, amplitudes) == pytest.approx(54.1 / 10)
    with pytest.raises(vorin.InputValueError, match="cutoffs: numbers that rise from above 0"):
        vorin.measures.cutoffs(grid, amplitudes, -1.0)
    with pytest.raises(vorin.InputValueError, match="percentiles: numbers that rise"):
        vorin.measures.percentiles(grid, amplitudes, 100.0)


def test_measures_of_a_result_with_its_bootstrap():
    decay = vorin.simulate(seed=3)
    result = vorin.invert(decay.t, decay.y)
    band = result.bootstrap(20)
    low, high = result.cutoffs(0.027, band=band)
    assert low.amount + high.amount == pytest.approx(result.total)
    assert low.share_interval[0] <= low.share_interval[1]
    median, = result.percentiles(50, band=band)
    assert median.interval[0] <= median.interval[1]
    assert result.cumulative()[-1] == pytest.approx(result.total)
    assert result.log_mean < result.mean


def test_a_file_system_on_which_nothing_may_run_is_named(tmp_path, monkeypatch):
    import os
    import types
    from vorin import loading
    flags = types.SimpleNamespace(f_flag=os.ST_NOEXEC | os.ST_RDONLY)
    monkeypatch.setattr(os, "statvfs", lambda _path: flags)
    (tmp_path / "libvorin_toolkit.so").write_bytes(b"no library")
    with pytest.raises(vorin.LibraryNotFound, match="mounted with noexec, .*; install the package"):
        loading.load(tmp_path / "libvorin_toolkit.so")
    flags.f_flag = os.ST_RDONLY
    with pytest.raises(vorin.LibraryNotFound, match="a library built for this machine"):
        loading.load(tmp_path / "libvorin_toolkit.so")


def test_inversions_need_no_home_and_no_temporary_folder(tmp_path):
    import os
    import subprocess
    code = ("import vorin; d = vorin.simulate(seed=1); r = vorin.invert(d); r.bootstrap(20); "
            "r.lcurve(); vorin.Library().close()")
    path = os.path.dirname(os.path.dirname(vorin.__file__))
    # Nobody can make a file in /proc, not even root.
    run = subprocess.run([sys.executable, "-B", "-c", code], capture_output=True, text=True,
                         check=False, cwd=tmp_path, env={
                             "PYTHONPATH": path, "HOME": "/proc", "TMPDIR": "/proc",
                             "VORIN_LIBRARY": str(vorin.find_library())})
    assert run.returncode == 0, run.stderr
    assert not list(tmp_path.iterdir())
