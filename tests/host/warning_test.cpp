#include <ovparquet/host/warning.hpp>

#include <gtest/gtest.h>

namespace orvane {
namespace {

// Warnings of a layer above the host, whose texts it registers as every
// layer does.
const CatalogRegistration kLayerEntries{
    {"ORVANE:layer:ListOfDictionaries", "Variable '{1}' holds dictionary-encoded values inside a list.", 1},
    {"ORVANE:layer:NestedDictionaries", "Variable '{1}' holds dictionary-encoded values deep inside lists.", 1},
};

const Message kWarning = Message::make("ORVANE:layer", "ListOfDictionaries", std::string("tags"));

TEST(Warning, DefaultHandlerPrintsToStandardError) {
  testing::internal::CaptureStderr();
  ovWarningMsgId(kWarning);
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err.rfind("Warning: Variable 'tags' holds dictionary-encoded values", 0), 0u) << err;
  EXPECT_EQ(err.back(), '\n');
}

TEST(Warning, CaptureCollectsInOrderAndNests) {
  ScopedWarningCapture outer;
  ovWarningMsgId(kWarning);
  {
    ScopedWarningCapture inner;
    ovWarningMsgId(Message::make("ORVANE:layer", "NestedDictionaries", std::string("deep")));
    ASSERT_EQ(inner.warnings().size(), 1u);
    EXPECT_EQ(inner.warnings()[0].key, "NestedDictionaries");
  }
  ovWarningMsgId(kWarning);
  ASSERT_EQ(outer.warnings().size(), 2u);
  EXPECT_EQ(outer.warnings()[0], kWarning);
  EXPECT_EQ(outer.warnings()[1], kWarning);
}

TEST(Warning, ReplaceableHandler) {
  std::vector<std::string> seen;
  auto previous = setWarningHandler([&](const Message& m) { seen.push_back(m.identifier()); });
  ovWarningMsgId(kWarning);
  setWarningHandler(std::move(previous));
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0], "ORVANE:layer:ListOfDictionaries");
  // Restored: the default handler prints again.
  testing::internal::CaptureStderr();
  ovWarningMsgId(kWarning);
  EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
}

}  // namespace
}  // namespace orvane
