// Object stores: the opener and lister behind the "s3" scheme, on Arrow's S3
// file system.
#pragma once

#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/stream.hpp>

namespace orvane::vfs::detail {

// Opens "s3://bucket/key" for reading (ranged requests) or writing (a
// multipart upload that completes on close). Appending and updating in place
// raise "ORVANE:host:UnsupportedMode".
//
// Configuration, the way the AWS tools read it: AWS_ACCESS_KEY_ID,
// AWS_SECRET_ACCESS_KEY and AWS_SESSION_TOKEN; else AWS profiles and config
// files (AWS_PROFILE, AWS_SHARED_CREDENTIALS_FILE, AWS_CONFIG_FILE, ~/.aws);
// else anonymous access. Region from AWS_REGION or AWS_DEFAULT_REGION. An
// S3-compatible server's endpoint from the location's query
// ("?endpoint_override=host:port&scheme=http", also "region"), else from
// AWS_ENDPOINT_URL_S3 or AWS_ENDPOINT_URL (the URL's scheme picks http or
// https). Credentials may also be given as the location's user information
// ("s3://KEY:SECRET@bucket/key"); they are never shown.
OpenedFile openS3File(const Iri& location, CleanupFile& cleanup, OpenMode mode, bool streamFlag);

// The objects below an "s3" prefix (or the bucket), recursively in key order.
Listing listS3(const Iri& location, const ustring& asGiven);

}  // namespace orvane::vfs::detail
