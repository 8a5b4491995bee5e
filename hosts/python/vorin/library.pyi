"""Types of library.py; written by tools/write_stub.py from the table of exports."""

import os
import threading
from pathlib import Path
from types import TracebackType
from typing import Mapping, NamedTuple, Optional, Tuple, Type, Union

import numpy as np
import numpy.typing as npt

Float32Array = npt.NDArray[np.float32]
Float64Array = npt.NDArray[np.float64]
Int32Array = npt.NDArray[np.int32]
Text = Union[str, bytes]

NO_LOG: str
TEXT_KEYS: Tuple[str, ...]


class Vorin_s_result(NamedTuple):
    F: Float32Array
    status: int

class Voriny_s_result(NamedTuple):
    W: Float32Array
    F: Float32Array
    FIT: Float32Array
    status: int

class Vorin_d_result(NamedTuple):
    F: Float64Array
    status: int

class vorin_s_cdecl_result(NamedTuple):
    F: Float32Array
    status: int

class VorinC_s_result(NamedTuple):
    F: Float32Array
    status: int

class VorinC2_s_result(NamedTuple):
    F: Float32Array
    status: int

class VorinC4_s_result(NamedTuple):
    F: Float32Array
    status: int

class VorinC5_s_result(NamedTuple):
    F: Float32Array
    status: int

class VorinyC_s_result(NamedTuple):
    W: Float32Array
    F: Float32Array
    FIT: Float32Array
    status: int

class VorinyC2_s_result(NamedTuple):
    W: Float32Array
    F: Float32Array
    FIT: Float32Array
    status: int

class VorinyC3_s_result(NamedTuple):
    W: Float32Array
    F: Float32Array
    FIT: Float32Array
    status: int

class VorinyC4_s_result(NamedTuple):
    W: Float32Array
    F: Float32Array
    FIT: Float32Array
    status: int

class VorinyC5_s_result(NamedTuple):
    W: Float32Array
    F: Float32Array
    FIT: Float32Array
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
    f: Float32Array
    rss: float
    rssSlope: float
    status: int

class vrBRDw_dp_dll_result(NamedTuple):
    f: Float64Array
    rss: float
    rssSlope: float
    status: int

class vorinTarget2_sp_result(NamedTuple):
    f: Float32Array
    w: float
    rss: float
    rssSlope: float
    status: int

class vorinTarget2_dp_result(NamedTuple):
    f: Float64Array
    w: float
    rss: float
    rssSlope: float
    status: int

class VorinPruneZ_result(NamedTuple):
    count: int  # type: ignore[assignment]
    yPruned: Float32Array
    tSum: Float32Array
    binNorm: Float32Array
    P: Float32Array
    status: int

class VorinPrune_result(NamedTuple):
    count: int  # type: ignore[assignment]
    yPruned: Float32Array
    tMean: Float32Array
    kPruned: Float32Array
    binNorm: Float32Array
    P: Float32Array
    status: int

class VorinPrune2_result(NamedTuple):
    count: int  # type: ignore[assignment]
    yPruned: Float32Array
    tMean: Float32Array
    kPruned: Float32Array
    binNorm: Float32Array
    P: Float32Array
    status: int

class VorinCompSVD_s_result(NamedTuple):
    count: int  # type: ignore[assignment]
    Kc: Float32Array
    dc: Float32Array
    status: int

class VorinCompSVD2_s_result(NamedTuple):
    K: Float32Array
    count: int  # type: ignore[assignment]
    Kc: Float32Array
    dc: Float32Array
    V: Float32Array
    S: Float32Array
    status: int

class VorinCompSVD3_s_result(NamedTuple):
    count: int  # type: ignore[assignment]
    Kc: Float32Array
    dc: Float32Array
    scratch: Float32Array
    status: int

class VorinCompSVD3z_s_result(NamedTuple):
    count: int  # type: ignore[assignment]
    Kc: Float32Array
    dc: Float32Array
    U: Float32Array
    VT: Float32Array
    S: Float32Array
    status: int

class VorinComp_s_result(NamedTuple):
    count: int  # type: ignore[assignment]
    Yout: Float32Array
    Kout: Float32Array
    status: int

class debug2_sp_result(NamedTuple):
    f: Float32Array
    w: float
    rss: float
    rssSlope: float
    status: int

class debug2_dp_result(NamedTuple):
    f: Float64Array
    w: float
    rss: float
    rssSlope: float
    status: int

class VorinSEROL_result(NamedTuple):
    x: Float32Array
    flags: Float32Array
    nGood: int
    nBad: int
    status: int

class CHGetFormat_dp_result(NamedTuple):
    text: str
    status: int

class plsN_dll_result(NamedTuple):
    x: Float64Array
    status: int

class plsB_dll_result(NamedTuple):
    x: Float64Array
    status: int

class plsReg_DLL_result(NamedTuple):
    x: Float64Array
    status: int

class LUReg_DLL_result(NamedTuple):
    x: Float64Array
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
                K: Float32Array,
                Y: Float32Array,
                F: Optional[Float32Array] = ...,
                status: Optional[Int32Array] = ...) -> Vorin_s_result: ...
    def Voriny_s(self,
                 nf: int,
                 ng: int,
                 nfAddress: Optional[int] = ...,
                 ngAddress: Optional[int] = ...,
                 K: Optional[Float32Array] = ...,
                 T: Optional[Float32Array] = ...,
                 Y: Optional[Float32Array] = ...,
                 W: Optional[Float32Array] = ...,
                 G: Optional[Float32Array] = ...,
                 F: Optional[Float32Array] = ...,
                 FIT: Optional[Float32Array] = ...,
                 status: Optional[Int32Array] = ...) -> Voriny_s_result: ...
    def Vorin_d(self,
                nf: int,
                ng: int,
                K: Float64Array,
                Y: Float64Array,
                F: Optional[Float64Array] = ...,
                status: Optional[Int32Array] = ...) -> Vorin_d_result: ...
    def vorin_s_cdecl(self,
                      nf: int,
                      ng: int,
                      K: Float32Array,
                      Y: Float32Array,
                      F: Optional[Float32Array] = ...,
                      status: Optional[Int32Array] = ...) -> vorin_s_cdecl_result: ...
    def VorinC_s(self,
                 nf: int,
                 ng: int,
                 K: Float32Array,
                 Y: Float32Array,
                 F: Optional[Float32Array] = ...,
                 status: Optional[Int32Array] = ...) -> VorinC_s_result: ...
    def VorinC2_s(self,
                  nf: int,
                  ng: int,
                  K: Float32Array,
                  Y: Float32Array,
                  F: Optional[Float32Array] = ...,
                  status: Optional[Int32Array] = ...) -> VorinC2_s_result: ...
    def VorinC4_s(self,
                  nf: int,
                  ng: int,
                  K: Float32Array,
                  Y: Float32Array,
                  F: Optional[Float32Array] = ...,
                  status: Optional[Int32Array] = ...) -> VorinC4_s_result: ...
    def VorinC5_s(self,
                  nf: int,
                  ng: int,
                  K: Float32Array,
                  Y: Float32Array,
                  F: Optional[Float32Array] = ...,
                  status: Optional[Int32Array] = ...) -> VorinC5_s_result: ...
    def VorinyC_s(self,
                  nf: int,
                  ng: int,
                  nfAddress: Optional[int] = ...,
                  ngAddress: Optional[int] = ...,
                  K: Optional[Float32Array] = ...,
                  T: Optional[Float32Array] = ...,
                  Y: Optional[Float32Array] = ...,
                  W: Optional[Float32Array] = ...,
                  G: Optional[Float32Array] = ...,
                  F: Optional[Float32Array] = ...,
                  FIT: Optional[Float32Array] = ...,
                  status: Optional[Int32Array] = ...) -> VorinyC_s_result: ...
    def VorinyC2_s(self,
                   nf: int,
                   ng: int,
                   nfAddress: Optional[int] = ...,
                   ngAddress: Optional[int] = ...,
                   K: Optional[Float32Array] = ...,
                   T: Optional[Float32Array] = ...,
                   Y: Optional[Float32Array] = ...,
                   W: Optional[Float32Array] = ...,
                   G: Optional[Float32Array] = ...,
                   F: Optional[Float32Array] = ...,
                   FIT: Optional[Float32Array] = ...,
                   status: Optional[Int32Array] = ...) -> VorinyC2_s_result: ...
    def VorinyC3_s(self,
                   nf: int,
                   ng: int,
                   nfAddress: Optional[int] = ...,
                   ngAddress: Optional[int] = ...,
                   K: Optional[Float32Array] = ...,
                   T: Optional[Float32Array] = ...,
                   Y: Optional[Float32Array] = ...,
                   W: Optional[Float32Array] = ...,
                   G: Optional[Float32Array] = ...,
                   F: Optional[Float32Array] = ...,
                   FIT: Optional[Float32Array] = ...,
                   status: Optional[Int32Array] = ...) -> VorinyC3_s_result: ...
    def VorinyC4_s(self,
                   nf: int,
                   ng: int,
                   nfAddress: Optional[int] = ...,
                   ngAddress: Optional[int] = ...,
                   K: Optional[Float32Array] = ...,
                   T: Optional[Float32Array] = ...,
                   Y: Optional[Float32Array] = ...,
                   W: Optional[Float32Array] = ...,
                   G: Optional[Float32Array] = ...,
                   F: Optional[Float32Array] = ...,
                   FIT: Optional[Float32Array] = ...,
                   status: Optional[Int32Array] = ...) -> VorinyC4_s_result: ...
    def VorinyC5_s(self,
                   nf: int,
                   ng: int,
                   nfAddress: Optional[int] = ...,
                   ngAddress: Optional[int] = ...,
                   K: Optional[Float32Array] = ...,
                   T: Optional[Float32Array] = ...,
                   Y: Optional[Float32Array] = ...,
                   W: Optional[Float32Array] = ...,
                   G: Optional[Float32Array] = ...,
                   F: Optional[Float32Array] = ...,
                   FIT: Optional[Float32Array] = ...,
                   status: Optional[Int32Array] = ...) -> VorinyC5_s_result: ...
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
                     result: Optional[Int32Array] = ...) -> int: ...
    def sadd_dp_dll(self,
                    a: float,
                    b: float,
                    result: Optional[Float64Array] = ...) -> float: ...
    def vorinSQC99(self,
                   mode: Text,
                   key: Text,
                   text: Optional[Union[Text, bytearray]] = ...,
                   len: Optional[int] = ...,
                   value: Optional[Union[float, Float32Array]] = ...,
                   status: Optional[Int32Array] = ...) -> vorinSQC99_result: ...
    def VorinSQR(self,
                 mode: Text,
                 key: Text,
                 value: Optional[Union[float, Float32Array]] = ...,
                 status: Optional[Int32Array] = ...) -> VorinSQR_result: ...
    def VorinSQR_s(self,
                   mode: Text,
                   key: Text,
                   value: Optional[Union[float, Float32Array]] = ...,
                   status: Optional[Int32Array] = ...) -> VorinSQR_s_result: ...
    def VorinSQR_d(self,
                   mode: Text,
                   key: Text,
                   value: Optional[Union[float, Float32Array]] = ...,
                   status: Optional[Int32Array] = ...) -> VorinSQR_d_result: ...
    def VorinSQI(self,
                 mode: Text,
                 key: Text,
                 value: Optional[Union[int, Int32Array]] = ...,
                 status: Optional[Int32Array] = ...) -> VorinSQI_result: ...
    def VorinSQC(self,
                 mode: Text,
                 key: Text,
                 text: Optional[Union[Text, bytearray]] = ...,
                 len: Optional[int] = ...,
                 status: Optional[Int32Array] = ...) -> VorinSQC_result: ...
    def VorinSQC2(self,
                  mode: Text,
                  key: Text,
                  text: Optional[Union[Text, bytearray]] = ...,
                  status: Optional[Int32Array] = ...) -> VorinSQC2_result: ...
    def vorin_sqc_cdecl(self,
                        mode: Text,
                        key: Text,
                        text: Optional[Union[Text, bytearray]] = ...,
                        len: Optional[int] = ...,
                        status: Optional[Int32Array] = ...) -> vorin_sqc_cdecl_result: ...
    def vorin_sqr_cdecl(self,
                        mode: Text,
                        key: Text,
                        value: Optional[Union[float, Float32Array]] = ...,
                        status: Optional[Int32Array] = ...) -> vorin_sqr_cdecl_result: ...
    def vrBRDw_sp_dll(self,
                      m: int,
                      n: int,
                      K: Float32Array,
                      d: Float32Array,
                      f: Optional[Float32Array] = ...,
                      weight: Optional[float] = ...,
                      rss: Optional[Float32Array] = ...,
                      rssSlope: Optional[Float32Array] = ...,
                      status: Optional[Int32Array] = ...) -> vrBRDw_sp_dll_result: ...
    def vrBRDw_dp_dll(self,
                      m: int,
                      n: int,
                      K: Float64Array,
                      d: Float64Array,
                      f: Optional[Float64Array] = ...,
                      weight: Optional[float] = ...,
                      rss: Optional[Float64Array] = ...,
                      rssSlope: Optional[Float64Array] = ...,
                      status: Optional[Int32Array] = ...) -> vrBRDw_dp_dll_result: ...
    def vorinTarget2_sp(self,
                        m: int,
                        n: int,
                        K: Float32Array,
                        d: Float32Array,
                        f: Optional[Float32Array] = ...,
                        w: Optional[Float32Array] = ...,
                        rss: Optional[Float32Array] = ...,
                        rssSlope: Optional[Float32Array] = ...,
                        status: Optional[Int32Array] = ...) -> vorinTarget2_sp_result: ...
    def vorinTarget2_dp(self,
                        m: int,
                        n: int,
                        K: Float64Array,
                        d: Float64Array,
                        f: Optional[Float64Array] = ...,
                        w: Optional[Float64Array] = ...,
                        rss: Optional[Float64Array] = ...,
                        rssSlope: Optional[Float64Array] = ...,
                        status: Optional[Int32Array] = ...) -> vorinTarget2_dp_result: ...
    def VorinPruneZ(self,
                    nPoints: int,
                    ldPoints: int,
                    maxBins: int,
                    y: Float32Array,
                    t: Float32Array,
                    scale: Float32Array,
                    prLo: int,
                    prHi: int,
                    target: int,
                    mode: int,
                    count: Optional[Int32Array] = ...,
                    yPruned: Optional[Float32Array] = ...,
                    tSum: Optional[Float32Array] = ...,
                    binNorm: Optional[Float32Array] = ...,
                    P: Optional[Float32Array] = ...,
                    status: Optional[Int32Array] = ...) -> VorinPruneZ_result: ...
    def VorinPrune(self,
                   nCols: int,
                   nPoints: int,
                   ldPoints: int,
                   maxBins: int,
                   y: Float32Array,
                   t: Float32Array,
                   k: Float32Array,
                   scale: Float32Array,
                   prLo: int,
                   prHi: int,
                   target: int,
                   mode: int,
                   count: Optional[Int32Array] = ...,
                   yPruned: Optional[Float32Array] = ...,
                   tMean: Optional[Float32Array] = ...,
                   kPruned: Optional[Float32Array] = ...,
                   binNorm: Optional[Float32Array] = ...,
                   P: Optional[Float32Array] = ...,
                   status: Optional[Int32Array] = ...) -> VorinPrune_result: ...
    def VorinPrune2(self,
                    nCols: int,
                    nPoints: int,
                    ldPoints: int,
                    maxBins: int,
                    y: Float32Array,
                    t: Float32Array,
                    k: Float32Array,
                    scale: Float32Array,
                    prLo: int,
                    prHi: int,
                    target: int,
                    mode: int,
                    count: Optional[Union[int, Int32Array]] = ...,
                    yPruned: Optional[Float32Array] = ...,
                    tMean: Optional[Float32Array] = ...,
                    kPruned: Optional[Float32Array] = ...,
                    binNorm: Optional[Float32Array] = ...,
                    P: Optional[Float32Array] = ...,
                    status: Optional[Int32Array] = ...) -> VorinPrune2_result: ...
    def VorinCompSVD_s(self,
                       m: int,
                       n: int,
                       ldK: int,
                       ldC: int,
                       K: Float32Array,
                       d: Float32Array,
                       SVDT: float,
                       SVDN: int,
                       count: Optional[Int32Array] = ...,
                       Kc: Optional[Float32Array] = ...,
                       dc: Optional[Float32Array] = ...,
                       status: Optional[Int32Array] = ...) -> VorinCompSVD_s_result: ...
    def VorinCompSVD2_s(self,
                        m: int,
                        n: int,
                        ldK: int,
                        ldC: int,
                        K: Optional[Float32Array] = ...,
                        d: Optional[Float32Array] = ...,
                        SVDT: Optional[float] = ...,
                        SVDN: Optional[int] = ...,
                        count: Optional[Int32Array] = ...,
                        Kc: Optional[Float32Array] = ...,
                        dc: Optional[Float32Array] = ...,
                        V: Optional[Float32Array] = ...,
                        S: Optional[Float32Array] = ...,
                        status: Optional[Int32Array] = ...) -> VorinCompSVD2_s_result: ...
    def VorinCompSVD3_s(self,
                        mode: int,
                        scratchLen: int,
                        m: int,
                        n: int,
                        ldK: int,
                        ldC: int,
                        K: Float32Array,
                        d: Float32Array,
                        SVDT: float,
                        SVDN: int,
                        count: Optional[Int32Array] = ...,
                        Kc: Optional[Float32Array] = ...,
                        dc: Optional[Float32Array] = ...,
                        scratch: Optional[Float32Array] = ...,
                        status: Optional[Union[int, Int32Array]] = ...) -> VorinCompSVD3_s_result: ...
    def VorinCompSVD3z_s(self,
                         mode: int,
                         m: int,
                         n: int,
                         ldK: int,
                         ldC: int,
                         K: Float32Array,
                         d: Float32Array,
                         SVDT: float,
                         SVDN: int,
                         count: Optional[Int32Array] = ...,
                         Kc: Optional[Float32Array] = ...,
                         dc: Optional[Float32Array] = ...,
                         U: Optional[Float32Array] = ...,
                         VT: Optional[Float32Array] = ...,
                         S: Optional[Float32Array] = ...,
                         status: Optional[Union[int, Int32Array]] = ...) -> VorinCompSVD3z_s_result: ...
    def VorinComp_s(self,
                    n: int,
                    nf: int,
                    ldK: int,
                    cap: int,
                    Y: Float32Array,
                    T: Float32Array,
                    K: Float32Array,
                    W: Float32Array,
                    first: int,
                    last: int,
                    want: int,
                    pmode: int,
                    SVDT: float,
                    SVDN: int,
                    count: Optional[Union[int, Int32Array]] = ...,
                    Yout: Optional[Float32Array] = ...,
                    Kout: Optional[Float32Array] = ...,
                    status: Optional[Union[int, Int32Array]] = ...) -> VorinComp_s_result: ...
    def debug2_sp(self,
                  m: int,
                  n: int,
                  K: Float32Array,
                  d: Float32Array,
                  f: Optional[Float32Array] = ...,
                  w: Optional[Union[float, Float32Array]] = ...,
                  rss: Optional[Float32Array] = ...,
                  rssSlope: Optional[Float32Array] = ...,
                  status: Optional[Int32Array] = ...) -> debug2_sp_result: ...
    def debug2_dp(self,
                  m: int,
                  n: int,
                  K: Float64Array,
                  d: Float64Array,
                  f: Optional[Float64Array] = ...,
                  w: Optional[Union[float, Float64Array]] = ...,
                  rss: Optional[Float64Array] = ...,
                  rssSlope: Optional[Float64Array] = ...,
                  status: Optional[Int32Array] = ...) -> debug2_dp_result: ...
    def VorinSEDiff(self,
                    order: int,
                    count: int,
                    x: Float32Array) -> float: ...
    def VorinSEROL(self,
                   thresh: float,
                   ridge: float,
                   lda: int,
                   m: int,
                   n: int,
                   K: Float32Array,
                   y: Float32Array,
                   W: Float32Array,
                   x: Optional[Float32Array] = ...,
                   flags: Optional[Float32Array] = ...,
                   nGood: Optional[Int32Array] = ...,
                   nBad: Optional[Int32Array] = ...,
                   spare: Optional[object] = ...,
                   status: Optional[Int32Array] = ...) -> VorinSEROL_result: ...
    def CHGetFormat_dp(self,
                       values: Float64Array,
                       count: int,
                       w: int,
                       text: Optional[Union[Text, bytearray]] = ...,
                       len: Optional[int] = ...,
                       status: Optional[Int32Array] = ...) -> CHGetFormat_dp_result: ...
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
                 A: Float64Array,
                 m: int,
                 n: int,
                 b: Float64Array,
                 x: Optional[Float64Array] = ...,
                 status: Optional[Int32Array] = ...) -> plsN_dll_result: ...
    def plsB_dll(self,
                 A: Float64Array,
                 m: int,
                 n: int,
                 b: Float64Array,
                 x: Optional[Float64Array] = ...,
                 itmax: Optional[int] = ...,
                 status: Optional[Int32Array] = ...) -> plsB_dll_result: ...
    def plsReg_DLL(self,
                   X: Float64Array,
                   m: int,
                   n: int,
                   y: Float64Array,
                   x: Optional[Float64Array] = ...,
                   lambda_: Optional[Float64Array] = ...,
                   K: Optional[int] = ...,
                   status: Optional[Int32Array] = ...) -> plsReg_DLL_result: ...
    def LUReg_DLL(self,
                  X: Float64Array,
                  m: int,
                  n: int,
                  y: Float64Array,
                  x: Optional[Float64Array] = ...,
                  lambda_: Optional[Float64Array] = ...,
                  K: Optional[int] = ...,
                  status: Optional[Int32Array] = ...) -> LUReg_DLL_result: ...
