// The remote-location tests share one S3 server on 127.0.0.1, started before
// the first test and stopped after the last; the library finds it through
// the usual AWS environment variables.
#include "S3Fixture.hpp"

#include "../support/Files.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace ovtest {
namespace {

std::unique_ptr<S3Server>& server() {
  static std::unique_ptr<S3Server> instance;
  return instance;
}

class S3Environment : public testing::Environment {
 public:
  void SetUp() override {
    server() = std::make_unique<S3Server>();
    ::setenv("AWS_ACCESS_KEY_ID", kAccessKey, 1);
    ::setenv("AWS_SECRET_ACCESS_KEY", kSecretKey, 1);
    ::setenv("AWS_REGION", "us-east-1", 1);
    ::setenv("AWS_ENDPOINT_URL_S3", ("http://" + server()->endpoint()).c_str(), 1);
    // No profile or config file of the machine's user takes part.
    ::setenv("HOME", mHome.path().c_str(), 1);
    for (const char* name : {"AWS_PROFILE", "AWS_SESSION_TOKEN", "AWS_ENDPOINT_URL", "AWS_DEFAULT_REGION",
                             "AWS_SHARED_CREDENTIALS_FILE", "AWS_CONFIG_FILE"}) {
      ::unsetenv(name);
    }
  }
  void TearDown() override {
    releaseTestS3();
    server().reset();
  }

 private:
  TempDir mHome;
};

}  // namespace

S3Server& s3Server() { return *server(); }

}  // namespace ovtest

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::AddGlobalTestEnvironment(new ovtest::S3Environment());
  return RUN_ALL_TESTS();
}
