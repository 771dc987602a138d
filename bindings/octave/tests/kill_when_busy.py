"""Kills a Spark worker with everything it started (its executor, the
executor's Python workers and their octave-cli tasks) once one of its tasks
runs, and writes MARKER. Gives up after two minutes.

    kill_when_busy.py WORKER_PID MARKER
"""
import os
import signal
import subprocess
import sys
import time

worker, marker = int(sys.argv[1]), sys.argv[2]


def descendants(root):
    rows = subprocess.run(["ps", "-eo", "pid=,ppid=,args="], capture_output=True, text=True).stdout.splitlines()
    children, args = {}, {}
    for row in rows:
        parts = row.split(None, 2)
        if len(parts) < 2:
            continue
        pid, ppid = int(parts[0]), int(parts[1])
        children.setdefault(ppid, []).append(pid)
        args[pid] = parts[2] if len(parts) > 2 else ""
    found, todo = [], [root]
    while todo:
        for child in children.get(todo.pop(), []):
            found.append(child)
            todo.append(child)
    return found, args


deadline = time.time() + 120
while time.time() < deadline:
    found, args = descendants(worker)
    if any("octave-cli" in args.get(p, "") for p in found):
        time.sleep(1.0)
        found, _ = descendants(worker)
        for pid in [worker] + found:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        with open(marker, "w") as f:
            f.write("killed\n")
        break
    time.sleep(0.1)
