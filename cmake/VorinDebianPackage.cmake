# The Debian package, by `cpack --config build/release/CPackConfig.cmake` or script/package.
# One package holds the library, its header and the program: hosts load the library by the
# name libVorin01056.so, which a split would put into the development package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vorin)
set(CPACK_PACKAGE_VENDOR "Vorin developers")
set(CPACK_PACKAGE_CONTACT "Vorin developers <developers@vorin.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "relaxation-time distributions from measured decays")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "Turns the echo train or recovery curve of a nuclear magnetic resonance
instrument into the distribution of relaxation times: the library
libVorin01056.so with its C header, and the command vorin.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
# dpkg-shlibdeps names the packages of the run-time libraries with the versions needed; the
# shlibs file says that programs linked with ours need this package, and the loader's cache
# is told.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# gnuplot draws the pictures of the command, matplotlib those of the Python package, which
# also needs numpy; without them everything else works.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnuplot-nox, python3-numpy")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS python3-matplotlib)
include(CPack)
