"""Every argument that can't be used gets one sentence that names it."""

import numpy as np
import pytest

import vorin

T, Y = np.array([0.1, 0.2, 0.3, 0.4, 0.5]), np.array([5.0, 4.0, 3.0, 2.5, 2.0])
NAN, INF = float("nan"), float("inf")


@pytest.mark.parametrize("change, kind, words", [
    ({"t": ["a", "b"]}, TypeError, "t holds <U1 values; numbers are required"),
    ({"t": None}, TypeError, "t holds object values; numbers are required"),
    ({"t": [[1, 2], [3]]}, (TypeError, ValueError), "t (is not an array|holds object)"),
    ({"t": T * 1j}, TypeError, "t is complex; real numbers are required"),
    ({"t": T.reshape(1, 5)}, ValueError, r"t has shape \(1, 5\); 1 dimension is required"),
    ({"t": [1.0], "y": [1.0]}, ValueError, "t has 1 element; 2 or more are required"),
    ({"t": [], "y": []}, (TypeError, ValueError), "t has 0 elements"),
    ({"t": [0.1, NAN, 0.3, 0.4, 0.5]}, ValueError, r"t\[1\] is not a finite number"),
    ({"t": [-0.1, 0.2, 0.3, 0.4, 0.5]}, ValueError, r"t\[0\] is -0.1; times are 0 or above"),
    ({"t": [0.1, 0.3, 0.2, 0.4, 0.5]}, ValueError, r"t\[2\] is 0.2 and does not rise above"),
    ({"t": [0.1, 0.2, 0.2, 0.4, 0.5]}, ValueError, r"t\[2\] is 0.2 and does not rise"),
    ({"t": [0.1, 0.2, 0.3, 0.4, 1e31]}, ValueError, r"t\[4\] is 1e\+31; times are 1e\+30 at most"),
    ({"y": Y[:4]}, ValueError, "y has 4 samples and t has 5; each sample needs a time"),
    ({"y": [1.0, NAN, 1.0, 1.0, 1.0]}, ValueError, r"y\[1\] is not a finite number; leave out"),
    ({"y": [1.0, 2j, INF * 1j, 1.0, 1.0]}, ValueError, r"y\[2\] is not a finite number"),
    ({"y": np.zeros(5)}, ValueError, "y is 0 everywhere; a decay has a signal"),
    ({"y": "abc"}, TypeError, "y holds <U3 values"),
    ({"y": Y > 3}, TypeError, "y holds bool values"),
    ({"y": np.ones((5, 2))}, ValueError, r"y has shape \(5, 2\); 1 dimension is required"),
    ({"kernel": "t3"}, ValueError, 'kernel "t3": there is no such kernel; write t2, t1-saturation'),
    ({"kernel": 3}, TypeError, "kernel is of type int; a name or a numpy array"),
    ({"kernel": None}, TypeError, "kernel is of type NoneType"),
    ({"kernel": np.ones((5, 3))}, ValueError, "grid is missing; a kernel of your own needs"),
    ({"kernel": np.ones((5, 3)), "grid": [1, 2]}, ValueError, "kernel own: the matrix has 5 rows and 3 columns"),
    ({"kernel": np.ones(5), "grid": [1, 2]}, ValueError, r"kernel has shape \(5,\); 2 dimensions"),
    ({"kernel": np.full((5, 2), NAN), "grid": [1, 2]}, ValueError, r"kernel\[0, 0\] is nan; numbers that single precision holds"),
    ({"kernel": np.full((5, 2), 1e39), "grid": [1, 2]}, ValueError, r"kernel\[0, 0\] is 1e\+39; numbers that single precision holds"),
    ({"grid": "fine"}, TypeError, "grid is of type str; an array of rising values"),
    ({"grid": [1.0]}, ValueError, r"grid has shape \(1,\); one dimension with 2 values"),
    ({"grid": [1.0, NAN]}, ValueError, r"grid\[1\] is not a finite number"),
    ({"grid": [0.0, 1.0]}, ValueError, "grid does not rise from above 0"),
    ({"grid": [2.0, 1.0]}, ValueError, "grid does not rise from above 0"),
    ({"grid": (1.0, 0.1, 50)}, ValueError, "the values must be above 0 and rise"),
    ({"grid": (0.1, 1.0, 1)}, ValueError, "the count must be from 2 to 10000"),
    ({"grid": (0.1, 1.0, 2.5)}, ValueError, "the count must be a whole number"),
    ({"grid": ("a", 1.0, 5)}, TypeError, "two numbers and a count are required"),
    ({"weight": "best"}, ValueError, 'weight "best": write noise, corner or a number above 0'),
    ({"weight": 0}, ValueError, 'weight "0.*": write noise, corner or a number above 0'),
    ({"weight": NAN}, ValueError, 'weight "nan": write noise, corner or a number above 0'),
    ({"weight": None}, TypeError, "weight is of type NoneType"),
    ({"weight": True}, TypeError, "weight is of type bool"),
    ({"noise": "loud"}, ValueError, 'noise "loud": write a number above 0, difference, fit'),
    ({"noise": -1.0}, ValueError, 'noise "-1.*": write a number above 0'),
    ({"noise": 5.0}, ValueError, "noise 5 is no less than the largest amplitude, 5"),
    ({"noise": "quadrature"}, ValueError, "the data have no imaginary channel; give data with one"),
    ({"prune": "cubic"}, ValueError, 'prune "cubic": write log, linear or none'),
    ({"prune": None}, TypeError, "prune is of type NoneType; write log, linear or none"),
    ({"prune_points": 9}, ValueError, 'prune_points "9.*": a whole number from 10 to 5000'),
    ({"prune_points": 20.5}, TypeError, "prune_points is of type float; a whole number"),
    ({"compress": 0}, ValueError, 'compress "0": write N or N,RATIO, a whole number from 1 to 10000'),
    ({"compress": (5, 1.0)}, ValueError, 'compress "5,1.0": write N or N,RATIO'),
    ({"compress": "yes"}, TypeError, "compress is of type str"),
    ({"reject_outliers": 0.5}, ValueError, 'reject_outliers "0.5": a number of 1 or above'),
    ({"reject_outliers": "x"}, ValueError, 'reject_outliers "x": a number of 1 or above'),
    ({"reject_outliers": [3]}, TypeError, "reject_outliers is of type list"),
    ({"reject_outliers": ("robust", 0.5)}, ValueError, 'reject_outliers "robust,0.5": a number of 1'),
    ({"reject_outliers": True, "prune": "none"}, ValueError,
     "reject_outliers with prune none: the library keeps outliers out of bins"),
    ({"skip": -1}, ValueError, 'skip "-1.*": a whole number from 0 to 3 is required'),
    ({"skip": 4}, ValueError, 'skip "4.*": a whole number from 0 to 3 is required'),
    ({"skip": 1.5}, TypeError, "skip is of type float"),
    ({"skip": 1, "y": Y[:4]}, ValueError, "y has 4 samples and t has 5"),
    ({"settings": ["MAXI"]}, TypeError, "settings is of type list; a mapping"),
    ({"settings": {1: 2}}, TypeError, "settings: the key 1 is not a text"),
    ({"settings": {"NOPE": 1}}, ValueError, 'settings "NOPE=1.*": the library has no such key'),
    ({"settings": {"MAXI": "many"}}, ValueError, 'settings "MAXI=many": MAXI takes a number'),
    ({"settings": {"MAXI": INF}}, ValueError, 'settings "MAXI=inf": MAXI takes a number'),
    ({"settings": {"TARG": "BEST"}}, ValueError, 'settings "TARG=BEST": the words that TARG takes are WEIG NOISE 2'),
    ({"settings": {"TARG": None}}, TypeError, r"settings\['TARG'\] is of type NoneType"),
    ({"settings": {"VERN": 2}}, ValueError, "can be read only"),
    ({"settings": {"FLOG": "x"}}, ValueError, "the log's name is given by log"),
    ({"settings": {"sig": 1}}, ValueError, "the noise is given by noise"),
    ({"settings": {"MAXI": True}}, TypeError, r"settings\['MAXI'\] is of type bool"),
    ({"log": "no/such/folder.log"}, ValueError, "there is no folder"),
    ({"log": "."}, ValueError, "this is a folder; give the name of a file"),
    ({"t": T[:4], "y": np.exp(-T[:4])}, ValueError, "the data show no noise to aim the fit at"),
    ({"noise": "difference", "t": [1, 2], "y": [3, 2]}, ValueError, "the data show no noise"),
])
def test_one_sentence_names_the_argument(tmp_path, change, kind, words):
    with pytest.raises(kind, match=words) as caught:
        vorin.invert(**{"t": T, "y": Y, **change})
    assert isinstance(caught.value, vorin.VorinError)
    assert "\n" not in str(caught.value)
    assert list(tmp_path.iterdir()) == []


def test_what_comes_behind_the_data_is_named():
    with pytest.raises(TypeError):
        vorin.invert(T, Y, "t2")


@pytest.mark.parametrize("call, kind, words", [
    (lambda r: r.bootstrap(5), ValueError, 'n "5": a whole number from 20 to 100000'),
    (lambda r: r.bootstrap(50.0), TypeError, "n is of type float"),
    (lambda r: r.bootstrap(50, "x"), TypeError, "seed is of type str"),
    (lambda r: r.bootstrap(50, -1), ValueError, 'seed "-1": a whole number of 0 or above'),
    (lambda r: r.bootstrap(50, workers=0), ValueError, "workers is 0; a whole number of 1"),
    (lambda r: r.plot("x.txt"), ValueError, "path 'x.txt': the name must end in .png, .pdf, .svg"),
    (lambda r: r.plot(3), TypeError, "path is of type int"),
    (lambda r: r.plot("no/such/x.png"), ValueError, "the picture can't be written"),
    (lambda r: r.plot(truth=3), TypeError, "truth is of type int"),
    (lambda r: r.plot(truth=([2, 1], [1, 1])), ValueError, "truth: a rising grid above 0"),
    (lambda r: vorin.invert_many(T, 3), TypeError, "decays is of type int"),
    (lambda r: vorin.invert_many(T, [Y], log="x"), ValueError, "several inversions would write"),
    (lambda r: vorin.simulate(noise=-1), ValueError, "noise -1.0: a number of 0 or above"),
    (lambda r: vorin.simulate(noise="x"), TypeError, "noise is of type str"),
    (lambda r: vorin.simulate(peaks=[(1, 2)]), ValueError, r"peaks\[0\] is \(1, 2\); time, width"),
    (lambda r: vorin.simulate(kernel="x"), ValueError, 'kernel "x": there is no such kernel'),
])
def test_the_other_functions_name_theirs(call, kind, words):
    result = vorin.invert(T, Y, weight=1.0)
    with pytest.raises(kind, match=words) as caught:
        call(result)
    assert isinstance(caught.value, vorin.VorinError)
