// The embedded host platform: every exported declaration.
#pragma once

#include <ovparquet/host/array.hpp>
#include <ovparquet/host/array_arena.hpp>
#include <ovparquet/host/array_text.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/log.hpp>
#include <ovparquet/host/logger.hpp>
#include <ovparquet/host/memory.hpp>
#include <ovparquet/host/message.hpp>
#include <ovparquet/host/parallel.hpp>
#include <ovparquet/host/redact.hpp>
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/threads.hpp>
#include <ovparquet/host/ustring.hpp>
#include <ovparquet/host/warning.hpp>
