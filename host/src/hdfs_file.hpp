// HDFS: the opener and lister behind the "hdfs" scheme, on Arrow's Hadoop
// file system.
#pragma once

#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/stream.hpp>

namespace orvane::vfs::detail {

// Opens "hdfs://namenode[:port]/path" for reading or writing (written to a
// temporary beside the file and moved into place on close). Needs the native
// client: libhdfs (found through ARROW_LIBHDFS_DIR or HADOOP_HOME), a Java
// runtime (JAVA_HOME) and the Hadoop jars on the CLASSPATH; where one is
// missing, raises "ORVANE:host:HdfsUnavailable" naming what is missing.
OpenedFile openHdfsFile(const Iri& location, CleanupFile& cleanup, OpenMode mode, bool streamFlag);

// The files below an "hdfs" directory, recursively in name order.
Listing listHdfs(const Iri& location, const ustring& asGiven);

}  // namespace orvane::vfs::detail
