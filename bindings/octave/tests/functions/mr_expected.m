## [keys, rows] = mr_expected (name): DuckDB's GROUP BY of the mapreduce
## fixtures (make_mapreduce_fixtures.py), read from its CSV file NAME: the
## keys as a cellstr column, the figures of each key as a row.
function [keys, rows] = mr_expected (name)
  fid = fopen (fullfile (getenv ("OVPARQUET_MAPREDUCE_DATA"), name));
  fgetl (fid);
  keys = {};
  rows = zeros (0, 5);
  while (ischar (line = fgetl (fid)))
    parts = strsplit (line, ",");
    keys{end+1, 1} = parts{1};
    rows(end+1, 1:numel (parts) - 1) = str2double (parts(2:end));
  endwhile
  fclose (fid);
endfunction
