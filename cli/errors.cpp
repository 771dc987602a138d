#include "errors.hpp"

#include "progress.hpp"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/host/error.hpp>

#include <cstdio>
#include <exception>
#include <new>
#include <string>

namespace ovparquet::cli {
namespace {

// A message that wraps another of the same kind starts with the same
// "Unable to ... 'x': " twice; it is said once.
std::string withoutRepeatedPrefix(std::string text) {
  for (std::size_t colon = text.find(": "); colon != std::string::npos; colon = text.find(": ", colon + 2)) {
    const std::string prefix = text.substr(0, colon + 2);
    while (text.compare(prefix.size(), prefix.size(), prefix) == 0) text.erase(0, prefix.size());
  }
  return text;
}

void printLine(const std::string& identifier, const std::string& rawText) {
  const std::string text = withoutRepeatedPrefix(rawText);
  clearProgressLine();
  std::fflush(stdout);
  std::fprintf(stderr, "%s: %s\n", identifier.c_str(), text.c_str());
  std::fflush(stderr);
}

}  // namespace

int reportCurrentException() {
  try {
    throw;
  } catch (const orvane::InterruptError& e) {
    printLine(e.identifier(), e.what());
    return kExitInterrupted;
  } catch (const orvane::HostError& e) {
    printLine(e.identifier(), e.what());
    return kExitError;
  } catch (const orvane::io::parquet::core::common::MessageError& e) {
    printLine(e.identifier(), e.what());
    return kExitError;
  } catch (const CliError& e) {
    printLine(e.identifier(), e.what());
    return e.isUsage() ? kExitUsage : kExitError;
  } catch (const std::bad_alloc&) {
    printLine(std::string(kCliComponent) + ":OutOfMemory", "Out of memory.");
    return kExitError;
  } catch (const std::exception& e) {
    printLine(std::string(kCliComponent) + ":InternalError", e.what());
    return kExitError;
  } catch (...) {
    printLine(std::string(kCliComponent) + ":InternalError", "An unknown error occurred.");
    return kExitError;
  }
}

}  // namespace ovparquet::cli
