# What `cmake --install` puts where, so that a program's author links the library as any
# other: find_package(Vorin01056 CONFIG), pkg-config vorin, or -lVorin01056.
#
# The library's file is libVorin01056.so.<version>, its SONAME libVorin01056.so.<major>, and
# libVorin01056.so leads there: a program that was linked asks for the major version, so that
# an incompatible library never takes its place; a host that loads the library by name
# (dlopen, ctypes) asks for libVorin01056.so. All three names are therefore installed
# together, in one package.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VORIN_DOC_DIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/vorin")
set(_vorin_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Vorin01056")

install(TARGETS Vorin01056 EXPORT Vorin01056Targets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(FILES "${PROJECT_SOURCE_DIR}/include/vorin.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(EXPORT Vorin01056Targets NAMESPACE Vorin:: DESTINATION "${_vorin_config_dir}")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/Vorin01056Config.cmake.in"
  "${PROJECT_BINARY_DIR}/Vorin01056Config.cmake" INSTALL_DESTINATION "${_vorin_config_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/Vorin01056ConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/Vorin01056Config.cmake"
  "${PROJECT_BINARY_DIR}/Vorin01056ConfigVersion.cmake"
  DESTINATION "${_vorin_config_dir}")

# pkg-config's file finds the prefix from its own place, so that an installed tree can be moved.
file(RELATIVE_PATH VORIN_PC_TO_PREFIX
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" VORIN_PC_TO_PREFIX "${VORIN_PC_TO_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/vorin.pc.in" "${PROJECT_BINARY_DIR}/vorin.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/vorin.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
  DESTINATION "${VORIN_DOC_DIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION "${VORIN_DOC_DIR}"
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/hosts/sample/" DESTINATION "${VORIN_DOC_DIR}/sample"
  FILES_MATCHING PATTERN "*.csv")

# Code of these is inside the binaries, and their licences ask for their notices beside them.
foreach(_package IN ITEMS libopenblas-serial-dev libcli11-dev libfmt-dev)
  if(EXISTS "/usr/share/doc/${_package}/copyright")
    install(FILES "/usr/share/doc/${_package}/copyright"
      DESTINATION "${VORIN_DOC_DIR}/notices" RENAME "${_package}")
  endif()
endforeach()

if(TARGET vorin)
  # The program finds the library beside it, wherever the tree stands.
  set_target_properties(vorin PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS vorin RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
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
