// A real S3-compatible server (moto) on 127.0.0.1 for the remote-location
// tests, with a relay in front of it whose link can be cut.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string>

namespace ovtest {

struct RequestCount {
  int get = 0;
  int head = 0;
  int other = 0;
  int total() const { return get + head + other; }
};

class S3Server {
 public:
  // Starts the server; throws std::runtime_error when it does not come up.
  // With `requireCredentials`, only keys the server issued itself are
  // accepted, so any other credentials are refused.
  explicit S3Server(bool requireCredentials = false);
  ~S3Server();
  S3Server(const S3Server&) = delete;
  S3Server& operator=(const S3Server&) = delete;

  // "127.0.0.1:PORT" of the server itself and of the relay before it.
  std::string endpoint() const;
  std::string relayEndpoint() const;
  // The server going away for a client of the relay, and coming back.
  void cutRelay();
  void restoreRelay();
  // Requests served since the last call.
  RequestCount takeRequestCount();

 private:
  std::string command(const std::string& line);

  pid_t mPid = -1;
  FILE* mIn = nullptr;
  FILE* mOut = nullptr;
  int mPort = 0;
  int mRelayPort = 0;
};

}  // namespace ovtest
