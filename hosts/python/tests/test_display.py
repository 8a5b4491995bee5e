"""What a notebook shows for the name of a result."""

import xml.etree.ElementTree as xml

import numpy as np
import pytest

import vorin


def parsed(result):
    tree = xml.fromstring(result._repr_html_())
    cells = [("".join(row[0].itertext()), "".join(row[1].itertext())) for row in tree.iter("tr")]
    return tree, cells


def test_the_picture_is_the_distribution(decay):
    result = vorin.invert(decay.t, decay.y)
    tree, cells = parsed(result)
    line = next(tree.iter("polyline")).attrib["points"].split()
    height = np.array([102.0 - float(point.split(",")[1]) for point in line])
    assert height.size == result.grid.size and height.max() == pytest.approx(100.0)
    # The grid is evenly spaced in its logarithm; places are written to a tenth.
    assert height == pytest.approx(100.0 * result.distribution / result.distribution.max(), abs=0.06)
    names = [name for name, _ in cells]
    assert names.count("peak") == len(result.peaks())
    assert dict(cells)["log mean"].endswith(" ms")
    assert float(dict(cells)["log mean"].split()[0]) == pytest.approx(1e3 * result.log_mean, rel=1e-3)


@pytest.mark.parametrize("kernel, unit", [("t1-saturation", "s"), ("diffusion", "10⁻⁹ m²/s")])
def test_its_units_are_those_of_the_kernel(kernel, unit):
    grid = (1e-11, 1e-7, 60) if kernel == "diffusion" else (1e-2, 10.0, 60)
    t = np.linspace(0.0, 4e9, 40) if kernel == "diffusion" else np.geomspace(1e-2, 8.0, 40)
    centre = 1e-9 if kernel == "diffusion" else 0.5
    made = vorin.simulate(t, [(centre, 0.1, 1.0)], noise=0.002, kernel=kernel, grid=grid)
    _, cells = parsed(vorin.invert(made.t, made.y, kernel=kernel, grid=grid))
    assert dict(cells)["log mean"].endswith(f" {unit}")


def test_an_empty_distribution_has_a_table_only():
    t = np.arange(1, 41) * 1e-3
    tree, cells = parsed(vorin.invert(t, -np.exp(-t / 0.01), weight=1.0))
    assert not list(tree.iter("svg")) and "log mean" not in dict(cells)
