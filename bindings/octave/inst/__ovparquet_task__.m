## -*- texinfo -*-
## @deftypefn {} {} __ovparquet_task__ (@var{mode}, @var{folder})
## Internal to @code{ovparquet_mapreduce} on Spark: the work of one Spark
## task in its own octave-cli. @var{folder}/task.json says what to do.
##
## "map": maps the splits, groups the pairs by key and writes the groups of
## reduce partition @var{p} to part-@var{p}.bin. "reduce": merges the groups
## of every in-*.bin by key, reduces each key and writes result.bin. A
## failure is written to error.json (identifier and message) for the driver.
## @end deftypefn

function __ovparquet_task__ (mode, folder)
  try
    task = jsondecode (fileread (fullfile (folder, "task.json")));
    switch (mode)
      case "map"
        map_task (task, folder);
      case "reduce"
        reduce_task (task, folder);
    endswitch
  catch err
    fid = fopen (fullfile (folder, "error.json"), "w");
    fputs (fid, jsonencode (struct ("identifier", err.identifier, "message", err.message)));
    fclose (fid);
    exit (3);
  end_try_catch
endfunction

function map_task (task, folder)
  splits = task.splits;
  if (iscell (splits))
    splits = [splits{:}];
  endif
  vars = task.variables;
  if (isempty (vars))
    vars = {};
  elseif (ischar (vars))
    vars = {vars};
  endif
  splits = struct ("Location", {splits.location}, "Offset", {splits.offset}, "Size", {splits.size});
  [keys, values] = __ovparquet_map_splits__ (splits, str2func (task.mapfun), vars);
  [keys, groups] = __ovparquet_group__ (keys, values);
  part = __ovparquet_partition__ (keys, task.parts);
  for p = unique (part(:))'
    sel = part == p;
    k = keys(sel);
    g = groups(sel);
    save ("-binary", fullfile (folder, sprintf ("part-%d.bin", p)), "k", "g");
  endfor
endfunction

function reduce_task (task, folder)
  files = dir (fullfile (folder, "in-*.bin"));
  keys = [];
  groups = cell (0, 1);
  for i = 1:numel (files)
    s = load (fullfile (folder, files(i).name));
    keys = __ovparquet_append_keys__ (keys, s.k);
    groups = [groups; s.g];
  endfor
  ## The same key comes from many map tasks: join its groups.
  [keys, merged] = __ovparquet_group__ (keys, groups);
  for i = 1:numel (merged)
    merged{i} = vertcat (merged{i}{:});
  endfor
  r = __ovparquet_reduce_groups__ (keys, merged, str2func (task.reducefun));
  save ("-binary", fullfile (folder, "result.bin"), "r");
endfunction
