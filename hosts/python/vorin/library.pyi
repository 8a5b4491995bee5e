"""Types of library.py; written by tools/write_stub.py from the table of exports."""

import os
import threading
from pathlib import Path
from types import TracebackType
from typing import Mapping, NamedTuple, Optional, Tuple, Type, Union

import numpy as np
import numpy.typing as npt

Singles = npt.NDArray[np.float32]
Doubles = npt.NDArray[np.float64]
Integers = npt.NDArray[np.int32]
Text = Union[str, bytes]

NO_LOG: str
TEXT_KEYS: Tuple[str, ...]


class Vorin_s_result(NamedTuple):
    F: Singles
    status: int

class Voriny_s_result(NamedTuple):
    W: Singles
    F: Singles
    FIT: Singles
    status: int

class Vorin_d_result(NamedTuple):
    F: Doubles
    status: int

class vorin_s_cdecl_result(NamedTuple):
    F: Singles
    status: int

class VorinC_s_result(NamedTuple):
    F: Singles
    status: int

class VorinC2_s_result(NamedTuple):
    F: Singles
    status: int

class VorinC4_s_result(NamedTuple):
    F: Singles
    status: int

class VorinC5_s_result(NamedTuple):
    F: Singles
    status: int

class VorinyC_s_result(NamedTuple):
    W: Singles
    F: Singles
    FIT: Singles
    status: int

class VorinyC2_s_result(NamedTuple):
    W: Singles
    F: Singles
    FIT: Singles
    status: int

class VorinyC3_s_result(NamedTuple):
    W: Singles
    F: Singles
    FIT: Singles
    status: int

class VorinyC4_s_result(NamedTuple):
    W: Singles
    F: Singles
    FIT: Singles
    status: int

class VorinyC5_s_result(NamedTuple):
    W: Singles
    F: Singles
    FIT: Singles
    status: int

class vorinSQC99_result(NamedTuple):
    text: str
    value: float
    status: int

class VorinSQR_result(NamedTuple):
    value: float
    status: int

class VorinSQR_s_result(NamedTuple):
    value: float
    status: int

class VorinSQR_d_result(NamedTuple):
    value: float
    status: int

class VorinSQI_result(NamedTuple):
    value: int
    status: int

class VorinSQC_result(NamedTuple):
    text: str
    status: int

class VorinSQC2_result(NamedTuple):
    text: str
    status: int

class vorin_sqc_cdecl_result(NamedTuple):
    text: str
    status: int

class vorin_sqr_cdecl_result(NamedTuple):
    value: float
    status: int

class vrBRDw_sp_dll_result(NamedTuple):
    f: Singles
    rss: float
    rssSlope: float
    status: int

class vrBRDw_dp_dll_result(NamedTuple):
    f: Doubles
    rss: float
    rssSlope: float
    status: int

class vorinTarget2_sp_result(NamedTuple):
    f: Singles
    w: float
    rss: float
    rssSlope: float
    status: int

class vorinTarget2_dp_result(NamedTuple):
    f: Doubles
    w: float
    rss: float
    rssSlope: float
    status: int

class VorinPruneZ_result(NamedTuple):
    count: int  # type: ignore[assignment]
    yPruned: Singles
    tSum: Singles
    binNorm: Singles
    P: Singles
    status: int

class VorinPrune_result(NamedTuple):
    count: int  # type: ignore[assignment]
    yPruned: Singles
    tMean: Singles
    kPruned: Singles
    binNorm: Singles
    P: Singles
    status: int

class VorinPrune2_result(NamedTuple):
    count: int  # type: ignore[assignment]
    yPruned: Singles
    tMean: Singles
    kPruned: Singles
    binNorm: Singles
    P: Singles
    status: int

class VorinCompSVD_s_result(NamedTuple):
    count: int  # type: ignore[assignment]
    Kc: Singles
    dc: Singles
    status: int

class VorinCompSVD2_s_result(NamedTuple):
    K: Singles
    count: int  # type: ignore[assignment]
    Kc: Singles
    dc: Singles
    V: Singles
    S: Singles
    status: int

class VorinCompSVD3_s_result(NamedTuple):
    count: int  # type: ignore[assignment]
    Kc: Singles
    dc: Singles
    scratch: Singles
    status: int

class VorinCompSVD3z_s_result(NamedTuple):
    count: int  # type: ignore[assignment]
    Kc: Singles
    dc: Singles
    U: Singles
    VT: Singles
    S: Singles
    status: int

class VorinComp_s_result(NamedTuple):
    count: int  # type: ignore[assignment]
    Yout: Singles
    Kout: Singles
    status: int

class debug2_sp_result(NamedTuple):
    f: Singles
    w: float
    rss: float
    rssSlope: float
    status: int

class debug2_dp_result(NamedTuple):
    f: Doubles
    w: float
    rss: float
    rssSlope: float
    status: int

class VorinSEROL_result(NamedTuple):
    x: Singles
    flags: Singles
    nGood: int
    nBad: int
    status: int

class CHGetFormat_dp_result(NamedTuple):
    text: str
    status: int

class plsN_dll_result(NamedTuple):
    x: Doubles
    status: int

class plsB_dll_result(NamedTuple):
    x: Doubles
    status: int

class plsReg_DLL_result(NamedTuple):
    x: Doubles
    status: int

class LUReg_DLL_result(NamedTuple):
    x: Doubles
    status: int


class Library:
    path: Path
    lock: threading.RLock
    def __init__(self, path: Union[str, os.PathLike[str], None] = None, *,
                 log: bool = False) -> None: ...
    def close(self) -> None: ...
    def __enter__(self) -> Library: ...
    def __exit__(self, kind: Optional[Type[BaseException]], value: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None: ...
    def get(self, key: str) -> Union[float, str]: ...
    def set(self, key: str, value: Union[float, str]) -> None: ...
    def Vorin_s(self,
                nf: int,
                ng: int,
                K: Singles,
                Y: Singles,
                F: Optional[Singles] = ...,
                status: Optional[Integers] = ...) -> Vorin_s_result: ...
    def Voriny_s(self,
                 nf: int,
                 ng: int,
                 nfAddress: Optional[int] = ...,
                 ngAddress: Optional[int] = ...,
                 K: Optional[Singles] = ...,
                 T: Optional[Singles] = ...,
                 Y: Optional[Singles] = ...,
                 W: Optional[Singles] = ...,
                 G: Optional[Singles] = ...,
                 F: Optional[Singles] = ...,
                 FIT: Optional[Singles] = ...,
                 status: Optional[Integers] = ...) -> Voriny_s_result: ...
    def Vorin_d(self,
                nf: int,
                ng: int,
                K: Doubles,
                Y: Doubles,
                F: Optional[Doubles] = ...,
                status: Optional[Integers] = ...) -> Vorin_d_result: ...
    def vorin_s_cdecl(self,
                      nf: int,
                      ng: int,
                      K: Singles,
                      Y: Singles,
                      F: Optional[Singles] = ...,
                      status: Optional[Integers] = ...) -> vorin_s_cdecl_result: ...
    def VorinC_s(self,
                 nf: int,
                 ng: int,
                 K: Singles,
                 Y: Singles,
                 F: Optional[Singles] = ...,
                 status: Optional[Integers] = ...) -> VorinC_s_result: ...
    def VorinC2_s(self,
                  nf: int,
                  ng: int,
                  K: Singles,
                  Y: Singles,
                  F: Optional[Singles] = ...,
                  status: Optional[Integers] = ...) -> VorinC2_s_result: ...
    def VorinC4_s(self,
                  nf: int,
                  ng: int,
                  K: Singles,
                  Y: Singles,
                  F: Optional[Singles] = ...,
                  status: Optional[Integers] = ...) -> VorinC4_s_result: ...
    def VorinC5_s(self,
                  nf: int,
                  ng: int,
                  K: Singles,
                  Y: Singles,
                  F: Optional[Singles] = ...,
                  status: Optional[Integers] = ...) -> VorinC5_s_result: ...
    def VorinyC_s(self,
                  nf: int,
                  ng: int,
                  nfAddress: Optional[int] = ...,
                  ngAddress: Optional[int] = ...,
                  K: Optional[Singles] = ...,
                  T: Optional[Singles] = ...,
                  Y: Optional[Singles] = ...,
                  W: Optional[Singles] = ...,
                  G: Optional[Singles] = ...,
                  F: Optional[Singles] = ...,
                  FIT: Optional[Singles] = ...,
                  status: Optional[Integers] = ...) -> VorinyC_s_result: ...
    def VorinyC2_s(self,
                   nf: int,
                   ng: int,
                   nfAddress: Optional[int] = ...,
                   ngAddress: Optional[int] = ...,
                   K: Optional[Singles] = ...,
                   T: Optional[Singles] = ...,
                   Y: Optional[Singles] = ...,
                   W: Optional[Singles] = ...,
                   G: Optional[Singles] = ...,
                   F: Optional[Singles] = ...,
                   FIT: Optional[Singles] = ...,
                   status: Optional[Integers] = ...) -> VorinyC2_s_result: ...
    def VorinyC3_s(self,
                   nf: int,
                   ng: int,
                   nfAddress: Optional[int] = ...,
                   ngAddress: Optional[int] = ...,
                   K: Optional[Singles] = ...,
                   T: Optional[Singles] = ...,
                   Y: Optional[Singles] = ...,
                   W: Optional[Singles] = ...,
                   G: Optional[Singles] = ...,
                   F: Optional[Singles] = ...,
                   FIT: Optional[Singles] = ...,
                   status: Optional[Integers] = ...) -> VorinyC3_s_result: ...
    def VorinyC4_s(self,
                   nf: int,
                   ng: int,
                   nfAddress: Optional[int] = ...,
                   ngAddress: Optional[int] = ...,
                   K: Optional[Singles] = ...,
                   T: Optional[Singles] = ...,
                   Y: Optional[Singles] = ...,
                   W: Optional[Singles] = ...,
                   G: Optional[Singles] = ...,
                   F: Optional[Singles] = ...,
                   FIT: Optional[Singles] = ...,
                   status: Optional[Integers] = ...) -> VorinyC4_s_result: ...
    def VorinyC5_s(self,
                   nf: int,
                   ng: int,
                   nfAddress: Optional[int] = ...,
                   ngAddress: Optional[int] = ...,
                   K: Optional[Singles] = ...,
                   T: Optional[Singles] = ...,
                   Y: Optional[Singles] = ...,
                   W: Optional[Singles] = ...,
                   G: Optional[Singles] = ...,
                   F: Optional[Singles] = ...,
                   FIT: Optional[Singles] = ...,
                   status: Optional[Integers] = ...) -> VorinyC5_s_result: ...
    def sum(self,
            a: int,
            b: int) -> int: ...
    def fadd_i4b_dll(self,
                     a: int,
                     b: int) -> int: ...
    def fadd_dp_dll(self,
                    a: int,
                    b: int) -> int: ...
    def sadd_i4b_dll(self,
                     a: int,
                     b: int,
                     result: Optional[Integers] = ...) -> int: ...
    def sadd_dp_dll(self,
                    a: float,
                    b: float,
                    result: Optional[Doubles] = ...) -> float: ...
    def vorinSQC99(self,
                   mode: Text,
                   key: Text,
                   text: Optional[Union[Text, bytearray]] = ...,
                   len: Optional[int] = ...,
                   value: Optional[Union[float, Singles]] = ...,
                   status: Optional[Integers] = ...) -> vorinSQC99_result: ...
    def VorinSQR(self,
                 mode: Text,
                 key: Text,
                 value: Optional[Union[float, Singles]] = ...,
                 status: Optional[Integers] = ...) -> VorinSQR_result: ...
    def VorinSQR_s(self,
                   mode: Text,
                   key: Text,
                   value: Optional[Union[float, Singles]] = ...,
                   status: Optional[Integers] = ...) -> VorinSQR_s_result: ...
    def VorinSQR_d(self,
                   mode: Text,
                   key: Text,
                   value: Optional[Union[float, Singles]] = ...,
                   status: Optional[Integers] = ...) -> VorinSQR_d_result: ...
    def VorinSQI(self,
                 mode: Text,
                 key: Text,
                 value: Optional[Union[int, Integers]] = ...,
                 status: Optional[Integers] = ...) -> VorinSQI_result: ...
    def VorinSQC(self,
                 mode: Text,
                 key: Text,
                 text: Optional[Union[Text, bytearray]] = ...,
                 len: Optional[int] = ...,
                 status: Optional[Integers] = ...) -> VorinSQC_result: ...
    def VorinSQC2(self,
                  mode: Text,
                  key: Text,
                  text: Optional[Union[Text, bytearray]] = ...,
                  status: Optional[Integers] = ...) -> VorinSQC2_result: ...
    def vorin_sqc_cdecl(self,
                        mode: Text,
                        key: Text,
                        text: Optional[Union[Text, bytearray]] = ...,
                        len: Optional[int] = ...,
                        status: Optional[Integers] = ...) -> vorin_sqc_cdecl_result: ...
    def vorin_sqr_cdecl(self,
                        mode: Text,
                        key: Text,
                        value: Optional[Union[float, Singles]] = ...,
                        status: Optional[Integers] = ...) -> vorin_sqr_cdecl_result: ...
    def vrBRDw_sp_dll(self,
                      m: int,
                      n: int,
                      K: Singles,
                      d: Singles,
                      f: Optional[Singles] = ...,
                      weight: Optional[float] = ...,
                      rss: Optional[Singles] = ...,
                      rssSlope: Optional[Singles] = ...,
                      status: Optional[Integers] = ...) -> vrBRDw_sp_dll_result: ...
    def vrBRDw_dp_dll(self,
                      m: int,
                      n: int,
                      K: Doubles,
                      d: Doubles,
                      f: Optional[Doubles] = ...,
                      weight: Optional[float] = ...,
                      rss: Optional[Doubles] = ...,
                      rssSlope: Optional[Doubles] = ...,
                      status: Optional[Integers] = ...) -> vrBRDw_dp_dll_result: ...
    def vorinTarget2_sp(self,
                        m: int,
                        n: int,
                        K: Singles,
                        d: Singles,
                        f: Optional[Singles] = ...,
                        w: Optional[Singles] = ...,
                        rss: Optional[Singles] = ...,
                        rssSlope: Optional[Singles] = ...,
                        status: Optional[Integers] = ...) -> vorinTarget2_sp_result: ...
    def vorinTarget2_dp(self,
                        m: int,
                        n: int,
                        K: Doubles,
                        d: Doubles,
                        f: Optional[Doubles] = ...,
                        w: Optional[Doubles] = ...,
                        rss: Optional[Doubles] = ...,
                        rssSlope: Optional[Doubles] = ...,
                        status: Optional[Integers] = ...) -> vorinTarget2_dp_result: ...
    def VorinPruneZ(self,
                    nPoints: int,
                    ldPoints: int,
                    maxBins: int,
                    y: Singles,
                    t: Singles,
                    scale: Singles,
                    prLo: int,
                    prHi: int,
                    target: int,
                    mode: int,
                    count: Optional[Integers] = ...,
                    yPruned: Optional[Singles] = ...,
                    tSum: Optional[Singles] = ...,
                    binNorm: Optional[Singles] = ...,
                    P: Optional[Singles] = ...,
                    status: Optional[Integers] = ...) -> VorinPruneZ_result: ...
    def VorinPrune(self,
                   nCols: int,
                   nPoints: int,
                   ldPoints: int,
                   maxBins: int,
                   y: Singles,
                   t: Singles,
                   k: Singles,
                   scale: Singles,
                   prLo: int,
                   prHi: int,
                   target: int,
                   mode: int,
                   count: Optional[Integers] = ...,
                   yPruned: Optional[Singles] = ...,
                   tMean: Optional[Singles] = ...,
                   kPruned: Optional[Singles] = ...,
                   binNorm: Optional[Singles] = ...,
                   P: Optional[Singles] = ...,
                   status: Optional[Integers] = ...) -> VorinPrune_result: ...
    def VorinPrune2(self,
                    nCols: int,
                    nPoints: int,
                    ldPoints: int,
                    maxBins: int,
                    y: Singles,
                    t: Singles,
                    k: Singles,
                    scale: Singles,
                    prLo: int,
                    prHi: int,
                    target: int,
                    mode: int,
                    count: Optional[Union[int, Integers]] = ...,
                    yPruned: Optional[Singles] = ...,
                    tMean: Optional[Singles] = ...,
                    kPruned: Optional[Singles] = ...,
                    binNorm: Optional[Singles] = ...,
                    P: Optional[Singles] = ...,
                    status: Optional[Integers] = ...) -> VorinPrune2_result: ...
    def VorinCompSVD_s(self,
                       m: int,
                       n: int,
                       ldK: int,
                       ldC: int,
                       K: Singles,
                       d: Singles,
                       SVDT: float,
                       SVDN: int,
                       count: Optional[Integers] = ...,
                       Kc: Optional[Singles] = ...,
                       dc: Optional[Singles] = ...,
                       status: Optional[Integers] = ...) -> VorinCompSVD_s_result: ...
    def VorinCompSVD2_s(self,
                        m: int,
                        n: int,
                        ldK: int,
                        ldC: int,
                        K: Optional[Singles] = ...,
                        d: Optional[Singles] = ...,
                        SVDT: Optional[float] = ...,
                        SVDN: Optional[int] = ...,
                        count: Optional[Integers] = ...,
                        Kc: Optional[Singles] = ...,
                        dc: Optional[Singles] = ...,
                        V: Optional[Singles] = ...,
                        S: Optional[Singles] = ...,
                        status: Optional[Integers] = ...) -> VorinCompSVD2_s_result: ...
    def VorinCompSVD3_s(self,
                        mode: int,
                        scratchLen: int,
                        m: int,
                        n: int,
                        ldK: int,
                        ldC: int,
                        K: Singles,
                        d: Singles,
                        SVDT: float,
                        SVDN: int,
                        count: Optional[Integers] = ...,
                        Kc: Optional[Singles] = ...,
                        dc: Optional[Singles] = ...,
                        scratch: Optional[Singles] = ...,
                        status: Optional[Union[int, Integers]] = ...) -> VorinCompSVD3_s_result: ...
    def VorinCompSVD3z_s(self,
                         mode: int,
                         m: int,
                         n: int,
                         ldK: int,
                         ldC: int,
                         K: Singles,
                         d: Singles,
                         SVDT: float,
                         SVDN: int,
                         count: Optional[Integers] = ...,
                         Kc: Optional[Singles] = ...,
                         dc: Optional[Singles] = ...,
                         U: Optional[Singles] = ...,
                         VT: Optional[Singles] = ...,
                         S: Optional[Singles] = ...,
                         status: Optional[Union[int, Integers]] = ...) -> VorinCompSVD3z_s_result: ...
    def VorinComp_s(self,
                    n: int,
                    nf: int,
                    ldK: int,
                    cap: int,
                    Y: Singles,
                    T: Singles,
                    K: Singles,
                    W: Singles,
                    first: int,
                    last: int,
                    want: int,
                    pmode: int,
                    SVDT: float,
                    SVDN: int,
                    count: Optional[Union[int, Integers]] = ...,
                    Yout: Optional[Singles] = ...,
                    Kout: Optional[Singles] = ...,
                    status: Optional[Union[int, Integers]] = ...) -> VorinComp_s_result: ...
    def debug2_sp(self,
                  m: int,
                  n: int,
                  K: Singles,
                  d: Singles,
                  f: Optional[Singles] = ...,
                  w: Optional[Union[float, Singles]] = ...,
                  rss: Optional[Singles] = ...,
                  rssSlope: Optional[Singles] = ...,
                  status: Optional[Integers] = ...) -> debug2_sp_result: ...
    def debug2_dp(self,
                  m: int,
                  n: int,
                  K: Doubles,
                  d: Doubles,
                  f: Optional[Doubles] = ...,
                  w: Optional[Union[float, Doubles]] = ...,
                  rss: Optional[Doubles] = ...,
                  rssSlope: Optional[Doubles] = ...,
                  status: Optional[Integers] = ...) -> debug2_dp_result: ...
    def VorinSEDiff(self,
                    order: int,
                    count: int,
                    x: Singles) -> float: ...
    def VorinSEROL(self,
                   thresh: float,
                   ridge: float,
                   lda: int,
                   m: int,
                   n: int,
                   K: Singles,
                   y: Singles,
                   W: Singles,
                   x: Optional[Singles] = ...,
                   flags: Optional[Singles] = ...,
                   nGood: Optional[Integers] = ...,
                   nBad: Optional[Integers] = ...,
                   spare: Optional[object] = ...,
                   status: Optional[Integers] = ...) -> VorinSEROL_result: ...
    def CHGetFormat_dp(self,
                       values: Doubles,
                       count: int,
                       w: int,
                       text: Optional[Union[Text, bytearray]] = ...,
                       len: Optional[int] = ...,
                       status: Optional[Integers] = ...) -> CHGetFormat_dp_result: ...
    def CHToString_dp(self,
                      text: Optional[Union[Text, bytearray]] = ...,
                      value: Optional[float] = ...,
                      len: Optional[int] = ...) -> str: ...
    def CHToString3_dp(self,
                       text: Optional[Union[Text, bytearray]] = ...,
                       value: Optional[float] = ...,
                       w: Optional[int] = ...,
                       d: Optional[int] = ...,
                       lower: Optional[float] = ...,
                       upper: Optional[float] = ...,
                       fmin: Optional[int] = ...,
                       len: Optional[int] = ...) -> str: ...
    def CHToString_i4b(self,
                       text: Optional[Union[Text, bytearray]] = ...,
                       value: Optional[int] = ...,
                       len: Optional[int] = ...) -> str: ...
    def plsN_dll(self,
                 A: Doubles,
                 m: int,
                 n: int,
                 b: Doubles,
                 x: Optional[Doubles] = ...,
                 status: Optional[Integers] = ...) -> plsN_dll_result: ...
    def plsB_dll(self,
                 A: Doubles,
                 m: int,
                 n: int,
                 b: Doubles,
                 x: Optional[Doubles] = ...,
                 itmax: Optional[int] = ...,
                 status: Optional[Integers] = ...) -> plsB_dll_result: ...
    def plsReg_DLL(self,
                   X: Doubles,
                   m: int,
                   n: int,
                   y: Doubles,
                   x: Optional[Doubles] = ...,
                   lambda_: Optional[Doubles] = ...,
                   K: Optional[int] = ...,
                   status: Optional[Integers] = ...) -> plsReg_DLL_result: ...
    def LUReg_DLL(self,
                  X: Doubles,
                  m: int,
                  n: int,
                  y: Doubles,
                  x: Optional[Doubles] = ...,
                  lambda_: Optional[Doubles] = ...,
                  K: Optional[int] = ...,
                  status: Optional[Integers] = ...) -> LUReg_DLL_result: ...
