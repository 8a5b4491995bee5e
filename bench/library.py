"""The calls of a host, on the library or on the reference implementation, and the decays that
both are given."""

import ctypes

import numpy as np
import scipy.sparse

FLOATS = ctypes.POINTER(ctypes.c_float)


def address(array):
    return array.ctypes.data_as(FLOATS)


class Library:
    """The calls of a host, on one of the two builds."""

    def __init__(self, path):
        self.lib = ctypes.CDLL(path)
        self.status = ctypes.c_int32()

    def number(self, key, value=None):
        slot = ctypes.c_float(0.0 if value is None else value)
        mode = b"Q" if value is None else b"S"
        self.lib.VorinSQR(mode, key.ljust(4).encode(), ctypes.byref(slot),
                          ctypes.byref(self.status))
        return slot.value

    def text(self, key, value):
        length = ctypes.c_int32(len(value))
        self.lib.VorinSQC(b"S", key.encode(), ctypes.create_string_buffer(value.encode()),
                          ctypes.byref(length), ctypes.byref(self.status))

    def set(self, settings):
        for key, value in settings.items():
            (self.text if isinstance(value, str) else self.number)(key, value)

    def inverter(self, entry, K, Y):
        """A call without arguments that inverts into the F it returns."""
        nf, ng = K.shape
        F = np.zeros(ng, np.float32)
        call = getattr(self.lib, entry)
        arguments = (nf, ng, address(K), address(Y), address(F), ctypes.byref(self.status))

        def run():
            call(*arguments)
            return F

        return run

    def prune_map(self, nf, target):
        """The map of VorinPruneZ without its zeros."""
        most = 2 * target
        count = ctypes.c_int32()
        t = np.arange(1, nf + 1, dtype=np.float32)
        ones = np.ones(nf, np.float32)
        out = [np.zeros(most, np.float32) for _ in range(3)]
        P = np.zeros((most, nf), np.float32, order="F")
        self.lib.VorinPruneZ(nf, nf, most, address(ones), address(t), address(ones), 1, -1,
                             target, 1, ctypes.byref(count), *map(address, out), address(P),
                             ctypes.byref(self.status))
        return scipy.sparse.csr_matrix(P[:count.value].astype(float))


def make_decay(bench, nf, ng, snr, seed):
    K = np.empty((nf, ng), np.float32, order="F")
    Y = np.empty(nf, np.float32)
    bench.lib.benchDecay(nf, ng, ctypes.c_double(snr), ctypes.c_uint64(seed), address(K),
                         address(Y))
    return K, Y
