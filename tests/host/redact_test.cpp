#include <ovparquet/host/error.hpp>
#include <ovparquet/host/logger.hpp>
#include <ovparquet/host/message.hpp>
#include <ovparquet/host/redact.hpp>

#include <boost/log/sources/record_ostream.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

namespace orvane {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(RedactTest, UserInformationIsRemovedFromEveryLocation) {
  EXPECT_EQ(redactLocationSecrets("open 's3://AKEY:SECRET@bucket/k' and hdfs://user:pw@nn:8020/x"),
            "open 's3://bucket/k' and hdfs://nn:8020/x");
  EXPECT_EQ(redactLocationSecrets("s3://bucket/a@b.parquet"), "s3://bucket/a@b.parquet");
}

TEST(RedactTest, SecretParameterValuesAreMasked) {
  EXPECT_EQ(redactLocationSecrets("s3://b/k?endpoint_override=h:1&secret_key=SECRET&Session_Token=T0K3N#f"),
            "s3://b/k?endpoint_override=h:1&secret_key=***&Session_Token=***#f");
  EXPECT_EQ(redactLocationSecrets("https://h/o?X-Amz-Signature=abc123 done"), "https://h/o?X-Amz-Signature=*** done");
  EXPECT_EQ(redactLocationSecrets("a=1 and x?tokens=2"), "a=1 and x?tokens=2");
}

TEST(RedactTest, MessagesAndLogRecordsNeverShowCredentials) {
  const Message message = Message::make("ORVANE:host", "FileNotFound", std::string("s3://AKEY:SECRET@b/k?secret_key=SECRET"));
  EXPECT_THAT(formatMessage(message), Not(HasSubstr("SECRET")));
  EXPECT_THAT(formatMessage(message), HasSubstr("s3://b/k"));

  auto stream = std::make_shared<std::ostringstream>();
  log::logToStream(stream);
  log::setMask(0xFF);
  log::Logger logger("test.redact");
  auto record = logger.open_record(boost::log::keywords::severity = log::kDetail);
  ASSERT_TRUE(record);
  {
    boost::log::record_ostream out(record);
    out << " filename=s3://AKEY:SECRET@b/k?access_key=AKEY";
  }
  logger.push_record(std::move(record));
  log::setMask(0);
  log::flush();
  log::logToStderr();
  EXPECT_THAT(stream->str(), HasSubstr("filename=s3://b/k?access_key=***"));
  EXPECT_THAT(stream->str(), Not(HasSubstr("SECRET")));
}

}  // namespace
}  // namespace orvane
