// The commands; each returns the exit status and raises on failure.
#pragma once

#include "options.hpp"

namespace ovparquet::cli {

int runRead(const GlobalOptions& global, const ReadOptions& options);
int runStats(const GlobalOptions& global, const StatsOptions& options);

}  // namespace ovparquet::cli
