"""Uploads the *.parquet files of a folder to s3://BUCKET/PREFIX/ on a
loopback S3-compatible server (credentials from the environment).

    s3_upload.py ENDPOINT_URL BUCKET PREFIX FOLDER
"""
import os
import sys

import boto3

endpoint, bucket, prefix, folder = sys.argv[1:5]
s3 = boto3.client("s3", endpoint_url=endpoint, region_name="us-east-1")
s3.create_bucket(Bucket=bucket)
for name in sorted(os.listdir(folder)):
    if name.endswith(".parquet"):
        s3.upload_file(os.path.join(folder, name), bucket, f"{prefix}/{name}")
