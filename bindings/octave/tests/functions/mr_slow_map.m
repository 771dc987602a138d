## The stats map, slowed down so that a job lasts long enough to lose a
## worker. Self-contained: only the map's own file is shipped with the job.
function [keys, values] = mr_slow_map (t)
  pause (0.25);
  keys = t.cat;
  values = t.x;
endfunction
