// The commands; each returns the exit status and raises on failure.
#pragma once

#include "options.hpp"

namespace ovparquet::cli {

int runInfo(const GlobalOptions& global, const InfoOptions& options);
int runCount(const GlobalOptions& global, const CountOptions& options);
int runWrite(const GlobalOptions& global, const WriteOptions& options);

}  // namespace ovparquet::cli
