## A map whose keys and values differ in length.
function [keys, values] = mr_bad_lengths (t)
  keys = t.cat;
  values = t.x(1:end-1);
endfunction
