## -*- texinfo -*-
## @deftypefn {} {@var{r} =} __ovparquet_spark__ (@var{splits}, @var{mapfun}, @var{reducefun}, @var{opts})
## Internal to @code{ovparquet_mapreduce}: runs the job on the Spark master
## @var{opts}.engine through the package's PySpark driver, shows its
## progress, and returns the reduced struct column sorted by key. Ctrl-C
## cancels the job; the scratch folder goes in every case.
## @end deftypefn

function r = __ovparquet_spark__ (splits, mapfun, reducefun, opts)
  [mapname, mapfile] = shipped_function (mapfun, "mapfun");
  [reducename, reducefile] = shipped_function (reducefun, "reducefun");
  here = fileparts (mfilename ("fullpath"));
  driver = fullfile (here, "ovparquet_spark_driver.py");
  ## The compiled functions may sit in an architecture folder of their own.
  octave_path = unique ({here, fileparts(which ("ovparquet_read"))});
  python = opts.python;
  if (isempty (python))
    python = getenv ("OVPARQUET_PYTHON");
  endif
  if (isempty (python))
    python = "python3";
  endif
  ## Name, value, name, value, ...
  conf = opts.sparkconf(:)';

  jobdir = tempname (tempdir (), "ovparquet-job-");
  mkdir (jobdir);
  pid = -1;
  unwind_protect
    job = struct ("master", opts.engine,
                  "splits", struct ("location", {splits.Location}, "offset", {splits.Offset},
                                    "size", {splits.Size}),
                  "variables", {opts.variables},
                  "mapfun", mapname, "reducefun", reducename,
                  "files", {unique({mapfile, reducefile})},
                  "octave_path", {octave_path},
                  "octave_cli", fullfile (OCTAVE_HOME (), "bin", "octave-cli"),
                  "task_groups", opts.taskgroups,
                  "conf", {conf});
    fid = fopen (fullfile (jobdir, "job.json"), "w");
    fputs (fid, jsonencode (job));
    fclose (fid);
    logfile = fullfile (jobdir, "driver.log");
    pid = system (sprintf ("exec %s %s %s > %s 2>&1", quote (python), quote (driver), quote (jobdir),
                           quote (logfile)), false, "async");
    status = wait_for (pid, jobdir, opts.progress);
    pid = -1;
    r = collect (jobdir, status, logfile);
  unwind_protect_cleanup
    if (pid > 0)
      stop_driver (pid);
    endif
    confirm_recursive_rmdir (false, "local");
    rmdir (jobdir, "s");
  end_unwind_protect
endfunction

function [name, file] = shipped_function (f, what)
  name = func2str (f);
  file = "";
  if (! isempty (name) && name(1) != "@")
    file = which (name);
  endif
  if (isempty (file) || ! exist (file, "file"))
    error ("ORVANE:octave:InvalidFunction",
           "ovparquet_mapreduce: on Spark, %s must be a function defined in its own file (it is shipped with the job), not %s.",
           what, name);
  endif
endfunction

function q = quote (text)
  q = ["'" strrep(text, "'", "'\\''") "'"];
endfunction

## Polls the driver, showing the splits done, until it ends.
function status = wait_for (pid, jobdir, show)
  progress = fullfile (jobdir, "progress");
  last = -1;
  while (true)
    [done_pid, status] = waitpid (pid, WNOHANG ());
    if (done_pid == pid)
      break;
    endif
    if (show && exist (progress, "file"))
      try
        p = jsondecode (fileread (progress));
        if (p(1) != last && p(1) < p(2))
          __ovparquet_progress__ (p(1), p(2));
          last = p(1);
        endif
      catch
        ## Being replaced right now: the next poll reads it.
      end_try_catch
    endif
    pause (0.2);
  endwhile
  if (show && exist (progress, "file"))
    p = jsondecode (fileread (progress));
    if (last != p(2))
      __ovparquet_progress__ (p(2), p(2));
    endif
  endif
endfunction

function r = collect (jobdir, status, logfile)
  statusfile = fullfile (jobdir, "status.json");
  if (! exist (statusfile, "file"))
    error ("ORVANE:octave:SparkDriverFailed",
           "ovparquet_mapreduce: the Spark driver ended (status %d) without a result: %s", status,
           log_tail (logfile));
  endif
  s = jsondecode (fileread (statusfile));
  if (! s.ok)
    id = s.identifier;
    if (isempty (id))
      id = "ORVANE:octave:SparkJobFailed";
    endif
    error (id, "%s", s.message);
  endif
  files = dir (fullfile (jobdir, "result-*.bin"));
  r = struct ("Key", cell (0, 1), "Value", cell (0, 1));
  for i = 1:numel (files)
    part = load (fullfile (jobdir, files(i).name));
    r = [r; part.r(:)];
  endfor
  if (isempty (r))
    return;
  endif
  if (ischar (r(1).Key))
    [~, order] = sort ({r.Key});
  else
    [~, order] = sort ([r.Key]);
  endif
  r = r(order);
endfunction

function text = log_tail (logfile)
  text = "";
  if (exist (logfile, "file"))
    text = fileread (logfile);
    text = text(max (1, end - 1500):end);
  endif
endfunction

## Ctrl-C: the driver cancels the job and stops Spark on SIGTERM.
function stop_driver (pid)
  kill (pid, 15);
  for k = 1:150
    if (waitpid (pid, WNOHANG ()) == pid)
      return;
    endif
    pause (0.1);
  endfor
  kill (pid, 9);
  waitpid (pid);
endfunction
