"""The exported functions of the library as data: names, order and kinds of arguments.

One line an export, as ``include/vorin.h`` declares it; a test holds the two against each
other. An argument is ``name:type`` and what follows:

===============  ==================================================================
``nf:i``         a number by value
``weight:f&``    a number by address, read
``status:i&>``   a number by address, written
``w:f&<>``       a number by address, read and written
``K:f[nf,ng]``   an array, read; ``>`` behind it: written, ``<>``: read and written
``text:c[*len]`` characters, as many as ``len`` says
===============  ==================================================================

The types are those of the header: ``i`` int32_t, ``f`` float, ``d`` double, ``c`` char.
Dimensions are sums of arguments and numbers; a dimension below 0 counts as 0.
"""

from __future__ import annotations

import re
from dataclasses import dataclass
from typing import Dict, List, Mapping, Optional, Tuple

_INVERSION = "nf:i ng:i K:{r}[nf,ng] Y:{r}[nf] F:{r}[ng]<> status:i&>"
_INVERSION_Y = (
    "nf:i ng:i nfAddress:i& ngAddress:i& K:f[nf,ng] T:f[nf] Y:f[nf] W:f[nf]> G:f[ng] "
    "F:f[ng]<> FIT:f[nf]> status:i&>"
)
_SOLVE = (
    "m:i n:i K:{r}[m,n] d:{r}[m] f:{r}[n]> weight:{r}& rss:{r}&> rssSlope:{r}&> status:i&>"
)
_CORNER = "m:i n:i K:{r}[m,n] d:{r}[m] f:{r}[n]> w:{r}&{w} rss:{r}&> rssSlope:{r}&> status:i&>"
_PRUNE = (
    "nCols:i nPoints:i ldPoints:i maxBins:i y:f[nPoints] t:f[ldPoints] k:f[ldPoints,nCols] "
    "scale:f[nPoints] prLo:i prHi:i target:i mode:i count:i&{count} yPruned:f[maxBins]> "
    "tMean:f[maxBins]> kPruned:f[maxBins,nCols]> binNorm:f[maxBins]> P:f[maxBins,ldPoints]> "
    "status:i&>"
)
_NUMBER_KEY = "mode:c key:c value:{v}&<> status:i&>"
_TEXT_KEY = "mode:c key:c text:c[*len]<> len:i& status:i&>"

#: Name of each export and its arguments in order. ``-> x`` is what the function returns.
SIGNATURES: Dict[str, str] = {
    # inversion
    "Vorin_s": _INVERSION.format(r="f"),
    "Voriny_s": _INVERSION_Y,
    "Vorin_d": _INVERSION.format(r="d"),
    "vorin_s_cdecl": _INVERSION.format(r="f"),
    # inversion after compression
    "VorinC_s": _INVERSION.format(r="f"),
    "VorinC2_s": _INVERSION.format(r="f"),
    "VorinC4_s": _INVERSION.format(r="f"),
    "VorinC5_s": _INVERSION.format(r="f"),
    "VorinyC_s": _INVERSION_Y,
    "VorinyC2_s": _INVERSION_Y,
    "VorinyC3_s": _INVERSION_Y,
    "VorinyC4_s": _INVERSION_Y,
    "VorinyC5_s": _INVERSION_Y,
    # plain sums
    "sum": "a:i b:i -> i",
    "fadd_i4b_dll": "a:i b:i -> i",
    "fadd_dp_dll": "a:i b:i -> i",
    "sadd_i4b_dll": "a:i& b:i& result:i&>",
    "sadd_dp_dll": "a:d& b:d& result:d&>",
    # parameters
    "vorinSQC99": "mode:c key:c text:c[*len]<> len:i& value:f&<> status:i&>",
    "VorinSQR": _NUMBER_KEY.format(v="f"),
    "VorinSQR_s": _NUMBER_KEY.format(v="f"),
    "VorinSQR_d": _NUMBER_KEY.format(v="f"),
    "VorinSQI": _NUMBER_KEY.format(v="i"),
    "VorinSQC": _TEXT_KEY,
    "VorinSQC2": "mode:c key:c text:c[32]<> status:i&>",
    "vorin_sqc_cdecl": _TEXT_KEY,
    "vorin_sqr_cdecl": _NUMBER_KEY.format(v="f"),
    # one solve
    "vrBRDw_sp_dll": _SOLVE.format(r="f"),
    "vrBRDw_dp_dll": _SOLVE.format(r="d"),
    # corner search
    "vorinTarget2_sp": _CORNER.format(r="f", w=">"),
    "vorinTarget2_dp": _CORNER.format(r="d", w=">"),
    # pruning
    "VorinPruneZ": "nPoints:i ldPoints:i maxBins:i y:f[nPoints] t:f[ldPoints] scale:f[nPoints] "
    "prLo:i prHi:i target:i mode:i count:i&> yPruned:f[maxBins]> tSum:f[maxBins]> "
    "binNorm:f[maxBins]> P:f[maxBins,ldPoints]> status:i&>",
    "VorinPrune": _PRUNE.format(count=">"),
    "VorinPrune2": _PRUNE.format(count="<>"),
    # compression
    "VorinCompSVD_s": "m:i n:i ldK:i ldC:i K:f[ldK,n] d:f[m] SVDT:f SVDN:i count:i&> "
    "Kc:f[ldC,n]<> dc:f[n]> status:i&>",
    "VorinCompSVD2_s": "m:i n:i ldK:i ldC:i K:f[ldK,n]<> d:f[m] SVDT:f SVDN:i count:i&> "
    "Kc:f[ldC,n]<> dc:f[n]> V:f[ldC,n]<> S:f[n]> status:i&>",
    "VorinCompSVD3_s": "mode:i& scratchLen:i& m:i& n:i& ldK:i& ldC:i& K:f[ldK,n] d:f[m] "
    "SVDT:f& SVDN:i& count:i&> Kc:f[ldC,n]<> dc:f[n]> scratch:f[scratchLen]<> status:i&<>",
    "VorinCompSVD3z_s": "mode:i& m:i& n:i& ldK:i& ldC:i& K:f[ldK,n] d:f[m] SVDT:f& SVDN:i& "
    "count:i&> Kc:f[ldC,n]<> dc:f[n]> U:f[m,n]<> VT:f[n,n]<> S:f[n]<> status:i&<>",
    "VorinComp_s": "n:i nf:i ldK:i cap:i Y:f[nf] T:f[ldK] K:f[ldK,n] W:f[nf] first:i last:i "
    "want:i pmode:i SVDT:f SVDN:i count:i&<> Yout:f[cap]<> Kout:f[cap,n]<> status:i&<>",
    "debug2_sp": _CORNER.format(r="f", w="<>"),
    "debug2_dp": _CORNER.format(r="d", w="<>"),
    # noise
    "VorinSEDiff": "order:i count:i x:f[count] -> f",
    "VorinSEROL": "thresh:f& ridge:f& lda:i& m:i& n:i& K:f[lda,n] y:f[m] W:f[m] x:f[n]<> "
    "flags:f[m]> nGood:i&> nBad:i&> spare:v status:i&>",
    # text
    "CHGetFormat_dp": "values:d[count] count:i w:i& text:c[*len]> len:i& status:i&>",
    "CHToString_dp": "text:c[*len]> value:d& len:i&",
    "CHToString3_dp": "text:c[*len]> value:d& w:i& d:i& lower:d& upper:d& fmin:i& len:i&",
    "CHToString_i4b": "text:c[*len]> value:i& len:i&",
    # regression
    "plsN_dll": "A:d[m,n] m:i n:i b:d[m] x:d[n]<> status:i&>",
    "plsB_dll": "A:d[m,n] m:i n:i b:d[m] x:d[n]<> itmax:i status:i&>",
    "plsReg_DLL": "X:d[m,n] m:i n:i y:d[m] x:d[n]<> lambda:d[K+1] K:i status:i&>",
    "LUReg_DLL": "X:d[m,n] m:i n:i y:d[m] x:d[n]<> lambda:d[K+1] K:i status:i&>",
}

#: What must hold between arguments, so that nothing is read or written beyond an array.
AT_LEAST: Dict[str, List[Tuple[str, str]]] = {
    "VorinPruneZ": [("ldPoints", "nPoints")],
    "VorinPrune": [("ldPoints", "nPoints")],
    "VorinPrune2": [("ldPoints", "nPoints")],
    "VorinCompSVD_s": [("ldK", "m"), ("ldC", "n")],
    "VorinCompSVD2_s": [("ldK", "m"), ("ldC", "n")],
    "VorinCompSVD3_s": [("ldK", "m"), ("ldC", "n")],
    "VorinCompSVD3z_s": [("ldK", "m"), ("ldC", "n")],
    "VorinComp_s": [("ldK", "nf")],
    "VorinSEROL": [("lda", "m")],
}

#: Arguments that repeat another one by address; left out, they take its value.
REPEATS = {"nfAddress": "nf", "ngAddress": "ng"}

#: Arrays that may not share memory.
APART: Dict[str, List[Tuple[str, str]]] = {
    "VorinCompSVD2_s": [("Kc", "K"), ("V", "K"), ("Kc", "V")],
}

_PATTERN = re.compile(
    r"(?P<name>\w+):(?P<type>[ifdcv])(?P<address>&)?(?:\[(?P<shape>[^\]]+)\])?(?P<flow><>|>)?$"
)


@dataclass(frozen=True)
class Argument:
    """One argument of an export."""

    name: str
    type: str  #: ``i``, ``f``, ``d``, ``c`` or ``v`` (an address that is never used)
    by_address: bool  #: a single number by address
    shape: Tuple[str, ...]  #: dimensions; empty for a number
    read: bool
    written: bool

    @property
    def is_array(self) -> bool:
        return bool(self.shape) and self.type != "c"

    @property
    def is_text(self) -> bool:
        return self.type == "c"

    def dimensions(self, sizes: Mapping[str, int]) -> Tuple[int, ...]:
        """The shape for the given sizes."""
        return tuple(
            max(sum(int(sizes.get(term, 0)) if not term.isdigit() else int(term)
                    for term in dimension.split("+")), 0)
            for dimension in self.shape
        )


@dataclass(frozen=True)
class Export:
    """One exported function."""

    name: str
    arguments: Tuple[Argument, ...]
    returns: Optional[str]  #: ``i`` or ``f``, or None

    @property
    def results(self) -> Tuple[Argument, ...]:
        """The arguments that the function writes."""
        return tuple(argument for argument in self.arguments if argument.written)


def _parse(name: str, line: str) -> Export:
    body, _, returned = line.partition("->")
    arguments = []
    for word in body.split():
        match = _PATTERN.match(word)
        if match is None:
            raise AssertionError(f"{name}: {word}")
        flow = match["flow"] or ""
        arguments.append(
            Argument(
                name=match["name"],
                type=match["type"],
                by_address=match["address"] is not None,
                shape=tuple((match["shape"] or "").replace("*", "").split(","))
                if match["shape"]
                else (),
                read=flow != ">",
                written=bool(flow),
            )
        )
    return Export(name, tuple(arguments), returned.strip() or None)


EXPORTS: Dict[str, Export] = {name: _parse(name, line) for name, line in SIGNATURES.items()}
