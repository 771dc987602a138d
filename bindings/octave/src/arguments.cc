// Argument and option checks shared by the compiled functions.
#include "binding.h"

#include <ovparquet/host/memory.hpp>
#include <ovparquet/host/ustring.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>

namespace ovparquet::octave_binding {
namespace {

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string class_text(const octave_value& value) {
  const dim_vector dims = value.dims();
  return dims.str() + " " + value.class_name();
}

}  // namespace

std::string text_argument(const octave_value& value, const std::string& what) {
  if (!value.is_string() || value.rows() > 1) {
    throw BindingError("InvalidArgument", what + " must be a text (a char row), not a " + class_text(value) + ".");
  }
  return value.string_value();
}

std::vector<std::string> text_list_argument(const octave_value& value, const std::string& what) {
  if (value.is_string()) return {text_argument(value, what)};
  if (!value.iscellstr()) {
    throw BindingError("InvalidArgument", what + " must be a text or a cell array of texts, not a " + class_text(value) + ".");
  }
  const Array<std::string> texts = value.cellstr_value();
  return std::vector<std::string>(texts.data(), texts.data() + texts.numel());
}

orvane::ustring host_text(const std::string& utf8) { return orvane::utf8_to_ustring(utf8); }

std::string utf8_text(const orvane::ustring& text) {
  std::string out;
  orvane::append_utf16_replacing(text, out);
  return out;
}

Options parse_options(const octave_value_list& args, int first, const std::vector<std::string>& allowed,
                      const std::string& function) {
  Options options;
  for (int i = first; i < args.length(); i += 2) {
    if (!args(i).is_string()) {
      throw BindingError("InvalidOption", function + ": option names must be texts; argument " + std::to_string(i + 1) +
                                              " is a " + class_text(args(i)) + ".");
    }
    const std::string name = args(i).string_value();
    const auto match = std::find_if(allowed.begin(), allowed.end(), [&](const std::string& a) { return lower(a) == lower(name); });
    if (match == allowed.end()) {
      std::string list;
      for (const auto& a : allowed) list += (list.empty() ? "" : ", ") + ("\"" + a + "\"");
      throw BindingError("UnknownOption", function + ": unknown option \"" + name + "\" (options: " + list + ").");
    }
    if (i + 1 >= args.length()) {
      throw BindingError("MissingOptionValue", function + ": option \"" + *match + "\" needs a value.");
    }
    options[*match] = args(i + 1);
  }
  return options;
}

bool logical_option(const octave_value& value, const std::string& name) {
  if ((!value.islogical() && !value.isnumeric()) || value.numel() != 1) {
    throw BindingError("InvalidOption", "Option \"" + name + "\" must be true or false.");
  }
  return value.is_true();
}

double number_option(const octave_value& value, const std::string& name) {
  if (!value.isnumeric() || value.numel() != 1 || value.iscomplex()) {
    throw BindingError("InvalidOption", "Option \"" + name + "\" must be a real number.");
  }
  return value.double_value();
}

std::vector<double> numbers_option(const octave_value& value, const std::string& name) {
  if (!(value.isnumeric() || value.islogical()) || value.iscomplex() || (value.numel() > 0 && value.ndims() > 2) ||
      (value.numel() > 0 && value.rows() != 1 && value.columns() != 1)) {
    throw BindingError("InvalidOption", "Option \"" + name + "\" must be a vector of numbers.");
  }
  const NDArray numbers = value.array_value();
  std::vector<double> out(numbers.data(), numbers.data() + numbers.numel());
  for (const double d : out) {
    if (!std::isfinite(d) || d < 0 || d != std::floor(d)) {
      throw BindingError("InvalidOption", "Option \"" + name + "\" must hold non-negative whole numbers.");
    }
  }
  return out;
}

std::uint64_t byte_size_option(const octave_value& value, const std::string& name) {
  const std::string wanted = "Option \"" + name + "\" must be a positive whole number of bytes or a size such as \"512MiB\"";
  if (value.is_string()) {
    const std::string text = text_argument(value, "Option \"" + name + "\"");
    const auto bytes = orvane::parseByteSize(text);
    if (!bytes || *bytes == 0) throw BindingError("InvalidOption", wanted + ", not \"" + text + "\".");
    return *bytes;
  }
  const double d = number_option(value, name);
  // 2^64 and above do not fit; the double just below it does.
  if (!(d >= 1) || d != std::floor(d) || d >= 18446744073709551616.0) throw BindingError("InvalidOption", wanted + ".");
  return static_cast<std::uint64_t>(d);
}

MissingAs missing_as_option(const octave_value& value) {
  const std::string text = value.is_defined() ? lower(text_argument(value, "Option \"MissingAs\"")) : "mask";
  if (text == "mask") return MissingAs::Mask;
  if (text == "double") return MissingAs::Double;
  throw BindingError("InvalidOption", "Option \"MissingAs\" must be \"mask\" or \"double\", not \"" + text + "\".");
}

}  // namespace ovparquet::octave_binding
