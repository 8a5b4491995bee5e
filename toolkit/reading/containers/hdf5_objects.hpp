// Objects of libhdf5 that are closed at the end, and what is asked of any data set.
#pragma once

#include <hdf5.h>

#include <string>
#include <vector>

namespace vorin::toolkit::containers {

/// An identifier of the library, given back at the end.
class Id {
 public:
  Id(hid_t id, herr_t (*close)(hid_t)) : id_(id), close_(close) {}
  Id(const Id&) = delete;
  Id& operator=(const Id&) = delete;
  ~Id() {
    if (id_ >= 0) {
      close_(id_);
    }
  }

  hid_t operator*() const { return id_; }
  explicit operator bool() const { return id_ >= 0; }

 private:
  hid_t id_;
  herr_t (*close_)(hid_t);
};

/// The text of an attribute, or nothing.
std::string textAttribute(hid_t object, const char* name);

/// The unit that an attribute of one of the usual names tells, or nothing.
std::string unitOf(hid_t object);

/// True for integers and floating-point numbers.
bool isNumber(hid_t type);

/// The names of a compound type whose members are all numbers; none for others.
std::vector<std::string> numericMembers(hid_t type);

/// True for the parts of a complex number as h5py, MATLAB and others call them.
bool isComplex(const std::vector<std::string>& members);

}  // namespace vorin::toolkit::containers
