## A map that raises on the row group holding row id 1000005 (file 1).
function [keys, values] = mr_fails_on_id (t)
  if (any (t.id == 1000005))
    error ("mr:boom", "boom in the row group of id 1000005");
  endif
  keys = t.cat;
  values = t.x;
endfunction
