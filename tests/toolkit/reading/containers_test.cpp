// HDF5 and MATLAB files: written here by their own libraries, and files of MATLAB itself where
// Debian's scipy is installed, which comes with some.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>

#include "support/child.hpp"
#include "support/container_files.hpp"
#include "support/refusal.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

using test::expectRefusal;
using test::H5;
using test::Mat;
using test::refusal;
using test::TemporaryFolder;
using Numbers = std::vector<double>;
namespace fs = std::filesystem;

/// The tests lie elsewhere in the build tree than the command and the library.
const bool helperTold = ::setenv("VORIN_CONTAINERS", VORIN_CONTAINERS_PROGRAM, 1) == 0;

fs::path within(const fs::path& file, const std::string& inner) {
  return file.string() + ":" + inner;
}

const Numbers times{0.001, 0.002, 0.003, 0.004};
const Numbers signal{8, 4, 2, 1};

void expectDecay(const fs::path& path, const DecayFormat& format = {}) {
  const FileDecay decay = readFileDecay(path, format);
  ASSERT_EQ(decay.measured.decay.time.size(), times.size());
  for (std::size_t i = 0; i < times.size(); ++i) {
    EXPECT_DOUBLE_EQ(decay.measured.decay.time[i], times[i]);
  }
  EXPECT_EQ(decay.measured.decay.amplitude, signal);
}

// Arrays none of which tells that it holds the times, with names that a terminal would obey: the
// sentence proposes them for --columns.
TEST(Hdf5, NamesOfArraysAreShownWithoutControlCharacters) {
  const TemporaryFolder folder;
  const fs::path path = folder / "a.h5";
  {
    const H5 file(path);
    for (const char* name : {"a\x1b[2J", "b\x07", "c"}) {
      file.put(name, signal, {4});
    }
  }
  const std::string sentence = refusal(path);
  EXPECT_NE(sentence.find("--columns"), std::string::npos) << sentence;
  EXPECT_TRUE(std::none_of(sentence.begin(), sentence.end(), [](char c) {
    return (c >= 0 && c < ' ') || c == 0x7f;
  })) << sentence;
}

TEST(Hdf5, EveryStoredTypeIsRead) {
  const TemporaryFolder folder;
  const Numbers milliseconds{1, 2, 3, 4};
  for (const hid_t type : {H5T_IEEE_F64BE, H5T_IEEE_F32LE, H5T_IEEE_F32BE, H5T_STD_I8LE,
                           H5T_STD_I16BE, H5T_STD_U16LE, H5T_STD_I32BE, H5T_STD_I64LE}) {
    for (const bool packed : {false, true}) {
      {
        const H5 file(folder / "f.h5");
        file.put("time", milliseconds, {4}, type, packed);
        file.text("time", "units", "ms");
        file.put("signal", signal, {4}, type, packed);
      }
      expectDecay(folder / "f.h5");
    }
  }
  const FileDecay decay = readFileDecay(folder / "f.h5", {});
  EXPECT_EQ(decay.found.format, "HDF5, array \"/signal\" (4) over \"/time\"");
  EXPECT_EQ(decay.found.unitOrigin, "attribute of \"/time\"");
  EXPECT_EQ(decay.found.unit, "ms");
}

TEST(Hdf5, TheTimesAreFoundWhereverTheFileTellsThem) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.h5";
  {  // a dimension scale, also where another array has the name of times
    const H5 file(path);
    file.group("axes");
    file.put("axes/te", times, {4});
    file.put("t", {1, 2, 3, 4}, {4});
    file.put("signal", signal, {4});
    const hid_t scale = H5Dopen2(file.id(), "axes/te", H5P_DEFAULT);
    const hid_t set = H5Dopen2(file.id(), "signal", H5P_DEFAULT);
    H5DSset_scale(scale, "echo time");
    H5DSattach_scale(set, scale, 0);
    H5Dclose(set);
    H5Dclose(scale);
  }
  expectDecay(path);
  expectDecay(within(path, "/signal"));
  {  // an attribute with its unit
    const H5 file(path);
    file.put("signal", signal, {4});
    const std::array<double, 4> microseconds{1000, 2000, 3000, 4000};
    H5LTset_attribute_double(file.id(), "signal", "time", microseconds.data(), 4);
    file.text("signal", "time_units", "us");
  }
  expectDecay(path);
  {  // an array beside it, in a group of its own
    const H5 file(path);
    file.group("scan");
    file.put("scan/TE_ms", {1, 2, 3, 4}, {4});
    file.put("scan/decay", signal, {4});
    file.put("noise", {1, 1, 1}, {3});
  }
  expectDecay(path);
  expectDecay(within(path, "/scan/decay"));
  expectDecay(within(path, "scan/decay"));
  expectDecay(within(path, "/scan"));
}

TEST(Hdf5, ColumnsAndPairsAreRead) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.h5";
  Numbers rows;
  for (std::size_t i = 0; i < times.size(); ++i) {
    rows.insert(rows.end(), {times[i], signal[i]});
  }
  {
    const H5 file(path);
    file.put("decay", rows, {4, 2}, H5T_IEEE_F64LE, true);
  }
  expectDecay(path);
  {
    const H5 file(path);
    file.pairs("table", "t", "amplitude", rows);  // a table of named columns
  }
  expectDecay(path);
  {
    const H5 file(path);
    file.put("t", times, {4});
    file.pairs("z", "r", "i", {8, -1, 4, -2, 2, -3, 1, -4});
  }
  expectDecay(path);
  EXPECT_EQ(readMeasuredDecay(path, {}).imaginary, (Numbers{-1, -2, -3, -4}));
  {
    const H5 file(path);
    file.put("t", times, {4});
    file.put("s_imag", {-1, -2, -3, -4}, {4});
    file.put("s_real", signal, {4});
  }
  expectDecay(path);
  EXPECT_EQ(readMeasuredDecay(path, {}).imaginary, (Numbers{-1, -2, -3, -4}));
  {  // decays as rows, as voxels are kept
    const H5 file(path);
    file.put("t", times, {4});
    file.put("s", {8, 4, 2, 1, 9, 5, 3, 2}, {2, 4});
  }
  expectRefusal(path, "holds 2 decays over \"/t\"; choose one by --columns");
  DecayFormat format;
  format.columns = parseColumns("1,2..3", "--columns");
  const std::vector<FileDecay> decays = readDecays(path, format);
  ASSERT_EQ(decays.size(), 2U);
  EXPECT_EQ(decays[1].measured.decay.amplitude, (Numbers{9, 5, 3, 2}));
}

TEST(Hdf5, WhatIsAmbiguousIsListed) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.h5";
  {
    const H5 file(path);
    for (const char* group : {"a", "b"}) {
      file.group(group);
      file.put((std::string(group) + "/t").c_str(), times, {4});
      file.put((std::string(group) + "/y").c_str(), signal, {4});
    }
    file.put("cube", Numbers(8, 1.0), {2, 2, 2});
    file.put("only", signal, {4});
    file.put("scans", {16}, {});
  }
  EXPECT_EQ(refusal(within(path, "/c")).find("damaged"), std::string::npos);
  expectRefusal(path, "there are several arrays with times, \"/a/y\" (4), \"/b/y\" (4); name one");
  expectDecay(within(path, "/b/y"));
  expectRefusal(within(path, "/c"),
                "there is no array \"/c\"; there are \"/only\" (4), /a/t (4 numbers)");
  expectRefusal(within(path, "/cube"), "/cube (2 x 2 x 2 numbers) is no array of numbers of one");
  expectRefusal(within(path, "/only"), "there is one column of numbers");
  DecayFormat spaced;
  spaced.spacing = Spacing{"1ms", 1e-3, {}};
  expectDecay(within(path, "/only"), spaced);
  {
    const H5 file(path);
    file.put("time_us", times, {4});
    file.text("time_us", "units", "ms");
    file.put("y", signal, {4});
  }
  expectRefusal(path,
                "is \"us\" by its name and \"ms\" by its attribute; say which by --time-unit");
  {
    const H5 file(path);
    file.group("empty");
  }
  expectRefusal(path, "there is no array of numbers of one or two dimensions");
}

TEST(Hdf5, NoOtherFileIsOpened) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.h5";
  {
    const H5 other(folder / "other.h5");
    other.put("t", times, {4});
    other.put("y", signal, {4});
  }
  test::writeFile(folder / "raw", std::string(32, '\1'));
  {
    const H5 file(path);
    const hsize_t count = 4;
    H5Lcreate_external((folder / "other.h5").c_str(), "/y", file.id(), "link", H5P_DEFAULT,
                       H5P_DEFAULT);
    H5Lcreate_external("other.h5", "/y", file.id(), "beside", H5P_DEFAULT, H5P_DEFAULT);
    const hid_t space = H5Screate_simple(1, &count, nullptr);
    const hid_t raw = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_external(raw, (folder / "raw").c_str(), 0, 32);
    H5Dclose(H5Dcreate2(file.id(), "raw", H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, raw, H5P_DEFAULT));
    H5Pclose(raw);
    const hid_t view = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_virtual(view, space, (folder / "other.h5").c_str(), "/y", space);
    H5Dclose(
        H5Dcreate2(file.id(), "view", H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, view, H5P_DEFAULT));
    H5Pclose(view);
    H5Sclose(space);
    file.put("t", times, {4});
    file.put("own", signal, {4});
    H5Lcreate_soft("/own", file.id(), "soft", H5P_DEFAULT, H5P_DEFAULT);
  }
  expectDecay(path);
  for (const char* name : {"link", "beside"}) {
    expectRefusal(within(path, name), "there is no array");
  }
  for (const char* name : {"/raw", "/view"}) {
    expectRefusal(within(path, name), "numbers of other files, which are not opened");
  }
  expectDecay(within(path, "/soft"));  // leads to an array of the same file
}

TEST(Hdf5, AHeaderMayAskForNoMoreThanTheFileAllows) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.h5";
  const auto announce = [&](const std::vector<hsize_t>& shape) {
    const H5 file(path);
    const hid_t space = H5Screate_simple(static_cast<int>(shape.size()), shape.data(), nullptr);
    const hid_t settings = H5Pcreate(H5P_DATASET_CREATE);
    const std::vector<hsize_t> chunk(shape.size(), 1024);
    H5Pset_chunk(settings, static_cast<int>(chunk.size()), chunk.data());
    H5Dclose(
        H5Dcreate2(file.id(), "y", H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, settings, H5P_DEFAULT));
    H5Pclose(settings);
    H5Sclose(space);
  };
  for (const std::vector<hsize_t>& shape :
       {std::vector<hsize_t>{1'000'000'000}, std::vector<hsize_t>{1'000'000, 2'147'483'648},
        std::vector<hsize_t>{1ULL << 40U, 1ULL << 40U}}) {
    announce(shape);
    expectRefusal(path, "more than the size of the file allows for");
  }
}

// Other programs may keep a block of their own before the file's: 512 bytes, or twice as many as
// often as they like.
TEST(Hdf5, BlocksOfOtherProgramsArePassedOver) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.h5";
  {
    const H5 file(path);
    file.pairs("s", "t", "y", {0.001, 8, 0.002, 4, 0.003, 2, 0.004, 1});
  }
  const std::string whole = test::contentOf(path);
  for (const std::size_t block : {512U, 1024U, 2048U, 4096U, 8192U}) {
    test::writeFile(path, std::string(block, 'x') + whole);
    expectDecay(path);
  }
}

/// Every truncation and many changed bytes: read, or refused by a sentence.
void expectSurvival(const fs::path& path, const std::string& whole) {
  DecayFormat format;
  format.spacing = Spacing{"1ms", 1e-3, {}};
  std::size_t seed = 1;
  for (int trial = 0; trial < 30; ++trial) {
    std::string changed = whole;
    if (trial < 15) {
      changed.resize(whole.size() * static_cast<std::size_t>(trial) / 15);
    } else {
      for (int k = 0; k < 4; ++k) {
        seed = (seed * 1'103'515'245 + 12'345) % 2'147'483'648;
        changed[(seed / 256) % changed.size()] = static_cast<char>(seed % 251);
      }
    }
    test::writeFile(path, changed);
    for (const char c : refusal(path, format)) {
      ASSERT_GE(static_cast<unsigned char>(c), static_cast<unsigned char>(' '));
    }
  }
}

TEST(Hdf5, DamagedFilesAreReadOrRefused) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.h5";
  {
    const H5 file(path);
    file.group("g");
    file.put("g/t", times, {4}, H5T_IEEE_F64LE, true);
    file.text("g/t", "units", "s");
    file.pairs("g/z", "r", "i", {8, -1, 4, -2, 2, -3, 1, -4});
  }
  expectSurvival(path, test::contentOf(path));
}

TEST(Matlab, EveryVersionIsRead) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.mat";
  for (const mat_ft version : {MAT_FT_MAT4, MAT_FT_MAT5, MAT_FT_MAT73}) {
    for (const bool packed : {false, true}) {
      {
        const Mat file(path, version);
        file.put("t_ms", {1, 2, 3, 4}, 1, packed);
        file.put("y", signal, 4, packed);
        file.put("scans", {16}, 1, packed);
      }
      expectDecay(path);
      expectDecay(within(path, "y"));
      EXPECT_EQ(readFileDecay(path, {}).found.format,
                version == MAT_FT_MAT4   ? "MATLAB 4, array \"y\" (4 x 1) over \"t_ms\""
                : version == MAT_FT_MAT5 ? "MATLAB 5 to 7, array \"y\" (4 x 1) over \"t_ms\""
                                         : "MATLAB 7.3, array \"y\" (4 x 1) over \"t_ms\"");
    }
    {  // column by column: times, then amplitudes
      const Mat file(path, version);
      file.put("A", {0.001, 0.002, 0.003, 0.004, 8, 4, 2, 1}, 4);
    }
    expectDecay(path);
  }
}

// Its files have no mark: a name of letters, digits and '_' is what they are known by.
TEST(Matlab, Version4IsKnownByItsName) {
  const TemporaryFolder folder;
  for (const std::string name : {"azAZ09_", "a[", "a`", "a{", "a@", "a/", "a:"}) {
    std::string bytes;
    for (const std::int32_t number : {0, 4, 2, 0, static_cast<std::int32_t>(name.size() + 1)}) {
      bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    bytes.append(name.c_str(), name.size() + 1);
    for (const Numbers& column : {times, signal}) {
      bytes.append(reinterpret_cast<const char*>(column.data()), sizeof(double) * column.size());
    }
    test::writeFile(folder / "f.mat", bytes);
    if (name == "azAZ09_") {
      expectDecay(folder / "f.mat");
    } else {
      const std::string sentence = refusal(folder / "f.mat");
      EXPECT_NE(sentence, "read") << name;
      EXPECT_EQ(sentence.find("MATLAB"), std::string::npos) << name;
    }
  }
}

TEST(Matlab, StructuresAndComplexNumbersAreRead) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.mat";
  for (const mat_ft version : {MAT_FT_MAT5, MAT_FT_MAT73}) {
    {
      const Mat file(path, version);
      Numbers own = times;
      Numbers real = signal;
      Numbers imaginary{-1, -2, -3, -4};
      std::array<std::size_t, 2> one{1, 1};
      std::array<std::size_t, 2> shape{1, 4};
      std::array<const char*, 2> names{"time", "signal"};
      matvar_t* scan = Mat_VarCreateStruct("scan", 2, one.data(), names.data(), 2);
      mat_complex_split_t parts{real.data(), imaginary.data()};
      Mat_VarSetStructFieldByName(scan, "time", 0, Mat::variable(nullptr, own, 1));
      Mat_VarSetStructFieldByName(scan, "signal", 0,
                                  Mat_VarCreate(nullptr, MAT_C_DOUBLE, MAT_T_DOUBLE, 2,
                                                shape.data(), &parts, MAT_F_COMPLEX));
      file.put(scan, true);
      file.put("other", {1, 2, 3}, 1);
    }
    for (const fs::path& each : {path, within(path, "scan"), within(path, "scan.signal")}) {
      expectDecay(each);
      EXPECT_EQ(readMeasuredDecay(each, {}).imaginary, (Numbers{-1, -2, -3, -4}));
    }
    expectRefusal(within(path, "scan.y"), "there is no array \"scan.y\"; there are ");
  }
}

TEST(Matlab, DamagedFilesAreReadOrRefused) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.mat";
  for (const mat_ft version : {MAT_FT_MAT4, MAT_FT_MAT5}) {
    {
      const Mat file(path, version);
      file.put("t", times, 4);
      file.put("y", signal, 4, true);
    }
    expectSurvival(path, test::contentOf(path));
  }
}

// scipy's tests hold variables that MATLAB wrote: testdouble is 0 to 2 pi in steps of pi/4, and
// testcomplex the points of a circle at these angles.
TEST(Matlab, FilesOfMatlabItselfAreRead) {
  const fs::path folder = "/usr/lib/python3/dist-packages/scipy/io/matlab/tests/data";
  if (!fs::exists(folder / "testdouble_4.2c_SOL2.mat")) {
    GTEST_SKIP() << "scipy's files are not here";
  }
  DecayFormat format;
  format.spacing = Spacing{"1s", 1.0, {}};
  for (const char* version :
       {"4.2c_SOL2", "6.1_SOL2", "6.5.1_GLNX86", "7.1_GLNX86", "7.4_GLNX86"}) {
    const MeasuredDecay angles = readMeasuredDecay(
        within(folder / fmt::format("testdouble_{}.mat", version), "testdouble"), format);
    const MeasuredDecay circle = readMeasuredDecay(
        within(folder / fmt::format("testcomplex_{}.mat", version), "testcomplex"), format);
    ASSERT_EQ(angles.decay.amplitude.size(), 9U);
    ASSERT_EQ(circle.imaginary.size(), 9U);
    for (std::size_t i = 0; i < 9; ++i) {
      const double angle = static_cast<double>(i) * std::numbers::pi / 4.0;
      EXPECT_NEAR(angles.decay.amplitude[i], angle, 1e-14);
      EXPECT_NEAR(circle.decay.amplitude[i], std::cos(angle), 1e-14);
      EXPECT_NEAR(circle.imaginary[i], std::sin(angle), 1e-14);
    }
  }
  // Version 7.3, which is HDF5 behind a block of 512 bytes.
  const FileDecay angles = readFileDecay(folder / "testhdf5_7.4_GLNX86.mat", format);
  EXPECT_EQ(angles.found.format, "MATLAB 7.3, array \"testdouble\" (1 x 9)");
  EXPECT_NEAR(angles.measured.decay.amplitude.at(8), 2.0 * std::numbers::pi, 1e-14);
}

// libmatio reads on where a packed variable is damaged.
TEST(Matlab, ChecksumsAreCompared) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.mat";
  {
    const Mat file(path, MAT_FT_MAT5);
    file.put("A", {0.001, 0.002, 0.003, 0.004, 8, 4, 2, 1}, 4, true);
  }
  std::string content = test::contentOf(path);
  expectDecay(path);
  content.back() = static_cast<char>(content.back() ^ 1);  // the last byte of the checksum
  test::writeFile(path, content);
  expectRefusal(path, "f.mat: this MATLAB file is damaged or cut off");
}

TEST(Containers, WithoutTheProgramOrItsLibrariesASentenceSaysWhatToInstall) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.h5";
  {
    const H5 file(path);
    file.put("t", times, {4});
    file.put("y", signal, {4});
  }
  ::setenv("VORIN_CONTAINERS", "/no/such/program", 1);
  expectRefusal(path,
                "this is an HDF5 file; vorin-containers, the program of Vorin that reads it, "
                "is not installed; install it, with the Debian packages libhdf5-103-1");
  ::setenv("VORIN_CONTAINERS", "/bin/false", 1);  // ends as one whose libraries are missing does
  expectRefusal(path,
                "can't be run; install the Debian packages libhdf5-103-1, libhdf5-hl-100 and "
                "libmatio11");
  ::setenv("VORIN_CONTAINERS", "/bin/echo", 1);  // answers what is no answer
  expectRefusal(path, "damaged or asks for more time or memory");
  // The command finds the program by its own place.
  ::unsetenv("VORIN_CONTAINERS");
  const test::Outcome outcome = test::runProgram(folder.path(), {"read", "f.h5"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("HDF5, array \"/y\" (4) over \"/t\""), std::string::npos);
  const test::Outcome piped = test::runProgram(folder.path(), {"read", "-"}, test::contentOf(path));
  EXPECT_EQ(piped.status, 0) << piped.err;
  ::setenv("VORIN_CONTAINERS", VORIN_CONTAINERS_PROGRAM, 1);
}

}  // namespace
}  // namespace vorin::toolkit
