# What `cmake --install` puts where, so that a program's author links a library as any
# other: find_package(Vorin01056 CONFIG), pkg-config vorin, or -lVorin01056; and for the toolkit
# find_package(vorin_toolkit CONFIG), pkg-config vorin_toolkit, or -lvorin_toolkit.
#
# The library's file is libVorin01056.so.<version>, its SONAME libVorin01056.so.<major>, and
# libVorin01056.so leads there: a program that was linked asks for the major version, so that
# an incompatible library never takes its place; a host that loads the library by name
# (dlopen, ctypes) asks for libVorin01056.so. All three names are therefore installed
# together, in one package.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VORIN_DOC_DIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/vorin")

# pkg-config's file finds the prefix from its own place, so that an installed tree can be moved.
file(RELATIVE_PATH VORIN_PC_TO_PREFIX
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" VORIN_PC_TO_PREFIX "${VORIN_PC_TO_PREFIX}")

# vorin_install_library(TARGET VERSION PC_NAME DESCRIPTION HEADER): a library with its header, the
# files of find_package(TARGET), and PC_NAME.pc for pkg-config.
function(vorin_install_library _target _version _pc_name _description _header)
  set(_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/${_target}")
  install(TARGETS ${_target} EXPORT ${_target}Targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
  install(FILES "${_header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
  install(EXPORT ${_target}Targets NAMESPACE Vorin:: DESTINATION "${_config_dir}")
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/${_target}Config.cmake.in"
    "${PROJECT_BINARY_DIR}/${_target}Config.cmake" INSTALL_DESTINATION "${_config_dir}")
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/${_target}ConfigVersion.cmake"
    VERSION ${_version} COMPATIBILITY SameMajorVersion)
  install(FILES
    "${PROJECT_BINARY_DIR}/${_target}Config.cmake"
    "${PROJECT_BINARY_DIR}/${_target}ConfigVersion.cmake"
    DESTINATION "${_config_dir}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/library.pc.in"
    "${PROJECT_BINARY_DIR}/${_pc_name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${_pc_name}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endfunction()

vorin_install_library(Vorin01056 ${PROJECT_VERSION} vorin "${PROJECT_DESCRIPTION}"
  "${PROJECT_SOURCE_DIR}/include/vorin.h")
if(TARGET vorin_toolkit)
  vorin_install_library(vorin_toolkit ${VORIN_TOOLKIT_VERSION} vorin_toolkit
    "${PROJECT_DESCRIPTION}: the toolkit" "${PROJECT_SOURCE_DIR}/toolkit/vorin_toolkit.h")
endif()

install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
  DESTINATION "${VORIN_DOC_DIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION "${VORIN_DOC_DIR}"
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.ipynb"
  PATTERN "site" EXCLUDE)  # pages of the site alone
install(DIRECTORY "${PROJECT_SOURCE_DIR}/hosts/sample/" DESTINATION "${VORIN_DOC_DIR}/sample"
  FILES_MATCHING PATTERN "*.csv")

# Code of these is inside the binaries, and their licences ask for their notices beside them.
set(_lapack_package libopenblas-serial-dev)
if(VORIN_LAPACK STREQUAL "eigen")
  set(_lapack_package libeigen3-dev)
endif()
foreach(_package IN ITEMS ${_lapack_package} libcli11-dev libfmt-dev zlib1g-dev
    libminizip-dev libpugixml-dev)
  if(EXISTS "/usr/share/doc/${_package}/copyright")
    install(FILES "/usr/share/doc/${_package}/copyright"
      DESTINATION "${VORIN_DOC_DIR}/notices" RENAME "${_package}")
  endif()
endforeach()

if(TARGET vorin_containers)
  # A program that only the toolkit runs; it looks for it here from bin/ and lib/.
  install(TARGETS vorin_containers RUNTIME DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/vorin")
endif()
if(TARGET vorin)
  install(TARGETS vorin RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  # Where each shell looks for completions; the folders differ, and so do the names.
  install(FILES "${PROJECT_BINARY_DIR}/completions/vorin.bash"
    DESTINATION share/bash-completion/completions RENAME vorin)
  install(FILES "${PROJECT_BINARY_DIR}/completions/vorin.zsh"
    DESTINATION share/zsh/vendor-completions RENAME _vorin)
  install(FILES "${PROJECT_BINARY_DIR}/completions/vorin.fish"
    DESTINATION share/fish/vendor_completions.d)
  if(EXISTS "${PROJECT_SOURCE_DIR}/hosts/vorin/vorin.1")
    install(FILES "${PROJECT_SOURCE_DIR}/hosts/vorin/vorin.1"
      DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
  endif()
endif()

# Where Debian's python3 looks below /usr; elsewhere PYTHONPATH leads to it.
if(EXISTS "${PROJECT_SOURCE_DIR}/hosts/python/vorin")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/hosts/python/vorin"
    DESTINATION lib/python3/dist-packages PATTERN "__pycache__" EXCLUDE)
endif()

if(PROJECT_IS_TOP_LEVEL)
  include(VorinDebianPackage)
endif()
