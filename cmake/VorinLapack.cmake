# The LAPACK behind src/toolbox/lapack.hpp. VORIN_LAPACK says which:
#   openblas  the serial OpenBLAS, linked into the library; the default on x86-64 Linux, where its
#             decompositions are the fastest
#   eigen     Eigen 3.4, headers alone: no Fortran, the same bits on every platform; the default
#             elsewhere
# Defines the target vorin_lapack, which what contains the library's objects is linked with, and for
# Eigen VORIN_EIGEN_INCLUDE.
set(_default eigen)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64"
    AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(_default openblas)
endif()
set(VORIN_LAPACK "${_default}" CACHE STRING "LAPACK of the library: openblas or eigen")
set_property(CACHE VORIN_LAPACK PROPERTY STRINGS openblas eigen)

add_library(vorin_lapack INTERFACE)
if(VORIN_LAPACK STREQUAL "openblas")
  find_package(OpenBLASSerial REQUIRED)
  target_link_libraries(vorin_lapack INTERFACE OpenBLASSerial::OpenBLASSerial)
elseif(VORIN_LAPACK STREQUAL "eigen")
  # Headers serve every target, so that a cross-build takes those of the machine it runs on.
  find_path(VORIN_EIGEN_INCLUDE NAMES Eigen/SVD
    PATHS /usr/include /usr/local/include /opt/homebrew/include PATH_SUFFIXES eigen3
    NO_CMAKE_FIND_ROOT_PATH
    DOC "Folder of Eigen's headers")
  mark_as_advanced(VORIN_EIGEN_INCLUDE)
  if(NOT VORIN_EIGEN_INCLUDE)
    message(FATAL_ERROR
      "Eigen is missing: install the Debian package libeigen3-dev (or run script/bootstrap), or set VORIN_EIGEN_INCLUDE")
  endif()
else()
  message(FATAL_ERROR "VORIN_LAPACK is '${VORIN_LAPACK}', but it is openblas or eigen")
endif()
