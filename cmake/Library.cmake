include_guard(GLOBAL)

# ovparquet_add_library(<layer> <sources>...)
# One shared library of a layer: target ovparquet_<layer>, alias and export
# name ovparquet::<layer>, public headers in <dir>/include, our warnings, and
# the install rules of the package.
function(ovparquet_add_library layer)
  set(target ovparquet_${layer})
  add_library(${target} SHARED ${ARGN})
  add_library(ovparquet::${layer} ALIAS ${target})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${target} EXPORT_NAME ${layer}
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  ovparquet_warnings(${target})
  ovparquet_install_library(${target} "${CMAKE_CURRENT_SOURCE_DIR}/include")
endfunction()
