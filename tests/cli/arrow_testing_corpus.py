"""apache/arrow-testing's Parquet files, its fuzzing/ and encoding-fuzzing/
cases included, through the program. A file pyarrow reads must come back
equal through "write OUT --from FILE" (the checks of corpus_roundtrip.py) and
"read" must print it; a file pyarrow cannot read must make both commands fail
with one identified error (not the program's catch-all InternalError), leave
no output file, and never crash. No run may take more than a few seconds.

pyarrow reads each file in a child process, so that a file which crashes
pyarrow itself counts as one it cannot read.

usage: arrow_testing_corpus.py PROGRAM DATA_DIR OUT_DIR
"""
import os
import re
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import corpus_roundtrip  # noqa: E402
import pyarrow.parquet as pq  # noqa: E402

SECONDS = 10
IDENTIFIED = re.compile(r"^ORVANE:(parquetio:read|parquetio:write|host|convert):[A-Za-z0-9]+: .+", re.M)
WORKER = r"""
import sys
import pyarrow.parquet as pq
for path in sys.argv[1:]:
    try:
        pq.read_table(path)
        print("ok\t" + path, flush=True)
    except Exception as e:
        print("fail\t" + path + "\t" + type(e).__name__ + ": " + str(e).splitlines()[0][:200], flush=True)
"""


def pyarrow_verdicts(files):
    """{path: None if pyarrow reads it, else its error}, crashes included."""
    verdicts = {}
    pending = list(files)
    while pending:
        run = subprocess.run([sys.executable, "-c", WORKER] + pending, capture_output=True, text=True)
        for line in run.stdout.splitlines():
            kind, path, *rest = line.split("\t")
            verdicts[path] = None if kind == "ok" else rest[0]
        pending = [p for p in pending if p not in verdicts]
        if pending:
            verdicts[pending[0]] = f"pyarrow ended with status {run.returncode}"
            pending = pending[1:]
    return verdicts


def run_program(args):
    start = time.monotonic()
    try:
        run = subprocess.run(args, capture_output=True, text=True, errors="replace", timeout=SECONDS)
    except subprocess.TimeoutExpired:
        return None, f"took more than {SECONDS} s", SECONDS
    return run, None, time.monotonic() - start


def check_failing(program, source, out, saying=""):
    problems = []
    if os.path.exists(out):
        os.remove(out)
    for args in ([program, "write", out, "--from", source, "--input-format", "parquet"],
                 [program, "--format", "csv", "read", source]):
        run, problem, _ = run_program(args)
        if problem:
            problems.append(f"{args[1]}: {problem}")
            continue
        if run.returncode != 1:
            problems.append(f"{args[1]}: exit status {run.returncode}: {run.stderr.strip()[:300]}")
        elif not IDENTIFIED.search(run.stderr) or saying not in run.stderr:
            problems.append(f"{args[1]}: unidentified error: {run.stderr.strip()[:300]}")
    if os.path.exists(out):
        problems.append("write left a file behind")
    return problems


def check_readable(program, source, out):
    start = time.monotonic()
    try:
        declared = pq.ParquetFile(source).metadata.num_rows
    except UnicodeDecodeError:
        # Column names that are not UTF-8: pyarrow reads the table (with
        # names of its own making), the program refuses the file naming
        # the column, as for a file pyarrow cannot read.
        return check_failing(program, source, out, "is not valid UTF-8")
    table = pq.read_table(source)
    if table.num_columns == 0:
        # The writer refuses a table without variables; the read must work.
        problems = []
        run, problem, _ = run_program([program, "write", out, "--from", source, "--input-format", "parquet"])
        if problem or "ORVANE:parquetio:write:InvalidZeroVars" not in run.stderr:
            problems.append("write of no variables: " + (problem or run.stderr.strip()[:300]))
    else:
        problems = corpus_roundtrip.check(program, source, out)
        if declared != table.num_rows:
            # A footer that declares rows the pages do not hold: the copy has
            # the rows there are, so only its row-group heights differ.
            problems = [p for p in problems if not p.startswith("row groups ")]
    if time.monotonic() - start > SECONDS:
        problems.append(f"write took more than {SECONDS} s")
    run, problem, _ = run_program([program, "--format", "csv", "read", source])
    if problem:
        problems.append("read: " + problem)
    elif run.returncode != 0:
        problems.append(f"read: exit status {run.returncode}: {run.stderr.strip()[:300]}")
    return problems


def main():
    program, data, out_dir = sys.argv[1:4]
    os.makedirs(out_dir, exist_ok=True)
    files = sorted(os.path.join(root, f) for root, _, names in os.walk(data) for f in names
                   if not f.endswith(".md"))
    if not files:
        print("no files in " + data)
        return 1
    verdicts = pyarrow_verdicts(files)
    failures = 0
    readable = 0
    for path in files:
        name = os.path.relpath(path, data)
        out = os.path.join(out_dir, name.replace(os.sep, "_") + ".out.parquet")
        if verdicts[path] is None:
            readable += 1
            # pyarrow reads it, but the program is allowed no surprise.
            problems = check_readable(program, path, out)
        else:
            problems = check_failing(program, path, out)
        if problems:
            failures += 1
            print(f"FAIL {name}" + ("" if verdicts[path] is None else f" (pyarrow: {verdicts[path]})"))
            for p in problems:
                print("    " + p)
        else:
            print(f"ok   {name}" + ("" if verdicts[path] is None else " (both fail)"))
    leftovers = [f for f in os.listdir(out_dir) if f.startswith(".")]
    if leftovers:
        failures += 1
        print(f"FAIL temporary files left behind: {leftovers}")
    print(f"{len(files) - failures} of {len(files)} files as pyarrow has them "
          f"({readable} read equal, {len(files) - readable} fail in both)")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
