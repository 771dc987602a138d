// The Parquet input/output core: every exported declaration.
#pragma once

#include <ovparquet/core/Types.hpp>
#include <ovparquet/core/common/Log.hpp>
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/core/info/TypeDescriptions.hpp>
#include <ovparquet/core/read/ParquetReader.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>
#include <ovparquet/core/write/LeafColumnPaths.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/core/write/ParquetWriterOptions.hpp>
