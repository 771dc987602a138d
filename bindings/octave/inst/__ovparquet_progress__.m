## -*- texinfo -*-
## @deftypefn {} {} __ovparquet_progress__ (@var{done}, @var{total})
## Internal to @code{ovparquet_mapreduce}: the progress line, "splits done
## of total", rewritten in place and ended when the last split is done.
## @end deftypefn

function __ovparquet_progress__ (done, total)
  printf ("\rmapreduce: %d of %d splits done", done, total);
  if (done >= total)
    printf ("\n");
  endif
  fflush (stdout);
endfunction
