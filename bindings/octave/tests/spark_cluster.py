"""A Spark standalone cluster on 127.0.0.1 for the tests and benchmarks.

    spark_cluster.py start STATE [--cores N] [--workers N]
    spark_cluster.py add-worker STATE [--cores N]   prints the worker's pid and
                                                  its Spark scratch folder
    spark_cluster.py stop STATE

start launches a master and its workers on free ports, waits until every
worker has registered and writes STATE (JSON: the master URL, the process
ids, the scratch folder); STATE.url holds the master URL alone. stop ends
them all and removes the scratch folder. Spark comes from the pyspark
package of this Python; nothing leaves the loopback interface.
"""
import argparse
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

import pyspark

SPARK_HOME = os.path.dirname(pyspark.__file__)


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def environment(scratch):
    env = dict(os.environ)
    env.update({
        "SPARK_HOME": SPARK_HOME,
        "SPARK_LOCAL_IP": "127.0.0.1",
        "SPARK_LOG_DIR": os.path.join(scratch, "logs"),
        "SPARK_WORKER_DIR": os.path.join(scratch, "work"),
        "PYSPARK_PYTHON": sys.executable,
        "SPARK_NO_DAEMONIZE": "1",
        # Whatever else the cluster writes stays in the scratch folder too.
        "TMPDIR": os.path.join(scratch, "tmp"),
    })
    return env


def launch(scratch, name, args):
    log = open(os.path.join(scratch, name + ".log"), "wb")
    env = environment(scratch)
    # Each process's Spark scratch (executors' block manager folders, and the
    # tasks' folders inside them) in a folder of its own, where a test can
    # tell one worker's leftovers from another's.
    env["SPARK_LOCAL_DIRS"] = os.path.join(scratch, "local", name)
    os.makedirs(env["SPARK_LOCAL_DIRS"])
    proc = subprocess.Popen([os.path.join(SPARK_HOME, "bin", "spark-class")] + args, env=env,
                            stdout=log, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                            start_new_session=True)
    return proc.pid


def alive_workers(ui_port):
    with urllib.request.urlopen(f"http://127.0.0.1:{ui_port}/json/", timeout=5) as r:
        state = json.load(r)
    return sum(1 for w in state.get("workers", []) if w.get("state") == "ALIVE")


def wait_workers(state, count, timeout=120):
    deadline = time.time() + timeout
    while time.time() < deadline:
        try:
            if alive_workers(state["ui_port"]) >= count:
                return
        except OSError:
            pass
        time.sleep(0.5)
    raise SystemExit(f"the Spark workers did not register within {timeout} s; logs in {state['scratch']}")


def add_worker(state, cores):
    port, ui = free_port(), free_port()
    name = f"worker-{len(state['workers']) + 1}"
    pid = launch(state["scratch"], name, [
        "org.apache.spark.deploy.worker.Worker", state["url"], "--host", "127.0.0.1", "--port", str(port),
        "--webui-port", str(ui), "--cores", str(cores), "--memory", "2g",
        "--work-dir", os.path.join(state["scratch"], "work", name)])
    state["workers"].append(pid)
    return pid, os.path.join(state["scratch"], "local", name)


def save(path, state):
    with open(path + ".tmp", "w") as f:
        json.dump(state, f)
    os.replace(path + ".tmp", path)
    with open(path + ".url", "w") as f:
        f.write(state["url"])


def start(path, cores, workers):
    scratch = tempfile.mkdtemp(prefix="ovparquet-spark-")
    os.makedirs(os.path.join(scratch, "logs"))
    os.makedirs(os.path.join(scratch, "tmp"))
    port, ui = free_port(), free_port()
    state = {"url": f"spark://127.0.0.1:{port}", "ui_port": ui, "scratch": scratch, "workers": []}
    state["master"] = launch(scratch, "master", [
        "org.apache.spark.deploy.master.Master", "--host", "127.0.0.1", "--port", str(port),
        "--webui-port", str(ui)])
    save(path, state)
    for _ in range(workers):
        add_worker(state, cores)
    save(path, state)
    wait_workers(state, workers)


def stop_group(pid):
    try:
        os.killpg(pid, signal.SIGTERM)
    except ProcessLookupError:
        return
    for _ in range(100):
        try:
            os.killpg(pid, 0)
        except ProcessLookupError:
            return
        time.sleep(0.1)
    try:
        os.killpg(pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def stop(path):
    if not os.path.exists(path):
        return
    with open(path) as f:
        state = json.load(f)
    for pid in state["workers"]:
        stop_group(pid)
    stop_group(state["master"])
    shutil.rmtree(state["scratch"], ignore_errors=True)
    for p in (path, path + ".url"):
        if os.path.exists(p):
            os.remove(p)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("command", choices=["start", "add-worker", "stop"])
    parser.add_argument("state")
    parser.add_argument("--cores", type=int, default=2)
    parser.add_argument("--workers", type=int, default=1)
    args = parser.parse_args()
    if args.command == "start":
        stop(args.state)
        start(args.state, args.cores, args.workers)
    elif args.command == "add-worker":
        with open(args.state) as f:
            state = json.load(f)
        before = alive_workers(state["ui_port"])
        pid, local = add_worker(state, args.cores)
        save(args.state, state)
        wait_workers(state, before + 1)
        print(pid, local)
    else:
        stop(args.state)


if __name__ == "__main__":
    main()
