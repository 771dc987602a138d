#include <ovparquet/host/error.hpp>
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/ustring.hpp>

#include "../support/Files.hpp"
#include "../support/HostErrors.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace orvane::vfs {
namespace {

using testing::HasSubstr;

using ovtest::TempDir;

using ovtest::pattern;

using ovtest::hostError;

class StreamTest : public testing::Test {
 protected:
  std::unique_ptr<BinaryStream> open(const std::string& name, OpenMode mode,
                                     CleanupPolicy policy = CleanupPolicy::Keep, bool streamFlag = false) {
    mGuards.push_back(std::make_unique<CleanupFile>(mode, policy));
    return openBinaryStream(utf8_to_ustring(name), *mGuards.back(), mode, streamFlag);
  }

  std::string read(BinaryStream& stream, std::int64_t position, std::size_t count) {
    std::string out(count, '\0');
    stream.seekg(position);
    stream.read(out.data(), static_cast<std::streamsize>(count));
    out.resize(static_cast<std::size_t>(stream.gcount()));
    return out;
  }

  TempDir mDir;
  std::vector<std::unique_ptr<CleanupFile>> mGuards;
};

TEST_F(StreamTest, ShortReadAtEndThenClearLeavesStreamUsable) {
  const std::string content = pattern(1000);
  const std::string path = mDir.file("data.bin");
  ovtest::writeBytes(path, content);
  auto stream = open(path, OpenMode::Read, CleanupPolicy::Keep, true);
  EXPECT_EQ(stream->size(), 1000);

  char buffer[100];
  stream->seekg(990);
  stream->read(buffer, 100);
  EXPECT_FALSE(stream->bad());
  EXPECT_TRUE(stream->eof());
  EXPECT_TRUE(stream->fail());
  ASSERT_EQ(stream->gcount(), 10);
  EXPECT_EQ(std::string(buffer, 10), content.substr(990));

  // What a reader does after a short read: peek, clear, and at the end move
  // to the end explicitly.
  EXPECT_EQ(stream->peek(), std::char_traits<char>::eof());
  const bool atEnd = stream->eof();
  stream->clear();
  EXPECT_TRUE(atEnd);
  stream->seekg(0, std::ios::end);
  stream->clear();
  EXPECT_EQ(stream->tellg(), 1000);

  stream->seekg(5);
  stream->read(buffer, 4);
  EXPECT_TRUE(stream->good());
  EXPECT_EQ(stream->gcount(), 4);
  EXPECT_EQ(std::string(buffer, 4), content.substr(5, 4));
  EXPECT_EQ(stream->tellg(), 9);
}

TEST_F(StreamTest, ReadAtEndGivesNothing) {
  const std::string path = mDir.file("empty.bin");
  ovtest::writeBytes(path, "");
  auto stream = open(path, OpenMode::Read);
  EXPECT_EQ(stream->size(), 0);
  char buffer[16];
  stream->read(buffer, 16);
  EXPECT_EQ(stream->gcount(), 0);
  EXPECT_TRUE(stream->eof());
  EXPECT_FALSE(stream->bad());
  stream->clear();
  stream->seekg(0, std::ios::end);
  EXPECT_EQ(stream->tellg(), 0);
}

TEST_F(StreamTest, LargeReadsLandCorrectly) {
  const std::string content = pattern(5 * 1024 * 1024 + 123, 7);
  const std::string path = mDir.file("large.bin");
  ovtest::writeBytes(path, content);
  auto stream = open(path, OpenMode::Read, CleanupPolicy::Keep, true);
  EXPECT_EQ(stream->size(), static_cast<std::int64_t>(content.size()));

  EXPECT_EQ(read(*stream, 17, 4 * 1024 * 1024), content.substr(17, 4 * 1024 * 1024));
  EXPECT_EQ(stream->tellg(), 17 + 4 * 1024 * 1024);
  // A small read that fills the buffer, then a large one that starts inside it.
  EXPECT_EQ(read(*stream, 100, 10), content.substr(100, 10));
  std::string rest(content.size(), '\0');
  stream->read(rest.data(), static_cast<std::streamsize>(rest.size()));
  EXPECT_EQ(stream->gcount(), static_cast<std::streamsize>(content.size() - 110));
  rest.resize(static_cast<std::size_t>(stream->gcount()));
  EXPECT_EQ(rest, content.substr(110));
  stream->clear();
  EXPECT_EQ(read(*stream, 0, content.size() + 1000), content);
}

TEST_F(StreamTest, ScatteredSmallReadsMatchTheFile) {
  const std::string content = pattern(300 * 1000, 3);
  const std::string path = mDir.file("scattered.bin");
  ovtest::writeBytes(path, content);
  auto stream = open(path, OpenMode::Read);
  std::mt19937 random(11);
  for (int i = 0; i < 2000; ++i) {
    const std::size_t position = random() % content.size();
    const std::size_t count = 1 + random() % 200;
    const std::string got = read(*stream, static_cast<std::int64_t>(position), count);
    ASSERT_EQ(got, content.substr(position, count)) << "at " << position;
    stream->clear();
  }
  // Character-wise reading goes through the buffer too.
  stream->seekg(70000);
  for (int i = 0; i < 100000; ++i) ASSERT_EQ(static_cast<char>(stream->get()), content[70000 + i]);
}

TEST_F(StreamTest, WritingWithSeekpAndTellp) {
  const std::string path = mDir.file("out.bin");
  auto stream = open(path, OpenMode::Write);
  EXPECT_EQ(stream->size(), 0);
  EXPECT_EQ(stream->tellp(), 0);
  const std::string head = pattern(100, 2);
  const std::string big = pattern(3 * 1024 * 1024, 4);
  stream->write(head.data(), static_cast<std::streamsize>(head.size()));
  EXPECT_EQ(stream->tellp(), 100);
  stream->write(big.data(), static_cast<std::streamsize>(big.size()));
  const std::int64_t total = 100 + static_cast<std::int64_t>(big.size());
  EXPECT_EQ(stream->tellp(), total);
  for (int i = 0; i < 1000; ++i) stream->put('z');
  EXPECT_EQ(stream->tellp(), total + 1000);
  stream->seekp(10);
  EXPECT_EQ(stream->tellp(), 10);
  stream->write("XYZ", 3);
  EXPECT_EQ(stream->tellp(), 13);
  stream->seekp(0, std::ios::end);
  EXPECT_EQ(stream->tellp(), total + 1000);
  EXPECT_EQ(stream->size(), 0);
  EXPECT_TRUE(stream->good());
  stream->fileHandle()->close();

  std::string expected = head + big + std::string(1000, 'z');
  expected.replace(10, 3, "XYZ");
  EXPECT_EQ(ovtest::readBytes(path), expected);
}

TEST_F(StreamTest, SizeStaysAtOpeningSizeWhileAppending) {
  const std::string path = mDir.file("append.bin");
  ovtest::writeBytes(path, std::string(50, 'a'));
  auto stream = open(path, OpenMode::Append);
  EXPECT_EQ(stream->size(), 50);
  EXPECT_EQ(stream->tellp(), 50);
  stream->write(std::string(100, 'b').data(), 100);
  EXPECT_EQ(stream->size(), 50);
  EXPECT_EQ(stream->tellp(), 150);
  stream->flush();
  EXPECT_EQ(stream->tellp(), 150);
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(path), std::string(50, 'a') + std::string(100, 'b'));
}

TEST_F(StreamTest, ReadUpdateReadsAndOverwritesInPlace) {
  const std::string path = mDir.file("update.bin");
  ovtest::writeBytes(path, "0123456789");
  auto stream = open(path, OpenMode::ReadUpdate);
  EXPECT_EQ(stream->size(), 10);
  EXPECT_EQ(read(*stream, 2, 3), "234");
  stream->seekp(4);
  stream->write("ab", 2);
  EXPECT_EQ(stream->tellp(), 6);
  EXPECT_EQ(read(*stream, 0, 10), "0123ab6789");
  stream->seekp(0, std::ios::end);
  stream->write("!", 1);
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(path), "0123ab6789!");
}

TEST_F(StreamTest, ReadOnlyStreamRefusesWriting) {
  const std::string path = mDir.file("ro.bin");
  ovtest::writeBytes(path, "abc");
  auto stream = open(path, OpenMode::Read);
  stream->write("x", 1);
  stream->flush();
  EXPECT_TRUE(stream->bad());
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(path), "abc");
}

TEST_F(StreamTest, WriteOnlyStreamRefusesReading) {
  auto stream = open(mDir.file("wo.bin"), OpenMode::Write);
  stream->write("abc", 3);
  char c;
  stream->seekg(0);
  stream->read(&c, 1);
  EXPECT_EQ(stream->gcount(), 0);
}

TEST_F(StreamTest, LocalNamesAndFileIrisOpenTheSameFile) {
  const std::string path = mDir.file("a b#é.bin");
  ovtest::writeBytes(path, "content");
  auto byName = open(path, OpenMode::Read);
  EXPECT_EQ(byName->location().localPath(), path);
  auto byIri = open(ustring_to_utf8(byName->location().text()), OpenMode::Read);
  EXPECT_EQ(read(*byIri, 0, 7), "content");
  EXPECT_EQ(byIri->location().localPath(), path);
}

TEST_F(StreamTest, MissingFileRaisesFileNotFoundNamingIt) {
  const std::string path = mDir.file("missing.parquet");
  const auto error = hostError([&] { open(path, OpenMode::Read); });
  EXPECT_EQ(error.first, "ORVANE:host:FileNotFound");
  EXPECT_THAT(error.second, HasSubstr(path));
  EXPECT_THAT(error.second, HasSubstr("no such file or directory"));
  EXPECT_EQ(hostError([&] { open(path, OpenMode::ReadUpdate); }).first, "ORVANE:host:FileNotFound");
  EXPECT_EQ(hostError([&] { open(path, OpenMode::ReadUpdate, CleanupPolicy::CommitOnClose); }).first,
            "ORVANE:host:FileNotFound");
  EXPECT_EQ(hostError([&] { open(mDir.file("nodir/out.parquet"), OpenMode::Write); }).first,
            "ORVANE:host:FileNotFound");
  EXPECT_EQ(hostError([&] { open(mDir.file("nodir/out.parquet"), OpenMode::Write, CleanupPolicy::CommitOnClose); })
                .first,
            "ORVANE:host:FileNotFound");
}

TEST_F(StreamTest, DirectoryRaisesIsDirectory) {
  for (const OpenMode mode : {OpenMode::Read, OpenMode::Write, OpenMode::Append, OpenMode::ReadUpdate}) {
    for (const CleanupPolicy policy : {CleanupPolicy::Keep, CleanupPolicy::CommitOnClose}) {
      SCOPED_TRACE(static_cast<int>(mode) * 10 + static_cast<int>(policy));
      const auto error = hostError([&] { open(mDir.path(), mode, policy); });
      EXPECT_EQ(error.first, "ORVANE:host:IsDirectory");
      EXPECT_THAT(error.second, HasSubstr(mDir.path()));
    }
  }
}

TEST_F(StreamTest, PathUnderARegularFileRaisesCannotOpenWithReason) {
  const std::string file = mDir.file("regular");
  ovtest::writeBytes(file, "x");
  const std::string path = file + "/out.parquet";
  for (const CleanupPolicy policy : {CleanupPolicy::Keep, CleanupPolicy::CommitOnClose}) {
    const auto error = hostError([&] { open(path, OpenMode::Write, policy); });
    EXPECT_EQ(error.first, "ORVANE:host:CannotOpen");
    EXPECT_THAT(error.second, HasSubstr(path));
    EXPECT_THAT(error.second, HasSubstr("not a directory"));
  }
}

TEST_F(StreamTest, UnwritableDirectoryRaisesPermissionDenied) {
  if (::geteuid() == 0) GTEST_SKIP() << "permission bits do not stop the superuser";
  const std::string dir = mDir.file("locked");
  std::filesystem::create_directory(dir);
  ::chmod(dir.c_str(), 0500);
  for (const CleanupPolicy policy : {CleanupPolicy::Keep, CleanupPolicy::CommitOnClose}) {
    const auto error = hostError([&] { open(dir + "/out.parquet", OpenMode::Write, policy); });
    EXPECT_EQ(error.first, "ORVANE:host:PermissionDenied");
    EXPECT_THAT(error.second, HasSubstr(dir + "/out.parquet"));
  }
  ::chmod(dir.c_str(), 0700);
}

TEST_F(StreamTest, WritingAPseudoFileFailsNamingIt) {
  if (!std::filesystem::exists("/proc/version")) GTEST_SKIP() << "no /proc";
  const std::string before = ovtest::readBytes("/proc/version");
  for (const CleanupPolicy policy : {CleanupPolicy::Keep, CleanupPolicy::CommitOnClose}) {
    const auto error = hostError([&] {
      auto stream = open("/proc/version", OpenMode::Write, policy);
      stream->write("hello", 5);
      stream->fileHandle()->close();
    });
    EXPECT_THAT(error.first, testing::AnyOf("ORVANE:host:CannotOpen", "ORVANE:host:CannotWrite",
                                            "ORVANE:host:PermissionDenied"));
    EXPECT_THAT(error.second, HasSubstr("'/proc/version'"));
  }
  EXPECT_EQ(ovtest::readBytes("/proc/version"), before);
}

TEST_F(StreamTest, FailedWriteIsReportedOnClose) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  for (const CleanupPolicy policy : {CleanupPolicy::Keep, CleanupPolicy::CommitOnClose}) {
    auto stream = open("/dev/full", OpenMode::Write, policy);
    stream->write("hello", 5);
    const auto error = hostError([&] { stream->fileHandle()->close(); });
    EXPECT_EQ(error.first, "ORVANE:host:CannotWrite");
    EXPECT_THAT(error.second, HasSubstr("/dev/full"));
    EXPECT_THAT(error.second, HasSubstr("no space left on device"));
    EXPECT_FALSE(stream->fileHandle()->isOpen());
    EXPECT_NO_THROW(stream->fileHandle()->close());
  }
  // A device is written in place, never replaced.
  struct stat st;
  ASSERT_EQ(::stat("/dev/full", &st), 0);
  EXPECT_TRUE(S_ISCHR(st.st_mode));
}

TEST_F(StreamTest, CloseDetachAndIsOpen) {
  const std::string path = mDir.file("handle.bin");
  ovtest::writeBytes(path, "abc");
  auto stream = open(path, OpenMode::Read);
  ASSERT_NE(stream->fileHandle(), nullptr);
  EXPECT_TRUE(stream->fileHandle()->isOpen());
  EXPECT_EQ(stream->rdbuf(), stream->fileHandle());

  std::unique_ptr<FileHandle> handle = stream->detachFileHandle();
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(stream->fileHandle(), nullptr);
  EXPECT_EQ(stream->rdbuf(), nullptr);
  EXPECT_TRUE(stream->bad());
  EXPECT_EQ(stream->tellg(), -1);
  EXPECT_TRUE(handle->isOpen());
  handle->close();
  EXPECT_FALSE(handle->isOpen());
  EXPECT_NO_THROW(handle->close());
  EXPECT_EQ(stream->detachFileHandle(), nullptr);
}

TEST_F(StreamTest, ClosedHandleFailsReadsAndSeeks) {
  const std::string path = mDir.file("closed.bin");
  ovtest::writeBytes(path, "abc");
  auto stream = open(path, OpenMode::Read);
  stream->fileHandle()->close();
  char c;
  stream->read(&c, 1);
  EXPECT_EQ(stream->gcount(), 0);
  stream->clear();
  EXPECT_EQ(stream->tellg(), -1);
}

TEST_F(StreamTest, DestroyingAStreamWithAnOpenHandleKeepsOutput) {
  const std::string path = mDir.file("unclosed.bin");
  {
    auto stream = open(path, OpenMode::Write);
    stream->write("partial", 7);
    EXPECT_NO_THROW(stream.reset());
  }
  EXPECT_EQ(ovtest::readBytes(path), "partial");
}

TEST_F(StreamTest, DestroyingAFailingStreamDoesNotThrow) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  auto stream = open("/dev/full", OpenMode::Write);
  stream->write("hello", 5);
  EXPECT_NO_THROW(stream.reset());
}

TEST_F(StreamTest, DestroyingAStreamThatRaisesOnBadDoesNotThrow) {
  const std::string path = mDir.file("raising.bin");
  ovtest::writeBytes(path, "abc");
  auto stream = open(path, OpenMode::Read);
  stream->exceptions(std::ios::badbit);
  EXPECT_NO_THROW(stream.reset());
}

TEST_F(StreamTest, LocationIsAbsolute) {
  const std::string path = mDir.file("loc.bin");
  ovtest::writeBytes(path, "x");
  const auto saved = std::filesystem::current_path();
  std::filesystem::current_path(mDir.path());
  std::unique_ptr<BinaryStream> stream;
  EXPECT_NO_THROW(stream = open("loc.bin", OpenMode::Read));
  std::filesystem::current_path(saved);
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream->location().localPath(), path);
  EXPECT_EQ(ustring_to_utf8(stream->location().text()), "file://" + path);
}

}  // namespace
}  // namespace orvane::vfs
