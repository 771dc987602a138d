// The "s3" scheme of the host's file system against a real S3-compatible
// server: reading, writing with commit on close, listing, and every failure
// as an identified host error.
#include "S3Fixture.hpp"

#include "../support/Files.hpp"
#include "../support/HostErrors.hpp"

#include <ovparquet/host/error.hpp>
#include <ovparquet/host/stream.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <string>

extern char** environ;

namespace ovtest {
namespace {

using orvane::ustring;
using orvane::vfs::BinaryStream;
using orvane::vfs::CleanupFile;
using orvane::vfs::CleanupPolicy;
using orvane::vfs::OpenMode;
using testing::HasSubstr;
using testing::Not;

ustring u(const std::string& text) { return orvane::utf8_to_ustring(text); }

std::unique_ptr<BinaryStream> open(const std::string& location, CleanupFile& guard, OpenMode mode) {
  return orvane::vfs::openBinaryStream(u(location), guard, mode, mode == OpenMode::Read);
}

std::string readAll(const std::string& location) {
  CleanupFile guard(OpenMode::Read, CleanupPolicy::Keep);
  auto stream = open(location, guard, OpenMode::Read);
  std::string bytes(static_cast<std::size_t>(stream->size()), '\0');
  stream->read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  EXPECT_EQ(stream->gcount(), stream->size());
  return bytes;
}

// Writes `bytes` and closes: the object appears.
void writeAll(const std::string& location, const std::string& bytes) {
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(location, guard, OpenMode::Write);
  stream->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  ASSERT_TRUE(stream->good());
  stream->flush();
  stream->detachFileHandle()->close();
}

// A port on 127.0.0.1 where nothing listens.
int closedPort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
  socklen_t length = sizeof address;
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  ::close(fd);
  return ntohs(address.sin_port);
}

class S3FileSystemTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { makeBucket("vfs"); }
};

TEST_F(S3FileSystemTest, WrittenObjectReadsBackByteForByte) {
  const std::string bytes = pattern(3 * 1024 * 1024 + 17, 5);
  writeAll(s3Location("vfs/roundtrip.bin"), bytes);
  EXPECT_EQ(getObject("vfs/roundtrip.bin"), bytes);
  EXPECT_EQ(readAll(s3Location("vfs/roundtrip.bin")), bytes);
}

TEST_F(S3FileSystemTest, StreamReportsSizeAndLocationWithoutCredentials) {
  putObject("vfs/size.bin", pattern(1000));
  CleanupFile guard(OpenMode::Read, CleanupPolicy::Keep);
  auto stream = open("s3://" + std::string(kAccessKey) + ":" + kSecretKey + "@vfs/size.bin", guard, OpenMode::Read);
  EXPECT_EQ(stream->size(), 1000);
  EXPECT_EQ(orvane::ustring_to_utf8(stream->location().text()), "s3://vfs/size.bin");
}

TEST_F(S3FileSystemTest, RandomAccessReadsSeekAndStopAtTheEnd) {
  const std::string bytes = pattern(500000, 9);
  putObject("vfs/random.bin", bytes);
  CleanupFile guard(OpenMode::Read, CleanupPolicy::Keep);
  auto stream = open(s3Location("vfs/random.bin"), guard, OpenMode::Read);
  char buffer[100];
  for (const std::int64_t offset : {400000, 10, 499990, 250000, 0}) {
    stream->clear();
    stream->seekg(offset);
    stream->read(buffer, sizeof buffer);
    const auto expected = std::min<std::int64_t>(100, 500000 - offset);
    ASSERT_EQ(stream->gcount(), expected) << offset;
    EXPECT_EQ(std::string(buffer, static_cast<std::size_t>(expected)), bytes.substr(offset, expected)) << offset;
  }
  stream->clear();
  stream->seekg(499990);
  stream->read(buffer, sizeof buffer);
  EXPECT_TRUE(stream->eof());
  stream->clear();
  EXPECT_EQ(stream->tellg(), 500000);
}

TEST_F(S3FileSystemTest, ObjectAppearsOnlyOnCloseAndOlderOneStaysUntilThen) {
  putObject("vfs/replace.bin", "older");
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(s3Location("vfs/replace.bin"), guard, OpenMode::Write);
  const std::string bytes = pattern(7 * 1024 * 1024, 3);
  stream->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream->flush();
  EXPECT_EQ(getObject("vfs/replace.bin"), "older");
  stream->detachFileHandle()->close();
  EXPECT_EQ(getObject("vfs/replace.bin"), bytes);
}

TEST_F(S3FileSystemTest, CleanupAbortsTheUploadAndKeepsTheOlderObject) {
  putObject("vfs/abandoned.bin", "older");
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = open(s3Location("vfs/abandoned.bin"), guard, OpenMode::Write);
  const std::string bytes = pattern(6 * 1024 * 1024);
  stream->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream->flush();
  guard.cleanup();
  stream->detachFileHandle()->close();  // nothing to report after cleanup
  EXPECT_EQ(getObject("vfs/abandoned.bin"), "older");

  CleanupFile fresh(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto second = open(s3Location("vfs/never.bin"), fresh, OpenMode::Write);
  second->write("x", 1);
  fresh.cleanup();
  second.reset();
  EXPECT_EQ(getObject("vfs/never.bin"), std::nullopt);
}

TEST_F(S3FileSystemTest, StreamDestroyedWithoutCloseLeavesNoObject) {
  {
    CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
    auto stream = open(s3Location("vfs/unclosed.bin"), guard, OpenMode::Write);
    stream->write("data", 4);
  }
  EXPECT_EQ(getObject("vfs/unclosed.bin"), std::nullopt);
}

TEST_F(S3FileSystemTest, KeepPolicyCompletesAnUnclosedUpload) {
  {
    CleanupFile guard(OpenMode::Write, CleanupPolicy::Keep);
    auto stream = open(s3Location("vfs/kept.bin"), guard, OpenMode::Write);
    stream->write("kept", 4);
  }
  EXPECT_EQ(getObject("vfs/kept.bin"), "kept");
}

TEST_F(S3FileSystemTest, KilledWriterLeavesNoObject) {
  putObject("vfs/killed.bin", "older");
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ready[1], 1);
  std::string program = OVPARQUET_S3_WRITER_CHILD;
  std::string location = s3Location("vfs/killed.bin");
  std::vector<char*> argv = {program.data(), location.data(), nullptr};
  pid_t pid = -1;
  ASSERT_EQ(::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  ::close(ready[1]);
  char line[64] = {};
  const ssize_t got = ::read(ready[0], line, sizeof line - 1);
  ::close(ready[0]);
  ASSERT_GT(got, 0);
  EXPECT_THAT(std::string(line), HasSubstr("written"));
  ::kill(pid, SIGKILL);
  int status = 0;
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(getObject("vfs/killed.bin"), "older");
}

TEST_F(S3FileSystemTest, MissingKeyBucketAndPrefixAreNamed) {
  putObject("vfs/dir/a.bin", "a");
  CleanupFile guard(OpenMode::Read, CleanupPolicy::Keep);
  auto [id, text] = hostError([&] { open(s3Location("vfs/nothing.bin"), guard, OpenMode::Read); });
  EXPECT_EQ(id, "ORVANE:host:FileNotFound");
  EXPECT_THAT(text, HasSubstr("s3://vfs/nothing.bin"));
  std::tie(id, text) = hostError([&] { open(s3Location("no-such-bucket/x.parquet"), guard, OpenMode::Read); });
  EXPECT_EQ(id, "ORVANE:host:BucketNotFound");
  EXPECT_THAT(text, HasSubstr("the bucket 'no-such-bucket' does not exist"));
  std::tie(id, text) = hostError([&] { open(s3Location("vfs/dir"), guard, OpenMode::Read); });
  EXPECT_EQ(id, "ORVANE:host:IsDirectory");
  std::tie(id, text) = hostError([&] { open(s3Location("vfs/dir/"), guard, OpenMode::Read); });
  EXPECT_EQ(id, "ORVANE:host:IsDirectory");
  std::tie(id, text) = hostError([&] { open(s3Location("vfs"), guard, OpenMode::Read); });
  EXPECT_EQ(id, "ORVANE:host:IsDirectory");
}

TEST_F(S3FileSystemTest, WritingIntoAMissingBucketFailsAtOpen) {
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  const auto [id, text] = hostError([&] { open(s3Location("no-such-bucket/x.parquet"), guard, OpenMode::Write); });
  EXPECT_EQ(id, "ORVANE:host:BucketNotFound");
}

TEST_F(S3FileSystemTest, AppendAndUpdateInPlaceAreRefused) {
  putObject("vfs/modes.bin", "x");
  CleanupFile append(OpenMode::Append, CleanupPolicy::Keep);
  auto [id, text] = hostError([&] { open(s3Location("vfs/modes.bin"), append, OpenMode::Append); });
  EXPECT_EQ(id, "ORVANE:host:UnsupportedMode");
  EXPECT_THAT(text, HasSubstr("cannot be appended"));
  CleanupFile update(OpenMode::ReadUpdate, CleanupPolicy::Keep);
  std::tie(id, text) = hostError([&] { open(s3Location("vfs/modes.bin"), update, OpenMode::ReadUpdate); });
  EXPECT_EQ(id, "ORVANE:host:UnsupportedMode");
  EXPECT_EQ(getObject("vfs/modes.bin"), "x");
}

TEST_F(S3FileSystemTest, MalformedLocationsAreRefused) {
  CleanupFile guard(OpenMode::Read, CleanupPolicy::Keep);
  for (const std::string location : {"s3:vfs/key", "s3:///key", "s3://vfs/key?colour=blue", "s3://vfs/key?scheme=ftp",
                                     "s3://host:9000/key"}) {
    const auto [id, text] = hostError([&] { open(location, guard, OpenMode::Read); });
    EXPECT_EQ(id, "ORVANE:host:MalformedIri") << location << ": " << text;
  }
  const auto [id, text] = hostError([&] { open("s3://", guard, OpenMode::Read); });
  EXPECT_EQ(id, "ORVANE:host:MalformedIri");
}

TEST_F(S3FileSystemTest, EndpointFromTheLocationsQuery) {
  putObject("vfs/query.bin", "by query");
  ScopedEnv noEndpoint("AWS_ENDPOINT_URL_S3", std::nullopt);
  const std::string location = "s3://vfs/query.bin?endpoint_override=" + s3Server().endpoint() + "&scheme=http";
  EXPECT_EQ(readAll(location), "by query");
}

TEST_F(S3FileSystemTest, EndpointFromTheGeneralEndpointVariable) {
  putObject("vfs/general.bin", "by AWS_ENDPOINT_URL");
  ScopedEnv noEndpoint("AWS_ENDPOINT_URL_S3", std::nullopt);
  ScopedEnv general("AWS_ENDPOINT_URL", "http://" + s3Server().endpoint());
  EXPECT_EQ(readAll(s3Location("vfs/general.bin")), "by AWS_ENDPOINT_URL");
}

TEST_F(S3FileSystemTest, AnonymousAccessWithoutCredentials) {
  putObject("vfs/public.bin", "public");
  ScopedEnv noKey("AWS_ACCESS_KEY_ID", std::nullopt);
  ScopedEnv noSecret("AWS_SECRET_ACCESS_KEY", std::nullopt);
  EXPECT_EQ(readAll(s3Location("vfs/public.bin")), "public");
}

TEST_F(S3FileSystemTest, NothingListeningIsUnreachable) {
  ScopedEnv endpoint("AWS_ENDPOINT_URL_S3", "http://127.0.0.1:" + std::to_string(closedPort()));
  CleanupFile guard(OpenMode::Read, CleanupPolicy::Keep);
  const auto [id, text] = hostError([&] { open(s3Location("vfs/x.parquet"), guard, OpenMode::Read); });
  EXPECT_EQ(id, "ORVANE:host:RemoteUnreachable");
  EXPECT_THAT(text, HasSubstr("no S3 server answers at http://127.0.0.1:"));
}

TEST_F(S3FileSystemTest, WrongCredentialsAreRefusedAndNeverShown) {
  S3Server strict(/*requireCredentials=*/true);
  ScopedEnv endpoint("AWS_ENDPOINT_URL_S3", "http://" + strict.endpoint());
  CleanupFile guard(OpenMode::Read, CleanupPolicy::Keep);
  for (const OpenMode mode : {OpenMode::Read, OpenMode::Write}) {
    CleanupFile writeGuard(mode, CleanupPolicy::CommitOnClose);
    const auto [id, text] = hostError([&] { open(s3Location("vfs/x.parquet"), writeGuard, mode); });
    EXPECT_EQ(id, "ORVANE:host:AccessDenied") << text;
    EXPECT_THAT(text, Not(HasSubstr(kSecretKey)));
  }
}

TEST_F(S3FileSystemTest, ListingGivesEveryObjectBelowAPrefix) {
  for (const std::string key : {"list/b.parquet", "list/a.parquet", "list/sub/c.parquet", "list/notes.txt"}) {
    putObject("vfs/" + key, "x");
  }
  putObject("vfs/listing-neighbour.parquet", "x");
  const auto listing = orvane::vfs::listLocation(u(s3Location("vfs/list/")));
  ASSERT_TRUE(listing.isDirectory);
  std::vector<std::string> names;
  for (const auto& file : listing.files) names.push_back(orvane::ustring_to_utf8(file));
  EXPECT_THAT(names, testing::ElementsAre("s3://vfs/list/a.parquet", "s3://vfs/list/b.parquet",
                                          "s3://vfs/list/notes.txt", "s3://vfs/list/sub/c.parquet"));
  EXPECT_FALSE(orvane::vfs::listLocation(u(s3Location("vfs/list/a.parquet"))).isDirectory);
  EXPECT_FALSE(orvane::vfs::listLocation(u(s3Location("vfs/list/none"))).isDirectory);
}

TEST_F(S3FileSystemTest, ListedNamesKeepTheEndpointQuery) {
  putObject("vfs/q/a.parquet", "x");
  ScopedEnv noEndpoint("AWS_ENDPOINT_URL_S3", std::nullopt);
  const std::string query = "?endpoint_override=" + s3Server().endpoint() + "&scheme=http";
  const auto listing = orvane::vfs::listLocation(u("s3://vfs/q" + query));
  ASSERT_EQ(listing.files.size(), 1u);
  EXPECT_EQ(orvane::ustring_to_utf8(listing.files[0]), "s3://vfs/q/a.parquet" + query);
  EXPECT_EQ(readAll(orvane::ustring_to_utf8(listing.files[0])), "x");
}

TEST_F(S3FileSystemTest, CopyFileUploadsALocalFile) {
  TempDir dir;
  const std::string bytes = pattern(200000, 4);
  writeBytes(dir.file("local.bin"), bytes);
  orvane::vfs::copyFile(u(dir.file("local.bin")), u(s3Location("vfs/copied.bin")));
  EXPECT_EQ(getObject("vfs/copied.bin"), bytes);
  const auto [id, text] =
      hostError([&] { orvane::vfs::copyFile(u(dir.file("missing.bin")), u(s3Location("vfs/copied.bin"))); });
  EXPECT_EQ(id, "ORVANE:host:FileNotFound");
  EXPECT_EQ(getObject("vfs/copied.bin"), bytes);
}

}  // namespace
}  // namespace ovtest
