"""Maps from Python: the command's bits, known truth, what is read off a map, bad input."""

import inspect
import json
import pickle
import subprocess
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

import vorin

T1 = np.geomspace(1e-3, 5.0, 24)
T2 = 1e-3 * np.arange(1, 301)
PEAKS = [(0.5, 0.3, 0.1, 60.0), (0.05, 0.02, 0.1, 40.0)]
GRIDS = {"grid1": (3e-3, 10.0, 30), "grid2": (1e-3, 3.0, 31)}


@pytest.fixture(scope="module")
def data():
    return vorin.simulate2d(T1, T2, PEAKS, noise=0.5, seed=4)


@pytest.fixture(scope="module")
def result(data):
    return vorin.invert2d(data.t1, data.t2, data.D, **GRIDS)


def write(path, t1, t2, D):
    """A matrix with its axes, in all digits."""
    np.savetxt(path, np.block([[np.zeros((1, 1)), t2[None, :]], [t1[:, None], D]]),
               delimiter=",", fmt="%.17g")


def json_of(program, *arguments):
    run = subprocess.run([program, "invert2d", *map(str, arguments), "--json", "-"],
                         capture_output=True, text=True, check=False)
    assert run.returncode in (0, 1), run.stderr
    return json.loads(run.stdout)


@pytest.mark.parametrize("arguments, options", [
    ([], {}),
    (["--weight", "2.5"], {"weight": 2.5}),
    (["--weight", "corner"], {"weight": "corner"}),
    (["--noise", "0.7"], {"noise": 0.7}),
    (["--noise", "1000000"], {"noise": 1e6}),
    (["--kernels", "t1-saturation,t2"], {"kernels": "t1-saturation,t2"}),
    (["--kernels", "t2,t2"], {"kernels": ("t2", "t2"), "weight": "noise"}),
])
def test_the_command_and_the_package_give_the_same_bits(program, tmp_path, data, arguments,
                                                        options):
    write(tmp_path / "data.csv", data.t1, data.t2, data.D)
    theirs = json_of(program, tmp_path / "data.csv", "--grid1", "0.003:10:30", "--grid2",
                     "0.001:3:31", *arguments)
    mine = vorin.invert2d(data.t1, data.t2, data.D, **GRIDS, **options).to_dict()
    for key, value in mine.items():
        assert theirs[key] == value, key


def test_complex_data_and_the_bootstrap_have_the_command_s_bits(program, tmp_path, data):
    rng = np.random.default_rng(2)
    z = (data.D + 0.5j * rng.standard_normal(data.D.shape)) * np.exp(2.2j)
    write(tmp_path / "re.csv", data.t1, data.t2, z.real)
    write(tmp_path / "im.csv", data.t1, data.t2, z.imag)
    theirs = json_of(program, tmp_path / "re.csv", "--imaginary", tmp_path / "im.csv", "--grid1",
                     "0.003:10:30", "--grid2", "0.001:3:31", "--noise", "quadrature",
                     "--bootstrap", 20, "--seed", 3, "--region", "0.2:2,0.1:1")
    read = vorin.read2d(tmp_path / "re.csv", imaginary=tmp_path / "im.csv")
    assert np.array_equal(read.D, z)
    mine = vorin.invert2d(*read, **GRIDS, noise="quadrature")
    assert mine.to_dict()["distribution"] == theirs["distribution"]
    assert mine.phase == pytest.approx(2.2, abs=5e-3) and mine.noise_origin == "quadrature"
    spread = mine.bootstrap(20, seed=3, regions=[((0.2, 2.0), (0.1, 1.0))])
    assert spread.replicates == 20 and len(spread.peaks) == len(mine.peaks)
    assert list(spread.regions[0].share) == theirs["regions"][0]["share_interval"]
    assert mine.share(t1=(0.2, 2.0), t2=(0.1, 1.0)) == theirs["regions"][0]["share"]
    assert list(spread.peaks[0].log_mean1) == theirs["peaks"][0]["log_mean1_interval"]


def test_computed_data_are_the_command_s(program, tmp_path, data):
    peaks = [word for peak in PEAKS for word in ("--peak", ":".join(map(str, peak)))]
    subprocess.run([program, "simulate2d", "--times1", "0.001:5:24", "--times2",
                    "0.001:0.3:300:linear", *peaks, "--seed", "4", "--out", "y.csv"],
                   cwd=tmp_path, check=True, capture_output=True)
    read = vorin.read2d(tmp_path / "y.csv")
    assert read.D == pytest.approx(data.D, abs=2e-5)  # the command writes seven places


def test_a_map_is_that_of_its_truth(data, result):
    assert result.success and result.status == 0 and result.status_text == "success"
    assert result.distribution.shape == (30, 31) and np.min(result.distribution) >= 0.0
    assert result.noise == pytest.approx(0.5, rel=0.03)
    assert result.standard_error == pytest.approx(result.wanted_standard_error, rel=1e-2)
    assert result.peaks[0].share == pytest.approx(0.6, abs=0.02)
    assert result.peaks[0].log_mean1 == pytest.approx(0.5, rel=0.04)
    assert result.peaks[1].log_mean2 == pytest.approx(0.02, rel=0.05)
    assert result.total == pytest.approx(100.0, rel=0.02)


def test_sums_fit_and_residual_belong_together(data, result):
    f = result.distribution
    assert result.projection1 == pytest.approx(f.sum(axis=1), rel=1e-12)
    assert result.projection2 == pytest.approx(f.sum(axis=0), rel=1e-12)
    assert np.log(result.log_mean1) == pytest.approx(
        np.sum(result.projection1 * np.log(result.grid1)) / f.sum())
    k1 = 1.0 - 2.0 * np.exp(-T1[:, None] / result.grid1)
    k2 = np.exp(-T2[:, None] / result.grid2)
    assert result.fit == pytest.approx(k1 @ f @ k2.T, abs=1e-9)
    assert np.array_equal(result.residual, result.D - result.fit)
    # The conditions of the minimum: gradient 0 where f is above 0, not below 0 elsewhere.
    gradient = k1.T @ (k1 @ f @ k2.T - data.D) @ k2 + result.weight * f
    size = np.max(np.abs(k1.T @ data.D @ k2))
    assert np.max(np.abs(gradient[f > 0.0])) < 1e-5 * size
    assert np.min(gradient[f == 0.0]) > -1e-5 * size


def test_regions_share_out_the_map(result):
    assert result.share() == pytest.approx(1.0, abs=1e-12)
    parts = [result.share(t1=a, t2=b) for a in ((1e-4, 0.15), (0.15, 1e3))
             for b in ((1e-6, 0.08), (0.08, 1e3))]
    assert sum(parts) == pytest.approx(1.0, abs=1e-12)
    assert parts[0] == pytest.approx(0.4, abs=0.02) and parts[3] == pytest.approx(0.6, abs=0.02)


def test_peaks_are_a_list_and_take_another_limit(result):
    assert [peak.share for peak in result.peaks] == sorted(
        (peak.share for peak in result.peaks), reverse=True)
    assert len(result.peaks(0.5)) == 1 and result.peaks()[0] == result.peaks[0]
    assert result.peaks[0].ratio == result.peaks[0].position1 / result.peaks[0].position2


def test_diffusion_has_no_ratio_and_matrices_are_kernels():
    b = np.geomspace(1e7, 2e10, 20)
    made = vorin.simulate2d(b, T2, [(1e-9, 0.1, 0.1, 50.0)], kernels=("diffusion", "t2"),
                            noise=0.2, seed=1)
    named = vorin.invert2d(b, T2, made.D, kernels=("diffusion", "t2"), grid1=(1e-11, 1e-8, 25),
                           grid2=(1e-3, 3.0, 26))
    assert named.peaks[0].ratio is None and "ratio" not in named.to_dict()["peaks"][0]
    assert named.peaks[0].log_mean1 == pytest.approx(1e-9, rel=0.05)
    own = vorin.invert2d(b, T2, made.D, grid1=named.grid1, grid2=named.grid2,
                         kernels=(vorin.kernel_matrix("diffusion", b, named.grid1), "t2"))
    assert own.kernels == ("own", "t2")
    assert np.array_equal(own.distribution, named.distribution)


@pytest.mark.parametrize("name, start", [("m.png", b"\x89PNG"), ("m.pdf", b"%PDF"),
                                         ("m.svg", b"<?xml")])
def test_pictures(result, tmp_path, name, start):
    figure = result.plot(tmp_path / name, title="a map")
    assert (tmp_path / name).read_bytes().startswith(start)
    assert len(figure.axes) == 3


def test_threads_give_the_bits_of_one(data, result):
    with ThreadPoolExecutor(4) as pool:
        several = list(pool.map(lambda _: vorin.invert2d(data.t1, data.t2, data.D, **GRIDS),
                                range(4)))
    assert all(np.array_equal(one.distribution, result.distribution) for one in several)


def test_a_result_goes_through_pickle(result):
    again = pickle.loads(pickle.dumps(result))
    assert np.array_equal(again.fit, result.fit)
    assert again.bootstrap(20).peaks == result.bootstrap(20).peaks


def test_progress_is_told_and_may_end_the_job(data):
    parts = []
    vorin.invert2d(data.t1, data.t2, data.D, **GRIDS, progress=parts.append)
    assert parts and all(0.0 <= part <= 1.0 for part in parts)

    class Enough(Exception):
        pass

    def stop(_):
        raise Enough

    with pytest.raises(Enough):
        vorin.invert2d(data.t1, data.t2, data.D, **GRIDS, progress=stop)
    with pytest.raises(Enough):
        vorin.invert2d(data.t1, data.t2, data.D, **GRIDS).bootstrap(20, progress=stop)


def test_plain_numbers_go_to_json(result):
    values = json.loads(json.dumps(result.to_dict(), allow_nan=False))
    assert set(values) >= {"grid1", "grid2", "distribution", "weight", "noise",
                           "wanted_standard_error", "standard_error", "status", "success", "total",
                           "log_mean1", "log_mean2", "projection1", "projection2", "peaks"}
    assert len(values["distribution"]) == 30 and len(values["distribution"][0]) == 31


def test_an_instrument_s_set_is_read(measured):
    folder = measured.parent / "instrument_files" / "spinsolve_t1t2"
    if not folder.is_dir():
        pytest.skip("skipped: there are no instrument files")
    read = vorin.read2d(folder)
    assert read.D.dtype == complex and read.D.shape == (read.t1.size, 1024)
    assert read.t1[0] == pytest.approx(1e-3) and read.t2[-1] == pytest.approx(0.1024)
    result = vorin.invert2d(*read, noise="quadrature")
    assert result.success and result.log_mean1 > result.log_mean2


def bad(**changes):
    arguments = {"t1": T1, "t2": T2, "D": np.ones((T1.size, T2.size)), **changes}
    with pytest.raises(vorin.VorinError) as caught:
        vorin.invert2d(arguments.pop("t1"), arguments.pop("t2"), arguments.pop("D"), **arguments)
    sentence = str(caught.value)
    assert "\n" not in sentence and "--" not in sentence
    return sentence


def test_bad_input_gets_its_sentence():
    nan = np.ones((T1.size, T2.size))
    nan[1, 2] = np.nan
    assert "D has shape (24, 299)" in bad(D=np.ones((24, 299)))
    assert "D has shape (7200,)" in bad(D=np.ones(7200))
    assert "row 2, column 3" in bad(D=nan)
    assert "row 2, column 3" in bad(D=nan * 1j + 1)
    assert "every sample is 0" in bad(D=np.zeros((24, 300)))
    assert "does not rise" in bad(t1=T1[::-1])
    assert "t1 has 1 element" in bad(t1=T1[:1], D=np.ones((1, 300)))
    assert 'kernels[1] "t3"' in bad(kernels=("t2", "t3"))
    assert "two are needed" in bad(kernels="t2")
    assert "kernels[0]: the matrix has 3 rows" in bad(kernels=(np.ones((3, 30)), "t2"), **GRIDS)
    assert "grid1" in bad(kernels=(np.ones((24, 30)), "t2"))
    assert "grid1" in bad(grid1=[1.0, 0.5])
    assert 'weight "x": write noise, corner or a number above 0' in bad(weight="x")
    assert "write a number above 0, projection or quadrature" in bad(noise="difference")
    assert "projection|quadrature" in bad(noise="x")
    assert "no imaginary channel" in bad(noise="quadrature")
    assert "noise" in bad(noise=-1.0)


def test_what_is_asked_of_a_result_is_looked_at(result, tmp_path):
    with pytest.raises(vorin.InputValueError, match="t1 is"):
        result.share(t1=(1.0, 0.5))
    with pytest.raises(vorin.InputValueError, match="^n "):
        result.bootstrap(5)
    with pytest.raises(vorin.InputValueError, match=r"regions\[0\]"):
        result.bootstrap(20, regions=[(1, 2, 3)])
    with pytest.raises(vorin.InputValueError, match="must end in"):
        result.plot(tmp_path / "map.txt")
    with pytest.raises(vorin.InputValueError, match="none.csv"):
        vorin.read2d(tmp_path / "none.csv")
    with pytest.raises(vorin.InputValueError, match=r"peaks\[0\]"):
        vorin.simulate2d(T1, T2, [(100.0, 1.0, 0.1, 5.0)])


def test_everything_public_is_described():
    for name in ("invert2d", "read2d", "simulate2d", "plot2d", "Result2D", "Bootstrap2D", "Peak2D",
                 "Spread2D", "Data2D", "Simulation2D"):
        assert inspect.getdoc(getattr(vorin, name)) and name in vorin.__all__
    for parameter in inspect.signature(vorin.invert2d).parameters:
        assert parameter in inspect.getdoc(vorin.invert2d)


def test_a_notebook_shows_both_projections_and_the_peaks(result):
    import xml.etree.ElementTree as xml
    tree = xml.fromstring(result._repr_html_())
    lines = [line.attrib["points"].split() for line in tree.iter("polyline")]
    assert [len(line) for line in lines] == [30, 31]
    for line, grid, projection in zip(lines, (result.grid1, result.grid2),
                                      (result.projection1, result.projection2)):
        height = np.array([102.0 - float(point.split(",")[1]) for point in line])
        # Both grids are evenly spaced in their logarithm; places are written to a tenth.
        assert height == pytest.approx(100.0 * projection / projection.max(), abs=0.06)
    cells = [["".join(cell.itertext()) for cell in row] for row in tree.iter("tr")]
    assert [name for name, _ in cells].count("peak") == len(result.peaks)
    # 60 % at T1 = 500 ms and T2 = 300 ms.
    first = next(value for name, value in cells if name == "peak").split(", ")
    assert float(first[2].rstrip(" %")) == pytest.approx(60.0, abs=1.0)
    assert float(first[3].removeprefix("ratio ")) == pytest.approx(5.0 / 3.0, rel=0.05)


def test_a_map_as_a_table_and_a_data_set(result):
    pytest.importorskip("pandas", reason="skipped: pandas is not installed")
    table = result.to_dataframe()
    assert np.array_equal(table.to_numpy(), result.distribution)
    assert np.array_equal(table.index, result.grid1) and np.array_equal(table.columns, result.grid2)
    pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    data = result.to_xarray()
    assert np.allclose(data["D"] - data["fit"], result.residual, rtol=0.0, atol=1e-12)
    assert np.array_equal(data["distribution"].sum("grid2"), result.distribution.sum(axis=1))
    assert data["grid2"].attrs["units"] == "s" and data.attrs["total"] == result.total


def test_data_that_bring_their_axes_need_none_beside_them(data, result):
    assert vorin.invert2d(data, **GRIDS) == result
    pandas = pytest.importorskip("pandas", reason="skipped: pandas is not installed")
    assert vorin.invert2d(pandas.DataFrame(data.D, index=data.t1, columns=data.t2),
                          **GRIDS) == result
    xarray = pytest.importorskip("xarray", reason="skipped: xarray is not installed")
    array = xarray.DataArray(data.D, dims=("delay", "echo"),
                             coords={"delay": data.t1, "echo": data.t2})
    assert vorin.invert2d(array, **GRIDS) == result
    in_ms = array.assign_coords(echo=("echo", 1e3 * data.t2, {"units": "ms"}))
    for given in ((in_ms,), (data.t1, in_ms.coords["echo"], data.D)):
        found = vorin.invert2d(*given, **GRIDS)
        assert found.t2 == pytest.approx(data.t2, rel=1e-12)
        assert found.total == pytest.approx(result.total, rel=1e-6)


@pytest.mark.parametrize("given, message", [
    ((T1, T2), "D is missing; give t1, t2 and D"),
    ((T1,), "t2 and D are missing"),
    (("data.csv",), "t1 is the name of a file; vorin.read2d reads it"),
])
def test_what_is_missing_is_named(given, message):
    with pytest.raises(vorin.InputTypeError, match=message):
        vorin.invert2d(*given)


def test_masked_samples_of_a_map_are_refused(data):
    masked = np.ma.masked_greater(data.D, 90.0)
    with pytest.raises(vorin.InputValueError, match="D has masked elements"):
        vorin.invert2d(data.t1, data.t2, masked)
