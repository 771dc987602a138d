// The table view fits the output's width: COLUMNS when standard output is not
// a terminal (as here).
#include "CliTest.hpp"

#include <cstdlib>

namespace ovtest {
namespace {

// Display width of UTF-8 text (every character one column here).
std::size_t width(const std::string& line) {
  std::size_t n = 0;
  for (const char c : line) n += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  return n;
}

class Columns {
 public:
  explicit Columns(const char* value) { setenv("COLUMNS", value, 1); }
  ~Columns() { unsetenv("COLUMNS"); }
};

const std::string kMark = "\u2026";

TEST(TableWidth, WideTablesAreCutToColumns) {
  const std::string path = fixture("pyarrow_nested.parquet");
  {
    Columns columns("1000");
    const RunResult whole = ok({"read", path, "--head", "3"});
    EXPECT_EQ(whole.out.find(kMark), std::string::npos) << whole.out;
  }
  Columns columns("50");
  const RunResult cut = ok({"read", path, "--head", "3"});
  const auto text = lines(cut.out);
  ASSERT_GE(text.size(), 5u) << cut.out;
  for (const auto& line : text) EXPECT_LE(width(line), 50u) << line;
  // The first variables stay, a mark stands for the others, and a line names them.
  EXPECT_EQ(text[0].rfind("tags", 0), 0u) << cut.out;
  EXPECT_NE(text[0].find(kMark), std::string::npos) << cut.out;
  EXPECT_NE(cut.out.find("more variables: "), std::string::npos) << cut.out;
  EXPECT_NE(cut.out.find("größe"), std::string::npos) << cut.out;
}

TEST(TableWidth, LongCellsAreCutBeforeVariablesAreLeftOut) {
  Scratch dir;
  const std::string csv = dir.file("long.csv");
  {
    std::FILE* f = std::fopen(csv.c_str(), "w");
    std::fprintf(f, "a,b\n%s,1\n", std::string(70, 'x').c_str());
    std::fclose(f);
  }
  const std::string file = dir.file("long.parquet");
  ok({"write", file, "--from", csv});
  Columns columns("40");
  const RunResult r = ok({"read", file});
  const auto text = lines(r.out);
  for (const auto& line : text) EXPECT_LE(width(line), 40u) << line;
  EXPECT_EQ(r.out.find("more variable"), std::string::npos) << r.out;  // both variables stay
  EXPECT_NE(text[0].find('b'), std::string::npos) << r.out;
}

TEST(TableWidth, OtherFormatsAreNeverCut) {
  Columns columns("20");
  const std::string csv = ok({"read", fixture("pyarrow_nested.parquet"), "--head", "2", "--format", "csv"}).out;
  EXPECT_GT(width(lines(csv)[0]), 20u);
}

}  // namespace
}  // namespace ovtest
