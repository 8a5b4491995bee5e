"""The library as it is: what the methods pass, give back and refuse."""

import threading

import numpy as np
import pytest
from conftest import ROOT

import vorin
from vorin import InputTypeError, InputValueError, LibraryNotFound
from vorin.exports import AT_LEAST, EXPORTS, REPEATS

NF, NG = 60, 12
GRID = np.geomspace(0.003, 0.3, NG)
KERNEL = np.asfortranarray(np.exp(-0.002 * np.arange(1, NF + 1)[:, None] / GRID), np.float32)
DATA = (KERNEL @ np.linspace(0.0, 1.0, NG)).astype(np.float32)


def test_instances_of_one_file_share_its_state_and_its_lock(fresh):
    with vorin.Library() as other:
        fresh.VorinSQR("S", "MAXI", 77.0)
        assert other.get("MAXI") == 77.0 and other.lock is fresh.lock


def test_the_package_s_functions_do_not_touch_the_library_s_state(fresh):
    fresh.set("TARG", "WEIG")
    fresh.set("WEIG", 5.0)
    made = vorin.simulate(0.01 * np.arange(1, 60), noise=0.5)
    assert vorin.invert(made.t, made.y).weight_origin == "automatic"
    assert fresh.get("TARG") == "WEIG" and fresh.get("WEIG") == 5.0 and fresh.get("CWEI") != 5.0


def test_a_closed_instance_refuses_calls():
    with vorin.Library() as instance:
        pass
    with pytest.raises(InputValueError, match="closed"):
        instance.sum(1, 2)
    instance.close()  # again does nothing
    assert "closed" in repr(instance)


def test_nothing_is_left_where_the_library_lies_nor_in_the_folder_for_temporary_files(
        tmp_path, monkeypatch):
    monkeypatch.setenv("TMPDIR", str(tmp_path))
    monkeypatch.setattr("tempfile.tempdir", None)
    with vorin.Library() as instance:
        assert list(tmp_path.iterdir()) == []
        assert instance.sum(2, 3) == 5


def test_an_inversion_leaves_no_log_unless_asked_to(tmp_path):
    with vorin.Library() as quiet:
        quiet.Vorin_s(NF, NG, KERNEL, DATA)
        assert list(tmp_path.iterdir()) == []
    with vorin.Library(log=True) as logging:
        assert logging.get("FLOG") == "Vorin"
        logging.Vorin_s(NF, NG, KERNEL, DATA)
        assert [path.name for path in tmp_path.iterdir()] == ["Vorin.log"]


def test_the_caller_s_arrays_are_filled_in_place(fresh):
    F, status = np.zeros(NG, np.float32), np.full(1, -5, np.int32)
    answer = fresh.Vorin_s(NF, NG, KERNEL, DATA, F, status)
    assert answer.F is F and answer.status == status[0] == 0
    assert F.max() > 0.0
    left_out = fresh.Vorin_s(NF, NG, KERNEL, DATA)
    assert np.array_equal(left_out.F, F)


def test_the_long_form_repeats_sizes_and_gives_the_fit(fresh):
    t = 0.002 * np.arange(1, NF + 1, dtype=np.float32)
    W = np.full(NF, 7.0, np.float32)
    answer = fresh.Voriny_s(NF, NG, None, None, KERNEL, t, DATA, W, GRID.astype(np.float32))
    assert answer.W is W and np.all(W == 1.0)
    assert np.allclose(answer.FIT, KERNEL.astype(float) @ answer.F, rtol=1e-5)


def test_double_precision_arrays_stay_double(fresh):
    answer = fresh.Vorin_d(NF, NG, np.asfortranarray(KERNEL, float), DATA.astype(float))
    assert answer.F.dtype == np.float64 and np.array_equal(answer.F, answer.F.astype(np.float32))


def test_sums(library):
    assert library.sum(2, 3) == library.fadd_i4b_dll(2, 3) == library.fadd_dp_dll(2, 3) == 5
    assert library.sadd_i4b_dll(2, 3) == 5
    assert library.sadd_dp_dll(0.5, 0.25) == 0.75
    assert library.sum(2**31 - 1, 1) == -(2**31)


def test_store(fresh):
    assert fresh.VorinSQR("Q", "REPO") == (1.0, 0)
    assert fresh.VorinSQI("Q", "PRHI").value == 0 and fresh.VorinSQR("Q", "PRHI").value == -1.0
    assert fresh.VorinSQR("X", "REPO", 9.0).status == 1
    fresh.VorinSQR("I", "    ")
    assert fresh.get("REPO") == 2.0 and fresh.get("RSIG") == pytest.approx(0.2)
    fresh.VorinSQC("S", "FLOG", "run1.log")
    assert fresh.VorinSQC("Q", "FLOG").text == "RUN1.LOG"
    assert fresh.VorinSQC2("Q", "VERS").text == "Vorin10.56"
    text = bytearray(b"x" * 12)
    fresh.VorinSQC("Q", "VERS", text)
    assert text == b"Vorin10.56  "
    value = np.zeros(1, np.float32)
    assert fresh.VorinSQR("Q", "CSIG", value).value == value[0] == 99.0


def test_get_and_set_know_which_keys_there_are(fresh):
    fresh.set("MAXI", 70)
    fresh.set("prmo", "LIN")
    assert fresh.get("maxi") == 70.0 and fresh.get("PRMO") == "LIN"
    for call in (lambda: fresh.get("NOPE"), lambda: fresh.set("NOPE", 1)):
        with pytest.raises(InputValueError, match="no such key"):
            call()


def test_numbers_as_text(library):
    assert library.CHToString_dp(value=1000.0) == " 1000"
    assert library.CHToString_i4b(value=-12) == "-12"
    assert library.CHGetFormat_dp(np.array([1.0, 2.0]), 2, 8).text == "(I8)"
    assert library.CHToString3_dp(value=12.5, w=13, d=6, lower=0.1, upper=1e6, fmin=10).strip() == (
        "12.500000")


def test_difference_noise_is_its_closed_form(library):
    x = np.random.default_rng(4).standard_normal(500).astype(np.float32)
    first, second = np.diff(x.astype(float)), np.diff(x.astype(float), n=2)
    assert library.VorinSEDiff(2, 500, x) == pytest.approx(np.sqrt(np.mean(first**2) / 2), rel=1e-5)
    assert library.VorinSEDiff(3, 500, x) == pytest.approx(np.sqrt(np.mean(second**2) / 6),
                                                           rel=1e-5)


def test_one_solve_meets_the_conditions_of_the_minimum(fresh):
    fresh.set("BRDA", 3)
    kernel, data, weight = KERNEL.astype(float), DATA.astype(float), 0.05
    answer = fresh.vrBRDw_dp_dll(NF, NG, np.asfortranarray(kernel), data, None, weight)
    gradient = kernel.T @ (kernel @ answer.f - data) + weight * answer.f
    held = answer.f == 0.0
    assert answer.status == 0 and np.all(gradient[held] > -1e-9)
    assert np.max(np.abs(gradient[~held])) < 1e-9
    assert answer.rss == pytest.approx(np.sum((kernel @ answer.f - data) ** 2), rel=1e-8)


def test_non_negative_fits_agree_with_each_other(library):
    a = np.asfortranarray(np.random.default_rng(5).standard_normal((30, 6)))
    b = np.random.default_rng(6).standard_normal(30)
    from solvers import nnls
    expected = nnls(a, b)
    assert library.plsN_dll(a, 30, 6, b).x == pytest.approx(expected, abs=1e-5)
    assert library.plsB_dll(a, 30, 6, b, None, 0).x == pytest.approx(expected, abs=1e-5)
    ridge = library.LUReg_DLL(a, 30, 6, b, None, np.array([2.0]), 0).x
    assert ridge == pytest.approx(np.linalg.solve(a.T @ a + 2 * np.eye(6), a.T @ b), abs=1e-4)
    positive = library.plsReg_DLL(a, 30, 6, b, None, np.array([2.0]), 0)
    normal = a.T @ a + 2 * np.eye(6)
    assert positive.status == 0
    assert positive.x == pytest.approx(nnls(normal, a.T @ b), abs=1e-8)


def test_compression_keeps_the_normal_equations(library):
    answer = library.VorinCompSVD_s(NF, NG, NF, NG, KERNEL, DATA, -1.0, NG)
    assert answer.count == NG and answer.Kc.flags.f_contiguous
    normal = KERNEL.astype(float).T @ KERNEL
    assert answer.Kc.astype(float).T @ answer.Kc == pytest.approx(normal, rel=1e-4)


def test_pruning_gives_a_map_of_rows_of_norm_one(library):
    t = np.arange(1, NF + 1, dtype=np.float32)
    answer = library.VorinPruneZ(NF, NF, 20, DATA, t, np.ones(NF, np.float32), 1, -1, 12, 1)
    rows = answer.P[:answer.count - 1].astype(float)
    assert np.sum(rows**2, axis=1) == pytest.approx(np.ones(len(rows)), rel=1e-5)
    assert rows @ DATA == pytest.approx(answer.yPruned[:len(rows)], rel=1e-5)


GOOD = {"nf": NF, "ng": NG, "K": KERNEL, "Y": DATA}
READ_ONLY = np.zeros(NG, np.float32)
READ_ONLY.setflags(write=False)
UNALIGNED = np.zeros(4 * NG + 1, np.uint8)[1:].view(np.float32)


@pytest.mark.parametrize("change, kind, words", [
    ({"K": KERNEL.astype(float)}, TypeError, "K is an array of float64; one of float32 is required"),
    ({"K": KERNEL.astype(">f4")}, TypeError, "K is an array of >f4"),
    ({"K": KERNEL.tolist()}, TypeError, "K is of type list; a numpy array of float32 is required"),
    ({"K": None}, TypeError, "K is missing; a numpy array of float32 is required"),
    ({"K": np.ascontiguousarray(KERNEL)}, ValueError, "K is not contiguous in column-major order"),
    ({"K": KERNEL[:-1]}, ValueError, r"K has shape \(59, 12\); \(60, 12\) is required \(nf, ng\)"),
    ({"K": KERNEL.T}, ValueError, r"K has shape \(12, 60\)"),
    ({"Y": DATA[:-1]}, ValueError, r"Y has shape \(59,\); \(60,\) is required \(nf\)"),
    ({"Y": np.repeat(DATA, 2)[::2]}, ValueError, "Y is not contiguous"),
    ({"nf": 60.0}, TypeError, "nf is of type float; a whole number is required"),
    ({"nf": None}, TypeError, "nf is missing; a whole number is required"),
    ({"nf": 2**31}, ValueError, "nf is 2147483648; a 32-bit integer is required"),
    ({"F": READ_ONLY}, ValueError, "F is read-only; the call writes to it"),
    ({"F": np.zeros(NG)}, TypeError, "F is an array of float64"),
    ({"F": UNALIGNED}, ValueError, "F is not aligned in memory"),
    ({"status": 3}, TypeError, "status is of type int; an array of 1 int32 is required, or none"),
    ({"status": np.zeros(2, np.int32)}, ValueError, "status has 2 elements; an array of 1"),
    ({"status": np.zeros(1)}, TypeError, "status is an array of float64; one of int32"),
    ({"Q": 3}, TypeError, "unexpected keyword argument 'Q'; its arguments are nf, ng, K, Y, F"),
])
def test_a_bad_argument_is_named_before_the_call(library, change, kind, words):
    with pytest.raises(kind, match=words) as caught:
        library.Vorin_s(**{**GOOD, **change})
    assert isinstance(caught.value, vorin.VorinError)
    assert str(caught.value).startswith("Vorin_s: ")


@pytest.mark.parametrize("call, kind, words", [
    (lambda lib: lib.VorinSQR("SS", "MAXI", 1.0), ValueError, "mode b'SS' has 2 characters"),
    (lambda lib: lib.VorinSQR("S", "MAXIM", 1.0), ValueError, "key b'MAXIM' has 5 characters; 4"),
    (lambda lib: lib.VorinSQR(1, "MAXI", 1.0), TypeError, "mode is of type int; a text"),
    (lambda lib: lib.VorinSQR("S", "MÄXI", 1.0), ValueError, "beyond ASCII"),
    (lambda lib: lib.VorinSQR("S", "MAXI"), TypeError, "value is missing; mode S stores it"),
    (lambda lib: lib.VorinSQR("S", "MAXI", "1"), TypeError, "value is of type str; a number"),
    (lambda lib: lib.VorinSQR("S", "MAXI", 1j), TypeError, "value is of type complex"),
    (lambda lib: lib.VorinSQC("S", "TARG"), TypeError, "text is missing; mode S stores it"),
    (lambda lib: lib.VorinSQC("S", "TARG", 3), TypeError, "of type int"),
    (lambda lib: lib.VorinSQC("Q", "TARG", bytearray(3), 5), ValueError, "3 bytes; 5 are required"),
    (lambda lib: lib.VorinSQC("S", "FLOG", "☃"), ValueError, "more than a byte"),
    (lambda lib: lib.Voriny_s(NF, NG, NF + 1), ValueError, "nfAddress is 61; 60 is required"),
    (lambda lib: lib.VorinPruneZ(5, 4, 3, *[None] * 3, 1, 1, 3, 1), ValueError,
     "ldPoints is 4; at least nPoints, 5"),
    (lambda lib: lib.VorinCompSVD_s(NF, NG, NF, 3, KERNEL, DATA, 0.0, 3),
     ValueError, "ldC is 3; at least n, 12"),
    (lambda lib: lib.VorinCompSVD2_s(NF, NG, NF, NF, KERNEL, DATA, 0.0, 3, Kc=KERNEL), ValueError,
     "Kc and K share memory"),
    (lambda lib: lib.VorinSEDiff(3, 5, np.zeros(4, np.float32)), ValueError, "x has shape"),
    (lambda lib: lib.plsReg_DLL(np.zeros((2, 2), order="F"), 2, 2, np.zeros(2), None,
                                np.zeros(1), 1), ValueError, "lambda_ has shape"),
])
def test_what_the_library_cannot_check_is_refused(library, call, kind, words):
    with pytest.raises(kind, match=words):
        call(library)


def test_sizes_below_zero_are_empty_arrays(library):
    assert library.VorinSEDiff(3, -4, np.zeros(0, np.float32)) == 0.0
    answer = library.plsB_dll(np.zeros((0, 3), order="F"), -1, 3, np.zeros(0), None, 0)
    assert answer.status == 1 and np.all(answer.x == 0.0)


@pytest.mark.parametrize("name", EXPORTS)
def test_small_and_empty_sizes_come_back(fresh, name):
    """Arrays of exactly the stated shapes are enough, whatever the sizes and settings."""
    rng = np.random.default_rng(sum(map(ord, name)))
    export = EXPORTS[name]
    kinds = {"i": np.int32, "f": np.float32, "d": np.float64}
    called = 0
    for _ in range(60):
        fresh.set("BRDA", int(rng.integers(1, 4)))
        fresh.set("TARG", str(rng.choice(["WEIG", "NOISE", "2"])))
        fresh.set("PRMO", str(rng.choice(["LOG", "LIN", "NONE"])))
        fresh.set("SVDN", int(rng.integers(0, 4)))
        sizes = {a.name: int(rng.integers(-1, 8)) for a in export.arguments if a.type == "i"}
        sizes.update({repeated: sizes[of] for repeated, of in REPEATS.items() if repeated in sizes})
        for larger, smaller in AT_LEAST.get(name, ()):
            sizes[larger] = max(sizes[larger], sizes[smaller])
        arguments = []
        for a in export.arguments:
            if a.type == "c":
                arguments.append({"mode": "Q", "key": "MAXI"}.get(a.name))
            elif a.is_array:
                values = rng.standard_normal(a.dimensions(sizes))
                arguments.append(np.asfortranarray(np.cumsum(np.abs(values)).reshape(values.shape)
                                                   if a.name in ("t", "T") else values,
                                                   dtype=kinds[a.type]))
            elif a.type == "i":
                arguments.append(sizes[a.name] if a.read else None)
            else:
                arguments.append(float(rng.uniform(0.1, 2.0)) if a.read and a.type != "v" else None)
        try:
            getattr(fresh, name)(*arguments)
        except InputValueError as error:
            assert "share memory" in str(error)
        else:
            called += 1
    assert called > 0


def test_the_places_where_the_library_is_searched(tmp_path, monkeypatch):
    real = vorin.find_library()
    monkeypatch.setenv("VORIN_LIBRARY", str(real))
    assert vorin.find_library() == real and vorin.find_library(tmp_path / ".." / real) is not None
    monkeypatch.setenv("VORIN_LIBRARY", str(tmp_path / "none.so"))
    with pytest.raises(LibraryNotFound, match="VORIN_LIBRARY .*there is no such file"):
        vorin.find_library()
    with pytest.raises(LibraryNotFound, match="path .*there is no such file"):
        vorin.Library(tmp_path / "none.so")
    monkeypatch.delenv("VORIN_LIBRARY")
    monkeypatch.delenv("VORIN_TOOLKIT", raising=False)
    monkeypatch.setattr("vorin.loading._candidates", lambda product: iter(()))
    monkeypatch.setattr("vorin.loading._on_search_path", lambda names: None)
    for find in (vorin.find_library, vorin.find_toolkit):
        with pytest.raises(LibraryNotFound, match="is not beside this package"):
            find()


@pytest.mark.parametrize("find, variable, name, other, other_name", [
    (vorin.find_toolkit, "VORIN_TOOLKIT", "libvorin_toolkit.so", "VORIN_LIBRARY",
     "libVorin01056.so"),
    (vorin.find_library, "VORIN_LIBRARY", "libVorin01056.so", "VORIN_TOOLKIT",
     "libvorin_toolkit.so"),
])
def test_a_variable_names_a_file_and_the_other_its_folder(tmp_path, monkeypatch, find, variable,
                                                          name, other, other_name):
    real = find()
    monkeypatch.setenv(variable, str(real))
    assert find() == real
    monkeypatch.setenv(variable, str(tmp_path / "none.so"))
    with pytest.raises(LibraryNotFound, match=f"{variable} .*there is no such file"):
        find()
    monkeypatch.delenv(variable)
    beside = tmp_path / name
    beside.write_bytes(b"")
    monkeypatch.setenv(other, str(tmp_path / other_name))
    assert find() == beside


def test_the_command_is_found_or_the_places_are_named(tmp_path, monkeypatch):
    from vorin import loading

    monkeypatch.setattr(loading, "_PACKAGE", tmp_path)
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(LibraryNotFound, match="the command vorin is not in this package"):
        loading.find_program()
    (tmp_path / "vorin").write_text("#!/bin/sh\n")
    (tmp_path / "vorin").chmod(0o755)
    assert loading.find_program() == tmp_path / "vorin"
    (tmp_path / "runtime").mkdir()
    (tmp_path / "runtime" / "vorin").write_bytes(b"")
    assert loading.find_program() == tmp_path / "runtime" / "vorin"
    assert loading.with_runtime({"LD_LIBRARY_PATH": "/x"}) == {
        "LD_LIBRARY_PATH": f"{tmp_path / 'runtime'}:/x"}


def test_a_file_that_is_not_a_library_is_refused():
    with pytest.raises(LibraryNotFound, match="can't be loaded"):
        vorin.Library(ROOT / "README.md")


def test_another_library_is_refused():
    import _ctypes
    with pytest.raises(ValueError, match="it has no function Vorin_s"):
        vorin.Library(_ctypes.__file__)


def test_calls_on_one_instance_wait_for_each_other(fresh):
    started, answers = threading.Event(), []

    def work():
        started.set()
        answers.append(fresh.sum(1, 1))

    with fresh.lock:
        thread = threading.Thread(target=work)
        thread.start()
        started.wait()
        thread.join(0.05)
        assert answers == []
    thread.join()
    assert answers == [2]


def test_input_errors_are_of_the_built_in_kinds():
    assert issubclass(InputTypeError, TypeError) and issubclass(InputValueError, ValueError)
    assert issubclass(LibraryNotFound, OSError)
