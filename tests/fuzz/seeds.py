"""The first inputs of the fuzz targets: seeds.py FOLDER writes FOLDER/TARGET/seed_* for each of
them. All are made here: small files of each format, and bytes of a fixed generator for the targets
that take numbers from bytes."""
import gzip
import io
import json
import os
import random
import struct
import sys
import zipfile
import zlib

import numpy as np

FOLDER = sys.argv[1]
HERE = os.path.dirname(os.path.abspath(__file__))


def put(target, name, content):
    os.makedirs(os.path.join(FOLDER, target), exist_ok=True)
    if isinstance(content, str):
        content = content.encode("latin-1")
    with open(os.path.join(FOLDER, target, "seed_" + name), "wb") as file:
        file.write(content)


def numbers():
    for target in ("store", "text", "prune", "compress", "solve", "regress", "invert", "toolkit",
                   "differential"):
        generator = random.Random(target)
        for size in (16, 64, 256, 1024, 4096):
            put(target, str(size), generator.randbytes(size))


def texts():
    decay = "".join(f"{t / 1000:.3f},{100 * 0.9 ** t:.4f}\n" for t in range(1, 20))
    put("csv", "decay", "time (s),amplitude\n" + decay)
    put("csv", "semicolon", "time;amplitude\r\n1e-3;2\r\n0.002; -1.5e0\r\n")
    put("csv", "header", "Run 5\ntime (ms)\ty\n1,5\t2\n2,5\tnan\nend\n")
    put("csv", "wide", "\xef\xbb\xbft,a,b,c\n1,2,3,4\n2,1,2,3\n3,1,1,2\n")
    put("csv", "utf16", "1,2\n2,1\n".encode("utf-16"))
    put("section", "head", " !  Vorin save1\n\n [PARAM]\n   nf   1\n   ng   1\n")
    with open(os.path.join(HERE, "section.txt"), encoding="ascii") as file:
        put("section", "whole", file.read())


def containers():
    t = np.arange(1, 5) * 1e-3
    array = io.BytesIO()
    np.save(array, np.c_[t, np.exp(-t)])
    put("container", "npy", array.getvalue())
    archive = io.BytesIO()
    np.savez_compressed(archive, t=t, y=np.exp(-t))
    put("container", "npz", archive.getvalue())
    put("container", "gzip", gzip.compress(b"1,5\n2,4\n", mtime=0))
    book = io.BytesIO()
    with zipfile.ZipFile(book, "w") as sheet:
        for name, content in (
                ("workbook.xml", '<workbook><sheets><sheet name="a" r:id="r"/></sheets></workbook>'),
                ("_rels/workbook.xml.rels", '<Relationships><Relationship Id="r" '
                                            'Target="s.xml"/></Relationships>'),
                ("s.xml", '<worksheet><sheetData><row r="1"><c r="A1"><v>1</v></c><c r="B1"><v>2'
                          '</v></c></row><row r="2"><c><v>3</v></c><c><v>4</v></c></row>'
                          '</sheetData></worksheet>')):
            sheet.writestr(zipfile.ZipInfo("xl/" + name), content)
    put("container", "sheet", book.getvalue())


def helper():
    def text(value):
        return struct.pack("<I", len(value)) + value

    def array(name, times, unit, shape, values, is_complex=0):
        return (b"a" + text(name) + text(times) + text(unit) + struct.pack("<I", len(shape)) +
                struct.pack(f"<{len(shape)}Q", *shape) + bytes([is_complex]) +
                struct.pack(f"<{len(values)}d", *values))

    start = b"\xffVORINC1\n"
    put("helper", "timed", start + array(b"/g/t", b"", b"ms", [3], [1, 2, 3]) +
        array(b"/g/y", b"/g/t", b"", [3], [4, 2, 1]) + b"l" + text(b"/who") + text(b"text") + b".")
    put("helper", "matrix", start + array(b"a", b"", b"", [2, 2], [1, 5, 2, 4]) + b".")
    put("helper", "complex", start + array(b"t_us", b"", b"", [2, 1], [1, 2]) +
        array(b"z", b"", b"", [1, 2], [4, 2, 1, 0], 1) + b".")
    put("helper", "error", start + b"e" + text(b"damaged"))
    for kind in range(6):
        put("helper", f"file_{kind}", bytes([kind, 0, 200, 7, 1, 4, 9]))
        put("helper", f"whole_{kind}", bytes([kind]) + b"\0\0\0\0")
    maps = {"attributes": {"a": "b"},
            "scales": [{"name": "x", "length": 2, "values": [1, 2], "unit": "s", "meaning": "m"}],
            "sets": [{"name": "y", "scales": [0], "bytes": 8, "whole": False, "unit": "",
                      "meaning": "m"}]}
    head = json.dumps(maps).encode()
    put("helper", "maps", b"\x06" + struct.pack("<Q", len(head)) + head +
        struct.pack("<3Q2d", 0, 0, 2, 1.5, 2.5) + b"\xff" * 8)


def instruments():
    put("instrument", "geospec", "0[GITData]\nTestType=7\n[Data]\n1\t0\t2\t3\n2\t0\t1\t3\n")
    put("instrument", "minispec", "00\t0.5\t2\t\n1\t1.5\t1\t\n2\t2.5\t1\t\n")
    put("instrument", "prospa", b"0SORPATAD1.1V\364\1\0\0\2\0\0\0\1\0\0\0\1\0\0\0\1\0\0\0abcdefgh")
    put("instrument", "tecmag", b"0TNT1.008TMAG" + bytes(1400))
    put("instrument", "stelar", "0STELAR Data File\nZONE=\t1\nBS=\t1\nNBLK=\t2\nT1MX=\t1\n"
        "BGRD=\tLOG\nBINI=\t(4*T1MX)\nBEND=\t0.1\nDATA=\n1\t2\n3\t4\n")
    put("instrument", "las", "0~V\nVERS. 3.0 : x\n~C\nD.M : d\nN[1].ms : e {A:1}\n"
        "N[2].ms : e {A:2}\n~A\n1 2 3\n")
    put("instrument", "acqus", "1##$TD= 4\n##$AQ_mod= 3\n##$DTYPA= 0\n##$BYTORDA= 0\n"
        "##$GRPDLY= 0\n")


def volumes():
    def image(version, code, bits, content):
        header = bytearray(352 if version == 1 else 544)
        if version == 1:
            struct.pack_into("<i", header, 0, 348)
            struct.pack_into("<8h", header, 40, 4, 2, 1, 2, 3, 1, 1, 1)
            struct.pack_into("<hh", header, 70, code, bits)
            struct.pack_into("<fff", header, 108, 352, 0.5, 1)
            header[344:348] = b"n+1\0"
        else:
            struct.pack_into("<i8shh", header, 0, 540, b"n+2\0\r\n\x1a\n", code, bits)
            struct.pack_into("<8q", header, 16, 4, 2, 1, 2, 3, 1, 1, 1)
            struct.pack_into("<qdd", header, 168, 544, 0.5, 1)
        return bytes(header) + content

    twelve = np.arange(12)
    put("volume", "nifti1", image(1, 4, 16, twelve.astype("<i2").tobytes()))
    put("volume", "nifti2", image(2, 64, 64, twelve.astype("<f8").tobytes()))
    put("volume", "packed", gzip.compress(image(1, 16, 32, twelve.astype("<f4").tobytes()),
                                          mtime=0))
    put("volume", "complex", image(1, 32, 64, twelve.astype("<c8").tobytes()))
    put("volume", "table", "1ms;2ms;3ms\n4;3,5;2\n3;nan;1\n")
    array = io.BytesIO()
    np.save(array, twelve.reshape(2, 2, 3))
    put("volume", "npy", array.getvalue())
    for kind, content in enumerate(("1ms,2ms,3ms", "2ms,1ms", "1 2 3\n",
                                    '{"EchoTime": [0.01, 0.02, 0.03]}')):
        put("times", str(kind), bytes([2 * kind]) + content.encode())


def planes():
    matrix = "0,1,2,3\n0.01,9,4,2\n0.02,8,3,1\n0.5,-7,-2,-1\n"
    put("plane", "matrix", "\0" + matrix)
    for name, values in (("npy", np.arange(9.0).reshape(3, 3)),
                         ("complex", np.arange(9).reshape(3, 3) * (1 + 1j))):
        array = io.BytesIO()
        np.save(array, values)
        put("plane", name, b"\1" + array.getvalue())
    axis = "0.01\n0.02\n0.03\n"
    plain = "9 4 2\n8 3 1\n7 2 1"
    put("plane", "plain", "\2" + axis.ljust(len(plain)) + plain)
    par = 'nrEchoes = 2\nechoTime = 100\nminT1 = 1\nmaxT1 = 100\nnrPnts = 2\n'
    put("plane", "spinsolve", "\3" + par + "1 0 2 0\n3 0 4 0\n".ljust(len(par)))


def journals():
    row = {"samples": 3, "status": 0, "success": True, "advice": "", "noise": 0.1, "weight": None,
           "error": 0.1, "log_mean": 0.1, "total": 1, "peaks": 1, "measures": [1.0, None],
           "peak_list": [[0.1, 0.2, 0.3, 0.4, 0.5]], "notes": ""}
    line = json.dumps({"json": "{}", "key": "61", "row": row})
    put("journal", "batch", "\0" + line + "\n" + line[:40])
    head = {"settings": "61", "kind": 0, "voxels": [2], "tile": [1],
            "axes": [{"name": "78", "unit": "", "values": [1.0]}], "nifti": "", "packed": False,
            "single": False,
            "arrays": [{"name": "a", "unit": "", "meaning": "", "width": 0, "whole": False}],
            "grid": [1.0], "grid_name": "g", "grid_unit": "s", "times": [1.0], "shown":
            [["61", "62"]], "first": 0, "last": 2}
    text = json.dumps(head).encode()
    put("journal", "map", b"\1" + text + b"\0" + b"12345678" + b"\n\n" + b"12345678")
    put("journal", "raw", b"\2VORINMAP" + struct.pack("<Q", len(text)) + text +
        struct.pack("<I", zlib.crc32(text)))


for part in (numbers, texts, containers, helper, instruments, volumes, planes, journals):
    part()
