## ovparquet_mapreduce on a Spark standalone cluster (spark_cluster.py,
## started by the CTest fixture): the same results as the serial engine and
## as DuckDB, locally and on a loopback S3 server; faults and bad input.

%!function check_stats (r, keys, rows)
%!  assert ({r.Key}', keys);
%!  got = vertcat (r.Value);
%!  assert (got(:, 1), rows(:, 1));
%!  assert (got(:, 2:5), rows(:, 2:5), -1e-12);
%!endfunction

%!function out = python (args)
%!  [status, out] = system (sprintf ("'%s' %s", getenv ("OVPARQUET_PYTHON"), args));
%!  assert (status, 0, out);
%!endfunction

%!shared data, master, args
%! data = fullfile (getenv ("OVPARQUET_MAPREDUCE_DATA"), "data");
%! master = strtrim (fileread ([getenv("OVPARQUET_SPARK_STATE") ".url"]));
%! args = {"SplitSize", 32768, "Variables", {"cat", "x"}, "Progress", false};

## The same job: serial, Spark and DuckDB agree; progress counts splits.
%!test
%! [keys, rows] = mr_expected ("expected.csv");
%! serial = ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, args{:});
%! n = numel (ovparquet_splits (data, "SplitSize", 32768));
%! assert (n >= 40);
%! out = evalc ('spark = ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, "Engine", master, args{1:end-2});');
%! assert (! isempty (strfind (out, sprintf ("%d of %d splits done", n, n))), out);
%! check_stats (serial, keys, rows);
%! check_stats (spark, keys, rows);
%! assert ({spark.Key}, {serial.Key});
%! assert (vertcat (spark.Value), vertcat (serial.Value), -1e-12);

## Numeric keys, several task groups per core.
%!test
%! [~, rows] = mr_expected ("expected_g.csv");
%! keys = str2double (mr_expected ("expected_g.csv"));
%! r = ovparquet_mapreduce (data, @mr_group_map, @mr_stats_reduce, "Engine", master, "TaskGroups", 13,
%!                          "SplitSize", 20000, "Progress", false);
%! assert ([r.Key]', keys);
%! got = vertcat (r.Value);
%! assert (got(:, 1), rows(:, 1));
%! assert (got(:, 2), rows(:, 2), -1e-12);

## s3: the files on a loopback S3 server; credentials reach the executors
## but no log, no message and no Spark environment page.
%!test
%! [keys, rows] = mr_expected ("expected.csv");
%! py = getenv ("OVPARQUET_PYTHON");
%! server = getenv ("OVPARQUET_S3_SERVER");
%! [in, out, pid] = popen2 (py, {server});
%! unwind_protect
%!   line = "";
%!   for k = 1:600
%!     line = fgetl (out);
%!     if (ischar (line) && strncmp (line, "READY", 5))
%!       break;
%!     endif
%!     fclear (out);
%!     pause (0.1);
%!   endfor
%!   assert (ischar (line) && strncmp (line, "READY", 5), "the S3 server did not start");
%!   ports = sscanf (line, "READY %d %d");
%!   secret = "zz-secret-Hn3kT9qLw0-zz";
%!   saved = {getenv("AWS_ACCESS_KEY_ID"), getenv("AWS_SECRET_ACCESS_KEY"), getenv("AWS_ENDPOINT_URL"), getenv("AWS_REGION")};
%!   setenv ("AWS_ACCESS_KEY_ID", "zz-keyid-P4x8-zz");
%!   setenv ("AWS_SECRET_ACCESS_KEY", secret);
%!   setenv ("AWS_ENDPOINT_URL", sprintf ("http://127.0.0.1:%d", ports(1)));
%!   setenv ("AWS_REGION", "us-east-1");
%!   unwind_protect
%!     python (sprintf ("'%s' http://127.0.0.1:%d ovbucket trips '%s'",
%!                      fullfile (getenv ("OVPARQUET_OCTAVE_TESTS"), "s3_upload.py"), ports(1), data));
%!     events = tempname ();
%!     mkdir (events);
%!     conf = {"spark.eventLog.enabled", "true", "spark.eventLog.dir", ["file://" events], ...
%!             "spark.eventLog.rolling.enabled", "false", "spark.eventLog.compress", "false"};
%!     [out_spark, spark] = evalc ('ovparquet_mapreduce ("s3://ovbucket/trips", @mr_stats_map, @mr_stats_reduce, "Engine", master, "SparkConf", conf, args{:})');
%!     serial = ovparquet_mapreduce ("s3://ovbucket/trips", @mr_stats_map, @mr_stats_reduce, args{:});
%!     check_stats (spark, keys, rows);
%!     check_stats (serial, keys, rows);
%!     assert (isempty (strfind (out_spark, secret)));
%!     ## The event log holds what the Spark UI shows, environment page included.
%!     logs = glob (fullfile (events, "*"));
%!     assert (numel (logs) >= 1);
%!     text = "";
%!     for i = 1:numel (logs)
%!       text = [text fileread(logs{i})];
%!     endfor
%!     assert (! isempty (strfind (text, "SparkListenerEnvironmentUpdate")));
%!     assert (isempty (strfind (text, secret)));
%!     assert (isempty (strfind (text, "zz-keyid-P4x8-zz")));
%!     ## Nor in the master's, the workers' or the executors' logs.
%!     state = jsondecode (fileread (getenv ("OVPARQUET_SPARK_STATE")));
%!     [status, hits] = system (sprintf ("grep -rl -e '%s' -e zz-keyid-P4x8-zz '%s' || true", secret, state.scratch));
%!     assert (strtrim (hits), "");
%!     confirm_recursive_rmdir (false, "local");
%!     rmdir (events, "s");
%!   unwind_protect_cleanup
%!     setenv ("AWS_ACCESS_KEY_ID", saved{1});
%!     setenv ("AWS_SECRET_ACCESS_KEY", saved{2});
%!     setenv ("AWS_ENDPOINT_URL", saved{3});
%!     setenv ("AWS_REGION", saved{4});
%!   end_unwind_protect
%! unwind_protect_cleanup
%!   fclose (in);
%!   fclose (out);
%!   waitpid (pid);
%! end_unwind_protect

## A mapfun that raises on one split: the error names the split and carries
## the original message.
%!test
%! try
%!   ovparquet_mapreduce (data, @mr_fails_on_id, @mr_stats_reduce, "Engine", master, "SplitSize", 32768, "Progress", false);
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "mr:boom");
%!   assert (! isempty (strfind (e.message, "boom in the row group of id 1000005")), e.message);
%!   assert (! isempty (regexp (e.message, "part-01\\.parquet' bytes \\[0, 32768\\)")), e.message);
%! end_try_catch

%!test
%! try
%!   ovparquet_mapreduce (data, @mr_bad_lengths, @mr_stats_reduce, "Engine", master, args{:});
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "ORVANE:octave:InvalidMapOutput");
%!   assert (! isempty (regexp (e.message, "returned \\d+ keys but \\d+ values")), e.message);
%! end_try_catch

## Anonymous functions cannot be shipped to the executors.
%!test
%! try
%!   ovparquet_mapreduce (data, @(t) deal (t.cat, t.x), @mr_stats_reduce, "Engine", master, args{:});
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "ORVANE:octave:InvalidFunction");
%! end_try_catch

## Nothing listens at the master's address: an error within seconds.
%!test
%! port = str2double (python ("-c \"import socket; s = socket.socket(); s.bind(('127.0.0.1', 0)); print(s.getsockname()[1])\""));
%! t0 = tic ();
%! try
%!   ovparquet_mapreduce (data, @mr_stats_map, @mr_stats_reduce, "Engine", sprintf ("spark://127.0.0.1:%d", port), args{:});
%!   error ("no error");
%! catch e
%!   assert (e.identifier, "ORVANE:octave:SparkUnreachable");
%!   assert (! isempty (strfind (e.message, sprintf ("127.0.0.1:%d", port))), e.message);
%! end_try_catch
%! assert (toc (t0) < 20);

## No scratch folder is left behind by any of the jobs above.
%!test
%! assert (isempty (glob (fullfile (tempdir (), "ovparquet-job-*"))));

## A worker killed in the middle of the job: Spark reruns its tasks and the
## result is unchanged (no row counted twice or lost). The killed tasks'
## folders can only stay inside the killed worker's own Spark scratch folder,
## which Spark leaves too; the surviving worker's go when the job ends.
%!test
%! [keys, rows] = mr_expected ("expected.csv");
%! cluster = getenv ("OVPARQUET_SPARK_CLUSTER");
%! added = strsplit (strtrim (python (sprintf ("'%s' add-worker '%s'", cluster, getenv ("OVPARQUET_SPARK_STATE")))));
%! [pid, killed_scratch] = deal (str2double (added{1}), added{2});
%! marker = tempname ();
%! system (sprintf ("'%s' '%s' %d '%s' >/dev/null 2>&1 </dev/null", getenv ("OVPARQUET_PYTHON"),
%!                  fullfile (getenv ("OVPARQUET_OCTAVE_TESTS"), "kill_when_busy.py"), pid, marker), false, "async");
%! r = ovparquet_mapreduce (data, @mr_slow_map, @mr_stats_reduce, "Engine", master, "TaskGroups", 16, args{:});
%! assert (exist (marker, "file") == 2, "the worker was not killed during the job");
%! delete (marker);
%! check_stats (r, keys, rows);
%! state = jsondecode (fileread (getenv ("OVPARQUET_SPARK_STATE")));
%! ## The surviving worker removes the application's folders once it ends.
%! for attempt = 1:60
%!   [~, left] = system (sprintf ("find '%s' -name 'ovparquet-tasks-*' -not -path '%s/*'",
%!                                state.scratch, killed_scratch));
%!   if (isempty (strtrim (left)))
%!     break;
%!   endif
%!   pause (1);
%! endfor
%! assert (strtrim (left), "");
