// Test support: the arguments of the library error a call raises.
#pragma once

#include <ovparquet/core/common/MessageException.hpp>

#include <gtest/gtest.h>

#include <vector>

namespace ovtest {

// The message arguments of the MessageException<Tag> that `f` throws; a test
// failure (and no arguments) when it throws nothing or something else.
template <typename Tag, typename F>
std::vector<orvane::MessageArgument> argumentsOf(F&& f) {
  try {
    f();
  } catch (const orvane::io::parquet::core::common::MessageException<Tag>& e) {
    return e.message().arguments;
  }
  ADD_FAILURE() << "expected " << Tag::key;
  return {};
}

}  // namespace ovtest
