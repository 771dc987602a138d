# Install rules: the program, our shared libraries with their headers, Arrow's
# two libraries with the headers ours include, a CMake package and a
# pkg-config file. The prefix stands on its own and can be moved: every
# RUNPATH is relative to $ORIGIN and the package files locate themselves.
# Another project then writes
#   find_package(ovparquet CONFIG REQUIRED)
#   target_link_libraries(app PRIVATE ovparquet::core)
# or `pkg-config --cflags --libs ovparquet`.
include_guard(GLOBAL)
include(CMakePackageConfigHelpers)

set(OVPARQUET_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/ovparquet")
set(OVPARQUET_INSTALL_PKGCONFIGDIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# ovparquet_install_rpath(<target> <destination>)
# Lets a binary installed under <destination> (relative to the prefix) find
# our libraries and Arrow's in the library directory, wherever the prefix is.
# Anything installed outside the library directory (the program, a binding's
# module) calls this with its install destination.
function(ovparquet_install_rpath target destination)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY "${destination}"
             OUTPUT_VARIABLE to_libdir)
  if(to_libdir STREQUAL "." OR to_libdir STREQUAL "")
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
  else()
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libdir}")
  endif()
endfunction()

# The default for executables: the program lies in the binary directory.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY "${CMAKE_INSTALL_BINDIR}"
           OUTPUT_VARIABLE _ovparquet_bin_to_lib)
set(CMAKE_INSTALL_RPATH "$ORIGIN/${_ovparquet_bin_to_lib}")

# Each library calls this once: installs the target under the export set and
# its public headers, which live in <dir>/include.
function(ovparquet_install_library target include_dir)
  ovparquet_install_rpath(${target} "${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS ${target} EXPORT ovparquetTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(DIRECTORY "${include_dir}/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# Arrow's libarrow and libparquet go next to ours (they find each other by
# their own RUNPATH, $ORIGIN), with the development links pkg-config users
# link through, and the Arrow and Parquet headers our public headers include.
# Headers of the Arrow libraries we do not ship (Python, Flight, datasets,
# Acero, Substrait, testing) stay out.
function(ovparquet_install_arrow)
  set(links_dir "${PROJECT_BINARY_DIR}/arrow-links")
  file(MAKE_DIRECTORY "${links_dir}")
  foreach(soname IN LISTS OVPARQUET_ARROW_SONAMES)
    # The real file, even when the build's prefix holds links.
    file(REAL_PATH "${OVPARQUET_ARROW_PREFIX}/lib/${soname}" real)
    install(FILES "${real}" DESTINATION ${CMAKE_INSTALL_LIBDIR} RENAME ${soname})
    string(REGEX REPLACE "\\.so\\..*$" ".so" devlink "${soname}")
    file(CREATE_LINK "${soname}" "${links_dir}/${devlink}" SYMBOLIC)
    install(FILES "${links_dir}/${devlink}" DESTINATION ${CMAKE_INSTALL_LIBDIR})
  endforeach()
  install(DIRECTORY "${OVPARQUET_ARROW_PREFIX}/include/arrow" "${OVPARQUET_ARROW_PREFIX}/include/parquet"
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    PATTERN "arrow/python" EXCLUDE
    PATTERN "arrow/flight" EXCLUDE
    PATTERN "arrow/dataset" EXCLUDE
    PATTERN "arrow/acero" EXCLUDE
    PATTERN "arrow/engine" EXCLUDE
    PATTERN "arrow/testing" EXCLUDE)
endfunction()

# The package itself is written once every library has registered.
function(ovparquet_install_package)
  ovparquet_install_arrow()
  install(EXPORT ovparquetTargets NAMESPACE ovparquet::
          DESTINATION ${OVPARQUET_INSTALL_CMAKEDIR})
  configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/ovparquetConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/ovparquetConfig.cmake"
    INSTALL_DESTINATION ${OVPARQUET_INSTALL_CMAKEDIR}
    PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
  write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/ovparquetConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
  install(FILES
    "${PROJECT_BINARY_DIR}/ovparquetConfig.cmake"
    "${PROJECT_BINARY_DIR}/ovparquetConfigVersion.cmake"
    "${PROJECT_SOURCE_DIR}/cmake/ArrowPrefix.cmake"
    DESTINATION ${OVPARQUET_INSTALL_CMAKEDIR})

  # pkg-config finds the prefix from where the .pc file lies.
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${OVPARQUET_INSTALL_PKGCONFIGDIR}"
             OUTPUT_VARIABLE OVPARQUET_PC_TO_PREFIX)
  string(REGEX REPLACE "/$" "" OVPARQUET_PC_TO_PREFIX "${OVPARQUET_PC_TO_PREFIX}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/ovparquet.pc.in"
                 "${PROJECT_BINARY_DIR}/ovparquet.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/ovparquet.pc" DESTINATION ${OVPARQUET_INSTALL_PKGCONFIGDIR})
endfunction()
