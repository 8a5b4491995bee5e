// Archives, workbooks and numpy's files by other programs: numpy, openpyxl and Python's zipfile
// write them, Excel wrote those that come with readxl. Files that unfold to much are read under a
// limit of memory and time, and nothing of a file reaches a terminal that it would obey.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "support/child.hpp"
#include "support/refusal.hpp"
#include "support/sanitizers.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/npy.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

using test::expectRefusal;
using test::TemporaryFolder;
using Numbers = std::vector<double>;
namespace fs = std::filesystem;

/// Runs a Python script in `folder`; false where Debian's Python or a module of it is not there.
bool runPython(const TemporaryFolder& folder, const std::string& script) {
  test::writeFile(folder / "make.py", script);
  const std::string command =
      fmt::format("cd {} && /usr/bin/python3 make.py >messages 2>&1", folder.path().string());
  const bool done = std::system(command.c_str()) == 0;
  fs::remove(folder / "make.py");
  return done;
}

/// 8, 4, 2, 1 at 1 to 4 ms.
void expectDecay(const FileDecay& decay) {
  ASSERT_EQ(decay.measured.decay.time.size(), 4U);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_DOUBLE_EQ(decay.measured.decay.time[i], 1e-3 * static_cast<double>(i + 1));
  }
  EXPECT_EQ(decay.measured.decay.amplitude, (Numbers{8, 4, 2, 1}));
}

TEST(Numpy, WhatItSavesIsRead) {
  const TemporaryFolder folder;
  if (!runPython(folder, R"py(
import numpy as np
t = np.arange(1, 5) * 1e-3
y = np.array([8, 4, 2, 1])
np.savez("plain.npz", t=t, y=y)
np.savez_compressed("packed.npz", time_ms=1e3 * t, signal=(y - 1j * y).astype("c8"), scans=16)
np.savez("turned.npz", a=y, b=t)
np.savez("several.npz", t=t, a=y, b=2 * y)
np.save("unnamed.npy", np.c_[y, y, y])
np.savez("mixed.npz", t=t, y=y, cube=np.ones((2, 2, 2)), who=np.array(["me"]))
np.save("columns.npy", np.c_[t, y].astype(">f8"))
np.save("fortran.npy", np.asfortranarray(np.c_[t, y]))
np.save("lying.npy", np.array([t, y]))
np.save("objects.npy", np.array([{}], dtype=object))
)py")) {
    GTEST_SKIP() << "numpy is not here";
  }
  for (const char* name : {"plain.npz", "turned.npz", "packed.npz", "mixed.npz", "columns.npy",
                           "fortran.npy", "lying.npy"}) {
    expectDecay(readFileDecay(folder / name, {}));
  }
  EXPECT_EQ(readFileDecay(folder / "packed.npz", {}).measured.imaginary, (Numbers{-8, -4, -2, -1}));
  DecayFormat format;
  format.columns = parseColumns("t,a", "--columns");
  expectDecay(readFileDecay(folder / "several.npz", format));
  expectDecay(readFileDecay((folder / "several.npz").string() + ":a", {}));
  expectRefusal(folder / "several.npz",
                "say by --columns which hold time and amplitude, for instance --columns t,a");
  expectRefusal(folder / "unnamed.npy",
                "say by --columns which hold time and amplitude, for instance --columns 1,2");
  expectRefusal((folder / "mixed.npz").string() + ":cube", "the array has 3 dimensions");
  expectRefusal(folder / "objects.npy", "the array holds |O; numbers are needed");
}

// One bit of a number, in an archive whose members are not packed: their checksum tells.
TEST(Numpy, ADamagedNumberIsNoticed) {
  const TemporaryFolder folder;
  if (!runPython(folder, R"py(
import numpy as np
np.savez("f.npz", t=np.arange(1, 5) * 1e-3, y=np.array([8, 4, 2, 1.0]))
whole = bytearray(open("f.npz", "rb").read())
whole[whole.rindex(np.array([8, 4.0]).tobytes())] ^= 1
open("damaged.npz", "wb").write(whole)
)py")) {
    GTEST_SKIP() << "numpy is not here";
  }
  expectDecay(readFileDecay(folder / "f.npz", {}));
  expectRefusal(folder / "damaged.npz", "the archive is damaged or cut off");
}

TEST(Numpy, OfManyArraysTwentyAreListed) {
  const TemporaryFolder folder;
  if (!runPython(folder, R"py(
import numpy as np
np.savez("f.npz", **{"a%02d" % k: np.arange(5 + k) for k in range(25)})
)py")) {
    GTEST_SKIP() << "numpy is not here";
  }
  try {
    readFileDecay(folder / "f.npz", {});
    FAIL() << "25 arrays of different lengths are no decay";
  } catch (const UserError& error) {
    const std::string sentence = error.what();
    EXPECT_NE(sentence.find("\"a19\" (24) ..."), std::string::npos) << sentence;
    EXPECT_EQ(sentence.find("a20"), std::string::npos) << sentence;
  }
}

// Rows of a sheet rise, and there are as many as in the largest sheet.
TEST(Workbooks, RowsOutOfOrderAreRefused) {
  const TemporaryFolder folder;
  if (!runPython(folder, R"py(
import openpyxl, zipfile
book = openpyxl.Workbook()
for t, y in ((1, 8), (2, 4), (3, 2), (4, 1)):
    book.active.append([t * 1e-3, y])
book.save("whole.xlsx")
for name, row in (("back", "1"), ("far", "1048577")):
    with zipfile.ZipFile("whole.xlsx") as old, zipfile.ZipFile(name + ".xlsx", "w") as new:
        for member in old.namelist():
            content = old.read(member)
            if member.endswith("sheet1.xml"):
                content = content.replace(b'<row r="3"', b'<row r="%s"' % row.encode())
            new.writestr(member, content)
)py")) {
    GTEST_SKIP() << "openpyxl is not here";
  }
  EXPECT_EQ(readFileDecay(folder / "whole.xlsx", {}).measured.decay.amplitude,
            (Numbers{8, 4, 2, 1}));
  expectRefusal(folder / "back.xlsx", "row 1 is out of order");
  expectRefusal(folder / "far.xlsx", "row 1048577 is out of order");
}

// A header alone: what it announces is looked at before the numbers are.
TEST(Npy, HoldsAHundredMillionNumbersAtMost) {
  const auto refusal = [](const std::string& shape) {
    const std::string header =
        "{'descr': '<f8', 'fortran_order': False, 'shape': (" + shape + "), }\n";
    const std::string start{'\x93', 'N', 'U', 'M', 'P', 'Y', 1, 0, static_cast<char>(header.size()),
                            0};
    try {
      npyArray(start + header, "f.npy");
    } catch (const UserError& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  for (const char* shape : {"100000000,", "1, 100000000", "50000000, 2"}) {
    EXPECT_NE(refusal(shape).find("the file is cut"), std::string::npos) << shape;
  }
  for (const char* shape : {"100000001,", "50000001, 2", "2, 50000001"}) {
    EXPECT_NE(refusal(shape).find("too large"), std::string::npos) << shape;
  }
}

TEST(Workbook, WhatOpenpyxlWritesIsRead) {
  const TemporaryFolder folder;
  if (!runPython(folder, R"py(
import openpyxl
book = openpyxl.Workbook()
sheet = book.active
sheet.title = "Run 1"
sheet["A1"] = "Sample 7"
sheet["B3"] = "time (ms)"
sheet["C3"] = "signal"
for i, y in enumerate([8, 4, 2, 1]):
    sheet.cell(row=4 + i, column=2, value=i + 1)
    sheet.cell(row=4 + i, column=3, value=y)
other = book.create_sheet("Zeit & Signal")
for i, y in enumerate([8, 4, 2, 1]):
    other.append([1e-3 * (i + 1), y])
text = book.create_sheet("text")
for i, y in enumerate(["8,0", "4,0", "2,0", "1,0"]):
    text.append(["0,00%d" % (i + 1), y])
book.create_sheet("empty")
book.save("f.xlsx")
)py")) {
    GTEST_SKIP() << "openpyxl is not here";
  }
  const std::string path = (folder / "f.xlsx").string();
  expectDecay(readFileDecay(path, {}));
  EXPECT_EQ(readFileDecay(path, {}).found.unit, "ms");
  expectDecay(readFileDecay(path + ":Zeit & Signal", {}));
  expectDecay(readFileDecay(path + ":text", {}));
  expectRefusal(path + ":empty", "there are no rows of numbers");
  expectRefusal(path + ":none", "there is no sheet \"none\"; there are \"Run 1\"");
}

// Most programs keep texts in a list of their own, some in pieces of several fonts. A damaged
// workbook may point behind it.
TEST(Workbook, TextsMayStandInAList) {
  const TemporaryFolder folder;
  if (!runPython(folder, R"py(
import openpyxl, zipfile
book = openpyxl.Workbook()
book.active.append(["time (ms)", "signal"])
for i, y in enumerate([8, 4, 2, 1]):
    book.active.append([i + 1, y])
book.save("f.xlsx")
for name, last in (("listed", b"1"), ("behind", b"2"), ("no_number", b"x")):
    with zipfile.ZipFile("f.xlsx") as old, zipfile.ZipFile(name + ".xlsx", "w") as new:
        for member in old.namelist():
            content = old.read(member)
            if member.endswith("sheet1.xml"):
                first, _, rest = content.partition(b'<row r="1">')
                rest = rest.partition(b"</row>")[2]
                content = (first + b'<row r="1"><c r="A1" t="s"><v>0</v></c><c r="B1" t="s"><v>' +
                           last + b"</v></c></row>" + rest)
            if "haredStrings" not in member:
                new.writestr(member, content)
        new.writestr("xl/sharedStrings.xml", "<sst><si><t>time (ms)</t></si><si><r><t>sig</t></r>"
                     "<r><t>nal</t></r></si></sst>")
)py")) {
    GTEST_SKIP() << "openpyxl is not here";
  }
  DecayFormat format;
  format.columns = parseColumns("time (ms),signal", "--columns");
  expectDecay(readFileDecay(folder / "listed.xlsx", format));
  for (const char* name : {"behind.xlsx", "no_number.xlsx"}) {
    expectDecay(readFileDecay(folder / name, {}));
    EXPECT_THROW(readFileDecay(folder / name, format), UserError);
  }
}

TEST(Workbook, WhatExcelWroteIsRead) {
  const fs::path folder = "/usr/lib/R/site-library/readxl/extdata";
  if (!fs::exists(folder / "datasets.xlsx")) {
    GTEST_SKIP() << "readxl's workbooks are not here";
  }
  // R's data set iris: the first flower has sepals of 5.1 and 3.5 cm; petals have 43 lengths.
  DecayFormat format;
  format.columns = parseColumns("Petal.Length,Sepal.Length", "--columns");
  const FileDecay iris = readFileDecay((folder / "datasets.xlsx").string() + ":iris", format);
  EXPECT_EQ(iris.measured.decay.time.size(), 43U);
  EXPECT_EQ(iris.measured.decay.time.front(), 1.0);
  EXPECT_EQ(iris.measured.decay.time.back(), 6.9);
}

TEST(Archive, WhatIsNoWorkbookIsNamed) {
  const TemporaryFolder folder;
  if (!runPython(folder, R"py(
import zipfile
with zipfile.ZipFile("f.zip", "w") as f:
    f.writestr("decay.csv", "1,5\n2,4\n")
    f.writestr("notes\x1b[2J.txt", "")
with zipfile.ZipFile("f.ods", "w") as f:
    f.writestr("mimetype", "application/vnd.oasis.opendocument.spreadsheet")
    f.writestr("content.xml", "<x/>")
with zipfile.ZipFile("f.xlsx", "w") as f:
    f.writestr("xl/workbook.xml", "<workbook")
)py")) {
    GTEST_SKIP() << "Debian's Python is not here";
  }
  expectRefusal(folder / "f.zip",
                "this zip archive is neither a workbook (.xlsx) nor arrays of numpy's (.npz); it "
                "holds \"decay.csv\", \"notes\\x1B[2J.txt\"; take the file with the decay out");
  expectRefusal(folder / "f.ods", "this is an OpenDocument file; save its sheet as .xlsx or CSV");
  expectRefusal(folder / "f.xlsx", "the workbook is damaged (xl/workbook.xml)");
}

// Members that would leave the folder, or lead out of it, are no more than names.
TEST(Archive, NamesLeadNowhere) {
  const TemporaryFolder outer;
  fs::create_directory(outer / "inner");
  if (!runPython(outer, R"py(
import io, zipfile
import numpy as np
def saved(array):
    out = io.BytesIO()
    np.save(out, array)
    return out.getvalue()
t = np.arange(1, 5) * 1e-3
with zipfile.ZipFile("inner/f.npz", "w") as f:
    f.writestr("../t.npy", saved(t))
    f.writestr("/etc/y.npy", saved(np.array([8, 4, 2, 1.0])))
link = zipfile.ZipInfo("link.npy")
link.external_attr = 0o120777 << 16
with zipfile.ZipFile("inner/link.npz", "w") as f:
    f.writestr(link, "../secret.npy")
np.save("secret.npy", np.c_[t, t])
)py")) {
    GTEST_SKIP() << "numpy is not here";
  }
  const std::vector<std::string> before = outer.names();
  expectDecay(readFileDecay(outer / "inner/f.npz", {}));
  expectRefusal(outer / "inner/link.npz", "this member is no array of numpy's");
  EXPECT_EQ(outer.names(), before);
  EXPECT_FALSE(fs::exists(outer / "inner/t.npy"));
}

// Each unfolds to 80 MB from less than 80 kB or announces much more; the program gets 400 MB of
// address space and 5 s of processor time.
TEST(Bombs, MemoryAndTimeAreBounded) {
#if VORIN_UNDER_ADDRESS_SANITIZER || VORIN_UNDER_THREAD_SANITIZER
  GTEST_SKIP() << "sanitizers reserve terabytes";
#else
  const TemporaryFolder folder;
  if (!runPython(folder, R"py(
import gzip, struct, zipfile, zlib
zeros = bytes(80_000_000)
def header(shape):
    text = "{'descr': '<f8', 'fortran_order': False, 'shape': %s, }" % (shape,)
    return b"\x93NUMPY\x01\x00" + struct.pack("<H", len(text)) + text.encode()
open("a.gz", "wb").write(gzip.compress(zeros, 6))
open("columns.npy", "wb").write(header((2, 2**31)) + zeros[:1000])
open("a.npy", "wb").write(header((99_000_000,)) + zeros[:1000])
def archive(name, member, content):
    with zipfile.ZipFile(name, "w", zipfile.ZIP_DEFLATED, compresslevel=6) as f:
        if member.startswith("xl/"):
            f.writestr("xl/_rels/workbook.xml.rels",
                       '<Relationships><Relationship Id="r" Target="s.xml"/></Relationships>')
            f.writestr("xl/workbook.xml",
                       '<workbook><sheets><sheet name="a" r:id="r"/></sheets></workbook>')
        f.writestr(member, content)
archive("a.npz", "t.npy", header((10_000_000,)) + zeros)
archive("far.xlsx", "xl/s.xml", b'<worksheet><sheetData>' + b"".join(
    b'<row r="%d"><c r="XFD%d"><v>1</v></c></row>' % (k, k) for k in range(1, 1500)) +
    b'</sheetData></worksheet>')
archive("laughs.xlsx", "xl/s.xml", b'<!DOCTYPE w [<!ENTITY a "aaaaaaaaaa">' + b"".join(
    b'<!ENTITY %c "%s">' % (98 + k, b"&%c;" % (97 + k) * 10) for k in range(20)) +
    b']><worksheet><sheetData><row><c><v>&u;</v></c></row></sheetData></worksheet>')
packed = zlib.compress(struct.pack("<2I", 14, 80_000_056) +
                       struct.pack("<8I", 6, 8, 6, 0, 5, 8, 1, 10_000_000) +
                       struct.pack("<4I", 1, 1, 97, 0) + struct.pack("<2I", 9, 80_000_000) +
                       zeros, 6)
open("a.mat", "wb").write(b"MATLAB 5.0 MAT-file".ljust(124) + b"\x00\x01IM" +
                          struct.pack("<2I", 15, len(packed)) + packed)
open("wide.mat", "wb").write(struct.pack("<5i", 0, 2, 2**31 - 1, 0, 2) + b"a\0" + zeros[:1000])
)py")) {
    GTEST_SKIP() << "Debian's Python is not here: " << test::contentOf(folder / "messages");
  }
  int count = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder.path())) {
    const std::string name = entry.path().filename().string();
    if (name == "messages") {
      continue;
    }
    ++count;
    const int status =
        std::system(fmt::format("cd {} && unset VORIN_CONTAINERS && ulimit -v 400000 && ulimit -t "
                                "5 && {} read {} >messages 2>&1",
                                folder.path().string(), test::shellWord(VORIN_PROGRAM), name)
                        .c_str());
    const std::string said = test::contentOf(folder / "messages");
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << name << ": " << said;
    EXPECT_TRUE(said.starts_with("vorin: " + name)) << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_EQ(said.find("not enough memory"), std::string::npos) << said;
  }
  EXPECT_EQ(count, 8);
#endif
}

/// Nothing in `text` that a terminal obeys.
void expectPlain(const std::string& text) {
  EXPECT_EQ(std::count_if(text.begin(), text.end(),
                          [](unsigned char c) { return (c < ' ' && c != '\n') || c == 0x7f; }),
            0)
      << text;
}

TEST(Terminal, NothingOfAFileReachesItUnescaped) {
  const TemporaryFolder folder;
  const std::string escape = "\x1b[31m\x07\x1b]0;x\x07";
  const std::vector<std::pair<std::string, std::string>> files{
      {"a.csv", "t" + escape + ",y" + escape + "\n1,5\n2,4\n"},
      {"b.csv", "t (" + escape + "),y\n1,5\n2,4\n\nend " + escape + "\n"},
      {"c.csv", escape + "\n7\n1,5\n2,4\n"},
      {"d.csv", "1,5\n" + escape + ",4\n3,3\n"},
      {"e" + escape + ".csv", "1,5\n2,4\n"},
      {"f" + escape + ".csv", "1,5\nx,4\n3,3\n"},
      {"g.sdf", "STELAR Data File\nZONE=1\nBS=1\nNBLK=2\nBGRD=" + escape +
                    "\nBINI=1\nBEND=2\nDATA=\n1\t2\n3\t4\n"},
      {"h.las", "~V\nVERS. 3.0 : x\n~C\nD" + escape + ".m : d\nN" + escape + "[1].ms : e {A:1}\nN" +
                    escape + "[2].ms : e {A:2}\n~A\n1" + escape + " 2 3\n"},
      {"i.txt", "[GITData]\nTestType=" + escape + "\n[Data]\n1\t0\t2\t3\n2\t0\t1\t3\n"},
      {"j.dx", "##TITLE= x" + escape +
                   ", y\n##DATA TYPE= Relaxation Data\n"
                   "##XYPOINTS= (XY..XY)\n1, 4\n2, 5\n##END=\n"},
  };
  for (const auto& [name, content] : files) {
    test::writeFile(folder / name, content);
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, {"--columns", "1,2"}, {"--columns", "t,y"}}) {
      std::vector<std::string> arguments{"read", name};
      arguments.insert(arguments.end(), options.begin(), options.end());
      const test::Outcome outcome = test::runProgram(folder.path(), arguments);
      expectPlain(outcome.out);
      expectPlain(outcome.err);
      EXPECT_FALSE((outcome.out + outcome.err).empty());
    }
  }
}

}  // namespace
}  // namespace vorin::toolkit
