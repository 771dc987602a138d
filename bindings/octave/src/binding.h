// Shared pieces of the compiled Octave functions: argument and option
// checks, the translation of library errors, warnings and interrupts into
// Octave's own, and the value mapping between Octave values and host arrays.
#pragma once

#include <ovparquet/host/array.hpp>
#include <ovparquet/host/ustring.hpp>

#include <octave/oct.h>
#include <octave/ov-struct.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ovparquet::octave_binding {

// Component of the binding's own errors (argument checks).
inline constexpr const char* kComponent = "ORVANE:octave";

// A failure the binding detects itself, raised as an Octave error
// "ORVANE:octave:<key>".
class BindingError : public std::exception {
 public:
  BindingError(const std::string& key, std::string text)
      : mIdentifier(std::string(kComponent) + ":" + key), mText(std::move(text)) {}
  const std::string& identifier() const noexcept { return mIdentifier; }
  const char* what() const noexcept override { return mText.c_str(); }

 private:
  std::string mIdentifier;
  std::string mText;
};

// ---------------------------------------------------------------------------
// Arguments
// ---------------------------------------------------------------------------

// A char row (or '' / "") as UTF-8; `what` names the argument in errors.
std::string text_argument(const octave_value& value, const std::string& what);
// A char row or a cellstr as a list of texts.
std::vector<std::string> text_list_argument(const octave_value& value, const std::string& what);
orvane::ustring host_text(const std::string& utf8);
std::string utf8_text(const orvane::ustring& text);

// Name/value options after the positional arguments; names are matched
// case-insensitively against `allowed` and returned in the spelling there.
using Options = std::map<std::string, octave_value>;
Options parse_options(const octave_value_list& args, int first, const std::vector<std::string>& allowed,
                      const std::string& function);
bool logical_option(const octave_value& value, const std::string& name);
double number_option(const octave_value& value, const std::string& name);
std::vector<double> numbers_option(const octave_value& value, const std::string& name);
// A read memory limit in bytes: a positive whole number, or a text such as
// "512MiB" or "2GiB".
std::uint64_t byte_size_option(const octave_value& value, const std::string& name);

// ---------------------------------------------------------------------------
// Errors, warnings, interrupts
// ---------------------------------------------------------------------------

// While it lives, the calling (interpreter) thread is the host's signal
// thread, an Octave Ctrl-C becomes a pending host interrupt, and host
// warnings are collected instead of printed.
class CallScope {
 public:
  CallScope();
  ~CallScope();
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

 private:
  struct State;
  State* mState;
};

// Raises the pending interrupt as the host's InterruptError (between row
// groups and batches of work).
void check_interrupt();

// Runs `body`; the collected host warnings become Octave warnings with their
// identifiers; any exception becomes an Octave error with the identifier and
// text it carries (an interrupt becomes Octave's own interrupt).
octave_value_list run_call(const std::function<octave_value_list()>& body);

// ---------------------------------------------------------------------------
// Value mapping
// ---------------------------------------------------------------------------

// One variable read into Octave: its value, the missing mask (undefined when
// the class holds its own missing value), and what the value came from.
struct OctaveColumn {
  octave_value value;
  octave_value mask;
  std::string type;  // host class name: "double", "string", "datetime", ...
  std::string unit;  // time unit of datetime and duration ("ms", ...)
  octave_value zone; // datetime zone text, [] when none
};

// How integer and logical variables with their missing values are returned.
enum class MissingAs { Mask, Double };
MissingAs missing_as_option(const octave_value& value);

// A host column (N-by-1 array or nested host table) as Octave values.
OctaveColumn column_to_octave(const ovArray* column, MissingAs missing);

// Collects the host tables of several row groups and returns the Octave
// table struct (one field per variable plus "Properties").
class TableBuilder {
 public:
  explicit TableBuilder(MissingAs missing) : mMissing(missing) {}
  void add(const ovArray* table);
  octave_value finish();

 private:
  MissingAs mMissing;
  std::vector<std::string> mNames;
  std::vector<std::vector<OctaveColumn>> mParts;
};

// The field of the table struct holding the variable properties.
inline constexpr const char* kProperties = "Properties";

// The Octave table struct `t` as a host table, following the mapping in
// reverse (NaN and masks become missing values; Properties.VariableTypes,
// VariableUnits and TimeZones turn doubles back into datetimes and
// durations and cellstr into categoricals).
unique_ovarray_ptr octave_to_table(const octave_value& t);

}  // namespace ovparquet::octave_binding
