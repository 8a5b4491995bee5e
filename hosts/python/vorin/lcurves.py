"""The L-curve: how the norm of the distribution falls and the residual rises with the weight."""

from __future__ import annotations

from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Dict

from .arrays import FloatArray, equal_fields, fields_hash
from .errors import InputTypeError
from .inversion import invert
from .result import Result
from .tables import required
from .toolkit import job

if TYPE_CHECKING:
    from matplotlib.axes import Axes


@dataclass(frozen=True, repr=False, eq=False)
class LCurve:
    """The norms over a grid of weights, on the samples and bins that were inverted.

    Attributes
    ----------
    weights : numpy.ndarray of shape (17,)
        The weights of the library's corner search, rising by a quarter of a decade each.
    residual_norms : numpy.ndarray of shape (17,)
        \\|K F - y\\| over the reduced samples at each weight, in the unit of the data.
    solution_norms : numpy.ndarray of shape (17,)
        \\|F\\| over the grid at each weight, in the unit of the data.
    corner : int
        The index of the weight that the corner search takes.
    corner_weight : float
        That weight.
    used_weight, used_residual_norm, used_solution_norm : float
        Those of the inversion.

    See Also
    --------
    vorin.lcurve, Result.lcurve
    """

    weights: FloatArray
    residual_norms: FloatArray
    solution_norms: FloatArray
    corner: int
    corner_weight: float
    used_weight: float
    used_residual_norm: float
    used_solution_norm: float

    def __repr__(self) -> str:
        return (f"<vorin.LCurve {self.weights.size} weights from {self.weights[0]:.3g} to "
                f"{self.weights[-1]:.3g}: corner {self.corner_weight:.3g}, used "
                f"{self.used_weight:.3g}>")

    def __eq__(self, other: object) -> bool:
        return isinstance(other, LCurve) and equal_fields(self, other)

    def __hash__(self) -> int:
        return fields_hash(self)

    def plot(self, path: Any = None, *, ax: Any = None) -> "Axes":
        """Draws the curve with its corner and the weight of the inversion.

        Parameters
        ----------
        path : path-like, optional
            Writes the picture there, as PNG, PDF or SVG by its ending.
        ax : matplotlib.axes.Axes, optional
            Draws there; in a figure of its own without it.

        Returns
        -------
        matplotlib.axes.Axes
        """
        from .plotting import plot_lcurve  # so that matplotlib is required for pictures only

        return plot_lcurve(self, path, ax=ax)

    def to_dataframe(self) -> Any:
        """The curve as a table.

        Returns
        -------
        pandas.DataFrame
            ``residual_norm`` and ``solution_norm`` by weight.
        """
        pandas = required("pandas", "holds tables")
        return pandas.DataFrame({"residual_norm": self.residual_norms,
                                 "solution_norm": self.solution_norms},
                                index=pandas.Index(self.weights, name="weight"))

    def to_dict(self) -> Dict[str, Any]:
        """The fields as plain numbers and lists, for ``json.dumps``.

        Returns
        -------
        dict
        """
        return {name: value.tolist() if hasattr(value, "tolist") else value
                for name, value in self.__dict__.items()}


def lcurve(t: Any, y: Any = None, **options: Any) -> LCurve:
    """The L-curve of a decay, on which the corner is sought [1]_.

    With a rising weight the residual grows and the distribution shrinks. Drawn over each other
    in logarithms the norms make an L; at its corner a smaller weight buys little residual
    for much distribution, and a larger one the reverse.

    Parameters
    ----------
    t, y : array_like of shape (nf,)
        As for :func:`vorin.invert`; or, for ``t`` alone, its :class:`vorin.Result`.
    **options
        Those of :func:`vorin.invert`, which decides what is binned, left out and used.

    Returns
    -------
    LCurve

    Raises
    ------
    InputValueError
        Where there is no grid of weights: a first fit without residual or without signal.

    References
    ----------
    .. [1] P. C. Hansen, D. P. O'Leary, The use of the L-curve in the regularization of discrete
       ill-posed problems, SIAM J. Sci. Comput. 14 (1993) 1487.

    Examples
    --------
    >>> decay = vorin.simulate(seed=3)
    >>> curve = vorin.lcurve(decay.t, decay.y)
    >>> bool(curve.weights[curve.corner] == curve.corner_weight)
    True
    >>> list(curve.to_dataframe().columns)
    ['residual_norm', 'solution_norm']
    """
    if isinstance(t, Result):
        if y is not None or options:
            raise InputTypeError("lcurve of a result takes no further arguments: its samples and "
                                 "options are those of its inversion")
        return of_result(t)
    return of_result(invert(t, y, **options))


def of_result(result: Result) -> LCurve:
    """The L-curve of an inversion."""
    fields = job("vorin_lcurve", result._inverted().raw)
    corner, *used = fields.numbers("corner", "used_weight", "used_residual_norm",
                                   "used_solution_norm")
    weights = fields.array("weight")
    return LCurve(weights, fields.array("residual_norm"), fields.array("solution_norm"),
                  int(corner), float(weights[int(corner)]), *used)
