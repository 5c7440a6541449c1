// Downloads a bought book while an event loop stays responsive: a worker thread makes all calls of
// the store, and the loop shows the progress and ends the program within a second of Ctrl-C, also
// in the middle of a download.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

#include "store_manager.h"

namespace {

using namespace saltmoor::quire;
using namespace std::chrono_literals;

/// Owns the manager: makes all its calls on a thread of its own. The public functions are for the
/// thread of the event loop.
class StoreThread {
 public:
  struct State {
    std::string text;    ///< for the user
    bool ended = false;  ///< the thread makes no more calls
    int exit_code = EXIT_FAILURE;
  };

  StoreThread(const std::string& user, const std::string& password, const std::string& ean)
      : thread_(std::async(std::launch::async, [=] { Download(user, password, ean); })) {}

  /// Readable after the state has changed.
  int descriptor() const { return changed_; }

  State TakeState() {
    std::uint64_t changes = 0;
    if (read(changed_, &changes, sizeof changes) < 0) return {};
    const std::lock_guard lock(mutex_);
    return state_;
  }

  /// Ends the thread after the call in progress, which cannot be interrupted, and waits for it.
  void Stop(std::chrono::milliseconds limit) {
    stopping_ = true;
    thread_.wait_for(limit);
  }

 private:
  void Show(const State& state) {
    const std::lock_guard lock(mutex_);
    state_ = state;
    eventfd_write(changed_, 1);
  }

  void Fail(const std::string& error, const Failure& failure = {}) {
    Show({error + (failure.message.empty() ? "" : ": " + failure.message), true});
  }

  void Download(const std::string& user, const std::string& password, const std::string& ean) {
    StoreManager& store = StoreManager::Instance();
    if (store.Init() != 0) return Fail("No configuration of the shop", store.GetLastFailure());
    if (stopping_) return;
    if (store.LogIn(user, password).code_ != ServerApi::kOk) {
      return Fail("The shop did not let you in", store.GetLastFailure());
    }
    if (stopping_) return;
    store.DownloadBookById(ean);
    Failure failure = store.GetLastFailure();
    while (!stopping_ && store.CheckDownloadState() != 0) {
      if (store.GetLastFailure()) failure = store.GetLastFailure();
      Show({std::to_string(store.GetBookStatus(ean).progress) + " %"});
      std::this_thread::sleep_for(200ms);
    }
    if (stopping_) return;
    if (failure) return Fail("The book is not downloaded", failure);
    if (store.GetSavedPath().empty()) return Fail("You have not bought this book");
    Show({"The book is saved as " + store.GetSavedPath(), true, EXIT_SUCCESS});
  }

  const int changed_ = eventfd(0, EFD_CLOEXEC);
  std::mutex mutex_;
  State state_;
  std::atomic<bool> stopping_ = false;
  std::future<void> thread_;  // last: its destructor waits for the thread
};

/// Blocks the signals that end the program, in the threads that are started later, too.
/// \return a descriptor that is readable after one of them.
int BlockSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: event_loop USER EAN <password-file\n";
    return EXIT_FAILURE;
  }
  std::string password;
  std::getline(std::cin, password);
  const int signals = BlockSignals();
  StoreThread store(argv[1], password, argv[2]);

  for (;;) {
    pollfd events[] = {{signals, POLLIN, 0}, {store.descriptor(), POLLIN, 0}};
    poll(events, std::size(events), -1);
    if (events[0].revents != 0) {
      store.Stop(500ms);
      std::cout << "\nStopped. The next run continues the download." << std::endl;
      std::_Exit(EXIT_FAILURE);  // an ordinary exit waits for the download
    }
    if (events[1].revents != 0) {
      const StoreThread::State state = store.TakeState();
      std::cout << '\r' << state.text << (state.ended ? "\n" : "") << std::flush;
      if (state.ended) return state.exit_code;
    }
  }
}
