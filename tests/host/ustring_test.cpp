#include <ovparquet/host/error.hpp>
#include <ovparquet/host/ustring.hpp>

#include <gtest/gtest.h>

namespace orvane {
namespace {

std::string errorId(const std::function<void()>& f) {
  try {
    f();
  } catch (const HostError& e) {
    return e.identifier();
  }
  return "";
}

TEST(Ustring, RoundTripsAsciiAndNonAscii) {
  const std::string text = "plain ascii, Grüße, 数据, \xF0\x9F\x98\x80 emoji";
  const ustring wide = utf8_to_ustring(text);
  EXPECT_EQ(wide, u"plain ascii, Grüße, 数据, \U0001F600 emoji");
  EXPECT_EQ(ustring_to_utf8(wide), text);
}

TEST(Ustring, EmptyStrings) {
  EXPECT_EQ(utf8_to_ustring(""), u"");
  EXPECT_EQ(ustring_to_utf8(u""), "");
}

TEST(Ustring, LongAsciiRunsUseTheFastPathCorrectly) {
  std::string text(1000, 'a');
  text[997] = 'z';
  text += "é";
  const ustring wide = utf8_to_ustring(text);
  ASSERT_EQ(wide.size(), 1001u);
  EXPECT_EQ(wide[997], u'z');
  EXPECT_EQ(wide[1000], u'é');
}

TEST(Ustring, StrictUtf8RejectsInvalidSequencesWithTheirOffset) {
  try {
    utf8_to_ustring("abc\xFF" "def");
    FAIL() << "no error";
  } catch (const HostError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:host:InvalidUtf8");
    EXPECT_EQ(std::get<std::uint64_t>(e.message().arguments.at(0)), 3u);
    EXPECT_NE(std::string(e.what()).find("byte 3"), std::string::npos) << e.what();
  }
  // Truncated sequence, overlong encoding, encoded surrogate.
  EXPECT_EQ(errorId([] { utf8_to_ustring("x\xE6\x95"); }), "ORVANE:host:InvalidUtf8");
  EXPECT_EQ(errorId([] { utf8_to_ustring("\xC0\xAF"); }), "ORVANE:host:InvalidUtf8");
  EXPECT_EQ(errorId([] { utf8_to_ustring("\xED\xA0\x80"); }), "ORVANE:host:InvalidUtf8");
}

TEST(Ustring, StrictUtf16RejectsLoneSurrogates) {
  const ustring loneLead{u'a', static_cast<char16_t>(0xD83D), u'b'};
  const ustring loneTrail{static_cast<char16_t>(0xDE00)};
  const ustring leadAtEnd{u'a', static_cast<char16_t>(0xD83D)};
  EXPECT_EQ(errorId([&] { ustring_to_utf8(loneLead); }), "ORVANE:host:InvalidUtf16");
  EXPECT_EQ(errorId([&] { ustring_to_utf8(loneTrail); }), "ORVANE:host:InvalidUtf16");
  try {
    ustring_to_utf8(leadAtEnd);
    FAIL() << "no error";
  } catch (const HostError& e) {
    EXPECT_EQ(std::get<std::uint64_t>(e.message().arguments.at(0)), 1u);
  }
}

TEST(Ustring, LenientWideningReplacesEachBrokenSequenceOnce) {
  EXPECT_EQ(to_ustring("a\xFF" "b"), u"a\uFFFDb");
  EXPECT_EQ(to_ustring("a\xE6\x95"), u"a\uFFFD");  // truncated at the end
  ustring out = u"x";
  EXPECT_EQ(append_utf8_replacing("ok\xC0\xAFok\xFF", out), 2u);
  EXPECT_EQ(out, u"xok\uFFFDok\uFFFD");
  out.clear();
  EXPECT_EQ(append_utf8_replacing("valid ✓", out), 0u);
  EXPECT_EQ(out, u"valid ✓");
}

TEST(Ustring, LenientNarrowingReplacesLoneSurrogates) {
  std::string out;
  const ustring text{u'a', static_cast<char16_t>(0xDC00), u'b'};
  EXPECT_EQ(append_utf16_replacing(text, out), 1u);
  EXPECT_EQ(out, "a\xEF\xBF\xBD" "b");
}

}  // namespace
}  // namespace orvane
