include_guard(GLOBAL)

# Our own code builds warning-free; dependency headers are included as SYSTEM
# headers, so their warnings never reach these flags.
function(ovparquet_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()
