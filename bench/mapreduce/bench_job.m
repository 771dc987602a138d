## One timed run of the benchmark's job, in an octave-cli of its own (so
## that its peak memory is the job's): saves the result and the seconds.
## ENGINE "serial", or a master URL with CORES one-core executors and
## GROUPS map tasks.
function bench_job (engine, data, split, out, cores, groups)
  args = {"SplitSize", split, "Variables", {"cat", "x"}, "Progress", false, "Engine", engine};
  if (! strcmp (engine, "serial"))
    conf = {"spark.cores.max", num2str(cores), "spark.executor.cores", "1"};
    args(end+1:end+4) = {"TaskGroups", groups, "SparkConf", conf};
  endif
  t0 = tic ();
  r = ovparquet_mapreduce (data, @bench_map, @bench_reduce, args{:});
  seconds = toc (t0);
  save ("-binary", out, "r", "seconds");
endfunction
