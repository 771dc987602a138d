# The Debian package (`make package`, or cpack -G DEB in the build directory):
# everything the install rules put into the prefix (program, libraries,
# headers, CMake and pkg-config files, Arrow's libarrow and libparquet),
# installed under /usr.
#
# Run-time dependencies are found by dpkg-shlibdeps from the binaries
# themselves. Parts added later (the Octave binding, say) come with it: they
# add install rules, call ovparquet_install_rpath(<target> <destination>) for
# any binary installed outside the library directory, and, before this file
# is included, name further Debian packages they need with
#   set_property(GLOBAL APPEND PROPERTY OVPARQUET_DEB_DEPENDS "octave (>= 7)")
include_guard(GLOBAL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ovparquet)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Parquet input/output for a numeric computing environment")
set(CPACK_PACKAGE_DESCRIPTION
    "The ovparquet program, its C++20 shared libraries (host platform, Arrow conversion, Parquet core) with headers, CMake and pkg-config files, and the Apache Arrow C++ 15.0.1 libarrow and libparquet it runs on.")
set(CPACK_PACKAGE_CONTACT "ovparquet developers <ovparquet@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/package")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
get_property(_ovparquet_deb_depends GLOBAL PROPERTY OVPARQUET_DEB_DEPENDS)
list(JOIN _ovparquet_deb_depends ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
# Building against the headers and the CMake package needs Boost.Log's,
# Boost.Thread's and oneTBB's development files; running the program does not.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libboost-log-dev (>= 1.74), libboost-thread-dev (>= 1.74), libtbb-dev")
# The Arrow project's own Debian packages carry the same sonames and headers.
set(CPACK_DEBIAN_PACKAGE_CONFLICTS "libarrow1500, libparquet1500, libarrow-dev, libparquet-dev")
# CPack itself adds the postinst and postrm that refresh the loader cache for
# the libraries in /usr/lib; the package has no other maintainer scripts.

include(CPack)
