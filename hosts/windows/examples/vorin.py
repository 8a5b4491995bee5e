"""Vorin's library by ctypes: inverts a computed decay and prints the distribution.

    python vorin.py [LIBRARY]      the Python must have the library's size, 32 or 64 bit

Needs no package. The package `vorin` does more (docs/python.md)."""

import ctypes
import math
import sys

name = sys.argv[1] if len(sys.argv) > 1 else "Vorin01056.dll"
# windll takes the calling convention of 32 bit from its name, __stdcall; elsewhere there is one.
library = (ctypes.windll if sys.platform == "win32" else ctypes.cdll).LoadLibrary(name)

nf, ng = 100, 20
times = [2.0 * 1.4**j for j in range(ng)]  # ms
# Column-major: sample i of grid time j is K[i + j * nf].
K = (ctypes.c_float * (nf * ng))(*(math.exp(-(i + 1) / t) for t in times for i in range(nf)))
Y = (ctypes.c_float * nf)(*(0.5 * K[i + 5 * nf] + 0.5 * K[i + 15 * nf] for i in range(nf)))
F = (ctypes.c_float * ng)()
status = ctypes.c_int32(-1)
noise = ctypes.c_float(0.001)
library.VorinSQR(b"S", b"SIG ", ctypes.byref(noise), ctypes.byref(status))
library.Vorin_s(nf, ng, K, Y, F, ctypes.byref(status))
weight = ctypes.c_float()
library.VorinSQR(b"Q", b"CWEI", ctypes.byref(weight), ctypes.byref(ctypes.c_int32()))
print(f"status {status.value}, weight {weight.value:.3e}")
for t, f in zip(times, F):
    print(f"{t:8.2f} ms {f:8.4f}")
