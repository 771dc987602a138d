"""The Spark side of ovparquet_mapreduce: runs one job on a Spark cluster.

    python ovparquet_spark_driver.py JOBDIR

JOBDIR/job.json (written by the calling Octave) holds the master URL, the
splits, the function names and files, the Octave package folders and the
Spark settings. Map tasks each take a group of splits and run one octave-cli
on them; the key/value pairs it writes, already grouped by key and cut into
reduce partitions, go through Spark's shuffle; reduce tasks run one
octave-cli each on the pairs of their partition. The results land in
JOBDIR/result-NNNNN.bin for Octave to load; JOBDIR/status.json says how it
ended, JOBDIR/progress the splits done so far.

AWS_* settings (s3 credentials and endpoints) are taken out of this process's
environment before Spark starts and reach the tasks inside the job's own
closures, so they appear in no Spark configuration, log or UI page.
"""
import ipaddress
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse
import uuid

# Settings the executors' octave-cli needs for s3 locations.
SECRET_PREFIXES = ("AWS_",)
FAILURE_MARK = "ovparquet-task-failure:"


def write_json(path, value):
    tmp = path + ".tmp"
    with open(tmp, "w") as f:
        json.dump(value, f)
    os.replace(tmp, path)


def take_secrets():
    secrets = {k: v for k, v in os.environ.items() if k.startswith(SECRET_PREFIXES)}
    for k in secrets:
        del os.environ[k]
    return secrets


def check_master(url):
    """Fails at once when nothing listens at the master's address (Spark
    itself would retry for minutes)."""
    parsed = urllib.parse.urlparse(url)
    if parsed.scheme != "spark" or not parsed.hostname or not parsed.port:
        raise JobError("ORVANE:octave:UnknownEngine",
                       f"'{url}' is not a Spark master URL; use \"spark://host:port\".")
    try:
        socket.create_connection((parsed.hostname, parsed.port), timeout=5).close()
    except OSError as e:
        raise JobError("ORVANE:octave:SparkUnreachable",
                       f"No Spark master answers at {url}: {e.strerror or e}.")


def stay_on_loopback(url):
    """A master on the loopback interface is a cluster on this machine: the
    driver binds there too, instead of the address Spark would pick from
    the host name, which may be another interface."""
    host = urllib.parse.urlparse(url).hostname or ""
    try:
        loopback = ipaddress.ip_address(socket.gethostbyname(host)).is_loopback
    except (OSError, ValueError):
        loopback = False
    if loopback and not os.environ.get("SPARK_LOCAL_IP"):
        os.environ["SPARK_LOCAL_IP"] = "127.0.0.1"


class JobError(Exception):
    def __init__(self, identifier, message):
        super().__init__(message)
        self.identifier = identifier
        self.message = message


# Runs between a task and its octave-cli. Spark kills a cancelled task's
# Python worker outright (SIGKILL), so no cleanup of the task can run there:
# this guard learns of its parent's death (from the kernel, from SIGHUP that
# Spark's Python daemon sends its workers' process group on shutdown, and
# from a thread that watches the parent's pid, whichever comes first), then
# kills octave-cli's whole process group and removes the task's folder.
GUARD = r"""
import ctypes, os, shutil, signal, subprocess, sys, threading, time
PR_SET_PDEATHSIG = 1
libc = ctypes.CDLL(None, use_errno=True)
parent, workdir, command = int(sys.argv[1]), sys.argv[2], sys.argv[3:]
child = None
def stop(signum=0, frame=None):
    # No child.wait() here: the interrupted main thread may hold its lock.
    if child is not None:
        try:
            os.killpg(child.pid, signal.SIGKILL)
        except OSError:
            pass
    shutil.rmtree(workdir, ignore_errors=True)
    try:
        os.rmdir(os.path.dirname(workdir))  # the job's folder, once empty
    except OSError:
        pass
    os._exit(143)
def watch():
    while True:
        time.sleep(0.5)
        if os.getppid() != parent:
            stop()
def start_child():
    # octave-cli leads a process group of its own, so that one kill ends
    # whatever it starts, and it dies with this guard.
    os.setsid()
    signal.pthread_sigmask(signal.SIG_UNBLOCK, {signal.SIGTERM, signal.SIGHUP})
    libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
    if os.getppid() != guard:
        os._exit(143)
guard = os.getpid()
signal.signal(signal.SIGTERM, stop)
signal.signal(signal.SIGHUP, stop)
libc.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)
if os.getppid() != parent:
    stop()
threading.Thread(target=watch, daemon=True).start()
# No signal between the start of octave-cli and knowing its pid.
signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGTERM, signal.SIGHUP})
child = subprocess.Popen(command, preexec_fn=start_child)
signal.pthread_sigmask(signal.SIG_UNBLOCK, {signal.SIGTERM, signal.SIGHUP})
sys.exit(child.wait())
"""

TASKS_PREFIX = "ovparquet-tasks-"


def executor_scratch():
    """The executor's own scratch folder: Spark hands its Python workers the
    block manager's folders in SPARK_LOCAL_DIRS and removes them when the
    executor stops, or, on a standalone worker, when the application ends.
    A task folder kept there goes with Spark's own files even when the task
    was killed outright, which no clean-up of ours could survive."""
    for folder in os.environ.get("SPARK_LOCAL_DIRS", "").split(","):
        if folder and os.path.isdir(folder):
            return folder
    return tempfile.gettempdir()


def task_folder(job_id, kind):
    """A new folder for one task, in the job's folder inside the executor's
    scratch folder."""
    base = os.path.join(executor_scratch(), TASKS_PREFIX + job_id)
    for attempt in range(5):
        os.makedirs(base, exist_ok=True)
        try:
            return tempfile.mkdtemp(prefix=kind + "-", dir=base)
        except FileNotFoundError:
            # Another task of the job removed the empty job folder just now.
            if attempt == 4:
                raise


def remove_task_folder(workdir):
    shutil.rmtree(workdir, ignore_errors=True)
    try:
        os.rmdir(os.path.dirname(workdir))  # the job's folder, once empty
    except OSError:
        pass


def run_octave(job, secrets, workdir, mode, files_dir):
    """Runs one octave-cli on the task folder; raises with the Octave error
    (marked so that the driver can tell it from Spark's own failures)."""
    env = dict(os.environ)
    env.update(secrets)
    paths = job["octave_path"] + [files_dir]
    quote = lambda text: "'" + text.replace("'", "''") + "'"
    code = "".join(f"addpath({quote(p)});" for p in paths) + f"__ovparquet_task__({quote(mode)}, {quote(workdir)});"
    octave = [job["octave_cli"], "--no-gui", "--norc", "--no-history", "--quiet", "--eval", code]
    proc = subprocess.run([sys.executable, "-c", GUARD, str(os.getpid()), workdir] + octave,
                          env=env, cwd=workdir, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    error_file = os.path.join(workdir, "error.json")
    if os.path.exists(error_file):
        with open(error_file) as f:
            err = json.load(f)
        raise RuntimeError(FAILURE_MARK + json.dumps(err))
    if proc.returncode != 0:
        tail = proc.stdout.decode("utf-8", "replace")[-2000:]
        raise RuntimeError(f"octave-cli ended with status {proc.returncode}: {tail}")


def make_map_task(job, secrets, parts, done):
    def task(index, splits):
        from pyspark import SparkFiles
        splits = list(splits)
        workdir = task_folder(job["id"], "map")
        try:
            write_json(os.path.join(workdir, "task.json"), {
                "splits": splits, "variables": job["variables"], "mapfun": job["mapfun"], "parts": parts})
            run_octave(job, secrets, workdir, "map", os.path.abspath(SparkFiles.getRootDirectory()))
            out = []
            for name in sorted(os.listdir(workdir)):
                if name.startswith("part-") and name.endswith(".bin"):
                    with open(os.path.join(workdir, name), "rb") as f:
                        out.append((int(name[5:-4]), f.read()))
            done.add(len(splits))
            return iter(out)
        finally:
            remove_task_folder(workdir)
    return task


def make_reduce_task(job, secrets):
    def task(index, pairs):
        from pyspark import SparkFiles
        workdir = task_folder(job["id"], "reduce")
        try:
            count = 0
            for _, blob in pairs:
                with open(os.path.join(workdir, f"in-{count:06d}.bin"), "wb") as f:
                    f.write(blob)
                count += 1
            if count == 0:
                return iter([])
            write_json(os.path.join(workdir, "task.json"), {"reducefun": job["reducefun"]})
            run_octave(job, secrets, workdir, "reduce", os.path.abspath(SparkFiles.getRootDirectory()))
            with open(os.path.join(workdir, "result.bin"), "rb") as f:
                return iter([f.read()])
        finally:
            remove_task_folder(workdir)
    return task


def task_failure(exc):
    """The Octave error carried by a failed task, if that is what failed."""
    text = str(exc)
    at = text.find(FAILURE_MARK)
    if at < 0:
        return None
    try:
        return json.JSONDecoder().raw_decode(text[at + len(FAILURE_MARK):])[0]
    except ValueError:
        return None


def failure_summary(exc):
    """The first line of Spark's error and the Java exception behind it."""
    lines = [line.strip() for line in str(exc).splitlines() if line.strip()]
    if not lines:
        return type(exc).__name__
    cause = next((line.lstrip(": ") for line in lines[1:] if re.match(r":?\s*[\w.$]+(Exception|Error)\b", line)), "")
    return lines[0] + (" " + cause if cause else "")


def main(jobdir):
    with open(os.path.join(jobdir, "job.json")) as f:
        job = json.load(f)
    secrets = take_secrets()
    status = os.path.join(jobdir, "status.json")
    progress = os.path.join(jobdir, "progress")
    # Names the job's folder of task folders on every executor.
    job["id"] = uuid.uuid4().hex[:16]
    spark = None
    stopping = threading.Event()

    def on_term(signum, frame):
        # Ctrl-C in Octave: cancel whatever runs, then stop.
        stopping.set()
        if spark is not None:
            spark.sparkContext.cancelAllJobs()
        raise KeyboardInterrupt()

    signal.signal(signal.SIGTERM, on_term)
    signal.signal(signal.SIGINT, on_term)
    try:
        check_master(job["master"])
        stay_on_loopback(job["master"])
        from pyspark.sql import SparkSession
        builder = (SparkSession.builder.master(job["master"]).appName("ovparquet mapreduce")
                   .config("spark.ui.showConsoleProgress", "false")
                   .config("spark.task.maxFailures", "2")
                   .config("spark.pyspark.python", sys.executable)
                   .config("spark.pyspark.driver.python", sys.executable)
                   # The JVMs only start and move blobs; without the optimising
                   # compiler a job's fixed cost fell from 50 to 26 s on a
                   # busy two-core machine.
                   .config("spark.driver.extraJavaOptions", "-XX:TieredStopAtLevel=1")
                   .config("spark.executor.extraJavaOptions", "-XX:TieredStopAtLevel=1"))
        conf = job.get("conf") or []
        for key, value in zip(conf[0::2], conf[1::2]):
            builder = builder.config(key, str(value))
        spark = builder.getOrCreate()
        sc = spark.sparkContext
        sc.setLogLevel("WARN")
        for path in job["files"]:
            sc.addFile(path)

        splits = job["splits"]
        if isinstance(splits, dict):  # one split is written as an object
            splits = [splits]
        total = len(splits)
        groups = int(job.get("task_groups") or 2 * sc.defaultParallelism)
        groups = max(1, min(groups, total))
        parts = max(1, min(sc.defaultParallelism, groups))
        done = sc.accumulator(0)

        def report():
            while not stopping.wait(0.3):
                write_json(progress, [min(done.value, total), total])

        reporter = threading.Thread(target=report, daemon=True)
        reporter.start()
        # Consecutive splits stay together: a task reads neighbouring ranges.
        chunks = [splits[i * total // groups:(i + 1) * total // groups] for i in range(groups)]
        rdd = sc.parallelize(chunks, groups).flatMap(lambda chunk: chunk)
        sc.setJobDescription(f"ovparquet mapreduce: {total} splits in {groups} map tasks")
        mapped = rdd.mapPartitionsWithIndex(make_map_task(job, secrets, parts, done))
        shuffled = mapped.partitionBy(parts, lambda p: p)
        results = shuffled.mapPartitionsWithIndex(make_reduce_task(job, secrets)).collect()
        stopping.set()
        write_json(progress, [total, total])
        for i, blob in enumerate(results):
            with open(os.path.join(jobdir, f"result-{i:05d}.bin"), "wb") as f:
                f.write(blob)
        write_json(status, {"ok": True})
        return 0
    except JobError as e:
        write_json(status, {"ok": False, "identifier": e.identifier, "message": e.message})
        return 1
    except KeyboardInterrupt:
        write_json(status, {"ok": False, "identifier": "Octave:interrupt", "message": "The Spark job was cancelled."})
        return 130
    except Exception as e:  # Spark's own failures, and the tasks' Octave errors
        failure = task_failure(e)
        if failure:
            write_json(status, {"ok": False, **failure})
        else:
            write_json(status, {"ok": False, "identifier": "ORVANE:octave:SparkJobFailed",
                                "message": "The Spark job failed: " + failure_summary(e)})
        return 1
    finally:
        stopping.set()
        if spark is not None:
            try:
                spark.stop()
            except Exception:
                pass


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
