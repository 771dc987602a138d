## -*- texinfo -*-
## @deftypefn {} {@var{p} =} __ovparquet_partition__ (@var{keys}, @var{parts})
## Internal to @code{ovparquet_mapreduce} on Spark: the reduce partition
## (0 to @var{parts}-1) of each key, the same in every Octave process.
## @end deftypefn

function p = __ovparquet_partition__ (keys, parts)
  p = zeros (numel (keys), 1);
  for i = 1:numel (keys)
    if (iscell (keys))
      text = keys{i};
    else
      text = sprintf ("%.17g", keys(i));
    endif
    h = 0;
    for c = double (text)
      h = mod (h * 131 + c, 1000003);
    endfor
    p(i) = mod (h, parts);
  endfor
endfunction
