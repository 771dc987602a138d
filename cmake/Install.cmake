# Install rules: headers, shared libraries and a CMake package, so that another
# project can write
#   find_package(ovparquet CONFIG REQUIRED)
#   target_link_libraries(app PRIVATE ovparquet::core)
include_guard(GLOBAL)
include(CMakePackageConfigHelpers)

set(OVPARQUET_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/ovparquet")

# Each library calls this once: installs the target under the export set and
# its public headers, which live in <dir>/include.
function(ovparquet_install_library target include_dir)
  install(TARGETS ${target} EXPORT ovparquetTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(DIRECTORY "${include_dir}/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# The package itself is written once every library has registered.
function(ovparquet_install_package)
  install(EXPORT ovparquetTargets NAMESPACE ovparquet::
          DESTINATION ${OVPARQUET_INSTALL_CMAKEDIR})
  configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/ovparquetConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/ovparquetConfig.cmake"
    INSTALL_DESTINATION ${OVPARQUET_INSTALL_CMAKEDIR})
  write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/ovparquetConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
  install(FILES
    "${PROJECT_BINARY_DIR}/ovparquetConfig.cmake"
    "${PROJECT_BINARY_DIR}/ovparquetConfigVersion.cmake"
    "${PROJECT_SOURCE_DIR}/cmake/ArrowPrefix.cmake"
    DESTINATION ${OVPARQUET_INSTALL_CMAKEDIR})
endfunction()
