#include <ovparquet/core/read/ParquetReader.hpp>

#include "../../support/ParquetFiles.hpp"

#include <arrow/api.h>
#include <gtest/gtest.h>
#include <parquet/file_reader.h>

namespace orvane::io::parquet::core::read {
namespace {

// Opens a file written from `schema` (no rows) and keeps its manifest.
class SelectionTest : public testing::Test {
 protected:
  void open(const std::shared_ptr<::arrow::Schema>& schema) {
    const auto path = mDir.file("s.parquet");
    ovtest::writeParquetWithoutRowGroups(path, schema);
    ovtest::check(::parquet::arrow::FileReader::Make(::arrow::default_memory_pool(),
                                                     ::parquet::ParquetFileReader::OpenFile(path), &mReader));
    ASSERT_TRUE(mSelection.init(&mReader->manifest()).ok());
  }
  ovtest::TempDir mDir;
  std::unique_ptr<::parquet::arrow::FileReader> mReader;
  ParquetReader::SelectedVariables mSelection;
};

std::shared_ptr<::arrow::Field> int64Field(const std::string& name) { return ::arrow::field(name, ::arrow::int64()); }

TEST_F(SelectionTest, InitSelectsEveryFieldAndLeaf) {
  open(::arrow::schema({int64Field("a"), int64Field("b"), int64Field("c")}));
  EXPECT_EQ(mSelection.arrowFieldIndices(), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(mSelection.parquetColumnIndices(), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(mSelection.getSelectedVariableNames(), (VariableNames{u"a", u"b", u"c"}));
}

TEST_F(SelectionTest, DuplicateNamesTakeFieldsInSchemaOrder) {
  open(::arrow::schema({int64Field("a"), int64Field("b"), int64Field("a")}));
  ASSERT_TRUE(mSelection.setSelectedIndices({u"a", u"a"}).ok());
  EXPECT_EQ(mSelection.arrowFieldIndices(), (std::vector<int>{0, 2}));
  ASSERT_TRUE(mSelection.setSelectedIndices({u"a", u"a", u"a"}).ok());
  EXPECT_EQ(mSelection.arrowFieldIndices(), (std::vector<int>{0, 2}));
  EXPECT_EQ(mSelection.parquetColumnIndices(), (std::vector<int>{0, 2}));
}

TEST_F(SelectionTest, RequestOrderNotFileOrder) {
  open(::arrow::schema({int64Field("a"), int64Field("b"), int64Field("c")}));
  ASSERT_TRUE(mSelection.setSelectedIndices({u"c", u"a"}).ok());
  EXPECT_EQ(mSelection.arrowFieldIndices(), (std::vector<int>{2, 0}));
  EXPECT_EQ(mSelection.parquetColumnIndices(), (std::vector<int>{2, 0}));
  EXPECT_EQ(mSelection.getSelectedVariableNames(), (VariableNames{u"c", u"a"}));
}

TEST_F(SelectionTest, NestedFieldsBringAllTheirLeaves) {
  auto point = ::arrow::struct_({int64Field("x"), int64Field("y"), int64Field("z")});
  open(::arrow::schema({::arrow::field("id", ::arrow::int32()), ::arrow::field("point", point),
                        ::arrow::field("tags", ::arrow::list(::arrow::utf8()))}));
  ASSERT_TRUE(mSelection.setSelectedIndices({u"point", u"tags"}).ok());
  EXPECT_EQ(mSelection.parquetColumnIndices(), (std::vector<int>{1, 2, 3, 4}));
  ASSERT_TRUE(mSelection.setSelectedIndices({u"tags", u"point"}).ok());
  EXPECT_EQ(mSelection.parquetColumnIndices(), (std::vector<int>{4, 1, 2, 3}));
}

TEST_F(SelectionTest, UnknownAndCaseDifferentNamesSelectNothing) {
  open(::arrow::schema({int64Field("Name"), int64Field("b")}));
  ASSERT_TRUE(mSelection.setSelectedIndices({u"name", u"NAME", u"zzz"}).ok());
  EXPECT_TRUE(mSelection.arrowFieldIndices().empty());
  EXPECT_TRUE(mSelection.parquetColumnIndices().empty());
  ASSERT_TRUE(mSelection.setSelectedIndices({}).ok());
  EXPECT_TRUE(mSelection.getSelectedVariableNames().empty());
}

TEST_F(SelectionTest, AFieldWithoutLeavesIsACorruptManifest) {
  open(::arrow::schema({int64Field("a"), int64Field("b")}));
  // A manifest whose second field lost its leaf, as a corrupt file would give.
  ::parquet::arrow::SchemaManifest broken = mReader->manifest();
  broken.schema_fields[1].column_index = -1;
  ParquetReader::SelectedVariables selection;
  const auto status = selection.init(&broken);
  EXPECT_TRUE(status.IsInvalid());
  EXPECT_EQ(status.message(), "Corrupt SchemaManifest");
  ASSERT_TRUE(selection.setSelectedIndices({u"a"}).ok());
  EXPECT_EQ(selection.parquetColumnIndices(), (std::vector<int>{0}));
  // A failed recomputation leaves the leaf list as it was.
  EXPECT_FALSE(selection.setSelectedIndices({u"b"}).ok());
  EXPECT_EQ(selection.parquetColumnIndices(), (std::vector<int>{0}));
}

}  // namespace
}  // namespace orvane::io::parquet::core::read
