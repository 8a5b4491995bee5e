# Finds the serial OpenBLAS, which brings LAPACK.
#
# The serial build is asked for by its own folder: the threaded one would start
# threads inside a host's process. By default its static archive is linked into
# our library, hidden, so that a host that carries another OpenBLAS, MKL or
# LAPACK of its own neither disturbs ours nor is disturbed by it, and no thread
# count set for the host's copy reaches us. -DVORIN_SHARED_OPENBLAS=ON links
# the shared library instead.
#
# Defines the target OpenBLASSerial::OpenBLASSerial.

set(_openblas_names libopenblas.a)
if(VORIN_SHARED_OPENBLAS)
  set(_openblas_names libopenblas.so)
endif()
find_file(OpenBLASSerial_LIBRARY NAMES ${_openblas_names}
  PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE} /usr/lib /usr/local/lib
  PATH_SUFFIXES openblas-serial
  NO_DEFAULT_PATH
  DOC "The serial OpenBLAS library")
# OpenBLAS's LAPACK is compiled Fortran; only its run-time library is needed.
find_library(OpenBLASSerial_GFORTRAN NAMES gfortran libgfortran.so.5
  DOC "Run-time library of GNU Fortran, which LAPACK's objects use")
mark_as_advanced(OpenBLASSerial_LIBRARY OpenBLASSerial_GFORTRAN)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenBLASSerial
  REQUIRED_VARS OpenBLASSerial_LIBRARY OpenBLASSerial_GFORTRAN
  REASON_FAILURE_MESSAGE
    "the serial OpenBLAS with LAPACK is missing: install the Debian package libopenblas-serial-dev (or run script/bootstrap)")

if(OpenBLASSerial_FOUND AND NOT TARGET OpenBLASSerial::OpenBLASSerial)
  add_library(OpenBLASSerial::OpenBLASSerial INTERFACE IMPORTED)
  target_link_libraries(OpenBLASSerial::OpenBLASSerial INTERFACE
    "${OpenBLASSerial_LIBRARY}" "${OpenBLASSerial_GFORTRAN}" m)
  if(VORIN_SHARED_OPENBLAS)
    # Debian's plain name of the library may lead to the threaded build.
    get_filename_component(_openblas_dir "${OpenBLASSerial_LIBRARY}" DIRECTORY)
    target_link_options(OpenBLASSerial::OpenBLASSerial INTERFACE "LINKER:-rpath,${_openblas_dir}")
  else()
    # The serial build hands one work buffer to two threads now and then; src/toolbox/blas_buffers.cpp
    # hands them out instead.
    target_link_options(OpenBLASSerial::OpenBLASSerial INTERFACE
      "LINKER:--wrap=blas_memory_alloc" "LINKER:--wrap=blas_memory_free")
  endif()
endif()
