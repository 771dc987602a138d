## -*- texinfo -*-
## @deftypefn  {} {@var{r} =} ovparquet_mapreduce (@var{location}, @var{mapfun}, @var{reducefun})
## @deftypefnx {} {@var{r} =} ovparquet_mapreduce (@dots{}, @var{name}, @var{value}, @dots{})
## Map and reduce the Parquet files of @var{location} (a file, a folder, an
## s3 prefix, or a cellstr of them), on this machine or on an Apache Spark
## cluster.
##
## @code{[@var{keys}, @var{values}] = @var{mapfun} (@var{t})} is called once
## per row group with @var{t} as @code{ovparquet_read} returns it; @var{keys}
## is a cellstr or numeric column, @var{values} a cell or numeric column of
## the same length. @code{@var{value} = @var{reducefun} (@var{key},
## @var{values})} is called once per distinct key with all of that key's
## values (a cell column, in no promised order). @var{r} is a struct column,
## one element per key sorted by key, with fields @code{Key} and
## @code{Value}.
##
## Options:
## @table @asis
## @item @qcode{"Engine"}
## @qcode{"serial"} (the default: this Octave process, split by split) or a
## Spark master URL @qcode{"spark://host:port"}.
## @item @qcode{"SplitSize"}
## Bytes per split (default 128 MiB); see @code{ovparquet_splits}.
## @item @qcode{"Variables"}
## The variables @var{t} holds (default: all).
## @item @qcode{"Python"}
## Spark only: the Python interpreter that has pyspark (default: the
## environment variable OVPARQUET_PYTHON, else @qcode{"python3"}).
## @item @qcode{"TaskGroups"}
## Spark only: how many map tasks the splits are shared among (default: two
## per executor core). Each map task runs one octave-cli.
## @item @qcode{"SparkConf"}
## Spark only: a cell @code{@{name, value, @dots{}@}} of Spark settings for
## the job, e.g. @code{@{"spark.cores.max", "2"@}}.
## @item @qcode{"Progress"}
## Print the splits done of the total while the job runs (default true).
## @end table
##
## On Spark, @var{mapfun} and @var{reducefun} must be functions defined in
## their own files (not anonymous functions): those files are shipped with
## the job. Local paths must name a file system every worker sees; s3
## locations work from anywhere, and the AWS_* settings of this Octave
## session reach the workers without appearing in Spark's configuration.
## Ctrl-C cancels the job.
##
## Example: the number and total fare of the trips of each payment type.
## @example
## @group
## ## in count_fares.m:
## ##   function [k, v] = count_fares (t)
## ##     k = t.payment_type;  v = t.fare;
## ##   endfunction
## ## in total_fares.m:
## ##   function s = total_fares (key, values)
## ##     s = [numel(values), sum([values@{:@}])];
## ##   endfunction
## r = ovparquet_mapreduce ("trips", @@count_fares, @@total_fares,
##                          "Variables", @{"payment_type", "fare"@});
## for i = 1:numel (r)
##   printf ("%s: %d trips, %.2f\n", r(i).Key, r(i).Value);
## endfor
## @end group
## @end example
## @seealso{ovparquet_splits, ovparquet_reader}
## @end deftypefn

function r = ovparquet_mapreduce (location, mapfun, reducefun, varargin)
  if (nargin < 3)
    print_usage ();
  endif
  opts = struct ("engine", "serial", "splitsize", 128 * 2^20, "variables", {{}},
                 "python", "", "taskgroups", [], "sparkconf", {{}},
                 "progress", true);
  if (mod (numel (varargin), 2) != 0)
    error ("ORVANE:octave:MissingOptionValue",
           "ovparquet_mapreduce: options come in name/value pairs.");
  endif
  for k = 1:2:numel (varargin)
    name = varargin{k};
    if (! ischar (name) || ! isfield (opts, lower (name)))
      error ("ORVANE:octave:UnknownOption",
             "ovparquet_mapreduce: unknown option %s (options: \"Engine\", \"SplitSize\", \"Variables\", \"Python\", \"TaskGroups\", \"SparkConf\", \"Progress\").",
             disp_name (name));
    endif
    opts.(lower (name)) = varargin{k+1};
  endfor
  mapfun = as_function (mapfun, "mapfun");
  reducefun = as_function (reducefun, "reducefun");
  if (ischar (opts.variables))
    opts.variables = {opts.variables};
  endif
  if (! iscellstr (opts.variables))
    error ("ORVANE:octave:InvalidOption", "Option \"Variables\" must be a text or a cellstr.");
  endif
  if (! ischar (opts.engine))
    error ("ORVANE:octave:UnknownEngine", "Option \"Engine\" must be \"serial\" or \"spark://host:port\".");
  endif

  serial = strcmpi (opts.engine, "serial");
  if (! serial && ! strncmpi (opts.engine, "spark://", 8))
    error ("ORVANE:octave:UnknownEngine",
           "ovparquet_mapreduce: unknown engine '%s'; use \"serial\" or a Spark master URL \"spark://host:port\".",
           opts.engine);
  endif
  conf = opts.sparkconf;
  if (! iscell (conf) || mod (numel (conf), 2) != 0
      || ! all (cellfun (@(c) ischar (c) && ! isempty (c), conf)))
    error ("ORVANE:octave:InvalidOption",
           "Option \"SparkConf\" must be a cell {name, value, ...} of texts, like {\"spark.cores.max\", \"2\"}.");
  endif

  splits = ovparquet_splits (location, "SplitSize", opts.splitsize);
  if (serial)
    r = run_serial (splits, mapfun, reducefun, opts);
  else
    r = __ovparquet_spark__ (splits, mapfun, reducefun, opts);
  endif
endfunction

function r = run_serial (splits, mapfun, reducefun, opts)
  keys = [];
  values = cell (0, 1);
  total = numel (splits);
  for i = 1:total
    [k, v] = __ovparquet_map_splits__ (splits(i), mapfun, opts.variables);
    keys = __ovparquet_append_keys__ (keys, k);
    values = [values; v];
    if (opts.progress)
      __ovparquet_progress__ (i, total);
    endif
  endfor
  [keys, groups] = __ovparquet_group__ (keys, values);
  r = __ovparquet_reduce_groups__ (keys, groups, reducefun);
endfunction

function f = as_function (f, what)
  if (ischar (f) && ! isempty (f))
    f = str2func (f);
  endif
  if (! is_function_handle (f))
    error ("ORVANE:octave:InvalidFunction",
           "ovparquet_mapreduce: %s must be a function handle or a function name, not a %s.", what, class (f));
  endif
endfunction

function s = disp_name (name)
  if (ischar (name))
    s = ["\"" name "\""];
  else
    s = sprintf ("of class %s", class (name));
  endif
endfunction
