#include <ovparquet/host/error.hpp>
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/ustring.hpp>

#include "../support/Files.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::vfs {
namespace {

using ovtest::TempDir;

using Names = std::vector<std::string>;

using ovtest::pattern;

bool exists(const std::string& path) {
  struct stat st;
  return ::lstat(path.c_str(), &st) == 0;
}

std::unique_ptr<BinaryStream> open(const std::string& path, CleanupFile& guard) {
  return openBinaryStream(utf8_to_ustring(path), guard, guard.mode(), false);
}

void write(BinaryStream& stream, const std::string& bytes) {
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.flush();
  ASSERT_TRUE(stream.good());
}

class CleanupTest : public testing::Test {
 protected:
  TempDir mDir;
};

TEST_F(CleanupTest, GuardReportsModeAndPolicy) {
  CleanupFile guard(OpenMode::Append, CleanupPolicy::CommitOnClose);
  EXPECT_EQ(guard.mode(), OpenMode::Append);
  EXPECT_EQ(guard.policy(), CleanupPolicy::CommitOnClose);
  EXPECT_NE(guard.state(), nullptr);
}

TEST_F(CleanupTest, CommitOnCloseShowsNothingUntilClosed) {
  const std::string target = mDir.file("out.parquet");
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  const std::string content = pattern(3 * 1024 * 1024, 1);
  write(*stream, content);
  EXPECT_FALSE(exists(target));
  EXPECT_EQ(mDir.entries().size(), 1u);  // the hidden temporary
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(target), content);
  EXPECT_EQ(mDir.entries(), Names{"out.parquet"});
  // After the commit, cleanup leaves the file alone.
  guard.cleanup();
  EXPECT_EQ(ovtest::readBytes(target), content);
}

TEST_F(CleanupTest, OlderFileKeepsItsContentUntilClose) {
  const std::string target = mDir.file("out.parquet");
  ovtest::writeBytes(target, "OLD CONTENT");
  ::chmod(target.c_str(), 0640);
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  EXPECT_EQ(stream->size(), 0);
  write(*stream, "new");
  EXPECT_EQ(ovtest::readBytes(target), "OLD CONTENT");
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(target), "new");
  EXPECT_EQ(mDir.entries(), Names{"out.parquet"});
  struct stat st;
  ASSERT_EQ(::stat(target.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
}

TEST_F(CleanupTest, NewFileGetsNormalPermissions) {
  const std::string target = mDir.file("perm.parquet");
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  write(*stream, "x");
  stream->fileHandle()->close();
  const mode_t mask = ::umask(022);
  ::umask(mask);
  struct stat st;
  ASSERT_EQ(::stat(target.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0666u & ~mask);
}

TEST_F(CleanupTest, CleanupBeforeCloseLeavesNothing) {
  const std::string target = mDir.file("abandoned.parquet");
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  write(*stream, "partial");
  guard.cleanup();
  EXPECT_TRUE(mDir.entries().empty());
  stream->write("more", 4);
  EXPECT_NO_THROW(stream->fileHandle()->close());
  EXPECT_FALSE(stream->fileHandle()->isOpen());
  EXPECT_TRUE(mDir.entries().empty());
}

TEST_F(CleanupTest, CleanupBeforeCloseLeavesTheOldFileUnchanged) {
  const std::string target = mDir.file("old.parquet");
  ovtest::writeBytes(target, "OLD");
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  write(*stream, "new content");
  guard.cleanup();
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(target), "OLD");
  EXPECT_EQ(mDir.entries(), Names{"old.parquet"});
}

TEST_F(CleanupTest, DestroyingStreamThenGuardWithoutCloseLeavesNothing) {
  const std::string target = mDir.file("dropped.parquet");
  ovtest::writeBytes(target, "OLD");
  {
    CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
    auto stream = open(target, guard);
    write(*stream, "new content");
    stream.reset();
  }
  EXPECT_EQ(ovtest::readBytes(target), "OLD");
  EXPECT_EQ(mDir.entries(), Names{"dropped.parquet"});
}

TEST_F(CleanupTest, DestroyingGuardThenStreamWithoutCloseLeavesNothing) {
  const std::string target = mDir.file("dropped.parquet");
  auto guard = std::make_unique<CleanupFile>(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(target, *guard);
  write(*stream, "new content");
  guard.reset();
  EXPECT_EQ(mDir.entries().size(), 1u);
  stream.reset();
  EXPECT_TRUE(mDir.entries().empty());
}

TEST_F(CleanupTest, HandleOutlivingItsGuardStillCommitsOnClose) {
  const std::string target = mDir.file("late.parquet");
  auto guard = std::make_unique<CleanupFile>(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(target, *guard);
  write(*stream, "content");
  guard.reset();
  std::unique_ptr<FileHandle> handle = stream->detachFileHandle();
  stream.reset();
  handle->close();
  EXPECT_EQ(ovtest::readBytes(target), "content");
  EXPECT_EQ(mDir.entries(), Names{"late.parquet"});
}

TEST_F(CleanupTest, AppendCopiesTheOldContentFirst) {
  const std::string target = mDir.file("log.bin");
  ovtest::writeBytes(target, "abc");
  CleanupFile guard(OpenMode::Append, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  EXPECT_EQ(stream->size(), 3);
  EXPECT_EQ(stream->tellp(), 3);
  write(*stream, "def");
  EXPECT_EQ(stream->tellp(), 6);
  EXPECT_EQ(ovtest::readBytes(target), "abc");
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(target), "abcdef");
  EXPECT_EQ(mDir.entries(), Names{"log.bin"});
}

TEST_F(CleanupTest, AppendToMissingFileCreatesIt) {
  const std::string target = mDir.file("fresh.bin");
  CleanupFile guard(OpenMode::Append, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  EXPECT_EQ(stream->size(), 0);
  write(*stream, "xyz");
  EXPECT_FALSE(exists(target));
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(target), "xyz");
}

TEST_F(CleanupTest, ReadUpdateWorksOnACopy) {
  const std::string target = mDir.file("update.bin");
  const std::string content = pattern(200 * 1000, 5);
  ovtest::writeBytes(target, content);
  CleanupFile guard(OpenMode::ReadUpdate, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  EXPECT_EQ(stream->size(), static_cast<std::int64_t>(content.size()));
  std::string head(10, '\0');
  stream->read(head.data(), 10);
  EXPECT_EQ(head, content.substr(0, 10));
  stream->seekp(100);
  write(*stream, "PATCH");
  EXPECT_EQ(ovtest::readBytes(target), content);
  stream->fileHandle()->close();
  std::string expected = content;
  expected.replace(100, 5, "PATCH");
  EXPECT_EQ(ovtest::readBytes(target), expected);
}

TEST_F(CleanupTest, SymbolicLinkKeepsPointingAtTheReplacedFile) {
  const std::string real = mDir.file("real.parquet");
  const std::string link = mDir.file("link.parquet");
  ovtest::writeBytes(real, "OLD");
  std::filesystem::create_symlink(real, link);
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(link, guard);
  write(*stream, "NEW");
  stream->fileHandle()->close();
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(ovtest::readBytes(real), "NEW");
  EXPECT_EQ(mDir.entries(), (Names{"link.parquet", "real.parquet"}));
}

TEST_F(CleanupTest, GuardServesOneFileOnly) {
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto first = open(mDir.file("one.parquet"), guard);
  EXPECT_ANY_THROW(open(mDir.file("two.parquet"), guard));
  first->fileHandle()->close();
  EXPECT_EQ(mDir.entries(), Names{"one.parquet"});
}

TEST_F(CleanupTest, KeepPolicyKeepsPartialOutput) {
  const std::string target = mDir.file("partial.parquet");
  {
    CleanupFile guard(OpenMode::Write, CleanupPolicy::Keep);
    auto stream = open(target, guard);
    stream->write("partial output", 14);
    EXPECT_EQ(ovtest::readBytes(target), "");  // still buffered, but the file is there
    guard.cleanup();
    stream.reset();
  }
  EXPECT_EQ(ovtest::readBytes(target), "partial output");
}

TEST_F(CleanupTest, ReadModeIgnoresThePolicy) {
  const std::string target = mDir.file("input.parquet");
  ovtest::writeBytes(target, "data");
  CleanupFile guard(OpenMode::Read, CleanupPolicy::CommitOnClose);
  auto stream = open(target, guard);
  std::string text(4, '\0');
  stream->read(text.data(), 4);
  EXPECT_EQ(text, "data");
  guard.cleanup();
  stream->fileHandle()->close();
  EXPECT_EQ(ovtest::readBytes(target), "data");
  EXPECT_EQ(mDir.entries(), Names{"input.parquet"});
}

// A writer killed in the middle never leaves a partial file under the
// target's name: the older file stays as it was.
TEST_F(CleanupTest, KilledWriterLeavesTheOldFileIntact) {
  const std::string target = mDir.file("crash.parquet");
  const std::string old = pattern(1024 * 1024 + 17, 9);
  ovtest::writeBytes(target, old);

  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // The child never returns into the test framework.
    ::close(ready[0]);
    int status = 0;
    try {
      CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
      auto stream = open(target, guard);
      const std::string chunk = pattern(1024 * 1024, 10);
      for (int i = 0; i < 4; ++i) stream->write(chunk.data(), static_cast<std::streamsize>(chunk.size()));
      stream->flush();
      if (!stream->good() || ::write(ready[1], "r", 1) != 1) ::_exit(3);
      // Keep writing (over the same region, so the disk does not fill) until killed.
      for (long i = 0; i < 1000000; ++i) {
        stream->seekp(static_cast<std::streamoff>(i % 8) * 1024 * 1024);
        stream->write(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        stream->flush();
      }
      status = 4;
    } catch (...) {
      status = 2;
    }
    ::_exit(status);
  }
  ::close(ready[1]);
  char signal = 0;
  const ssize_t got = ::read(ready[0], &signal, 1);
  ::close(ready[0]);
  ::kill(child, SIGKILL);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_EQ(got, 1) << "the child did not start writing (exit status " << status << ")";
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  EXPECT_EQ(ovtest::readBytes(target), old);
}

}  // namespace
}  // namespace orvane::vfs
