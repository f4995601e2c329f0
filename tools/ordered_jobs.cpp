#include "ordered_jobs.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace posctl {
namespace {

// Items that may be done and waiting, per job, beyond those being worked on.
constexpr size_t kWaitingPerJob = 4;

class OrderedRun {
 public:
  OrderedRun(size_t count, size_t jobs, const std::function<JobResult(size_t, bool)>& work)
      : count_(count), window_(jobs * (kWaitingPerJob + 1)), work_(work) {}

  void Worker() {
    for (;;) {
      size_t item;
      {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] {
          return stop_ || (next_ < count_ && next_ < delivered_ + window_ && exclusive_ == 0 &&
                           waitingExclusive_ == 0);
        });
        if (stop_ || next_ >= count_) return;
        item = next_++;
        ++shared_;
      }
      JobResult result = Attempt(item, false);
      {
        std::unique_lock<std::mutex> lock(mutex_);
        --shared_;
        changed_.notify_all();
      }
      if (result.redoAlone) {
        {
          std::unique_lock<std::mutex> lock(mutex_);
          ++waitingExclusive_;
          changed_.wait(lock, [&] { return stop_ || (shared_ == 0 && exclusive_ == 0); });
          --waitingExclusive_;
          ++exclusive_;
        }
        if (!stopped()) result = Attempt(item, true);
        std::unique_lock<std::mutex> lock(mutex_);
        --exclusive_;
        changed_.notify_all();
      }
      std::unique_lock<std::mutex> lock(mutex_);
      done_.emplace(item, std::move(result));
      changed_.notify_all();
    }
  }

  // On the calling thread: each result in turn.
  void Deliver(const std::function<void(size_t, JobResult&)>& deliver) {
    for (size_t item = 0; item < count_; ++item) {
      JobResult result;
      {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return done_.count(item) != 0 || error_ != nullptr; });
        if (error_ != nullptr) return;
        result = std::move(done_[item]);
        done_.erase(item);
        ++delivered_;
        changed_.notify_all();
      }
      try {
        deliver(item, result);
      } catch (...) {
        Fail(std::current_exception());
        return;
      }
    }
  }

  void Stop() {
    std::unique_lock<std::mutex> lock(mutex_);
    stop_ = true;
    changed_.notify_all();
  }
  std::exception_ptr error() const { return error_; }

 private:
  JobResult Attempt(size_t item, bool alone) {
    try {
      return work_(item, alone);
    } catch (...) {
      Fail(std::current_exception());
      return JobResult{};
    }
  }

  void Fail(std::exception_ptr error) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (error_ == nullptr) error_ = error;
    stop_ = true;
    changed_.notify_all();
  }

  bool stopped() {
    std::unique_lock<std::mutex> lock(mutex_);
    return stop_;
  }

  const size_t count_;
  const size_t window_;
  const std::function<JobResult(size_t, bool)>& work_;
  std::mutex mutex_;
  std::condition_variable changed_;
  size_t next_ = 0;
  size_t delivered_ = 0;
  size_t shared_ = 0;  // items being worked on beside others
  size_t exclusive_ = 0;
  size_t waitingExclusive_ = 0;
  bool stop_ = false;
  std::exception_ptr error_;
  std::map<size_t, JobResult> done_;
};

}  // namespace

void RunOrdered(size_t count, size_t jobs, const std::function<JobResult(size_t, bool)>& work,
                const std::function<void(size_t, JobResult&)>& deliver) {
  if (jobs <= 1 || count <= 1) {
    for (size_t item = 0; item < count; ++item) {
      JobResult result = work(item, true);
      deliver(item, result);
    }
    return;
  }
  OrderedRun run(count, jobs, work);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < jobs && i < count; ++i) threads.emplace_back([&run] { run.Worker(); });
  run.Deliver(deliver);
  run.Stop();
  for (std::thread& thread : threads) thread.join();
  if (run.error() != nullptr) std::rethrow_exception(run.error());
}

}  // namespace posctl
