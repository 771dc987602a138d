// Test support: the identifier and text of the host error a call raises.
#pragma once

#include <ovparquet/host/error.hpp>

#include <string>
#include <utility>

namespace ovtest {

// {identifier, text} of the HostError `f` raises; {"<no error>", ""} if none.
template <typename F>
std::pair<std::string, std::string> hostError(F&& f) {
  try {
    f();
  } catch (const orvane::HostError& e) {
    return {e.identifier(), e.what()};
  }
  return {"<no error>", ""};
}

}  // namespace ovtest
