## Benchmark map: a CPU-bound pass over each row group (the work a real
## analysis does), keyed by the "cat" column.
function [keys, values] = bench_map (t)
  x = t.x;
  acc = 0;
  for k = 1:str2double (getenv ("OVPARQUET_BENCH_WORK"))
    acc += sum (sort (x + k)(1:100:end));
  endfor
  keys = t.cat;
  values = x + 0 * acc;
endfunction
