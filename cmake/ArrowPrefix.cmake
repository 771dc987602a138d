# Imported targets for the Arrow C++ and Parquet libraries unpacked by
# scripts/setup.sh into a project-local prefix:
#   ovparquet_arrow::arrow, ovparquet_arrow::parquet
# The prefix holds the headers under include/ and the shared libraries under
# lib/. OVPARQUET_ARROW_PREFIX selects another prefix of the same shape.
include_guard(GLOBAL)

if(NOT OVPARQUET_ARROW_PREFIX)
  message(FATAL_ERROR "OVPARQUET_ARROW_PREFIX is not set")
endif()
if(NOT EXISTS "${OVPARQUET_ARROW_PREFIX}/include/parquet/arrow/reader.h")
  message(FATAL_ERROR
    "No Arrow C++ with Parquet under ${OVPARQUET_ARROW_PREFIX}: run scripts/setup.sh first")
endif()

foreach(_ovp_lib arrow parquet)
  if(NOT TARGET ovparquet_arrow::${_ovp_lib})
    add_library(ovparquet_arrow::${_ovp_lib} SHARED IMPORTED)
    set_target_properties(ovparquet_arrow::${_ovp_lib} PROPERTIES
      IMPORTED_LOCATION "${OVPARQUET_ARROW_PREFIX}/lib/lib${_ovp_lib}.so.1500"
      IMPORTED_SONAME "lib${_ovp_lib}.so.1500"
      # SYSTEM: warnings in Arrow's headers are not ours to fix.
      INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${OVPARQUET_ARROW_PREFIX}/include"
      INTERFACE_INCLUDE_DIRECTORIES "${OVPARQUET_ARROW_PREFIX}/include")
  endif()
endforeach()
set_property(TARGET ovparquet_arrow::parquet APPEND PROPERTY
  INTERFACE_LINK_LIBRARIES ovparquet_arrow::arrow)
