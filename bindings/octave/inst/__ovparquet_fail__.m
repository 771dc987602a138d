## -*- texinfo -*-
## @deftypefn {} {} __ovparquet_fail__ (@var{err}, @var{default_id}, @var{what})
## Internal to @code{ovparquet_mapreduce}: raises again an error that the
## user's map or reduce function raised. An interrupt goes on as it is; any
## other error keeps its identifier (@var{default_id} when it has none) and
## gains "ovparquet_mapreduce: @var{what} failed: " before its message.
## @end deftypefn

function __ovparquet_fail__ (err, default_id, what)
  if (strcmp (err.identifier, "Octave:interrupt"))
    rethrow (err);
  endif
  id = err.identifier;
  if (isempty (id))
    id = default_id;
  endif
  error (id, "ovparquet_mapreduce: %s failed: %s", what, err.message);
endfunction
