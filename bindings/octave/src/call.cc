// How a call into the library meets Octave: the interpreter thread becomes
// the host's signal thread for the call, Octave's Ctrl-C is passed on to the
// host's interrupt service, host warnings become Octave warnings and every
// failure an Octave error with the library's identifier and catalog text.
#include "binding.h"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/message.hpp>
#include <ovparquet/host/warning.hpp>

#include <octave/quit.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

namespace ovparquet::octave_binding {

// Octave's signal handler only raises a flag that Octave itself looks at
// between statements; while the library works, a watcher thread copies it
// into the host's pending interrupt, which the library checks on the signal
// thread.
struct CallScope::State {
  std::mutex mutex;
  std::condition_variable wake;
  bool stop = false;
  std::thread watcher;
};

CallScope::CallScope() : mState(new State) {
  orvane::markSignalThread();
  orvane::clearInterrupt();
  State* state = mState;
  state->watcher = std::thread([state] {
    std::unique_lock<std::mutex> lock(state->mutex);
    while (!state->stop) {
      if (octave_signal_caught) orvane::requestInterrupt();
      state->wake.wait_for(lock, std::chrono::milliseconds(20));
    }
  });
}

CallScope::~CallScope() {
  {
    std::lock_guard<std::mutex> lock(mState->mutex);
    mState->stop = true;
  }
  mState->wake.notify_all();
  mState->watcher.join();
  delete mState;
}

void check_interrupt() {
  if (octave_signal_caught) orvane::requestInterrupt();
  orvane::throwIfInterruptPending();
}

octave_value_list run_call(const std::function<octave_value_list()>& body) {
  enum class Outcome { Ok, Error, Interrupted };
  Outcome outcome = Outcome::Ok;
  std::string identifier;
  std::string text;
  std::vector<orvane::Message> warnings;
  octave_value_list result;
  {
    orvane::ScopedWarningCapture capture;
    try {
      CallScope scope;
      result = body();
    } catch (const orvane::InterruptError&) {
      outcome = Outcome::Interrupted;
    } catch (const orvane::HostError& e) {
      outcome = Outcome::Error;
      identifier = e.identifier();
      text = e.what();
    } catch (const orvane::io::parquet::core::common::MessageError& e) {
      outcome = Outcome::Error;
      identifier = e.identifier();
      text = e.what();
    } catch (const BindingError& e) {
      outcome = Outcome::Error;
      identifier = e.identifier();
      text = e.what();
    } catch (const octave::execution_exception&) {
      throw;  // an Octave error raised inside the call: already Octave's
    } catch (const octave::interrupt_exception&) {
      throw;
    } catch (const std::bad_alloc&) {
      outcome = Outcome::Error;
      identifier = std::string(kComponent) + ":OutOfMemory";
      text = "Out of memory.";
    } catch (const std::exception& e) {
      outcome = Outcome::Error;
      identifier = std::string(kComponent) + ":InternalError";
      text = e.what();
    }
    warnings = capture.warnings();
  }
  for (const auto& w : warnings) {
    std::string wtext;
    try {
      wtext = orvane::formatMessage(w);
    } catch (const std::exception&) {
      wtext = w.identifier();
    }
    warning_with_id(w.identifier().c_str(), "%s", wtext.c_str());
  }
  switch (outcome) {
    case Outcome::Ok: break;
    case Outcome::Interrupted:
      orvane::clearInterrupt();
      // Octave's own Ctrl-C handling, as for any built-in function.
      octave_quit();
      throw octave::interrupt_exception();
    case Outcome::Error: error_with_id(identifier.c_str(), "%s", text.c_str());
  }
  return result;
}

}  // namespace ovparquet::octave_binding
