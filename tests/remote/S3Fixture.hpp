// The S3 server of a remote-location test run, the settings that point the
// library at it, and direct access to its objects for set-up and checks.
#pragma once

#include "S3Server.hpp"

#include <arrow/filesystem/s3fs.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ovtest {

// Credentials of the test run. The secret is easy to find in any text: it
// must never appear in a message, a log line or the program's output.
inline constexpr const char* kAccessKey = "OVTESTACCESSKEYID7Q";
inline constexpr const char* kSecretKey = "ovtest-SECRET-k3y-must-never-show";

// The server started for the whole run (see s3_main.cpp).
S3Server& s3Server();
// "s3://bucket/key" for an object of the test run.
std::string s3Location(const std::string& path);

// Arrow's S3 file system on the test server, for set-up and checks.
arrow::fs::S3FileSystem& testS3();
// Lets go of it before the server stops.
void releaseTestS3();
void makeBucket(const std::string& bucket);
void putObject(const std::string& path, const std::string& bytes);
void uploadFile(const std::string& localPath, const std::string& path);
std::optional<std::string> getObject(const std::string& path);

// Sets (or, with nullopt, unsets) an environment variable for a scope.
class ScopedEnv {
 public:
  ScopedEnv(std::string name, std::optional<std::string> value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string mName;
  std::optional<std::string> mOld;
};

}  // namespace ovtest
