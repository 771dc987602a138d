"""pyarrow's own S3 file system against the test server.

    pyarrow_s3_check.py ENDPOINT read-equals BUCKET/KEY LOCAL.parquet
        the object reads (with pyarrow) equal to the local file
    pyarrow_s3_check.py ENDPOINT write LOCAL.parquet BUCKET/KEY
        writes the local file's table to the object with pyarrow

Credentials come from the usual AWS environment variables.
"""
import os
import sys

import pyarrow.fs as pafs
import pyarrow.parquet as pq


def main():
    endpoint, command, *args = sys.argv[1:]
    s3 = pafs.S3FileSystem(
        access_key=os.environ["AWS_ACCESS_KEY_ID"],
        secret_key=os.environ["AWS_SECRET_ACCESS_KEY"],
        endpoint_override=endpoint,
        scheme="http",
        region="us-east-1",
    )
    if command == "read-equals":
        key, local = args
        theirs = pq.read_table(key, filesystem=s3)
        ours = pq.read_table(local)
        if not theirs.equals(ours):
            print(f"{key} differs from {local}", file=sys.stderr)
            return 1
        return 0
    if command == "write":
        local, key = args
        pq.write_table(pq.read_table(local), key, filesystem=s3, row_group_size=5000)
        return 0
    print(f"unknown command {command}", file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main())
