// The tables of docs/reading.md: every file in them is read or refused here. With
// VORIN_WRITE_READING_PAGE in the environment the tables are written anew.
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>

#include "support/child.hpp"
#ifdef VORIN_READ_CONTAINERS
#include "support/container_files.hpp"
#endif
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

using test::TemporaryFolder;

struct Case {
  std::string what;
  std::string content;
  DecayFormatText options{};
  Quantity quantity = Quantity::time;
};

std::string utf16(std::string_view text, bool bigEndian) {
  std::string result;
  for (const char c : text) {
    result += bigEndian ? std::string({'\0', c}) : std::string({c, '\0'});
  }
  return result;
}

std::string zeros(std::size_t count) {
  std::string text;
  text.resize(count, '0');
  return text;
}

std::string gzip(std::string text) {
  std::string packed(text.size() / 100 + 200, '\0');
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = reinterpret_cast<Bytef*>(text.data());
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

std::string npy(std::string_view header, std::string_view data) {
  std::string bytes("\x93NUMPY\x01\x00", 8);
  bytes += static_cast<char>(header.size());
  bytes += '\0';
  return bytes.append(header).append(data);
}

DecayFormatText columns(const char* text) {
  return {text, "", "", ""};
}
DecayFormatText unit(const char* text) {
  return {"", text, "", ""};
}
DecayFormatText headerLines(const char* text) {
  return {"", "", text, ""};
}
DecayFormatText spacing(const char* text, const char* chosen = "") {
  return {chosen, "", "", text};
}

/// A case whose file a library writes, by `write` at a path.
template <class Write>
Case written(const char* what, const Write& write, const DecayFormatText& options = {}) {
  const TemporaryFolder folder;
  write(folder / "f");
  return {what, test::contentOf(folder / "f"), options};
}

/// HDF5 and MATLAB files; none where they are not read.
std::vector<Case> containerCases() {
#ifdef VORIN_READ_CONTAINERS
  using test::H5;
  using test::Mat;
  const std::vector<double> rows{0.001, 5, 0.002, 4};
  return {
      written("HDF5, times beside the signal",
              [](const auto& path) {
                const H5 file(path);
                file.group("scan");
                file.put("scan/time", {1, 2}, {2});
                file.text("scan/time", "units", "ms");
                file.put("scan/signal", {5, 4}, {2}, H5T_IEEE_F32BE, true);
                file.put("scan/gain", {3}, {1});
              }),
      written("HDF5, rows of two numbers",
              [&](const auto& path) {
                H5(path).put("decay", rows, {2, 2});
              }),
      written("HDF5, a table with named columns",
              [&](const auto& path) { H5(path).pairs("run", "t", "y", rows); }),
      written("HDF5, complex numbers",
              [](const auto& path) {
                const H5 file(path);
                file.put("TE_us", {1000, 2000}, {2}, H5T_STD_I32LE);
                file.pairs("z", "r", "i", {5, 1, 4, 1});
              }),
      written("MATLAB 5",
              [](const auto& path) {
                const Mat file(path, MAT_FT_MAT5);
                file.put("t", {0.001, 0.002}, 1, true);
                file.put("signal", {5, 4}, 2, true);
              }),
      written("MATLAB 4",
              [](const auto& path) {
                const Mat file(path, MAT_FT_MAT4);
                file.put("A", {0.001, 0.002, 5, 4}, 2);
              }),
      written("MATLAB 7.3",
              [](const auto& path) {
                const Mat file(path, MAT_FT_MAT73);
                file.put("tau_ms", {1, 2}, 1);
                file.put("y", {5, 4}, 1);
              }),
  };
#else
  return {};
#endif
}

/// HDF5 and MATLAB files that are refused.
std::vector<Case> refusedContainers() {
#ifdef VORIN_READ_CONTAINERS
  using test::H5;
  using test::Mat;
  return {
      written("HDF5 of two decays",
              [](const auto& path) {
                const H5 file(path);
                for (const char* group : {"a", "b"}) {
                  file.group(group);
                  file.put((std::string(group) + "/t").c_str(), {1, 2}, {2});
                  file.put((std::string(group) + "/y").c_str(), {5, 4}, {2});
                }
              }),
      written("HDF5, decays as rows",
              [](const auto& path) {
                const H5 file(path);
                file.put("t", {1, 2, 3}, {3});
                file.put("voxels", {6, 5, 4, 3, 2, 1}, {2, 3});
              }),
      written("HDF5, two units",
              [](const auto& path) {
                const H5 file(path);
                file.put("t_us", {1, 2}, {2});
                file.text("t_us", "units", "ms");
                file.put("y", {5, 4}, {2});
              }),
      written("HDF5, samples alone",
              [](const auto& path) {
                H5(path).put("y", {5, 4}, {2});
              }),
      written("HDF5, a cube",
              [](const auto& path) {
                H5(path).put("y", std::vector<double>(8, 1.0), {2, 2, 2});
              }),
      written("HDF5 without arrays", [](const auto& path) { H5(path).group("empty"); }),
      written("MATLAB, three vectors",
              [](const auto& path) {
                const Mat file(path, MAT_FT_MAT5);
                for (const char* name : {"a", "b", "c"}) {
                  file.put(name, {5, 4, 3}, 1);
                }
              }),
      {"MATLAB, cut off", written("",
                                  [](const auto& path) {
                                    Mat(path, MAT_FT_MAT5).put("y", {5, 4}, 1);
                                  })
                              .content.substr(0, 150)},
  };
#else
  return {};
#endif
}

/// All of these hold 5 at 1 ms and 4 at 2 ms.
std::vector<Case> readCases() {
  const std::string plain = "0.001,5\n0.002,4\n";
  return {
      {"commas", plain},
      {"semicolons", "0.001;5\n0.002;4\n"},
      {"tabs", "0.001\t5\n0.002\t4\n"},
      {"blanks", "  0.001   5\n  0.002   4\n"},
      {"commas and blanks", "0.001, 5\n0.002, 4\n"},
      {"decimal commas", "0,001;5,0\n0,002;4,0\n"},
      {"quoted decimal commas", "\"0,001\",\"5,0\"\n\"0,002\",\"4,0\"\n"},
      {"quoted fields", "\"time\",\"a, V\"\n\"0.001\",\"5\"\n\"0.002\",\"4\"\n"},
      {"CR LF", "time,y\r\n0.001,5\r\n0.002,4\r\n"},
      {"CR alone", "time,y\r0.001,5\r0.002,4\r"},
      {"no line end", "0.001,5\n0.002,4"},
      {"UTF-8 with mark", "\xEF\xBB\xBF" + plain},
      {"UTF-16, little-endian, with mark", "\xFF\xFE" + utf16(plain, false)},
      {"UTF-16, big-endian, with mark", "\xFE\xFF" + utf16(plain, true)},
      {"UTF-16 without mark", utf16(plain, false)},
      {"Latin-1", "Zeit (\xB5s),y\n1000,5\n2000,4\n"},
      {"gzip", gzip(plain)},
      {"gzip of UTF-16", gzip("\xFF\xFE" + utf16(plain, false))},
      {"comments of four kinds", "# a\n% b\n; c\n// d\n" + plain},
      {"comment as header", "# t (ms), y\n1,5\n2,4\n"},
      {"long header", "Instrument 7\nScans,16\nGain,20,30\n\ntime,y\n" + plain},
      {"header with numbers", "Run 5 of 2021\n2\n" + plain},
      {"header by its length", "1,2\n3,4\n" + plain, headerLines("2")},
      {"footer", plain + "\nMean noise 3\nend\n"},
      {"sep=", "sep=;\n0.001;5\n0.002;4\n"},
      {"separators at the line's end", "time;y;;\n0.001;5;;\n0.002;4;;\n"},
      {"empty rows of a sheet", "time;y\n;\n0.001;5\n;\n0.002;4\n;\n"},
      {"unit in parentheses", "time (ms),y\n1,5\n2,4\n"},
      {"unit in brackets", "t [us],y\n1000,5\n2000,4\n"},
      {"unit behind a slash", "t/ms,y\n1,5\n2,4\n"},
      {"unit behind an underscore", "t_us,y\n1000,5\n2000,4\n"},
      {"micro sign", "t (\xC2\xB5s),y\n1000,5\n2000,4\n"},
      {"blanks in names", "Echo time (ms)  Signal (V)\n1 5\n2 4\n"},
      {"row of units", "time,y\nms,V\n1,5\n2,4\n"},
      {"row of units alone", "[ns];[V]\n1000000;5\n2000000;4\n"},
      {"unit overridden", "t (s),y\n1,5\n2,4\n", unit("ms")},
      {"unit spelt out", "Time milliseconds,y\n1,5\n2,4\n"},
      {"NaN and other words", "0.001,5\n0.0015,NaN\n0.0017,#N/A\n0.002,4\n"},
      {"unsorted", "0.002,4\n0.001,5\n"},
      {"repeated", "0.001,6\n0.001,4\n0.002,4\n"},
      {"echo numbers", "echo,y\n1,5\n2,4\n", spacing("1ms")},
      {"one column", "5\n4\n", spacing("1ms")},
      {"one of several columns", "7,5\n9,4\n", spacing("1ms", "-,2")},
      {"first time given", "0 5\n1 4\n", spacing("1ms,1ms")},
      {"columns by name", "n,Im,t (ms),Re\n1,0,1,5\n2,0,2,4\n", columns("t (ms),Re")},
      {"complex columns", "t,re,im\n0.001,5,1\n0.002,4,2\n", columns("1,2,3")},
      {"complex numbers", "0.001 (5+1j)\n0.002 (4-1j)\n"},
      {"many decays", "t,a,b\n0.001,5,1\n0.002,4,1\n", columns("1,2..3")},
      {"many complex decays", "0.001,5,1,7,2\n0.002,4,1,6,2\n", columns("1,2:3,4:5")},
      {"columns of words beside", "t,y,who\n0.001,5,me\n0.002,4,you\n", columns("1,2")},
      {"GeoSpec", "[GITData]\r\nTestType=3\r\n[Data]\r\n1\t0\t5\t0\r\n2\t0\t4\t0\r\n"},
      {"TopSpin's points",
       "##TITLE= x\n##DATA TYPE= Relaxation Data\n##XYPOINTS= (XY..XY)\n"
       "2e-3, 4\n1e-3, 5\n##END=\n"},
      {"Stelar",
       "STELAR Data File\nZONE=\t1\nBS=\t1\nNBLK=\t2\nT1MX=\t0.001\nBGRD=\tLIN\n"
       "BINI=\t(2*T1MX)\nBEND=\t0.001\nDATA=\n4\t0\n5\t0\n"},
      {"LAS 3",
       "~Version\nVERS. 3.0 : x\n~Curve\nDEPT.M : d\nE[1].ms : {A:1}\nE[2].ms : {A:2}\n"
       "~ASCII\n1670 5 4\n"},
      {"numpy's .npy",
       npy("{'descr': '|u1', 'fortran_order': False, 'shape': (2, 2), }",
           std::string("\x01\x05\x02\x04", 4)),
       unit("ms")},
  };
}

std::vector<Case> refusedCases() {
  const std::string three = "t,re,im\n0.001,5,1\n0.002,4,1\n";
  return {
      {"empty", ""},
      {"comments only", "# a\n# b\n"},
      {"header only", "time,y\n"},
      {"words only", "a b\nc d\n"},
      {"one row", "0.001,5\n"},
      {"one row left", "0.001,5\n0.002,nan\n"},
      {"no row left", "0.001,nan\n0.002,nan\n"},
      {"one time", "1,5\n1,4\n"},
      {"one column", "5\n4\n"},
      {"three columns", three},
      {"commas of two meanings", "0,001,3\n0,002,2\n"},
      {"a word among the times", "0.001,5\nabc,4\n0.003,3\n"},
      {"a word among the amplitudes", "0.001,5\n0.002,x\n"},
      {"a missing amplitude", "0.001,5\n0.002,\n"},
      {"a missing time", "0.001,5\n,4\n"},
      {"infinity", "0.001,5\n0.002,inf\n"},
      {"too few fields", "0.001,5\n0.002\n0.003,4\n"},
      {"too many fields", "0.001,5\n0.002,4,1\n"},
      {"cut off", "0.001,5\n0.00"},
      {"two separators", "0.001,5\n0.002;4\n"},
      {"two decimal separators", "0,001;5\n0.002;4\n"},
      {"thousands", "0,001;1.234,5\n0,002;2\n"},
      {"a negative time", "-1,5\n2,4\n"},
      {"an endless time", "0.1,5\n1e31,4\n"},
      {"zeros", "1,0\n2,0\n"},
      {"vast amplitudes", "1,1e200\n2,1\n"},
      {"tiny amplitudes", "1,1e-200\n2,0\n"},
      {"two units", "t (ms),y\n(s),(V)\n1,5\n2,4\n"},
      {"the unit of b values", "b (s/mm2),y\n1,5\n2,4\n"},
      {"the unit of times", "t (ms),y\n1,5\n2,4\n", {}, Quantity::bValue},
      {"spacing and times", "0.5,5\n1.5,4\n", spacing("1ms")},
      {"spacing without a number", "5\n4\n", spacing("often")},
      {"spacing and a unit", "5\n4\n", {"", "ms", "", "1ms"}},
      {"a column that is not there", "1,5\n2,4\n", columns("1,4")},
      {"a name that is not there", three, columns("t,real")},
      {"names without a header", "1,5\n2,4\n", columns("t,y")},
      {"a column twice", three, columns("1,1")},
      {"four columns", "1,5,3,2\n2,4,3,2\n", columns("1,2,3,4")},
      {"a range beyond the file", three, columns("1,2..9")},
      {"an endless range", three, columns("1,2..2147483648")},
      {"header lines in words", "1,5\n2,4\n", headerLines("some")},
      {"a unit unknown", "1,5\n2,4\n", unit("weeks")},
      {"complex and real numbers", "1 (5+1j)\n2 4\n"},
      {"bytes", std::string("\x7f\x45\x4c\x46\n\0\1,\2\n", 10)},
      {"control characters", "\x1b[2J\x1b]0;x\x07,5\n1,\x1b[31m4\n"},
      {"damaged gzip", std::string("\x1F\x8B\x08\0\0", 5)},
      {"gzip that unfolds to much", gzip(zeros(80'000'000))},
      {"damaged archive", std::string("PK\x03\x04\x14\0\6\0", 8)},
      {"an old workbook", "\xD0\xCF\x11\xE0 and more"},
      {"damaged HDF5", "\x89HDF\r\n\x1a\n and more"},
      {"an endless line", std::string(1'000'001, '7')},
      {"a GeoSpec map", "[GITData]\nTestType=106\n[Data]\n1\t0\t2\t3\n1\t1\t2\t3\n"},
      {"GeoSpec diffusion", "[GITData]\nTestType=105\n[Data]\n1\t0\t2\t3\n2\t0\t2\t3\n"},
      {"Stelar, version 2", "NMRD SEQUENCE NAME: x\n"},
      {"Stelar without delays",
       "STELAR Data File\nZONE=\t1\nBS=\t1\nNBLK=\t2\nDATA=\n4\t0\n5\t0\n"},
      {"LAS 2",
       "~Version\nVERS. 2.0 : x\n~Curve\nDEPT.M : d\nCBP1.V : b\n~ASCII\n1670 5\n1671 4\n"},
      {"a plot of Prospa", "SORPD1LP and more"},
      {"a cut .tnt", "TNT1.008TMAG and more"},
      {"a .npy of objects",
       npy("{'descr': '|O', 'fortran_order': False, 'shape': (2, 2), }", "12345678")},
      {"a .npy of 2^40 numbers",
       npy("{'descr': '<f8', 'fortran_order': False, 'shape': (1048576, 1048576), }", "1234")},
  };
}

std::string cell(std::string text) {
  std::string result;
  for (const char c : inOneLine(text)) {
    result += c == '|' ? std::string("\\|") : std::string(1, c);
  }
  return result;
}

std::string optionsText(const Case& row) {
  std::string text = row.quantity == Quantity::bValue ? " --kernel diffusion" : "";
  const auto add = [&](const char* name, const std::string& value) {
    text += value.empty() ? "" : fmt::format(" {} {}", name, value);
  };
  add("--columns", row.options.columns);
  add("--time-unit", row.options.timeUnit);
  add("--spacing", row.options.spacing);
  add("--header-lines", row.options.headerLines);
  return text.empty() ? "" : fmt::format("`{}`", text.substr(1));
}

std::string shown(const std::string& content) {
  if (content.starts_with("\x1F\x8B")) {
    return "(packed)";  // the bytes are those of a version of zlib
  }
  if (content.size() > 32 && (content.starts_with("\x89HDF") || content.starts_with("MATLAB") ||
                              content.starts_with(std::string_view("\0\0\0\0", 4)))) {
    return "(binary)";  // as the libraries of the format write them
  }
  constexpr std::size_t most = 48;
  std::string text = cell(content.substr(0, most));
  for (const auto& [from, to] :
       {std::pair("\\x0D\\x0A", "\xE2\x86\xB5"), std::pair("\\x0A", "\xE2\x86\xB5"),
        std::pair("\\x09", "\xE2\x86\x92")}) {
    for (std::size_t at = 0; (at = text.find(from)) != std::string::npos;) {
      text.replace(at, std::string_view(from).size(), to);
    }
  }
  return text.empty() ? "" : fmt::format("`` {}{} ``", text, content.size() > most ? " ..." : "");
}

std::string readRow(const Case& row) {
  const TemporaryFolder folder;
  test::writeFile(folder / "f.csv", row.content);
  const FileDecay decay =
      readDecays(folder / "f.csv", readDecayFormat(row.options, row.quantity, "--")).front();
  const std::vector<double>& times = decay.measured.decay.time;
  EXPECT_EQ(times.size(), 2U) << row.what;
  EXPECT_DOUBLE_EQ(times.front(), 1e-3) << row.what;
  EXPECT_DOUBLE_EQ(times.back(), 2e-3) << row.what;
  EXPECT_EQ(decay.measured.decay.amplitude, (std::vector<double>{5, 4})) << row.what;
  std::string told;
  for (const FoundLine& line : allLines(decay.found)) {
    if (line.label != "columns") {
      told += (told.empty() ? "" : "; ") + line.text;
    }
  }
  return fmt::format("| {} | {} | {} | {} |", row.what, shown(row.content), optionsText(row),
                     cell(told));
}

std::string refusedRow(const Case& row) {
  const TemporaryFolder folder;
  test::writeFile(folder / "f.csv", row.content);
  std::string sentence;
  try {
    readDecays(folder / "f.csv", readDecayFormat(row.options, row.quantity, "--"));
    ADD_FAILURE() << row.what << " was read";
  } catch (const UserError& error) {
    sentence = error.what();
  }
  const std::string before = folder.path().string() + "/";
  for (std::size_t at = 0; (at = sentence.find(before)) != std::string::npos;) {
    sentence.erase(at, before.size());
  }
  // It names the file or an option.
  EXPECT_TRUE(sentence.starts_with("f.csv") || sentence.starts_with("--")) << sentence;
  EXPECT_EQ(std::count_if(sentence.begin(), sentence.end(),
                          [](unsigned char c) { return c < ' ' || c == 0x7f; }),
            0)
      << row.what;
  return fmt::format("| {} | {} | {} | {} |", row.what, shown(row.content), optionsText(row),
                     cell(sentence));
}

std::string tables() {
  std::string text = "| what | file | options | what is told |\n| --- | --- | --- | --- |\n";
  std::vector<Case> read = readCases();
  for (const Case& row : containerCases()) {
    read.push_back(row);
  }
  for (const Case& row : read) {
    text += readRow(row) + "\n";
  }
  text +=
      "\n## What is refused\n\nEach with exit status 2 and one sentence, and nothing is "
      "written.\n\n| what | file | options | sentence |\n| --- | --- | --- | --- |\n";
  std::vector<Case> refused = refusedCases();
  for (const Case& row : refusedContainers()) {
    refused.push_back(row);
  }
  for (const Case& row : refused) {
    text += refusedRow(row) + "\n";
  }
  return text;
}

TEST(ReadingPage, ItsTablesAreTrue) {
#ifndef VORIN_READ_CONTAINERS
  GTEST_SKIP() << "this build reads no packed files";
#endif
  EXPECT_GE(readCases().size(), 40U);
  EXPECT_GE(refusedCases().size(), 40U);
  const std::string written = tables();
  const std::string page = test::contentOf(VORIN_READING_PAGE);
  const std::string start = "<!-- tables -->\n";
  const std::size_t at = page.find(start);
  ASSERT_NE(at, std::string::npos);
  if (std::getenv("VORIN_WRITE_READING_PAGE") != nullptr) {
    test::writeFile(VORIN_READING_PAGE, page.substr(0, at + start.size()) + written);
    return;
  }
  EXPECT_EQ(page.substr(at + start.size()), written);
}

}  // namespace
}  // namespace vorin::toolkit
