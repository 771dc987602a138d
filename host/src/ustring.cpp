#include <ovparquet/host/error.hpp>
#include <ovparquet/host/ustring.hpp>

#include <utf8cpp/utf8.h>

#include <cstdint>
#include <cstring>

namespace orvane {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Length of the leading run of ASCII bytes, eight at a time.
std::size_t asciiPrefix(const char* data, std::size_t size) {
  std::size_t i = 0;
  for (; i + 8 <= size; i += 8) {
    std::uint64_t word;
    std::memcpy(&word, data + i, 8);
    if (word & 0x8080808080808080ULL) break;
  }
  while (i < size && static_cast<unsigned char>(data[i]) < 0x80) ++i;
  return i;
}

void appendCodePoint(std::uint32_t cp, ustring& out) {
  if (cp > 0xFFFF) {
    out.push_back(static_cast<char16_t>(0xD7C0 + (cp >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
  } else {
    out.push_back(static_cast<char16_t>(cp));
  }
}

// Converts UTF-8 to UTF-16. With `strict`, the first invalid sequence raises
// InvalidUtf8 naming its byte offset; otherwise each invalid sequence becomes
// one U+FFFD. Returns the number of replacements.
std::size_t convertUtf8(std::string_view text, ustring& out, bool strict) {
  const char* const begin = text.data();
  const char* it = begin;
  const char* const end = begin + text.size();
  std::size_t replaced = 0;
  out.reserve(out.size() + text.size());
  while (it != end) {
    const std::size_t run = asciiPrefix(it, static_cast<std::size_t>(end - it));
    if (run != 0) {
      // ASCII bytes widen one to one; a plain loop the compiler vectorises.
      const std::size_t old = out.size();
      out.resize(old + run);
      char16_t* dst = out.data() + old;
      for (std::size_t k = 0; k < run; ++k) dst[k] = static_cast<unsigned char>(it[k]);
      it += run;
    }
    if (it == end) break;
    const char* start = it;
    std::uint32_t cp = 0;
    const auto error = utf8::internal::validate_next(it, end, cp);
    if (error == utf8::internal::UTF8_OK) {
      appendCodePoint(cp, out);
      continue;
    }
    if (strict) {
      throwHostError("InvalidUtf8", static_cast<std::uint64_t>(start - begin));
    }
    ++replaced;
    out.push_back(kReplacement);
    // One replacement per broken sequence: skip its continuation bytes.
    it = start + 1;
    if (error != utf8::internal::INVALID_LEAD) {
      while (it != end && (static_cast<unsigned char>(*it) & 0xC0) == 0x80) ++it;
    }
  }
  return replaced;
}

void appendUtf8(std::uint32_t cp, std::string& out) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

bool isLead(char16_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool isTrail(char16_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

std::size_t convertUtf16(ustring_view text, std::string& out, bool strict) {
  std::size_t replaced = 0;
  out.reserve(out.size() + text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t u = text[i];
    if (u < 0x80) {
      out.push_back(static_cast<char>(u));
    } else if (isLead(u) && i + 1 < text.size() && isTrail(text[i + 1])) {
      appendUtf8(0x10000 + ((static_cast<std::uint32_t>(u) - 0xD800) << 10) +
                     (static_cast<std::uint32_t>(text[i + 1]) - 0xDC00),
                 out);
      ++i;
    } else if (isLead(u) || isTrail(u)) {
      if (strict) throwHostError("InvalidUtf16", static_cast<std::uint64_t>(i));
      ++replaced;
      appendUtf8(kReplacement, out);
    } else {
      appendUtf8(u, out);
    }
  }
  return replaced;
}

}  // namespace

ustring utf8_to_ustring(std::string_view text) {
  ustring out;
  convertUtf8(text, out, /*strict=*/true);
  return out;
}

std::string ustring_to_utf8(ustring_view text) {
  std::string out;
  convertUtf16(text, out, /*strict=*/true);
  return out;
}

ustring to_ustring(std::string_view text) {
  ustring out;
  convertUtf8(text, out, /*strict=*/false);
  return out;
}

std::size_t append_utf8_replacing(std::string_view text, ustring& out) {
  return convertUtf8(text, out, /*strict=*/false);
}

std::size_t append_utf16_replacing(ustring_view text, std::string& out) {
  return convertUtf16(text, out, /*strict=*/false);
}

}  // namespace orvane
