// Proves the Arrow/Parquet dependency: a table written with Arrow's Parquet
// writer reads back with the same values and the expected created-by text.
// The file is left in OVPARQUET_TEST_OUT (when set) for the peer check.
#include <arrow/api.h>
#include <arrow/io/file.h>
#include <parquet/arrow/reader.h>
#include <parquet/arrow/writer.h>
#include <parquet/file_reader.h>
#include <parquet/metadata.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace {

std::shared_ptr<arrow::Table> makeTable() {
  arrow::Int64Builder ids;
  arrow::DoubleBuilder values;
  arrow::StringBuilder names;
  for (int64_t i = 0; i < 10; ++i) {
    EXPECT_TRUE(ids.Append(i).ok());
    EXPECT_TRUE(values.Append(static_cast<double>(i) * 1.5).ok());
    if (i == 3) {
      EXPECT_TRUE(names.AppendNull().ok());
    } else {
      EXPECT_TRUE(names.Append("name" + std::to_string(i)).ok());
    }
  }
  auto schema = arrow::schema({arrow::field("id", arrow::int64()),
                               arrow::field("value", arrow::float64()),
                               arrow::field("name", arrow::utf8())});
  return arrow::Table::Make(schema, {ids.Finish().ValueOrDie(),
                                     values.Finish().ValueOrDie(),
                                     names.Finish().ValueOrDie()});
}

std::filesystem::path outputPath() {
  const char* dir = std::getenv("OVPARQUET_TEST_OUT");
  std::filesystem::path base = dir ? dir : std::filesystem::temp_directory_path();
  std::filesystem::create_directories(base);
  return base / "dependency_check.parquet";
}

TEST(ArrowParquetDependency, WritesAndReadsBack) {
  const auto table = makeTable();
  const auto path = outputPath();

  auto sink = arrow::io::FileOutputStream::Open(path.string());
  ASSERT_TRUE(sink.ok()) << sink.status().ToString();
  auto props = parquet::WriterProperties::Builder().max_row_group_length(4)->build();
  ASSERT_TRUE(parquet::arrow::WriteTable(*table, arrow::default_memory_pool(),
                                         *sink, 4, props)
                  .ok());
  ASSERT_TRUE((*sink)->Close().ok());

  auto source = arrow::io::ReadableFile::Open(path.string());
  ASSERT_TRUE(source.ok()) << source.status().ToString();
  std::unique_ptr<parquet::arrow::FileReader> reader;
  ASSERT_TRUE(parquet::arrow::OpenFile(*source, arrow::default_memory_pool(), &reader).ok());

  auto metadata = reader->parquet_reader()->metadata();
  EXPECT_EQ(metadata->created_by(), "parquet-cpp-arrow version 15.0.1");
  EXPECT_EQ(metadata->num_row_groups(), 3);  // 4 + 4 + 2 rows
  EXPECT_EQ(metadata->num_rows(), 10);

  std::shared_ptr<arrow::Table> back;
  ASSERT_TRUE(reader->ReadTable(&back).ok());
  ASSERT_TRUE(back->schema()->Equals(*table->schema()))
      << back->schema()->ToString();
  auto combined = back->CombineChunks().ValueOrDie();
  EXPECT_TRUE(combined->Equals(*table));

  auto names = std::static_pointer_cast<arrow::StringArray>(combined->column(2)->chunk(0));
  EXPECT_TRUE(names->IsNull(3));
  EXPECT_EQ(names->GetString(9), "name9");
}

}  // namespace
