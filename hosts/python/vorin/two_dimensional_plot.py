"""The picture of a map. matplotlib is imported when one is drawn."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Optional, Tuple, overload

import numpy as np

from .arrays import FloatArray
from .measures import per_decade
from .plotting import _BLUE, _DARK, _RED, _drawn, _plain, _pyplot, _target, _write
from .toolkit import job
from .two_dimensional import SYMBOLS

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

    from .two_dimensional import Result2D

_LEVELS = 12
_LEAST = 0.005  # of the highest cell: where the shading begins
_RATIOS = (1.0, 10.0, 100.0)


@overload
def plot2d(result: "Result2D", path: Any = None, *, title: Optional[str] = None,
           ax: None = None) -> "Figure": ...


@overload
def plot2d(result: "Result2D", path: Any = None, *, title: Optional[str] = None,
           ax: "Axes") -> "Axes": ...


def plot2d(result: "Result2D", path: Any = None, *, title: Optional[str] = None,
           ax: Any = None) -> Any:
    """Draws a map: shading and contours, both projections at the sides, the peaks.

    Where both axes are times, lines mark a ratio of 1, 10 and 100.

    Parameters
    ----------
    result : Result2D
        What :func:`vorin.invert2d` gave.
    path : path-like, optional
        Writes the picture there, as PNG, PDF or SVG by its ending.
    title : str, optional
        Above the picture; weight and standard error without it.
    ax : matplotlib.axes.Axes, optional
        Draws the map alone, there.

    Returns
    -------
    matplotlib.figure.Figure or matplotlib.axes.Axes
        A figure made through pyplot, so that a notebook shows it; closed there once it is
        written. With ``ax`` these axes.

    Raises
    ------
    VorinError
        When matplotlib is not installed.
    """
    if ax is not None:
        axes = _drawn(path, ax, lambda given: _labelled_map(given, result))
        if title is not None:
            axes.set_title(title)
        return axes
    target = _target(path)
    pyplot = _pyplot()
    figure = pyplot.figure(figsize=(7.6, 7.6))
    grid = figure.add_gridspec(2, 2, width_ratios=(4.0, 1.0), height_ratios=(1.0, 4.0),
                               hspace=0.06, wspace=0.06, left=0.12, right=0.97, top=0.92,
                               bottom=0.09)
    axes = figure.add_subplot(grid[1, 0])
    _labelled_map(axes, result)
    _projections(figure, grid, axes, result)
    figure.suptitle(title if title is not None else _title(result), fontsize="large", y=0.97)
    _write(figure, target)
    return figure


def _labelled_map(axes: "Axes", result: "Result2D") -> None:
    first, second = _axis(result, 0), _axis(result, 1)
    _draw_map(axes, result, result.grid2 / second[1], result.grid1 / first[1],
              (second[1], first[1]))
    axes.set_ylabel(first[0])
    axes.set_xlabel(second[0])


def _axis(result: "Result2D", index: int) -> Tuple[str, float]:
    """The label of an axis of the map, and the size of its unit."""
    last = float((result.grid1, result.grid2)[index][-1])
    if result.both_are_times:  # one unit, so that the lines of equal ratio can be read
        last = float(max(result.grid1[-1], result.grid2[-1]))
    fields = job("vorin_picture_axes", result.kernels[index].encode(), last, last)
    return fields.text("grid_label"), fields.number("grid_unit_size")


def _draw_map(axes: "Axes", result: "Result2D", x: FloatArray, y: FloatArray,
              sizes: Any) -> None:
    highest = float(np.max(result.distribution))
    if highest > 0.0:
        # cividis is read alike by all kinds of colour vision.
        levels = highest * np.geomspace(_LEAST, 1.0, _LEVELS)
        shaded = np.maximum(result.distribution, 0.1 * levels[0])  # 0 has no logarithm
        axes.contourf(x, y, shaded, levels=levels, cmap="cividis_r", extend="neither",
                      norm=_logarithmic(levels))
        axes.contour(x, y, shaded, levels=levels[1::2], colors=_DARK, linewidths=0.5)
    axes.set_xscale("log")
    axes.set_yscale("log")
    axes.set_xlim(x[0], x[-1])
    axes.set_ylim(y[0], y[-1])
    if result.both_are_times:
        for ratio, style in zip(_RATIOS, ("-", "--", ":")):
            axes.plot(x, ratio * x, color=_DARK, linewidth=0.9, linestyle=style,
                      label=f"{ratio:g} : 1")
        axes.legend(loc="lower right", fontsize="small", frameon=False,
                    title=" : ".join(SYMBOLS[name] for name in result.kernels), title_fontsize="small")
    for peak in result.peaks:
        axes.plot(peak.position2 / sizes[0], peak.position1 / sizes[1], "+", color=_RED,
                  markersize=9, markeredgewidth=1.5)
        axes.annotate(f"{100.0 * peak.share:.1f} %",
                      (peak.position2 / sizes[0], peak.position1 / sizes[1]),
                      textcoords="offset points", xytext=(9, 7), fontsize="small", color=_DARK,
                      bbox={"boxstyle": "round,pad=0.15", "facecolor": "white", "alpha": 0.8,
                            "linewidth": 0.0})
    _plain(axes)


def _logarithmic(levels: FloatArray) -> Any:
    from matplotlib.colors import LogNorm

    return LogNorm(float(levels[0]), float(levels[-1]))


def _projections(figure: "Figure", grid: Any, axes: "Axes", result: "Result2D") -> None:
    y, x = result.grid1 / _axis(result, 0)[1], result.grid2 / _axis(result, 1)[1]
    above = figure.add_subplot(grid[0, 0], sharex=axes)
    beside = figure.add_subplot(grid[1, 1], sharey=axes)
    over2 = per_decade(result.grid2, result.projection2)
    over1 = per_decade(result.grid1, result.projection1)
    above.fill_between(x, over2, color=_BLUE, alpha=0.3, linewidth=0)
    above.plot(x, over2, color=_BLUE, linewidth=1.5)
    beside.fill_betweenx(y, over1, color=_BLUE, alpha=0.3, linewidth=0)
    beside.plot(over1, y, color=_BLUE, linewidth=1.5)
    above.set_ylim(bottom=0.0)
    beside.set_xlim(left=0.0)
    above.set_ylabel("per decade")
    beside.set_xlabel("per decade")
    above.tick_params(labelbottom=False)
    beside.tick_params(labelleft=False)
    for part in (above, beside):
        for side in ("top", "right"):
            part.spines[side].set_visible(False)


def _title(result: "Result2D") -> str:
    text = f"weight {result.weight:.3g}, standard error {result.standard_error:.3g}"
    return text if result.success else f"{text} (unsuccessful, status {result.status})"
