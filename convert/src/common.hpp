// Shared by the reading and writing sides: failures raised deep inside a
// recursive conversion travel as exceptions and become the status the entry
// point returns.
#pragma once

#include <ovparquet/host/error.hpp>

#include <arrow/result.h>
#include <arrow/status.h>

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace orvane::io::arrow::core::detail {

class ConversionError : public std::exception {
 public:
  explicit ConversionError(::arrow::Status status) : mStatus(std::move(status)) {}
  const ::arrow::Status& status() const noexcept { return mStatus; }
  const char* what() const noexcept override { return mStatus.message().c_str(); }

 private:
  ::arrow::Status mStatus;
};

inline void throwIfError(::arrow::Status status) {
  if (!status.ok()) throw ConversionError(std::move(status));
}

template <typename T>
T valueOrThrow(::arrow::Result<T> result) {
  if (!result.ok()) throw ConversionError(result.status());
  return std::move(result).ValueUnsafe();
}

// Runs `body`, returning its value, or the failed status of whatever it threw.
template <typename Body>
auto guarded(Body&& body) -> ::arrow::Result<decltype(body())> {
  try {
    return body();
  } catch (const ConversionError& error) {
    return error.status();
  } catch (const std::bad_alloc&) {
    return ::arrow::Status::OutOfMemory("Out of memory while converting host arrays");
  } catch (const std::exception& error) {
    return ::arrow::Status::Invalid(error.what());
  } catch (...) {
    return ::arrow::Status::UnknownError("Unknown failure while converting host arrays");
  }
}

}  // namespace orvane::io::arrow::core::detail
