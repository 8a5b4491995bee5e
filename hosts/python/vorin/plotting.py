"""Pictures of an inversion. matplotlib is imported when one is drawn."""

from __future__ import annotations

import math
import os
from typing import TYPE_CHECKING, Any, NamedTuple, Optional, Tuple

import numpy as np

from .data import real_array
from .errors import InputTypeError, InputValueError, VorinError
from .measures import per_decade
from .toolkit import job

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

    from .bootstrapping import Bootstrap
    from .result import Result

_BLUE, _RED, _DARK = "#2d5d9b", "#b8322a", "#303030"
_CROWDED = 300  # samples from which points become small and pale
_KINDS = (".png", ".pdf", ".svg")


def plot(result: "Result", path: Any = None, *, truth: Any = None,
         band: Optional["Bootstrap"] = None, title: Optional[str] = None) -> "Figure":
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

    Returns
    -------
    matplotlib.figure.Figure
        Made through pyplot, so that a notebook shows it; closed there once it is written.

    Raises
    ------
    VorinError
        When matplotlib is not installed.
    """
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
    _decay(upper, middle, result, axes)
    _distribution(lower, result, axes, known, band)
    figure.align_ylabels((upper, middle, lower))
    figure.suptitle(title if title is not None else _title(result), fontsize="large", y=0.985)
    if target is not None:
        try:
            figure.savefig(target, dpi=120)
        except OSError as error:
            raise InputValueError(f"path {target!r}: the picture can't be written "
                                  f"({error.strerror})") from None
        finally:
            pyplot.close(figure)
    return figure


def _truth(truth: Any) -> Optional[Tuple[np.ndarray, np.ndarray]]:
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
        name = os.fspath(path)
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


def _decay(upper: "Axes", lower: "Axes", result: "Result", units: _Axes) -> None:
    t = result.t / units.abscissa_size
    style = {"linestyle": "none", "marker": "o", "color": _BLUE, "markeredgewidth": 0.0}
    style.update({"markersize": 2.2, "alpha": 0.5} if t.size > _CROWDED else {"markersize": 4.0})
    used = np.ones(t.size, bool)
    used[result.rejected] = False
    upper.plot(t[used], result.y[used], label="measured", **style)
    if result.rejected.size:
        upper.plot(t[~used], result.y[~used], "x", color=_DARK, markersize=5, label="left out")
    upper.plot(t, result.fit, color=_RED, linewidth=1.8, label="fit")
    lower.plot(t[used], result.residual[used], **style)
    lower.axhline(0.0, color=_RED, linewidth=1.0)
    # Where the times spread over two decades or more, a linear axis would hide the start.
    if t[0] > 0.0 and t[-1] >= 100.0 * t[0]:
        upper.set_xscale("log")
        upper.set_xlim(0.8 * t[0], 1.25 * t[-1])
    else:
        upper.set_xlim(t[0], t[-1])
    limit = float(np.max(np.abs(result.residual[used])))
    if limit > 0.0:
        lower.set_ylim(-1.15 * limit, 1.15 * limit)
    upper.tick_params(labelbottom=False)
    upper.set_ylabel("amplitude (unit of the data)")
    lower.set_ylabel("residual")
    lower.set_xlabel(units.abscissa_label)
    for axes in (upper, lower):
        _plain(axes)
    _legend(upper)


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
    return text if result.success else f"{text} (unsuccessful, status {result.status})"
