## -*- texinfo -*-
## @deftypefn {} {@var{text} =} __ovparquet_key_text__ (@var{key})
## Internal to @code{ovparquet_mapreduce}: a key as it appears in messages.
## @end deftypefn

function text = __ovparquet_key_text__ (key)
  if (ischar (key))
    text = ["'" key "'"];
  else
    text = sprintf ("%.17g", key);
  endif
endfunction
