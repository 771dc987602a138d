#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>

#include "../../support/LogCapture.hpp"
#include "../../support/ParquetFiles.hpp"

#include <arrow/api.h>
#include <gtest/gtest.h>
#include <parquet/arrow/reader.h>
#include <parquet/exception.h>
#include <parquet/file_reader.h>
#include <parquet/schema.h>

#include <thread>

namespace orvane::io::parquet::core {
namespace {

using orvane::utf8_to_ustring;

std::shared_ptr<::parquet::FileMetaData> metadataOf(const std::string& path) {
  return ::parquet::ParquetFileReader::OpenFile(path)->metadata();
}

// A table of rows but no columns, as pyarrow writes it (its writer is this
// one): one row group whose column list is empty.
void writeZeroColumnFile(const std::string& path) {
  const auto table = ::arrow::Table::Make(::arrow::schema(::arrow::FieldVector{}),
                                          std::vector<std::shared_ptr<::arrow::ChunkedArray>>{}, 3);
  ovtest::writeParquet(path, *table, 10);
}

class RowGroupQueries : public testing::Test {
 protected:
  ovtest::TempDir mDir;
};

TEST_F(RowGroupQueries, CountsOneFile) {
  const auto path = mDir.file("seven.parquet");
  ovtest::writeParquet(path, *ovtest::makeSimpleTable(70), 10);
  EXPECT_EQ(info::openAndGetRowGroups(utf8_to_ustring(path)), 7);
}

// (That the parallel form starts no parallel work for an empty list is
// checked in parallel_count_probe_test.cpp, which can observe it.)
TEST_F(RowGroupQueries, EmptyListGivesEmptyResults) {
  EXPECT_TRUE(info::getNumRowGroupsSync({}).empty());
  EXPECT_TRUE(info::getNumRowGroupsAsync({}).empty());
}

TEST_F(RowGroupQueries, ZeroRowGroups) {
  const auto path = mDir.file("empty.parquet");
  ovtest::writeParquetWithoutRowGroups(path, ovtest::makeSimpleTable(0)->schema());
  EXPECT_EQ(info::openAndGetRowGroups(utf8_to_ustring(path)), 0);
  EXPECT_EQ(info::getNumRowGroupsSync({utf8_to_ustring(path)}), std::vector<std::int64_t>{0});
  const auto metadata = metadataOf(path);
  EXPECT_TRUE(info::getRowGroupHeights(*metadata).empty());
  EXPECT_TRUE(info::getRowGroupOffsets(*metadata).empty());
  EXPECT_EQ(read::getNumRowGroups(*metadata), 0.0);
}

TEST_F(RowGroupQueries, ParallelEqualsSequentialOverManyFiles) {
  std::vector<ustring> names;
  for (int i = 0; i < 1000; ++i) {
    const auto path = mDir.file("f" + std::to_string(i) + ".parquet");
    const int rows = i % 7;  // 0 rows still makes one row group
    ovtest::writeParquet(path, *ovtest::makeSimpleTable(rows), 1 + i % 3);
    names.push_back(utf8_to_ustring(path));
  }
  const auto sequential = info::getNumRowGroupsSync(names);
  const auto parallel = info::getNumRowGroupsAsync(names);
  ASSERT_EQ(sequential.size(), 1000u);
  EXPECT_EQ(parallel, sequential);
  for (int i = 0; i < 1000; ++i) {
    const int rows = i % 7, length = 1 + i % 3;
    EXPECT_EQ(sequential[static_cast<std::size_t>(i)], rows == 0 ? 1 : (rows + length - 1) / length) << i;
  }
}

TEST_F(RowGroupQueries, AMissingOrCorruptFileAmongManyRaisesTheIdentifiedError) {
  std::vector<ustring> names;
  for (int i = 0; i < 50; ++i) {
    const auto path = mDir.file("g" + std::to_string(i) + ".parquet");
    ovtest::writeParquet(path, *ovtest::makeSimpleTable(3), 1);
    names.push_back(utf8_to_ustring(path));
  }
  auto withMissing = names;
  withMissing[31] = utf8_to_ustring(mDir.file("missing.parquet"));
  for (auto count : {&info::getNumRowGroupsSync, &info::getNumRowGroupsAsync}) {
    try {
      count(withMissing);
      FAIL() << "no error";
    } catch (const orvane::HostError& e) {
      EXPECT_EQ(e.identifier(), "ORVANE:host:FileNotFound");
      EXPECT_NE(std::string(e.what()).find("missing.parquet"), std::string::npos);
    }
  }
  auto withCorrupt = names;
  const auto corrupt = mDir.file("corrupt.parquet");
  ovtest::writeBytes(corrupt, "this is not a parquet file at all");
  withCorrupt[7] = utf8_to_ustring(corrupt);
  for (auto count : {&info::getNumRowGroupsSync, &info::getNumRowGroupsAsync}) {
    try {
      count(withCorrupt);
      FAIL() << "no error";
    } catch (const common::MessageException<ORVANE::parquetio::read::InternalInvalidRead>& e) {
      EXPECT_EQ(std::get<ustring>(e.message().arguments.at(0)), utf8_to_ustring(corrupt));
      EXPECT_NE(std::get<ustring>(e.message().arguments.at(1)).find(u"magic"), ustring::npos);
    }
  }
}

TEST_F(RowGroupQueries, PendingInterruptIsRaisedOnTheSignalThreadOnly) {
  const auto path = mDir.file("i.parquet");
  ovtest::writeParquet(path, *ovtest::makeSimpleTable(3), 1);
  orvane::markSignalThread();
  orvane::requestInterrupt();
  EXPECT_THROW(info::openAndGetRowGroups(utf8_to_ustring(path)), orvane::InterruptError);
  EXPECT_FALSE(orvane::isInterruptPending());
  // Workers of the parallel count do not look at the flag.
  orvane::requestInterrupt();
  std::int64_t count = 0;
  std::thread worker([&] { count = info::getNumRowGroupsAsync({utf8_to_ustring(path)}).at(0); });
  worker.join();
  EXPECT_EQ(count, 3);
  EXPECT_TRUE(orvane::isInterruptPending());
  orvane::clearInterrupt();
}

// oneTBB lets the calling thread run part of the loop. When that thread is
// the signal thread, the files it counts itself do check the flag, so a
// pending interrupt is raised from inside the loop and ends the count.
TEST_F(RowGroupQueries, ParallelCountOnTheSignalThreadRaisesAPendingInterrupt) {
  std::vector<ustring> names;
  for (int i = 0; i < 8; ++i) {
    const auto path = mDir.file("p" + std::to_string(i) + ".parquet");
    ovtest::writeParquet(path, *ovtest::makeSimpleTable(3), 1);
    names.push_back(utf8_to_ustring(path));
  }
  orvane::markSignalThread();
  orvane::requestInterrupt();
  EXPECT_THROW(info::getNumRowGroupsAsync(names), orvane::InterruptError);
  EXPECT_FALSE(orvane::isInterruptPending());
  // Without a pending interrupt the same call counts every file.
  EXPECT_EQ(info::getNumRowGroupsAsync(names), std::vector<std::int64_t>(8, 3));
}

TEST_F(RowGroupQueries, ARowGroupWithoutColumnsRaisesTheParquetLibrarysException) {
  const auto path = mDir.file("nocolumns.parquet");
  writeZeroColumnFile(path);
  const auto metadata = metadataOf(path);
  ASSERT_EQ(metadata->num_columns(), 0);
  ASSERT_EQ(metadata->num_row_groups(), 1);
  // The library's own exception for that row group, to compare with.
  std::string libraryText;
  try {
    (void)metadata->RowGroup(0)->ColumnChunk(0);
  } catch (const ::parquet::ParquetException& e) {
    libraryText = e.what();
  }
  ASSERT_NE(libraryText.find("requested metadata for column: 0"), std::string::npos) << libraryText;

  const auto expectSame = [&](auto&& call) {
    try {
      call();
      ADD_FAILURE() << "no exception";
    } catch (const ::parquet::ParquetException& e) {
      EXPECT_EQ(e.what(), libraryText);
    }
  };
  expectSame([&] { (void)read::calculateRowGroupOffset(*metadata->RowGroup(0)); });
  expectSame([&] { (void)info::getRowGroupOffsets(*metadata); });
  // The other queries do not touch the column chunks.
  EXPECT_EQ(info::getRowGroupHeights(*metadata), std::vector<std::int64_t>{metadata->RowGroup(0)->num_rows()});
  EXPECT_EQ(info::openAndGetRowGroups(utf8_to_ustring(path)), 1);
}

// These queries write no trace of their own; what a count records comes from
// opening the file and checking its status.
TEST_F(RowGroupQueries, NoQueryWritesATrace) {
  const auto path = mDir.file("t.parquet");
  ovtest::writeParquet(path, *ovtest::makeSimpleTable(25), 10);
  const auto metadata = metadataOf(path);
  const auto schema = ::arrow::schema({::arrow::field("a", ::arrow::int64())});
  ovtest::LogCapture log(orvane::log::kAllSeverities);
  EXPECT_EQ(info::getRowGroupHeights(*metadata).size(), 3u);
  EXPECT_EQ(info::getRowGroupOffsets(*metadata).size(), 3u);
  (void)read::calculateRowGroupOffset(*metadata->RowGroup(1));
  EXPECT_EQ(read::getNumRowGroups(*metadata), 3.0);
  EXPECT_EQ(info::getVariableNames(schema).size(), 1u);
  EXPECT_EQ(info::getVariableTypes(schema).size(), 1u);
  EXPECT_EQ(log.records(), std::vector<std::string>{});

  const auto name = utf8_to_ustring(path);
  EXPECT_EQ(info::openAndGetRowGroups(name), 3);
  EXPECT_EQ(info::getNumRowGroupsSync({name, name}), (std::vector<std::int64_t>{3, 3}));
  EXPECT_EQ(info::getNumRowGroupsAsync({name, name}), (std::vector<std::int64_t>{3, 3}));
  const auto records = log.records();
  ASSERT_FALSE(records.empty());
  for (const auto& record : records) {
    const bool fromOpening = record.find("common::makeReadableFilePtr(") != std::string::npos ||
                             record.find(" filename=") != std::string::npos;
    const bool fromChecking = record.find("common::throwReadExceptIfNotOk(") != std::string::npos ||
                              record.find("common::throwIfNotOk(") != std::string::npos;
    EXPECT_TRUE(fromOpening || fromChecking) << record;
  }
}

TEST_F(RowGroupQueries, HeightsAndOffsets) {
  const auto path = mDir.file("h.parquet");
  ovtest::writeParquet(path, *ovtest::makeSimpleTable(25), 10);
  const auto metadata = metadataOf(path);
  EXPECT_EQ(info::getRowGroupHeights(*metadata), (std::vector<std::int64_t>{10, 10, 5}));
  const auto offsets = info::getRowGroupOffsets(*metadata);
  ASSERT_EQ(offsets.size(), 3u);
  EXPECT_EQ(offsets[0], 4);  // right after the magic bytes
  EXPECT_LT(offsets[0], offsets[1]);
  EXPECT_LT(offsets[1], offsets[2]);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(offsets[static_cast<std::size_t>(i)], read::calculateRowGroupOffset(*metadata->RowGroup(i)));
  }
  EXPECT_EQ(read::getNumRowGroups(*metadata), 3.0);
}

// Metadata built by hand: the first column has a dictionary page at 5000
// and data at 6000, while the second column's data starts at 100.
TEST_F(RowGroupQueries, OffsetIsTheFirstChunksDictionaryPage) {
  using namespace ::parquet;
  auto root = schema::GroupNode::Make(
      "schema", Repetition::REQUIRED,
      {schema::PrimitiveNode::Make("a", Repetition::REQUIRED, Type::INT64),
       schema::PrimitiveNode::Make("b", Repetition::REQUIRED, Type::INT64)});
  SchemaDescriptor descriptor;
  descriptor.Init(root);
  auto builder = FileMetaDataBuilder::Make(&descriptor, default_writer_properties());
  auto* rowGroup = builder->AppendRowGroup();
  rowGroup->set_num_rows(10);
  const std::map<Encoding::type, int32_t> dictStats{{Encoding::PLAIN, 1}};
  const std::map<Encoding::type, int32_t> dataStats{{Encoding::RLE_DICTIONARY, 1}};
  rowGroup->NextColumnChunk()->Finish(10, 5000, 0, 6000, 50, 50, true, false, dictStats, dataStats);
  rowGroup->NextColumnChunk()->Finish(10, 0, 0, 100, 50, 50, false, false, {}, {{Encoding::PLAIN, 1}});
  rowGroup->Finish(100);
  const auto metadata = builder->Finish();
  EXPECT_EQ(read::calculateRowGroupOffset(*metadata->RowGroup(0)), 5000);
  EXPECT_EQ(info::getRowGroupOffsets(*metadata), std::vector<std::int64_t>{5000});
}

TEST_F(RowGroupQueries, OffsetOfAWrittenDictionaryColumn) {
  const auto path = mDir.file("dict.parquet");
  ovtest::writeParquet(path, *ovtest::makeSimpleTable(100), 50);
  const auto metadata = metadataOf(path);
  for (int i = 0; i < 2; ++i) {
    const auto chunk = metadata->RowGroup(i)->ColumnChunk(0);
    ASSERT_TRUE(chunk->has_dictionary_page());
    EXPECT_EQ(read::calculateRowGroupOffset(*metadata->RowGroup(i)), chunk->dictionary_page_offset());
    EXPECT_NE(chunk->dictionary_page_offset(), chunk->data_page_offset());
  }
}

TEST_F(RowGroupQueries, NamesAndTypesOfASchema) {
  auto schema = ::arrow::schema({
      ::arrow::field("größe", ::arrow::float64()),
      ::arrow::field("名前", ::arrow::utf8()),
      ::arrow::field("flag", ::arrow::boolean()),
      ::arrow::field("when", ::arrow::timestamp(::arrow::TimeUnit::MILLI)),
      ::arrow::field("span", ::arrow::month_interval()),
      ::arrow::field("fixed", ::arrow::fixed_size_list(::arrow::int32(), 2)),
      ::arrow::field("nested", ::arrow::struct_({::arrow::field("x", ::arrow::int8())})),
  });
  EXPECT_EQ(info::getVariableNames(schema),
            (VariableNames{u"größe", u"名前", u"flag", u"when", u"span", u"fixed", u"nested"}));
  EXPECT_EQ(info::getVariableTypes(schema),
            (VariableTypes{"double", "string", "logical", "datetime", "", "", "struct"}));
  auto empty = ::arrow::schema(::arrow::FieldVector{});
  EXPECT_TRUE(info::getVariableNames(empty).empty());
  EXPECT_TRUE(info::getVariableTypes(empty).empty());
}

}  // namespace
}  // namespace orvane::io::parquet::core
