// Shared pieces of the soaks (and the timer suite's watched value), all defined here.
#pragma once

#include <dirent.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "orvex/log_capture.h"

namespace soak {

// The entries of `dir`, each with what it links to; not the descriptor reading the list.
inline std::set<std::string> Entries(const char* dir) {
    std::set<std::string> out;
    DIR* d = opendir(dir);
    while (dirent* e = d ? readdir(d) : nullptr) {
        const std::string path = std::string(dir) + "/" + e->d_name;
        char target[256] = {};
        readlink(path.c_str(), target, sizeof target - 1);
        if (e->d_name[0] != '.' && path != "/proc/self/fd/" + std::to_string(dirfd(d)))
            out.insert(std::string(e->d_name) + " " + target);
    }
    if (d) closedir(d);
    return out;
}


// The log sink while it exists: off, so that thousands of soak lines do not flood ctest's
// output (an in-process capture still sees every record). Restores the sink afterwards.
class QuietLog {
  public:
    QuietLog() {
        if (const char* sink = getenv("ORVEX_LOG")) previous_.reset(new std::string(sink));
        setenv("ORVEX_LOG", "off", 1);
        orvex::hostlog::ResetSink();
    }
    ~QuietLog() {
        previous_ ? setenv("ORVEX_LOG", previous_->c_str(), 1) : unsetenv("ORVEX_LOG");
        orvex::hostlog::ResetSink();
    }

  private:
    std::unique_ptr<std::string> previous_;
};

// The process's threads and descriptors when made, after the helper thread some sanitizers
// start with a process's first thread, and the time since.
class Baseline {
  public:
    Baseline() : threads_((std::thread([] {}).join(), Entries("/proc/self/task"))) {}

    // Every thread made since is gone, but the runtime's pool threads (two at most, as the
    // scanning service configures them), which stay for the life of the process as libhidl's
    // do; and no descriptor is open that was not open then. Threads and descriptors are
    // compared by identity, not counted, so that one an earlier step left ending late does not
    // hide a new one or count as one. Then reports `figures` and the time since, as
    // properties of the test's report.
    void End(std::initializer_list<std::pair<const char*, size_t>> figures) const {
        const size_t pool = orvex::hidl::RpcThreadCount();
        EXPECT_LE(pool, 2u);
        // A thread that has returned may still be listed for a moment while the kernel ends it;
        // one that stays is one left behind.
        size_t made = 0;
        for (int tries = 0; tries < 200 && (tries == 0 || made != pool - pool_); ++tries) {
            if (tries > 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
            made = 0;
            for (const std::string& t : Entries("/proc/self/task")) made += threads_.count(t) == 0;
        }
        EXPECT_EQ(pool - pool_, made);
        std::vector<std::string> opened;
        for (const std::string& d : Entries("/proc/self/fd"))
            if (descriptors_.count(d) == 0) opened.push_back(d);
        EXPECT_EQ(std::vector<std::string>{}, opened);
        using namespace std::chrono;
        const auto ms = duration_cast<milliseconds>(steady_clock::now() - started_).count();
        testing::Test::RecordProperty("milliseconds", static_cast<int>(ms));
        for (const auto& f : figures) testing::Test::RecordProperty(f.first, int(f.second));
    }

  private:
    const std::set<std::string> threads_;
    const std::set<std::string> descriptors_ = Entries("/proc/self/fd");
    const size_t pool_ = orvex::hidl::RpcThreadCount();
    const std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
};

// A value that threads change under a lock while others wait for a condition on it: Read runs
// `f` on the value under the lock and returns what it returns, Change does so and then wakes
// the waiters, WaitFor waits up to a minute until `holds` is true of the value (false on
// time-out).
template <typename T>
class Watched {
  public:
    template <typename F>
    auto Read(F f) {
        std::lock_guard<std::mutex> lock(mLock);
        return f(mValue);
    }
    template <typename F>
    void Change(F f) {
        Read(f);
        mChanged.notify_all();
    }
    template <typename P>
    bool WaitFor(P holds) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, std::chrono::minutes(1), [&] { return holds(mValue); });
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    T mValue{};  // GUARDED_BY(mLock)
};

// Records of `log` whose message is `message`; lines of `text` that are `line`.
inline size_t Count(const std::vector<orvex::hostlog::Entry>& log, const std::string& message) {
    size_t n = 0;
    for (const auto& e : log) n += e.message == message;
    return n;
}
inline size_t Count(const std::string& text, const std::string& line) {
    std::istringstream in(text);
    size_t n = 0;
    for (std::string l; std::getline(in, l);) n += l == line;
    return n;
}

}  // namespace soak
