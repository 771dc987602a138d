// The host array conversion library: Arrow arrays and tables to host arrays
// and back. Every exported declaration.
#pragma once

#include <ovparquet/convert/datatype.hpp>
#include <ovparquet/convert/status_detail.hpp>
#include <ovparquet/convert/to_arrow.hpp>
#include <ovparquet/convert/to_orvane.hpp>
