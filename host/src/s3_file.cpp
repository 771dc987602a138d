// The "s3" scheme on Arrow's S3 file system.
//
// Arrow's S3 support (the AWS SDK) is started on first use and shut down at
// process exit, after the file systems made here are released. One file
// system is kept per configuration (endpoint, region, credentials), so that
// its connections are reused from one file to the next.
#include "s3_file.hpp"

#include "remote_file.hpp"
#include "remote_status.hpp"

#include <ovparquet/host/error.hpp>

#include <arrow/filesystem/s3fs.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orvane::vfs::detail {
namespace {

// Where an object is and how to reach it. The secrets are for the file
// system only: every text shown to a person goes through redact().
struct S3Settings {
  std::string bucket;
  std::string key;
  std::string endpoint;  // host[:port]; empty for the AWS endpoints
  std::string scheme = "https";
  std::string region;
  enum class Credentials { Keys, Default, Anonymous } credentials = Credentials::Anonymous;
  std::string accessKey;
  std::string secretKey;
  std::string sessionToken;
  bool trailingSlash = false;

  std::string path() const { return key.empty() ? bucket : bucket + "/" + key; }
  std::string endpointText() const { return endpoint.empty() ? "the AWS S3 endpoint" : scheme + "://" + endpoint; }
  SecretRedactor redactor() const { return SecretRedactor({accessKey, secretKey, sessionToken}); }
  // Identifies the file system that serves this configuration (never shown).
  std::string configuration() const {
    return endpoint + '\n' + scheme + '\n' + region + '\n' + std::to_string(static_cast<int>(credentials)) + '\n' +
           accessKey + '\n' + secretKey + '\n' + sessionToken;
  }
};

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

bool fileExists(const std::string& path) {
  std::error_code error;
  return !path.empty() && std::filesystem::is_regular_file(path, error);
}

// A profile or config file the AWS SDK would read, or another source of its
// default chain (web identity, container credentials).
bool sdkHasCredentialSource() {
  for (const char* name : {"AWS_PROFILE", "AWS_WEB_IDENTITY_TOKEN_FILE", "AWS_CONTAINER_CREDENTIALS_RELATIVE_URI",
                           "AWS_CONTAINER_CREDENTIALS_FULL_URI"}) {
    if (!environment(name).empty()) return true;
  }
  const std::string home = environment("HOME");
  const std::string credentials = environment("AWS_SHARED_CREDENTIALS_FILE");
  const std::string config = environment("AWS_CONFIG_FILE");
  return fileExists(credentials.empty() && !home.empty() ? home + "/.aws/credentials" : credentials) ||
         fileExists(config.empty() && !home.empty() ? home + "/.aws/config" : config);
}

// "http://host:port/" (or "host:port") into the scheme and the authority.
void applyEndpointUrl(const std::string& url, S3Settings& settings, const std::string& location) {
  std::string rest = url;
  const std::size_t separator = url.find("://");
  if (separator != std::string::npos) {
    settings.scheme = url.substr(0, separator);
    rest = url.substr(separator + 3);
    for (char& c : settings.scheme) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  rest = rest.substr(0, rest.find('/'));
  if (rest.empty() || (settings.scheme != "http" && settings.scheme != "https")) {
    throwHostError("MalformedIri", location,
                   "the S3 endpoint '" + url + "' is not an http or https address such as http://127.0.0.1:9000");
  }
  settings.endpoint = rest;
}

S3Settings settingsOf(const Iri& location) {
  const std::string text = ustring_to_utf8(location.text());
  S3Settings settings;
  settings.bucket = ustring_to_utf8(location.authority());
  if (settings.bucket.empty() || settings.bucket.find(':') != std::string::npos) {
    throwHostError("MalformedIri", text, "an s3 location names a bucket and a key, as in s3://bucket/key");
  }
  std::string path = ustring_to_utf8(location.path());
  while (!path.empty() && path.front() == '/') path.erase(0, 1);
  // "prefix/" names the prefix, as "prefix" does.
  settings.trailingSlash = !path.empty() && path.back() == '/';
  while (!path.empty() && path.back() == '/') path.pop_back();
  settings.key = path;

  const std::string region = environment("AWS_REGION");
  settings.region = region.empty() ? environment("AWS_DEFAULT_REGION") : region;
  const std::string endpointUrl = environment("AWS_ENDPOINT_URL_S3");
  if (!endpointUrl.empty()) {
    applyEndpointUrl(endpointUrl, settings, text);
  } else if (!environment("AWS_ENDPOINT_URL").empty()) {
    applyEndpointUrl(environment("AWS_ENDPOINT_URL"), settings, text);
  }

  settings.accessKey = environment("AWS_ACCESS_KEY_ID");
  settings.secretKey = environment("AWS_SECRET_ACCESS_KEY");
  settings.sessionToken = environment("AWS_SESSION_TOKEN");
  if (!settings.accessKey.empty() && !settings.secretKey.empty()) {
    settings.credentials = S3Settings::Credentials::Keys;
  } else {
    settings.accessKey.clear();
    settings.secretKey.clear();
    settings.sessionToken.clear();
    settings.credentials =
        sdkHasCredentialSource() ? S3Settings::Credentials::Default : S3Settings::Credentials::Anonymous;
  }

  // The location's own settings come last and win.
  for (const auto& [name, value] : location.queryParameters()) {
    if (name == "endpoint_override") {
      settings.endpoint = value;
    } else if (name == "scheme") {
      if (value != "http" && value != "https") {
        throwHostError("MalformedIri", text, "the scheme parameter must be http or https");
      }
      settings.scheme = value;
    } else if (name == "region") {
      settings.region = value;
    } else if (name == "access_key") {
      settings.accessKey = value;
    } else if (name == "secret_key") {
      settings.secretKey = value;
    } else if (name == "session_token") {
      settings.sessionToken = value;
    } else {
      throwHostError("MalformedIri", text,
                     "the query parameter '" + name +
                         "' is not known (known: endpoint_override, scheme, region, access_key, secret_key, "
                         "session_token)");
    }
  }
  const std::string& userInformation = location.userInformation();
  if (!userInformation.empty()) {
    const std::size_t colon = userInformation.find(':');
    settings.accessKey = userInformation.substr(0, colon);
    settings.secretKey = colon == std::string::npos ? std::string() : userInformation.substr(colon + 1);
    settings.sessionToken.clear();
  }
  if (!settings.accessKey.empty() || !settings.secretKey.empty()) {
    if (settings.accessKey.empty() || settings.secretKey.empty()) {
      throwHostError("MalformedIri", text, "S3 credentials need both an access key and a secret key");
    }
    settings.credentials = S3Settings::Credentials::Keys;
  }
  return settings;
}

// The process-wide AWS SDK: started once, shut down at exit after the cached
// file systems are gone (the SDK must not outlive its own shutdown).
class S3Service {
 public:
  static S3Service& instance() {
    static S3Service* service = new S3Service();  // lives until exit; finalised by atexit
    return *service;
  }

  std::shared_ptr<arrow::fs::S3FileSystem> fileSystem(const S3Settings& settings, const std::string& location) {
    std::lock_guard<std::mutex> lock(mMutex);
    start(location);
    const std::string configuration = settings.configuration();
    const auto found = mFileSystems.find(configuration);
    if (found != mFileSystems.end()) return found->second;

    arrow::fs::S3Options options;
    switch (settings.credentials) {
      case S3Settings::Credentials::Keys:
        options = arrow::fs::S3Options::FromAccessKey(settings.accessKey, settings.secretKey, settings.sessionToken);
        break;
      case S3Settings::Credentials::Default:
        options = arrow::fs::S3Options::Defaults();
        break;
      case S3Settings::Credentials::Anonymous:
        options = arrow::fs::S3Options::Anonymous();
        break;
    }
    options.region = settings.region;
    options.endpoint_override = settings.endpoint;
    options.scheme = settings.scheme;
    // A few quick retries: a server that is down is reported in well under
    // a second instead of after the SDK's long default back-off.
    options.retry_strategy = arrow::fs::S3RetryStrategy::GetAwsStandardRetryStrategy(3);
    options.connect_timeout = 5;
    auto made = arrow::fs::S3FileSystem::Make(options);
    if (!made.ok()) throwHostError("CannotOpen", location, settings.redactor().describe(made.status()));
    mFileSystems.emplace(configuration, *made);
    finishAtExit();
    return *made;
  }

 private:
  void start(const std::string& location) {
    if (mStarted) return;
    // Outside the cloud, the SDK's look-ups of the instance metadata service
    // only wait for time-outs on a link-local address. Those who run on such
    // an instance and want its role set AWS_EC2_METADATA_DISABLED=false.
    ::setenv("AWS_EC2_METADATA_DISABLED", "true", 0);
    const arrow::Status status = arrow::fs::EnsureS3Initialized();
    if (!status.ok()) throwHostError("CannotOpen", location, "S3 support cannot start (" + status.message() + ")");
    mStarted = true;
  }

  // The SDK must be shut down before the objects that Arrow makes static on
  // the first file system are destroyed: the exit handler is registered
  // after that file system exists, so that it runs before their destructors.
  void finishAtExit() {
    if (mFinishRegistered) return;
    std::atexit([] { S3Service::instance().finish(); });
    mFinishRegistered = true;
  }

  void finish() {
    std::lock_guard<std::mutex> lock(mMutex);
    mFileSystems.clear();
    (void)arrow::fs::FinalizeS3();
  }

  std::mutex mMutex;
  bool mStarted = false;
  bool mFinishRegistered = false;
  std::map<std::string, std::shared_ptr<arrow::fs::S3FileSystem>> mFileSystems;
};

// Reports why an object cannot be opened, asking the server what the
// location names when the first answer was "not found".
[[noreturn]] void throwOpenFailure(arrow::fs::S3FileSystem& fs, const S3Settings& settings,
                                   const std::string& location, const arrow::Status& status) {
  const SecretRedactor redactor = settings.redactor();
  switch (classifyRemoteFailure(status)) {
    case RemoteFailure::Unreachable:
      throwHostError("RemoteUnreachable", location,
                     "no S3 server answers at " + settings.endpointText() + " (" + redactor.describe(status) + ")");
    case RemoteFailure::Denied:
      throwHostError("AccessDenied", location, redactor.describe(status));
    case RemoteFailure::NotFound: {
      const auto info = fs.GetFileInfo(settings.path());
      if (info.ok() && info->type() == arrow::fs::FileType::Directory) throwHostError("IsDirectory", location);
      const auto bucket = fs.GetFileInfo(settings.bucket);
      if (bucket.ok() && bucket->type() == arrow::fs::FileType::NotFound) {
        throwHostError("BucketNotFound", location, settings.bucket);
      }
      throwHostError("FileNotFound", location);
    }
    case RemoteFailure::Other:
      break;
  }
  throwHostError("CannotOpen", location, redactor.describe(status));
}

// The query of a location's text ("?a=b", secrets already removed), for the
// objects listed below it.
std::string querySuffix(const std::string& text) {
  const std::size_t question = text.find('?');
  if (question == std::string::npos) return {};
  return text.substr(question, text.find('#', question) - question);
}

}  // namespace

OpenedFile openS3File(const Iri& location, CleanupFile& cleanup, OpenMode mode, bool /*streamFlag*/) {
  const std::string text = ustring_to_utf8(location.text());
  if (mode == OpenMode::Append || mode == OpenMode::ReadUpdate) {
    throwHostError("UnsupportedMode", text,
                   mode == OpenMode::Append ? "an object cannot be appended to"
                                            : "an object cannot be read and written in place");
  }
  if (mode != OpenMode::Read && mode != OpenMode::Write) {
    throwHostError("UnsupportedMode", text, "the open mode is not known");
  }
  const S3Settings settings = settingsOf(location);
  if (settings.key.empty() || settings.trailingSlash) throwHostError("IsDirectory", text);
  const auto fs = S3Service::instance().fileSystem(settings, text);
  const SecretRedactor redactor = settings.redactor();
  const StatusDescriber describe = [redactor](const arrow::Status& status) { return redactor.describe(status); };

  OpenedFile opened;
  if (mode == OpenMode::Read) {
    auto file = fs->OpenInputFile(settings.path());
    if (!file.ok()) throwOpenFailure(*fs, settings, text, file.status());
    const auto size = (*file)->GetSize();
    if (!size.ok()) throwOpenFailure(*fs, settings, text, size.status());
    opened.size = *size;
    opened.handle = makeRemoteReadHandle(*file, *size, text, describe);
    return opened;
  }

  const std::shared_ptr<CleanupState>& state = cleanup.state();
  const bool commit = cleanup.policy() == CleanupPolicy::CommitOnClose;
  if (commit) {
    std::lock_guard<std::mutex> lock(state->mutex);
    if (state->inUse) throw std::logic_error("a cleanup guard serves one file only");
  }
  auto stream = fs->OpenOutputStream(settings.path());
  if (!stream.ok()) throwOpenFailure(*fs, settings, text, stream.status());
  opened.size = 0;
  opened.handle = makeRemoteWriteHandle(*stream, text, commit ? state : nullptr, describe);
  return opened;
}

Listing listS3(const Iri& location, const ustring& /*asGiven*/) {
  const std::string text = ustring_to_utf8(location.text());
  const S3Settings settings = settingsOf(location);
  const auto fs = S3Service::instance().fileSystem(settings, text);
  const SecretRedactor redactor = settings.redactor();

  Listing listing;
  const auto info = fs->GetFileInfo(settings.path());
  if (!info.ok()) {
    if (classifyRemoteFailure(info.status()) == RemoteFailure::Unreachable) {
      throwHostError("RemoteUnreachable", text,
                     "no S3 server answers at " + settings.endpointText() + " (" + redactor.describe(info.status()) +
                         ")");
    }
    throwHostError("CannotList", text, redactor.describe(info.status()));
  }
  if (info->type() != arrow::fs::FileType::Directory) return listing;

  listing.isDirectory = true;
  arrow::fs::FileSelector selector;
  selector.base_dir = settings.path();
  selector.recursive = true;
  const auto entries = fs->GetFileInfo(selector);
  if (!entries.ok()) throwHostError("CannotList", text, redactor.describe(entries.status()));
  const std::string suffix = querySuffix(text);
  for (const auto& entry : *entries) {
    if (entry.type() != arrow::fs::FileType::File) continue;
    listing.files.push_back(utf8_to_ustring("s3://" + percentEncodePath(entry.path()) + suffix));
  }
  std::sort(listing.files.begin(), listing.files.end());
  return listing;
}

}  // namespace orvane::vfs::detail
