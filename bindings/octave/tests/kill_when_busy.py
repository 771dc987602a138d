"""Kills a Spark worker (its whole process group: the worker, its executor
and the executor's octave-cli tasks) once it runs a task, and writes MARKER.

    kill_when_busy.py WORKER_PID MARKER
"""
import os
import signal
import subprocess
import sys
import time

pgid, marker = int(sys.argv[1]), sys.argv[2]
deadline = time.time() + 300
while time.time() < deadline:
    ps = subprocess.run(["ps", "-eo", "pgid=,args="], capture_output=True, text=True).stdout
    if any(line.split(None, 1)[0] == str(pgid) and "octave-cli" in line for line in ps.splitlines() if line.strip()):
        time.sleep(1.0)
        os.killpg(pgid, signal.SIGKILL)
        with open(marker, "w") as f:
            f.write("killed\n")
        break
    time.sleep(0.1)
