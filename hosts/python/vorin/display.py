"""A result as HTML, for notebooks: a small picture of the distribution and a table."""

from __future__ import annotations

import html
import math
from typing import TYPE_CHECKING, List, Tuple

import numpy as np

from .measures import per_decade
from .toolkit import job

if TYPE_CHECKING:
    from .result import Result

_WIDTH, _HEIGHT, _MARGIN = 360, 120, 18


def result_html(result: "Result") -> str:
    """Distribution, fit quality and peaks of an inversion."""
    rows = "".join(f"<tr><th style='text-align:left'>{html.escape(name)}</th>"
                   f"<td style='text-align:left'>{html.escape(value)}</td></tr>"
                   for name, value in _rows(result))
    return f"<div>{_picture(result)}<table>{rows}</table></div>"


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
    axes = job("vorin_picture_axes", result.kernel.encode(), float(result.t[-1]),
               float(result.grid[-1]))
    return axes.text("grid_unit"), axes.number("grid_unit_size")


def _short(value: float) -> str:
    """Three places, and no exponent where the number stays short without one."""
    return f"{value:.0f}" if 1e3 <= value < 1e6 else f"{value:.3g}"


def _picture(result: "Result") -> str:
    """The amplitude per decade over the logarithm of the grid, as SVG."""
    density = per_decade(result.grid, result.distribution)
    highest = float(density.max())
    if not highest > 0.0:
        return ""
    logarithm = np.log10(result.grid)
    x = _WIDTH * (logarithm - logarithm[0]) / (logarithm[-1] - logarithm[0])
    floor = _HEIGHT - _MARGIN
    y = floor - (floor - 2.0) * density / highest
    points = " ".join(f"{a:.1f},{b:.1f}" for a, b in zip(x, y))
    unit, size = _grid_unit(result)
    ends = [f"{_short(value / size)} {unit}".rstrip() for value in (result.grid[0], result.grid[-1])]
    return (f'<svg width="{_WIDTH}" height="{_HEIGHT}" viewBox="0 0 {_WIDTH} {_HEIGHT}" '
            f'role="img" aria-label="distribution">'
            f'<polygon points="0,{floor} {points} {_WIDTH},{floor}" fill="#2d5d9b" '
            f'fill-opacity="0.25"/><polyline points="{points}" fill="none" stroke="#2d5d9b"/>'
            f'<line x1="0" y1="{floor}" x2="{_WIDTH}" y2="{floor}" stroke="#303030"/>'
            f'<text x="0" y="{_HEIGHT - 4}" font-size="11">{html.escape(ends[0])}</text>'
            f'<text x="{_WIDTH}" y="{_HEIGHT - 4}" font-size="11" text-anchor="end">'
            f'{html.escape(ends[1])}</text></svg>')
