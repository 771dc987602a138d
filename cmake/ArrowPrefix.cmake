# Imported targets for the Arrow C++ and Parquet libraries:
#   ovparquet_arrow::arrow, ovparquet_arrow::parquet
# In the build they come from the prefix scripts/setup.sh unpacks
# (OVPARQUET_ARROW_PREFIX, headers under include/, libraries under lib/); in
# an installed package, from the package's own prefix, where the install
# rules copy them.
include_guard(GLOBAL)

set(OVPARQUET_ARROW_SONAMES libarrow.so.1500 libparquet.so.1500)

# ovparquet_arrow_targets(<include dir> <library dir>)
function(ovparquet_arrow_targets include_dir lib_dir)
  if(NOT EXISTS "${include_dir}/parquet/arrow/reader.h")
    message(FATAL_ERROR
      "No Arrow C++ with Parquet headers under ${include_dir}: run scripts/setup.sh first")
  endif()
  foreach(lib arrow parquet)
    if(NOT EXISTS "${lib_dir}/lib${lib}.so.1500")
      message(FATAL_ERROR "No lib${lib}.so.1500 in ${lib_dir}: run scripts/setup.sh first")
    endif()
    if(NOT TARGET ovparquet_arrow::${lib})
      add_library(ovparquet_arrow::${lib} SHARED IMPORTED)
      set_target_properties(ovparquet_arrow::${lib} PROPERTIES
        IMPORTED_LOCATION "${lib_dir}/lib${lib}.so.1500"
        IMPORTED_SONAME "lib${lib}.so.1500"
        # SYSTEM: warnings in Arrow's headers are not ours to fix.
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${include_dir}"
        INTERFACE_INCLUDE_DIRECTORIES "${include_dir}")
    endif()
  endforeach()
  set_property(TARGET ovparquet_arrow::parquet APPEND PROPERTY
    INTERFACE_LINK_LIBRARIES ovparquet_arrow::arrow)
endfunction()
