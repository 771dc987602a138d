#include "S3Fixture.hpp"

#include "../support/ParquetFiles.hpp"

#include <arrow/io/interfaces.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace ovtest {
namespace {

std::shared_ptr<arrow::fs::S3FileSystem>& testS3Pointer() {
  static std::shared_ptr<arrow::fs::S3FileSystem> fs;
  return fs;
}

}  // namespace

std::string s3Location(const std::string& path) { return "s3://" + path; }

arrow::fs::S3FileSystem& testS3() {
  auto& fs = testS3Pointer();
  if (!fs) {
    check(arrow::fs::EnsureS3Initialized());
    auto options = arrow::fs::S3Options::FromAccessKey(kAccessKey, kSecretKey);
    options.endpoint_override = s3Server().endpoint();
    options.scheme = "http";
    options.region = "us-east-1";
    options.allow_bucket_creation = true;
    fs = check(arrow::fs::S3FileSystem::Make(options));
  }
  return *fs;
}

void releaseTestS3() { testS3Pointer().reset(); }

void makeBucket(const std::string& bucket) { check(testS3().CreateDir(bucket)); }

void putObject(const std::string& path, const std::string& bytes) {
  auto out = check(testS3().OpenOutputStream(path));
  check(out->Write(bytes.data(), static_cast<int64_t>(bytes.size())));
  check(out->Close());
}

void uploadFile(const std::string& localPath, const std::string& path) {
  std::ifstream in(localPath, std::ios::binary);
  putObject(path, std::string(std::istreambuf_iterator<char>(in), {}));
}

std::optional<std::string> getObject(const std::string& path) {
  const auto info = check(testS3().GetFileInfo(path));
  if (info.type() != arrow::fs::FileType::File) return std::nullopt;
  auto in = check(testS3().OpenInputFile(path));
  const auto size = check(in->GetSize());
  std::string bytes(static_cast<std::size_t>(size), '\0');
  check(in->ReadAt(0, size, bytes.data()).status());
  return bytes;
}

ScopedEnv::ScopedEnv(std::string name, std::optional<std::string> value) : mName(std::move(name)) {
  if (const char* old = std::getenv(mName.c_str())) mOld = old;
  if (value) {
    ::setenv(mName.c_str(), value->c_str(), 1);
  } else {
    ::unsetenv(mName.c_str());
  }
}

ScopedEnv::~ScopedEnv() {
  if (mOld) {
    ::setenv(mName.c_str(), mOld->c_str(), 1);
  } else {
    ::unsetenv(mName.c_str());
  }
}

}  // namespace ovtest
