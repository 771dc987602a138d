classdef ovparquet_reader < handle

  ## -*- texinfo -*-
  ## @deftypefn  {} {@var{r} =} ovparquet_reader (@var{file})
  ## @deftypefnx {} {@var{r} =} ovparquet_reader (@var{file}, @var{name}, @var{value}, @dots{})
  ## @deftypefnx {} {@var{r} =} ovparquet_reader (@var{state})
  ## An iterator over the row groups of a Parquet file.
  ##
  ## @code{hasdata (@var{r})} tells whether row groups are left,
  ## @code{@var{t} = read (@var{r})} reads the next one as a table struct (see
  ## @code{ovparquet_read}), @code{reset (@var{r})} starts again from the first.
  ## @code{@var{state} = save_state (@var{r})} returns a plain struct (the file,
  ## the row groups not yet read and the options) that can be saved with
  ## @code{save}; @code{ovparquet_reader (@var{state})} resumes from it.
  ##
  ## Options: @qcode{"Variables"}, @qcode{"RowGroups"}, @qcode{"ByteRange"},
  ## @qcode{"MissingAs"} and @qcode{"MemoryLimit"}, as for
  ## @code{ovparquet_read}; the memory limit holds for each row group read.
  ##
  ## Example:
  ## @example
  ## @group
  ## r = ovparquet_reader ("trips.parquet", "Variables", @{"fare"@});
  ## total = 0;
  ## while (hasdata (r))
  ##   t = read (r);
  ##   total += sum (t.fare(! isnan (t.fare)));
  ## endwhile
  ## @end group
  ## @end example
  ## @seealso{ovparquet_read}
  ## @end deftypefn

  properties (SetAccess = private)
    ## The file read.
    File = "";
    ## The row-group numbers the reader goes through, in order.
    RowGroups = zeros (0, 1);
    ## The variables read ({} for all).
    Variables = {};
    ## "mask" or "double" (see ovparquet_read).
    MissingAs = "mask";
    ## The read memory limit of each read ([] for the default; see
    ## ovparquet_read).
    MemoryLimit = [];
  endproperties

  properties (Access = private)
    Next = 1;
    ## A file without row groups still gives its (empty) table once.
    EmptyOnce = false;
  endproperties

  methods

    function r = ovparquet_reader (file, varargin)
      if (nargin < 1)
        print_usage ();
      endif
      if (isstruct (file))
        r = restore (r, file, varargin{:});
        return;
      endif
      rowgroups = [];
      byterange = [];
      vars = {};
      missing = "mask";
      limit = [];
      if (mod (numel (varargin), 2) != 0)
        error ("ORVANE:octave:MissingOptionValue",
               "ovparquet_reader: options come in name/value pairs.");
      endif
      for k = 1:2:numel (varargin)
        name = varargin{k};
        value = varargin{k+1};
        if (! ischar (name))
          error ("ORVANE:octave:InvalidOption",
                 "ovparquet_reader: option names must be texts.");
        endif
        switch (lower (name))
          case "rowgroups"
            rowgroups = value;
          case "byterange"
            byterange = value;
          case "variables"
            vars = value;
          case "missingas"
            missing = value;
          case "memorylimit"
            limit = ovparquet_reader.check_limit (value);
          otherwise
            error ("ORVANE:octave:UnknownOption",
                   "ovparquet_reader: unknown option \"%s\" (options: \"Variables\", \"RowGroups\", \"ByteRange\", \"MissingAs\", \"MemoryLimit\").",
                   name);
        endswitch
      endfor
      if (! isempty (rowgroups) && ! isempty (byterange))
        error ("ORVANE:octave:InvalidOption",
               "ovparquet_reader: give \"RowGroups\" or \"ByteRange\", not both.");
      endif
      if (ischar (vars))
        vars = {vars};
      endif
      [groups, total] = __ovparquet_rowgroups__ (file, rowgroups, byterange, vars);
      r.File = file;
      r.RowGroups = groups;
      r.Variables = vars;
      r.MissingAs = ovparquet_reader.check_missing (missing);
      r.MemoryLimit = limit;
      r.EmptyOnce = total == 0;
    endfunction

    function tf = hasdata (r)
      tf = r.Next <= numel (r.RowGroups) || (r.EmptyOnce && r.Next == 1);
    endfunction

    function t = read (r)
      if (! hasdata (r))
        error ("ORVANE:parquetio:read:InternalInvalidRead",
               "Unable to read Parquet file '%s': No more data", r.File);
      endif
      args = {"MissingAs", r.MissingAs};
      if (! isempty (r.MemoryLimit))
        args(end+1:end+2) = {"MemoryLimit", r.MemoryLimit};
      endif
      if (! isempty (r.Variables))
        args(end+1:end+2) = {"Variables", r.Variables};
      endif
      if (isempty (r.RowGroups))
        t = ovparquet_read (r.File, "RowGroups", zeros (1, 0), args{:});
      else
        t = ovparquet_read (r.File, "RowGroups", r.RowGroups(r.Next), args{:});
      endif
      r.Next += 1;
    endfunction

    function reset (r)
      r.Next = 1;
    endfunction

    function s = save_state (r)
      s = struct ("File", r.File,
                  "RowGroups", r.RowGroups(r.Next:end),
                  "Variables", {r.Variables},
                  "MissingAs", r.MissingAs,
                  "MemoryLimit", r.MemoryLimit,
                  "EmptyOnce", r.EmptyOnce && r.Next == 1);
    endfunction

  endmethods

  methods (Access = private)

    function r = restore (r, s, varargin)
      if (! isempty (varargin))
        error ("ORVANE:octave:InvalidArgument",
               "ovparquet_reader: a saved state takes no options.");
      endif
      need = {"File", "RowGroups", "Variables", "MissingAs"};
      if (! isscalar (s) || ! all (isfield (s, need)) || ! ischar (s.File)
          || ! isnumeric (s.RowGroups))
        error ("ORVANE:octave:InvalidState",
               "ovparquet_reader: the state must be a struct that save_state returned.");
      endif
      [~, total] = __ovparquet_rowgroups__ (s.File, zeros (0, 1), [], s.Variables);
      groups = s.RowGroups(:);
      if (any (groups < 1 | groups > total | groups != fix (groups)))
        error ("ORVANE:octave:InvalidState",
               "ovparquet_reader: the saved row groups do not exist in '%s'.", s.File);
      endif
      r.File = s.File;
      r.RowGroups = groups;
      r.Variables = s.Variables;
      r.MissingAs = ovparquet_reader.check_missing (s.MissingAs);
      if (isfield (s, "MemoryLimit") && ! isempty (s.MemoryLimit))
        r.MemoryLimit = ovparquet_reader.check_limit (s.MemoryLimit);
      endif
      r.EmptyOnce = isfield (s, "EmptyOnce") && s.EmptyOnce;
    endfunction

  endmethods

  methods (Static, Access = private)

    function m = check_missing (m)
      if (! ischar (m) || ! any (strcmpi (m, {"mask", "double"})))
        error ("ORVANE:octave:InvalidOption",
               "Option \"MissingAs\" must be \"mask\" or \"double\".");
      endif
      m = lower (m);
    endfunction

    ## A number of bytes or a size text; the text itself is read by
    ## ovparquet_read.
    function v = check_limit (v)
      if (! ((ischar (v) && rows (v) == 1)
             || (isnumeric (v) && isreal (v) && isscalar (v) && v >= 1 && v == fix (v))))
        error ("ORVANE:octave:InvalidOption",
               "Option \"MemoryLimit\" must be a positive whole number of bytes or a size such as \"512MiB\".");
      endif
    endfunction

  endmethods

endclassdef
