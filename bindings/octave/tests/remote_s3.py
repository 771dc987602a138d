"""Octave reads and writes s3 locations: a real S3-compatible server on
127.0.0.1 (the remote tests' moto fixture), real octave-cli.

    remote_s3.py OCTAVE_CLI PACKAGE_DIR SERVER_SCRIPT WORKDIR

pyarrow writes a file to the server and beside it locally; Octave reads the
object and the local copy (they must be equal), counts objects, writes a
table to the server; pyarrow reads that object back equal to the local file.
"""
import os
import subprocess
import sys

import pyarrow as pa
import pyarrow.fs as pafs
import pyarrow.parquet as pq

SECRET = "octave-s3-SECRET-never-shown"


def main():
    octave, package, server_script, work = sys.argv[1:]
    os.makedirs(work, exist_ok=True)
    server = subprocess.Popen([sys.executable, server_script], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, text=True)
    try:
        port = int(server.stdout.readline().split()[1])
        endpoint = f"127.0.0.1:{port}"
        s3 = pafs.S3FileSystem(access_key="OCTAVEKEY", secret_key=SECRET, endpoint_override=endpoint,
                               scheme="http", region="us-east-1", allow_bucket_creation=True)
        s3.create_dir("oct")
        n = 5000
        table = pa.table({
            "id": pa.array(range(n), pa.int32()),
            "fare": pa.array([None if i % 7 == 0 else i * 0.25 for i in range(n)], pa.float64()),
            "zone": pa.array(["z%d" % (i % 13) for i in range(n)]),
        })
        local = os.path.join(work, "trips.parquet")
        pq.write_table(table, local, row_group_size=1000)
        pq.write_table(table, "oct/in/trips.parquet", filesystem=s3, row_group_size=1000)
        pq.write_table(table, "oct/in/more.parquet", filesystem=s3, row_group_size=2500)

        env = dict(os.environ, AWS_ACCESS_KEY_ID="OCTAVEKEY", AWS_SECRET_ACCESS_KEY=SECRET,
                   AWS_REGION="us-east-1", AWS_ENDPOINT_URL_S3=f"http://{endpoint}")
        script = f"""
          addpath('{package}');
          a = ovparquet_read('{local}');
          b = ovparquet_read('s3://oct/in/trips.parquet');
          assert (isequaln (a, b));
          r = ovparquet_read('s3://oct/in/trips.parquet', 'Variables', {{'zone'}}, 'RowGroups', [4 2]);
          assert (isequal (r.zone, a.zone([3001:4000, 1001:2000])));
          n = ovparquet_count({{'s3://oct/in/trips.parquet', 's3://oct/in/more.parquet'}});
          assert (isequal (n(:)', [5 2]));
          info = ovparquet_info('s3://oct/in/trips.parquet');
          assert (isequal (info.rowGroupHeights(:)', [1000 1000 1000 1000 1000]));
          ovparquet_write('s3://oct/out/written.parquet', rmfield (a, 'Properties'), 'Compression', 'zstd', 'RowGroupHeights', [4000 1000]);
          try
            ovparquet_read('s3://oct/in/missing.parquet');
            error ('no error');
          catch err
            assert (strcmp (err.identifier, 'ORVANE:host:FileNotFound'), err.identifier);
            assert (isempty (strfind (err.message, '{SECRET}')));
          end
          disp ('octave s3 ok');
        """
        run = subprocess.run([octave, "--no-gui", "--norc", "--no-history", "--eval", script], env=env,
                             capture_output=True, text=True, timeout=300)
        print(run.stdout)
        print(run.stderr, file=sys.stderr)
        if run.returncode != 0 or "octave s3 ok" not in run.stdout:
            return 1
        if SECRET in run.stdout or SECRET in run.stderr:
            print("the secret appeared in Octave's output", file=sys.stderr)
            return 1
        written = pq.read_table("oct/out/written.parquet", filesystem=s3)
        if written.num_rows != n or written.column("fare").to_pylist() != table.column("fare").to_pylist() \
                or written.column("zone").to_pylist() != table.column("zone").to_pylist():
            print("the object Octave wrote differs from the table", file=sys.stderr)
            return 1
        meta = pq.read_metadata("oct/out/written.parquet", filesystem=s3)
        heights = [meta.row_group(i).num_rows for i in range(meta.num_row_groups)]
        if heights != [4000, 1000] or meta.row_group(0).column(0).compression != "ZSTD":
            print(f"row groups {heights}, codec {meta.row_group(0).column(0).compression}", file=sys.stderr)
            return 1
        return 0
    finally:
        server.stdin.write("quit\n")
        server.stdin.close()
        server.wait(timeout=20)


if __name__ == "__main__":
    sys.exit(main())
