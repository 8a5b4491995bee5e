// HDF5 and MATLAB files, written by the libraries of these formats.
#pragma once

#include <hdf5.h>
#include <hdf5_hl.h>
#include <matio.h>

#include <array>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorin::toolkit::test {

using Numbers = std::vector<double>;

/// An HDF5 file that is being written.
class H5 {
 public:
  explicit H5(const std::filesystem::path& path)
      : file_(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT)) {}
  H5(const H5&) = delete;
  H5& operator=(const H5&) = delete;
  ~H5() { H5Fclose(file_); }

  hid_t id() const { return file_; }

  void group(const char* name) const {
    H5Gclose(H5Gcreate2(file_, name, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
  }

  /// `numbers` as a data set of the stored type `type`; in chunks and packed where asked for.
  void put(const char* name, const Numbers& numbers, const std::vector<hsize_t>& shape,
           hid_t type = H5T_IEEE_F64LE, bool packed = false) const {
    const hid_t space = H5Screate_simple(static_cast<int>(shape.size()), shape.data(), nullptr);
    const hid_t settings = H5Pcreate(H5P_DATASET_CREATE);
    if (packed) {
      const std::vector<hsize_t> chunk(shape.size(), 2);
      H5Pset_chunk(settings, static_cast<int>(chunk.size()), chunk.data());
      H5Pset_shuffle(settings);
      H5Pset_deflate(settings, 9);
    }
    const hid_t set = H5Dcreate2(file_, name, type, space, H5P_DEFAULT, settings, H5P_DEFAULT);
    if (H5Dwrite(set, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers.data()) < 0) {
      throw std::runtime_error("the HDF5 library wrote nothing");
    }
    H5Dclose(set);
    H5Pclose(settings);
    H5Sclose(space);
  }

  void text(const char* object, const char* name, const char* value) const {
    H5LTset_attribute_string(file_, object, name, value);
  }

  /// A data set of pairs of float64 with members of these names.
  void pairs(const char* name, const char* first, const char* second,
             const Numbers& numbers) const {
    const hid_t type = H5Tcreate(H5T_COMPOUND, 16);
    H5Tinsert(type, first, 0, H5T_NATIVE_DOUBLE);
    H5Tinsert(type, second, 8, H5T_NATIVE_DOUBLE);
    const hsize_t count = numbers.size() / 2;
    const hid_t space = H5Screate_simple(1, &count, nullptr);
    const hid_t set = H5Dcreate2(file_, name, type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    H5Dwrite(set, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers.data());
    H5Dclose(set);
    H5Sclose(space);
    H5Tclose(type);
  }

 private:
  hid_t file_;
};

/// A MATLAB file that is being written.
class Mat {
 public:
  Mat(const std::filesystem::path& path, mat_ft version)
      : file_(Mat_CreateVer(path.c_str(), nullptr, version)) {}
  Mat(const Mat&) = delete;
  Mat& operator=(const Mat&) = delete;
  ~Mat() { Mat_Close(file_); }

  static matvar_t* variable(const char* name, Numbers& numbers, std::size_t rows) {
    std::array<std::size_t, 2> shape{rows, numbers.size() / rows};
    return Mat_VarCreate(name, MAT_C_DOUBLE, MAT_T_DOUBLE, 2, shape.data(), numbers.data(), 0);
  }
  void put(matvar_t* variable, bool packed) const {
    Mat_VarWrite(file_, variable, packed ? MAT_COMPRESSION_ZLIB : MAT_COMPRESSION_NONE);
    Mat_VarFree(variable);
  }
  void put(const char* name, Numbers numbers, std::size_t rows, bool packed = false) const {
    put(variable(name, numbers, rows), packed);
  }

 private:
  mat_t* file_;
};

}  // namespace vorin::toolkit::test
