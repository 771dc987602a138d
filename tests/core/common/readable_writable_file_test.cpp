#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/host/error.hpp>

#include "../../support/FailingStreams.hpp"
#include "../../support/ParquetFiles.hpp"

#include <arrow/buffer.h>
#include <arrow/io/interfaces.h>
#include <arrow/util/thread_pool.h>
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace orvane::io::parquet::core::common {
namespace {

using ovtest::pattern;

class ReadableWritableFileTest : public testing::Test {
 protected:
  ovtest::TempDir mDir;
};

TEST_F(ReadableWritableFileTest, ShortReadAtTheEndLeavesTheStreamUsable) {
  const std::string path = mDir.file("data.bin");
  const std::string bytes = pattern(1000);
  ovtest::writeBytes(path, bytes);
  auto file = makeReadableFilePtr(orvane::utf8_to_ustring(path));
  ASSERT_EQ(file->GetSize().ValueOrDie(), 1000);

  char out[100];
  ASSERT_TRUE(file->Seek(990).ok());
  auto count = file->Read(100, out);
  ASSERT_TRUE(count.ok());
  EXPECT_EQ(*count, 10);
  EXPECT_EQ(std::string(out, 10), bytes.substr(990));
  EXPECT_EQ(file->Tell().ValueOrDie(), 1000);

  ASSERT_TRUE(file->Seek(100).ok());
  EXPECT_EQ(file->Tell().ValueOrDie(), 100);
  ASSERT_EQ(file->Read(50, out).ValueOrDie(), 50);
  EXPECT_EQ(std::string(out, 50), bytes.substr(100, 50));
  EXPECT_EQ(file->Tell().ValueOrDie(), 150);
}

TEST_F(ReadableWritableFileTest, BufferReadAtTheEndIsEmptyNotAnError) {
  const std::string path = mDir.file("data.bin");
  ovtest::writeBytes(path, pattern(64));
  auto file = makeReadableFilePtr(orvane::utf8_to_ustring(path));
  ASSERT_TRUE(file->Seek(64).ok());
  auto buffer = file->Read(32);
  ASSERT_TRUE(buffer.ok()) << buffer.status().ToString();
  EXPECT_EQ((*buffer)->size(), 0);

  ASSERT_TRUE(file->Seek(60).ok());
  buffer = file->Read(32);
  ASSERT_TRUE(buffer.ok());
  EXPECT_EQ((*buffer)->ToString(), pattern(64).substr(60));
}

TEST_F(ReadableWritableFileTest, PositionalReadsAndLargeReads) {
  const std::string path = mDir.file("large.bin");
  const std::string bytes = pattern(5 << 20);
  ovtest::writeBytes(path, bytes);
  auto file = makeReadableFilePtr(orvane::utf8_to_ustring(path));
  auto all = file->ReadAt(0, static_cast<int64_t>(bytes.size()));
  ASSERT_TRUE(all.ok());
  EXPECT_EQ((*all)->ToString(), bytes);
  auto middle = file->ReadAt(12345, 1000).ValueOrDie();
  EXPECT_EQ(middle->ToString(), bytes.substr(12345, 1000));
}

TEST_F(ReadableWritableFileTest, FileNameOfLocalPathsAndFileIris) {
  const std::string path = mDir.file("name test.parquet");
  ovtest::writeBytes(path, "x");
  EXPECT_EQ(makeReadableFilePtr(orvane::utf8_to_ustring(path))->GetFilename(), orvane::utf8_to_ustring(path));
  for (const std::string scheme : {"file", "FILE", "File"}) {
    std::string iri = scheme + "://" + path;
    iri.replace(iri.find(' '), 1, "%20");
    EXPECT_EQ(makeReadableFilePtr(orvane::utf8_to_ustring(iri))->GetFilename(), orvane::utf8_to_ustring(path))
        << iri;
  }
}

// A stream on another scheme: bytes from memory, located by a "mem:" IRI.
class MemoryHandle : public orvane::vfs::FileHandle {
 public:
  explicit MemoryHandle(std::string bytes) : mBytes(std::move(bytes)) {
    setg(mBytes.data(), mBytes.data(), mBytes.data() + mBytes.size());
  }
  bool isOpen() const override { return mOpen; }
  void close() override { mOpen = false; }

 protected:
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
    const off_type base = dir == std::ios_base::beg ? 0 : dir == std::ios_base::cur ? gptr() - eback()
                                                                                     : egptr() - eback();
    setg(eback(), eback() + base + off, egptr());
    return base + off;
  }
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
    return seekoff(off_type(pos), std::ios_base::beg, which);
  }

 private:
  std::string mBytes;
  bool mOpen = true;
};

TEST_F(ReadableWritableFileTest, FileNameOfOtherSchemesIsTheIriText) {
  orvane::vfs::registerScheme("mem", [](const orvane::vfs::Iri&, orvane::vfs::CleanupFile&,
                                       orvane::vfs::OpenMode, bool) {
    orvane::vfs::OpenedFile opened;
    opened.handle = std::make_unique<MemoryHandle>("0123456789");
    opened.size = 10;
    return opened;
  });
  auto file = makeReadableFilePtr(u"mem://bucket/Data.parquet");
  EXPECT_EQ(file->GetFilename(), u"mem://bucket/Data.parquet");
  char out[4];
  ASSERT_TRUE(file->Seek(8).ok());
  EXPECT_EQ(file->Read(4, out).ValueOrDie(), 2);
  EXPECT_EQ(file->Tell().ValueOrDie(), 10);
}

TEST_F(ReadableWritableFileTest, SizeOfAWrittenFileStaysAtItsOpeningSize) {
  const std::string path = mDir.file("out.bin");
  ovtest::writeBytes(path, pattern(300));
  auto file = makeWritableFilePtr(orvane::utf8_to_ustring(path), CleanupPolicy::Keep);
  EXPECT_EQ(file->GetSize().ValueOrDie(), 0);  // opened for writing: truncated
  const std::string data = pattern(4096);
  ASSERT_TRUE(file->Write(data.data(), static_cast<int64_t>(data.size())).ok());
  EXPECT_EQ(file->Tell().ValueOrDie(), 4096);
  EXPECT_EQ(file->GetSize().ValueOrDie(), 0);
  ASSERT_TRUE(file->Close().ok());
  EXPECT_EQ(ovtest::readBytes(path), data);
}

TEST_F(ReadableWritableFileTest, SizeOfAnAppendedFileStaysAtItsOpeningSize) {
  const std::string path = mDir.file("append.bin");
  ovtest::writeBytes(path, pattern(300));
  auto file = detail::makeReadableWritableFilePtr(orvane::utf8_to_ustring(path), OpenMode::Append,
                                                  CleanupPolicy::Keep, false);
  EXPECT_EQ(file->GetSize().ValueOrDie(), 300);
  ASSERT_TRUE(file->Write("tail", 4).ok());
  EXPECT_EQ(file->GetSize().ValueOrDie(), 300);
  ASSERT_TRUE(file->Close().ok());
  EXPECT_EQ(ovtest::readBytes(path), pattern(300) + "tail");
}

TEST_F(ReadableWritableFileTest, WriteAtSeeksThenWrites) {
  const std::string path = mDir.file("at.bin");
  auto file = makeWritableFilePtr(orvane::utf8_to_ustring(path), CleanupPolicy::Keep);
  ASSERT_TRUE(file->Write("aaaaaaaaaa", 10).ok());
  ASSERT_TRUE(file->WriteAt(3, "XYZ", 3).ok());
  ASSERT_TRUE(file->Close().ok());
  EXPECT_EQ(ovtest::readBytes(path), "aaaXYZaaaa");
}

TEST_F(ReadableWritableFileTest, ClosedAfterCloseAndSecondCloseIsOk) {
  const std::string path = mDir.file("c.bin");
  ovtest::writeBytes(path, "abc");
  auto reader = makeReadableFilePtr(orvane::utf8_to_ustring(path));
  EXPECT_FALSE(reader->closed());
  EXPECT_TRUE(reader->Close().ok());
  EXPECT_TRUE(reader->closed());
  EXPECT_TRUE(reader->Close().ok());
  EXPECT_FALSE(reader->supports_zero_copy());
}

TEST_F(ReadableWritableFileTest, CommitOnCloseAndCleanup) {
  const std::string path = mDir.file("committed.parquet");
  ovtest::writeBytes(path, "old");
  {
    auto file = makeWritableFilePtr(orvane::utf8_to_ustring(path), CleanupPolicy::CommitOnClose);
    ASSERT_TRUE(file->Write("new content", 11).ok());
    EXPECT_EQ(ovtest::readBytes(path), "old");
    file->Cleanup();
  }
  EXPECT_EQ(ovtest::readBytes(path), "old");
  {
    auto file = makeWritableFilePtr(orvane::utf8_to_ustring(path), CleanupPolicy::CommitOnClose);
    ASSERT_TRUE(file->Write("new content", 11).ok());
    ASSERT_TRUE(file->Close().ok());
  }
  EXPECT_EQ(ovtest::readBytes(path), "new content");
  // Nothing else is left in the directory.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(mDir.path()), {}), 1);
}

TEST_F(ReadableWritableFileTest, HostErrorsPassUnchanged) {
  const std::string missing = mDir.file("missing.parquet");
  try {
    makeReadableFilePtr(orvane::utf8_to_ustring(missing));
    FAIL() << "no error";
  } catch (const orvane::HostError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:host:FileNotFound");
    EXPECT_NE(std::string(e.what()).find(missing), std::string::npos);
  }
  EXPECT_THROW(makeReadableFilePtr(u"nosuchscheme://x/y"), orvane::HostError);
  EXPECT_THROW(makeReadableFilePtr(orvane::utf8_to_ustring(mDir.path())), orvane::HostError);
}

TEST_F(ReadableWritableFileTest, OtherExceptionsBecomeInvalidRead) {
  orvane::vfs::registerScheme("broken", [](const orvane::vfs::Iri&, orvane::vfs::CleanupFile&,
                                          orvane::vfs::OpenMode, bool) -> orvane::vfs::OpenedFile {
    throw std::runtime_error("service exploded");
  });
  try {
    makeReadableFilePtr(u"broken://host/file.parquet");
    FAIL() << "no error";
  } catch (const MessageException<ORVANE::parquetio::read::InternalInvalidRead>& e) {
    EXPECT_EQ(std::get<ustring>(e.message().arguments.at(0)), u"broken://host/file.parquet");
    EXPECT_EQ(std::get<ustring>(e.message().arguments.at(1)), u"service exploded");
  }
}

// A device error during a read leaves the stream's bad flag set: Read raises
// ReadFailure instead of returning a count, and the failed stream's position
// is -1 with an OK status.
TEST_F(ReadableWritableFileTest, ABadReadRaisesReadFailureAndLeavesPositionMinusOne) {
  ovtest::registerHandleScheme("unreadable", 4096, [] { return std::make_unique<ovtest::UnreadableHandle>(); });
  auto file = makeReadableFilePtr(u"unreadable://disk/data.bin");
  ASSERT_TRUE(file->Seek(100).ok());
  EXPECT_EQ(file->Tell().ValueOrDie(), 100);
  char out[16];
  try {
    (void)file->Read(16, out);
    FAIL() << "no exception";
  } catch (const ReadFailure& e) {
    EXPECT_STREQ(e.what(), "Unable to read from the stream.");
  }
  auto position = file->Tell();
  ASSERT_TRUE(position.ok()) << position.status().ToString();
  EXPECT_EQ(*position, -1);
  // The buffer form goes through the same read.
  EXPECT_THROW((void)file->Read(16), ReadFailure);
}

// The exception is not turned into a status on its way through Arrow and
// Parquet: the count of a file whose footer cannot be read raises it as is.
TEST_F(ReadableWritableFileTest, ReadFailurePassesUnchangedThroughTheRowGroupCount) {
  ovtest::registerHandleScheme("unreadable", 4096, [] { return std::make_unique<ovtest::UnreadableHandle>(); });
  EXPECT_THROW(info::openAndGetRowGroups(u"unreadable://disk/data.parquet"), ReadFailure);
  EXPECT_THROW(info::getNumRowGroupsSync({u"unreadable://disk/a.parquet"}), ReadFailure);
}

// Runs each task on a thread of its own and remembers where it ran.
class RecordingExecutor : public ::arrow::internal::Executor {
 public:
  int GetCapacity() override { return 1; }
  bool OwnsThisThread() override { return ownsCaller; }
  int tasks = 0;
  std::thread::id ranOn;
  bool ownsCaller = false;  // pretend the caller is one of this executor's threads

 protected:
  ::arrow::Status SpawnReal(::arrow::internal::TaskHints, ::arrow::internal::FnOnce<void()> task,
                            ::arrow::StopToken, StopCallback&&) override {
    ++tasks;
    std::thread worker([this, &task] {
      ranOn = std::this_thread::get_id();
      std::move(task)();
    });
    worker.join();
    return ::arrow::Status::OK();
  }
};

// Parquet pre-buffers column chunks through ReadAsync. The read runs on the
// context's executor (Arrow's I/O threads, whose allocator arenas keep freed
// buffers for the next read), and the future is finished when it returns.
TEST_F(ReadableWritableFileTest, ReadAsyncReadsOnTheContextsExecutor) {
  const std::string path = mDir.file("data.bin");
  const std::string bytes = pattern(100000);
  ovtest::writeBytes(path, bytes);
  auto file = makeReadableFilePtr(orvane::utf8_to_ustring(path));
  RecordingExecutor executor;
  const ::arrow::io::IOContext context(::arrow::default_memory_pool(), &executor);
  auto future = file->ReadAsync(context, 4000, 50000);
  EXPECT_TRUE(future.is_finished());
  ASSERT_TRUE(future.result().ok()) << future.result().status().ToString();
  EXPECT_EQ((*future.result())->ToString(), bytes.substr(4000, 50000));
  EXPECT_EQ(executor.tasks, 1);
  EXPECT_NE(executor.ranOn, std::this_thread::get_id());
}

// Called from a thread of the executor itself, the read runs in place: a
// task of that thread's own pool might never start while it waits.
TEST_F(ReadableWritableFileTest, ReadAsyncOnAThreadOfTheExecutorReadsInPlace) {
  const std::string path = mDir.file("data.bin");
  const std::string bytes = pattern(10000);
  ovtest::writeBytes(path, bytes);
  auto file = makeReadableFilePtr(orvane::utf8_to_ustring(path));
  RecordingExecutor executor;
  executor.ownsCaller = true;
  const ::arrow::io::IOContext context(::arrow::default_memory_pool(), &executor);
  auto future = file->ReadAsync(context, 100, 5000);
  EXPECT_TRUE(future.is_finished());
  ASSERT_TRUE(future.result().ok()) << future.result().status().ToString();
  EXPECT_EQ((*future.result())->ToString(), bytes.substr(100, 5000));
  EXPECT_EQ(executor.tasks, 0);
}

// A device error inside that read reaches the caller as the ReadFailure
// itself, thrown on the caller's thread: an exception left on an I/O thread
// would end the process.
TEST_F(ReadableWritableFileTest, ReadAsyncThrowsAReadFailureOnTheCallersThread) {
  ovtest::registerHandleScheme("unreadable", 4096, [] { return std::make_unique<ovtest::UnreadableHandle>(); });
  auto file = makeReadableFilePtr(u"unreadable://disk/data.bin");
  RecordingExecutor executor;
  const ::arrow::io::IOContext context(::arrow::default_memory_pool(), &executor);
  EXPECT_THROW((void)file->ReadAsync(context, 0, 100), ReadFailure);
  EXPECT_EQ(executor.tasks, 1);
  // Arrow's own I/O threads give the same.
  EXPECT_THROW((void)file->ReadAsync(::arrow::io::default_io_context(), 0, 100), ReadFailure);
}

// A refused write is not reported by Write, but the position of the failed
// output stream is -1, again with an OK status.
TEST_F(ReadableWritableFileTest, PositionAfterAFailedWriteIsMinusOne) {
  ovtest::registerHandleScheme("fulldisk", 0, [] { return std::make_unique<ovtest::FullDeviceHandle>(10); });
  auto file = makeWritableFilePtr(u"fulldisk://disk/out.bin", CleanupPolicy::Keep);
  ASSERT_TRUE(file->Write("0123456", 7).ok());
  EXPECT_EQ(file->Tell().ValueOrDie(), 7);
  EXPECT_TRUE(file->Write("789abcdef", 9).ok());
  auto position = file->Tell();
  ASSERT_TRUE(position.ok()) << position.status().ToString();
  EXPECT_EQ(*position, -1);
}

// The handle is closed, detached and, still reporting itself open, closed
// again; that second close raises and the error is dropped.
TEST_F(ReadableWritableFileTest, CloseSwallowsAFailingSecondClose) {
  auto closes = std::make_shared<std::atomic<int>>(0);
  ovtest::registerHandleScheme("stubborn", 3, [closes] { return std::make_unique<ovtest::StubbornHandle>(closes); });
  auto file = makeReadableFilePtr(u"stubborn://disk/data.bin");
  EXPECT_FALSE(file->closed());
  ::arrow::Status status;
  ASSERT_NO_THROW(status = file->Close());
  EXPECT_TRUE(status.ok()) << status.ToString();
  EXPECT_EQ(closes->load(), 2);
  EXPECT_TRUE(file->closed());
}

}  // namespace
}  // namespace orvane::io::parquet::core::common
