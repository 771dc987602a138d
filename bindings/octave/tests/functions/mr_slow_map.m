## The stats map, slowed down so that a job lasts long enough to lose a worker.
function [keys, values] = mr_slow_map (t)
  pause (0.25);
  [keys, values] = mr_stats_map (t);
endfunction
