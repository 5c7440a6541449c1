#ifndef DEVSHOP_WORKER_POOL_H_
#define DEVSHOP_WORKER_POOL_H_

#include <httplib.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace devshop {

/// Threads that grow with the connections: a task never waits for another to end, so that idle
/// connections, which keep their thread, block nobody.
class WorkerPool : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> task) override {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (tasks_.size() > idle_) {
      threads_.emplace_back([this] { work(); });
    } else {
      wake_.notify_one();
    }
  }

  void shutdown() override {
    {
      const std::lock_guard lock(mutex_);
      closing_ = true;
    }
    wake_.notify_all();
    for (auto& thread : threads_) thread.join();
  }

 private:
  void work() {
    std::unique_lock lock(mutex_);
    for (;;) {
      ++idle_;
      wake_.wait(lock, [this] { return closing_ || !tasks_.empty(); });
      --idle_;
      if (tasks_.empty()) return;
      const auto task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task();
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;
  bool closing_ = false;
};

}  // namespace devshop

#endif  // DEVSHOP_WORKER_POOL_H_
