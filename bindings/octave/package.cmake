# Packs the Octave package tarball: DESCRIPTION, COPYING, inst/ and src/,
# with the Makefile's default prefixes filled in.
#   cmake -DSOURCE=dir -DOUT=file.tar.gz -DVERSION=x -DCORE_PREFIX=p -DARROW_PREFIX=p -P package.cmake
get_filename_component(work "${OUT}" DIRECTORY)
set(stage "${work}/package-stage")
file(REMOVE_RECURSE "${stage}")
file(MAKE_DIRECTORY "${stage}/ovparquet/src" "${stage}/ovparquet/inst")
configure_file("${SOURCE}/DESCRIPTION" "${stage}/ovparquet/DESCRIPTION" @ONLY)
file(COPY "${SOURCE}/COPYING" "${SOURCE}/INDEX" DESTINATION "${stage}/ovparquet")
file(GLOB scripts "${SOURCE}/inst/*.m" "${SOURCE}/inst/*.py")
file(COPY ${scripts} DESTINATION "${stage}/ovparquet/inst")
file(GLOB sources "${SOURCE}/src/*.cc" "${SOURCE}/src/*.h")
file(COPY ${sources} DESTINATION "${stage}/ovparquet/src")
set(OVPARQUET_PREFIX "${CORE_PREFIX}")
configure_file("${SOURCE}/src/Makefile" "${stage}/ovparquet/src/Makefile" @ONLY)
file(REMOVE "${OUT}")
execute_process(COMMAND ${CMAKE_COMMAND} -E tar czf "${OUT}" ovparquet
                WORKING_DIRECTORY "${stage}" RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "Unable to pack ${OUT}")
endif()
file(REMOVE_RECURSE "${stage}")
