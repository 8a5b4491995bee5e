"""Pictures of an inversion. matplotlib is imported when one is drawn."""

from __future__ import annotations

import math
import os
from typing import TYPE_CHECKING, Any, Callable, Dict, NamedTuple, Optional, Tuple, overload

import numpy as np

from .arrays import FloatArray
from .data import real_array
from .errors import InputTypeError, InputValueError, VorinError
from .measures import per_decade
from .toolkit import job

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

    from .bootstrapping import Bootstrap
    from .lcurves import LCurve
    from .result import Result

_BLUE, _RED, _DARK = "#2d5d9b", "#b8322a", "#303030"
_CROWDED = 300  # samples from which points become small and pale
_KINDS = (".png", ".pdf", ".svg")


@overload
def plot(result: "Result", path: Any = None, *, truth: Any = None,
         band: Optional["Bootstrap"] = None, title: Optional[str] = None,
         ax: None = None) -> "Figure": ...


@overload
def plot(result: "Result", path: Any = None, *, truth: Any = None,
         band: Optional["Bootstrap"] = None, title: Optional[str] = None,
         ax: "Axes") -> "Axes": ...


def plot(result: "Result", path: Any = None, *, truth: Any = None,
         band: Optional["Bootstrap"] = None, title: Optional[str] = None, ax: Any = None) -> Any:
    """Draws an inversion: decay and fit, the residual below them, and the distribution.

    Parameters
    ----------
    result : Result
        Of :func:`vorin.invert`.
    path : path-like, optional
        Writes the picture there, as PNG, PDF or SVG by its ending.
    truth : Simulation or (grid, amplitudes), optional
        A known distribution to draw beside the one found.
    band : Bootstrap, optional
        Its band is shaded, and the legend has the interval of the log mean.
    title : str, optional
        Above the picture; by default weight and standard error.
    ax : matplotlib.axes.Axes, optional
        Draws the distribution alone, there, as :meth:`vorin.Result.plot_distribution` does.

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
        axes = plot_distribution(result, path, truth=truth, band=band, ax=ax)
        if title is not None:
            axes.set_title(title)
        return axes
    known = _truth(truth)
    target = _target(path)
    pyplot = _pyplot()
    figure = pyplot.figure(figsize=(8.0, 8.4))
    grid = figure.add_gridspec(4, 1, height_ratios=(3.0, 1.0, 0.55, 3.0), hspace=0.12,
                               left=0.125, right=0.965, top=0.925, bottom=0.065)
    upper = figure.add_subplot(grid[0])
    middle = figure.add_subplot(grid[1], sharex=upper)
    lower = figure.add_subplot(grid[3])
    axes = _axes_of(result)
    _decay(upper, result, axes)
    _residual(middle, result, axes)
    upper.tick_params(labelbottom=False)
    upper.set_xlabel("")
    _distribution(lower, result, axes, known, band)
    figure.align_ylabels((upper, middle, lower))
    figure.suptitle(title if title is not None else _title(result), fontsize="large", y=0.985)
    _write(figure, target)
    return figure


def plot_decay(result: "Result", path: Any = None, *, ax: Any = None) -> "Axes":
    """Draws the samples and the fit; see :meth:`vorin.Result.plot_decay`."""
    return _drawn(path, ax, lambda axes: _decay(axes, result, _axes_of(result)))


def plot_residual(result: "Result", path: Any = None, *, ax: Any = None) -> "Axes":
    """Draws the residual; see :meth:`vorin.Result.plot_residual`."""
    return _drawn(path, ax, lambda axes: _residual(axes, result, _axes_of(result)))


def plot_distribution(result: "Result", path: Any = None, *, truth: Any = None,
                      band: Optional["Bootstrap"] = None, ax: Any = None) -> "Axes":
    """Draws the distribution; see :meth:`vorin.Result.plot_distribution`."""
    known = _truth(truth)
    return _drawn(path, ax,
                  lambda axes: _distribution(axes, result, _axes_of(result), known, band))


def plot_lcurve(curve: "LCurve", path: Any = None, *, ax: Any = None) -> "Axes":
    """Draws an L-curve; see :meth:`vorin.LCurve.plot`."""
    return _drawn(path, ax, lambda axes: _lcurve(axes, curve))


def _drawn(path: Any, ax: Any, draw: Callable[[Any], None]) -> "Axes":
    """Draws on the axes of the caller, or on those of a figure of its own."""
    target = _target(path)
    pyplot = _pyplot()
    if ax is None:
        figure, axes = pyplot.subplots(figsize=(6.4, 4.2), constrained_layout=True)
    elif hasattr(ax, "plot") and hasattr(ax, "get_figure"):
        figure, axes = ax.get_figure(), ax
    else:
        raise InputTypeError(f"ax is of type {type(ax).__name__}; axes of matplotlib are required, "
                             "such as those of matplotlib.pyplot.subplots()")
    draw(axes)
    _write(figure, target, close=ax is None)
    return axes


def _write(figure: Any, target: Optional[str], close: bool = True) -> None:
    """Writes a picture where one is asked for, and then closes a figure of this package."""
    if target is None:
        return
    try:
        figure.savefig(target, dpi=120)
    except OSError as error:
        raise InputValueError(f"path {target!r}: the picture can't be written "
                              f"({error.strerror})") from None
    finally:
        if close:
            _pyplot().close(figure)


def _truth(truth: Any) -> Optional[Tuple[FloatArray, FloatArray]]:
    if truth is None:
        return None
    pair = (truth.grid, truth.distribution) if hasattr(truth, "distribution") else truth
    if not isinstance(pair, (tuple, list)) or len(pair) != 2:
        raise InputTypeError(f"truth is of type {type(truth).__name__}; a Simulation or the pair "
                             "(grid, amplitudes) is required")
    grid, amplitudes = real_array("the grid of truth", pair[0]), real_array(
        "the amplitudes of truth", pair[1])
    if grid.shape != amplitudes.shape or grid.size < 2 or np.any(np.diff(grid) <= 0.0) or (
            grid[0] <= 0.0):
        raise InputValueError("truth: a rising grid above 0 and one amplitude for each of its "
                              "values are required")
    return grid, amplitudes


def _pyplot() -> Any:
    """matplotlib.pyplot, loaded when a picture is asked for: nothing else needs it."""
    try:
        from matplotlib import pyplot
    except ImportError:
        raise VorinError("matplotlib, which draws pictures, is not installed; install the package "
                         "python3-matplotlib") from None
    return pyplot


def _target(path: Any) -> Optional[str]:
    if path is None:
        return None
    try:
        name: str = os.fspath(path)
    except TypeError:
        raise InputTypeError(f"path is of type {type(path).__name__}; the name of a file is "
                             "required") from None
    if os.path.splitext(name)[1].lower() not in _KINDS:
        raise InputValueError(f"path {name!r}: the name must end in {', '.join(_KINDS)}")
    return name


class _Axes(NamedTuple):
    """Labels and units of the axes; a size is in SI units."""

    abscissa_label: str
    abscissa_size: float
    grid_label: str
    grid_unit: str
    grid_size: float


def _axes_of(result: "Result") -> _Axes:
    fields = job("vorin_picture_axes", result.kernel.encode(), float(result.t[-1]),
                 float(result.grid[-1]))
    return _Axes(fields.text("abscissa_label"), fields.number("abscissa_unit_size"),
                 fields.text("grid_label"), fields.text("grid_unit"),
                 fields.number("grid_unit_size"))


def _sample_style(count: int) -> Dict[str, Any]:
    style: Dict[str, Any] = {"linestyle": "none", "marker": "o", "color": _BLUE,
                             "markeredgewidth": 0.0}
    crowded: Dict[str, Any] = {"markersize": 2.2, "alpha": 0.5}
    return {**style, **(crowded if count > _CROWDED else {"markersize": 4.0})}


def _used(result: "Result") -> Any:
    used = np.ones(result.t.size, bool)
    used[result.rejected] = False
    return used


def _time_axis(axes: "Axes", result: "Result", units: _Axes) -> None:
    t = result.t / units.abscissa_size
    # Where the times spread over two decades or more, a linear axis would hide the start.
    if t[0] > 0.0 and t[-1] >= 100.0 * t[0]:
        axes.set_xscale("log")
        axes.set_xlim(0.8 * t[0], 1.25 * t[-1])
    else:
        axes.set_xlim(t[0], t[-1])
    axes.set_xlabel(units.abscissa_label)


def _decay(axes: "Axes", result: "Result", units: _Axes) -> None:
    t, used, style = result.t / units.abscissa_size, _used(result), _sample_style(result.t.size)
    axes.plot(t[used], result.y[used], label="measured", **style)
    if result.rejected.size:
        axes.plot(t[~used], result.y[~used], "x", color=_DARK, markersize=5, label="left out")
    axes.plot(t, result.fit, color=_RED, linewidth=1.8, label="fit")
    _time_axis(axes, result, units)
    axes.set_ylabel("amplitude (unit of the data)")
    _plain(axes)
    _legend(axes)


def _residual(axes: "Axes", result: "Result", units: _Axes) -> None:
    t, used = result.t / units.abscissa_size, _used(result)
    axes.plot(t[used], result.residual[used], **_sample_style(t.size))
    axes.axhline(0.0, color=_RED, linewidth=1.0)
    _time_axis(axes, result, units)
    limit = float(np.max(np.abs(result.residual[used])))
    if limit > 0.0:
        axes.set_ylim(-1.15 * limit, 1.15 * limit)
    axes.set_ylabel("residual")
    _plain(axes)


def _distribution(axes: "Axes", result: "Result", units: _Axes, truth: Any,
                  band: Optional["Bootstrap"]) -> None:
    name, size = units.grid_unit, units.grid_size
    x = result.grid / size
    density = per_decade(result.grid, result.distribution)
    axes.fill_between(x, density, color=_BLUE, alpha=0.25 if band is None else 0.12, linewidth=0)
    if band is not None:
        axes.fill_between(x, per_decade(result.grid, band.lower),
                          per_decade(result.grid, band.upper), color=_BLUE, alpha=0.4,
                          linewidth=0, label="68 % band")
    axes.plot(x, density, color=_BLUE, linewidth=1.8, label="distribution")
    if truth is not None:
        axes.plot(truth[0] / size, per_decade(*truth), color=_DARK, linewidth=1.3,
                  linestyle="--", label="truth")
    if math.isfinite(result.log_mean):
        label = f"log mean {result.log_mean / size:.3g}"
        if band is not None and math.isfinite(band.log_mean_lower):
            bounds = band.log_mean_lower / size, band.log_mean_upper / size
            axes.axvspan(*bounds, color=_RED, alpha=0.15, linewidth=0)
            label += f" ({bounds[0]:.3g} to {bounds[1]:.3g})"
        axes.axvline(result.log_mean / size, color=_RED, linewidth=1.3, linestyle="-.",
                     label=f"{label} {name}".rstrip())
    axes.set_xscale("log")
    axes.set_xlim(x[0], x[-1])
    axes.set_ylim(bottom=0.0)
    axes.set_xlabel(units.grid_label)
    axes.set_ylabel("amplitude per decade")
    _plain(axes)
    _legend(axes)


def _lcurve(axes: "Axes", curve: "LCurve") -> None:
    axes.plot(curve.residual_norms, curve.solution_norms, "-o", color=_BLUE, linewidth=1.6,
              markersize=4.0, label=f"the {curve.weights.size} weights of the search")
    corner = curve.residual_norms[curve.corner], curve.solution_norms[curve.corner]
    axes.plot(*corner, "o", markersize=11, markerfacecolor="none", markeredgewidth=1.6,
              color=_DARK, label=f"corner: {curve.corner_weight:.3g}")
    used = curve.used_residual_norm, curve.used_solution_norm
    axes.plot(*used, "x", markersize=9, markeredgewidth=2.0, color=_RED,
              label=f"weight of the result: {curve.used_weight:.3g}")
    axes.set_xscale("log")
    axes.set_yscale("log")
    axes.margins(0.06)
    _few_tics(axes)
    # Weights beside their points, one a decade. The free side of a falling curve is its upper
    # right.
    for k in range(0, curve.weights.size, 4):
        axes.annotate(f"{curve.weights[k]:.2g}",
                      (curve.residual_norms[k], curve.solution_norms[k]),
                      textcoords="offset points", xytext=(5, 4), fontsize="x-small", color=_DARK)
    axes.set_xlabel("norm of the residual, |K F - y| (unit of the data)")
    axes.set_ylabel("norm of the distribution, |F| (unit of the data)")
    axes.grid(True, which="major", color="#e2e2e2", linewidth=0.6)
    axes.set_axisbelow(True)
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)
    axes.legend(loc="upper right", frameon=False, fontsize="small")


def _few_tics(axes: "Axes") -> None:
    """Plain numbers also where a logarithmic axis is short of a decade."""
    from matplotlib.ticker import FuncFormatter, LogLocator, MaxNLocator, NullFormatter, NullLocator

    for axis, limits in ((axes.xaxis, axes.get_xlim()), (axes.yaxis, axes.get_ylim())):
        if limits[1] < 20.0 * limits[0]:
            axis.set_major_locator(MaxNLocator(5, steps=[1, 2, 2.5, 5, 10]))
            axis.set_minor_locator(NullLocator())
        else:
            axis.set_major_locator(LogLocator(subs=(1.0, 3.0)))
            axis.set_minor_formatter(NullFormatter())
        axis.set_major_formatter(FuncFormatter(lambda value, _: f"{value:g}"))


def _plain(axes: "Axes") -> None:
    axes.grid(True, which="major", color="#e2e2e2", linewidth=0.6)
    axes.set_axisbelow(True)
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)
    from matplotlib.ticker import FuncFormatter, LogLocator, NullFormatter

    if axes.get_xscale() == "log":
        low, high = axes.get_xlim()
        if 1e-3 <= low and high <= 1e5:  # plain numbers where they stay short
            axes.xaxis.set_major_formatter(FuncFormatter(lambda value, _: f"{value:g}"))
        axes.xaxis.set_major_locator(LogLocator(numticks=20))
        axes.xaxis.set_minor_formatter(NullFormatter())


def _legend(axes: "Axes") -> None:
    """Above the axes, where it hides nothing."""
    axes.legend(loc="lower right", bbox_to_anchor=(1.0, 0.985), ncol=4, frameon=False,
                fontsize="small", borderaxespad=0.0, columnspacing=1.4, handlelength=2.0)


def _title(result: "Result") -> str:
    text = f"weight {result.weight:.3g}, standard error {result.standard_error:.3g}"
    if not result.success:
        return f"{text} (unsuccessful, status {result.status})"
    return text if math.isnan(result.relaxed_target) else f"{text} (relaxed target)"
