"""Results as HTML, for notebooks: small pictures of the distributions and a table."""

from __future__ import annotations

import html
import math
from typing import TYPE_CHECKING, List, Tuple

import numpy as np

from .arrays import FloatArray
from .measures import per_decade
from .toolkit import job

if TYPE_CHECKING:
    from .result import Result
    from .two_dimensional import Result2D

_WIDTH, _HEIGHT, _MARGIN = 360, 120, 18
#: What the abscissa of each kernel's distribution is called.
_SYMBOLS = {"t2": "T2", "t1-saturation": "T1", "t1-inversion": "T1", "diffusion": "D",
            "t2-epg": "T2"}


def result_html(result: "Result") -> str:
    """Distribution, fit quality and peaks of an inversion."""
    return f"<div>{_picture(result.grid, result.distribution, *_grid_unit(result))}" \
           f"{_table(_rows(result))}</div>"


def map_html(result: "Result2D") -> str:
    """Both projections of a map, fit quality and peaks."""
    grids, projections = (result.grid1, result.grid2), (result.projection1, result.projection2)
    units = [_unit(kernel, float(grid[-1])) for kernel, grid in zip(result.kernels, grids)]
    pictures = "".join(_picture(grid, projection, *unit, _SYMBOLS.get(kernel, ""))
                       for grid, projection, unit, kernel
                       in zip(grids, projections, units, result.kernels))
    rows = [("status", result.status_text),
            ("kernels", f"{result.kernels[0]}, {result.kernels[1]}, {result.t1.size} x "
                        f"{result.t2.size} samples, {result.grid1.size} x {result.grid2.size} map"),
            ("weight", f"{result.weight:.4g} ({result.weight_origin})")]
    if math.isfinite(result.noise):
        rows.append(("noise", f"{result.noise:.4g} ({result.noise_origin})"))
    rows.append(("total", f"{result.total:.4g}"))
    for peak in result.peaks:
        places = [f"{place / size:.3g} {unit}".rstrip() for place, (unit, size)
                  in zip((peak.position1, peak.position2), units)]
        ratio = "" if peak.ratio is None else f", ratio {peak.ratio:.3g}"
        rows.append(("peak", f"{places[0]}, {places[1]}, {100.0 * peak.share:.1f} %{ratio}"))
    return f"<div>{pictures}{_table(rows)}</div>"


def _table(rows: List[Tuple[str, str]]) -> str:
    lines = "".join(f"<tr><th style='text-align:left'>{html.escape(name)}</th>"
                    f"<td style='text-align:left'>{html.escape(value)}</td></tr>"
                    for name, value in rows)
    return f"<table>{lines}</table>"


def _rows(result: "Result") -> List[Tuple[str, str]]:
    unit, size = _grid_unit(result)
    rows = [("status", result.outcome),
            ("kernel", f"{result.kernel}, {result.t.size} samples, {result.grid.size} grid values"),
            ("weight", f"{result.weight:.4g} ({result.weight_origin})")]
    if math.isfinite(result.noise):
        rows.append(("noise", f"{result.noise:.4g} ({result.noise_origin}), signal to noise "
                              f"{result.signal_to_noise:.3g}"))
    rows += [("standard error", f"{result.standard_error:.4g}"),
             ("total", f"{result.total:.4g}")]
    if math.isfinite(result.log_mean):
        rows.append(("log mean", f"{result.log_mean / size:.4g} {unit}".rstrip()))
    rows += [("peak", f"{peak.position / size:.3g} {unit}, {100.0 * peak.share:.1f} %, "
                      f"{peak.width:.2f} decades wide") for peak in result.peaks()]
    return rows


def _grid_unit(result: "Result") -> Tuple[str, float]:
    return _unit(result.kernel, float(result.grid[-1]))


def _unit(kernel: str, last: float) -> Tuple[str, float]:
    """The unit of a grid that ends at ``last``, and its size in SI units."""
    axes = job("vorin_picture_axes", kernel.encode(), last, last)
    return axes.text("grid_unit"), axes.number("grid_unit_size")


def _short(value: float) -> str:
    """Three places, and no exponent where the number stays short without one."""
    return f"{value:.0f}" if 1e3 <= value < 1e6 else f"{value:.3g}"


def _picture(grid: FloatArray, distribution: FloatArray, unit: str, size: float,
             symbol: str = "") -> str:
    """The amplitude per decade over the logarithm of the grid, as SVG.

    Line and texts have the colour of the page's text, which may be light.
    """
    density = per_decade(grid, distribution)
    highest = float(density.max())
    if not highest > 0.0:
        return ""
    logarithm = np.log10(grid)
    x = _WIDTH * (logarithm - logarithm[0]) / (logarithm[-1] - logarithm[0])
    floor = _HEIGHT - _MARGIN
    y = floor - (floor - 2.0) * density / highest
    points = " ".join(f"{a:.1f},{b:.1f}" for a, b in zip(x, y))
    ends = [f"{_short(value / size)} {unit}".rstrip() for value in (grid[0], grid[-1])]
    ends[0] = f"{symbol} {ends[0]}".strip()
    return (f'<svg style="margin-right: 2em" width="{_WIDTH}" height="{_HEIGHT}" '
            f'viewBox="0 0 {_WIDTH} {_HEIGHT}" '
            f'role="img" aria-label="distribution">'
            f'<polygon points="0,{floor} {points} {_WIDTH},{floor}" fill="#2d5d9b" '
            f'fill-opacity="0.25"/><polyline points="{points}" fill="none" stroke="#2d5d9b"/>'
            f'<line x1="0" y1="{floor}" x2="{_WIDTH}" y2="{floor}" stroke="currentColor"/>'
            f'<text x="0" y="{_HEIGHT - 4}" font-size="11" fill="currentColor">'
            f'{html.escape(ends[0])}</text>'
            f'<text x="{_WIDTH}" y="{_HEIGHT - 4}" font-size="11" fill="currentColor" '
            f'text-anchor="end">'
            f'{html.escape(ends[1])}</text></svg>')
