#include "S3Server.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <vector>

extern char** environ;

namespace ovtest {

S3Server::S3Server(bool requireCredentials) {
  int toChild[2];
  int fromChild[2];
  if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot make pipes for the S3 server");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, toChild[0], 0);
  posix_spawn_file_actions_adddup2(&actions, fromChild[1], 1);
  std::string python = OVPARQUET_PYTHON;
  std::string script = OVPARQUET_S3_SERVER_SCRIPT;
  std::vector<char*> argv = {python.data(), script.data(), nullptr};
  // moto checks credentials once its allowance of unchecked requests is used.
  std::vector<std::string> variables;
  for (char** e = environ; *e != nullptr; ++e) {
    if (std::strncmp(*e, "INITIAL_NO_AUTH_ACTION_COUNT=", 29) != 0) variables.emplace_back(*e);
  }
  if (requireCredentials) variables.emplace_back("INITIAL_NO_AUTH_ACTION_COUNT=0");
  std::vector<char*> envp;
  for (auto& v : variables) envp.push_back(v.data());
  envp.push_back(nullptr);
  const int spawned = ::posix_spawn(&mPid, python.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  ::close(toChild[0]);
  ::close(fromChild[1]);
  if (spawned != 0) throw std::runtime_error("cannot start the S3 server: " + std::string(std::strerror(spawned)));
  mIn = ::fdopen(toChild[1], "w");
  mOut = ::fdopen(fromChild[0], "r");
  char line[256] = {};
  if (std::fgets(line, sizeof line, mOut) == nullptr ||
      std::sscanf(line, "READY %d %d", &mPort, &mRelayPort) != 2) {
    throw std::runtime_error("the S3 server did not start");
  }
}

S3Server::~S3Server() {
  if (mIn) {
    std::fputs("quit\n", mIn);
    std::fclose(mIn);
  }
  if (mOut) std::fclose(mOut);
  if (mPid > 0) {
    // Give it a moment to stop by itself, then make sure.
    for (int i = 0; i < 50; ++i) {
      if (::waitpid(mPid, nullptr, WNOHANG) == mPid) return;
      ::usleep(20000);
    }
    ::kill(mPid, SIGKILL);
    ::waitpid(mPid, nullptr, 0);
  }
}

std::string S3Server::endpoint() const { return "127.0.0.1:" + std::to_string(mPort); }
std::string S3Server::relayEndpoint() const { return "127.0.0.1:" + std::to_string(mRelayPort); }

std::string S3Server::command(const std::string& line) {
  std::fputs((line + "\n").c_str(), mIn);
  std::fflush(mIn);
  char reply[256] = {};
  if (std::fgets(reply, sizeof reply, mOut) == nullptr) throw std::runtime_error("the S3 server stopped");
  return reply;
}

void S3Server::cutRelay() { command("cut"); }
void S3Server::restoreRelay() { command("restore"); }

RequestCount S3Server::takeRequestCount() {
  RequestCount count;
  const std::string reply = command("count");
  std::sscanf(reply.c_str(), "COUNT %d %d %d", &count.get, &count.head, &count.other);
  return count;
}

}  // namespace ovtest
