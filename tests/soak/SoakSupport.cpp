#include "SoakSupport.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <stdlib.h>

#include <thread>

namespace soak {

namespace {

size_t CountEntries(const char* dir) {
    size_t n = 0;
    if (DIR* d = opendir(dir)) {
        while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
        closedir(d);
    }
    return n;
}

}  // namespace

// opendir holds a descriptor of its own while it reads /proc/self/fd.
size_t ThreadCount() { return CountEntries("/proc/self/task"); }
size_t DescriptorCount() { return CountEntries("/proc/self/fd") - 1; }

QuietLog::QuietLog() {
    const char* sink = getenv("ORVEX_LOG");
    had_ = sink != nullptr;
    if (had_) previous_ = sink;
    setenv("ORVEX_LOG", "off", 1);
    orvex::hostlog::ResetSink();
}

QuietLog::~QuietLog() {
    if (had_) {
        setenv("ORVEX_LOG", previous_.c_str(), 1);
    } else {
        unsetenv("ORVEX_LOG");
    }
    orvex::hostlog::ResetSink();
}

Baseline::Baseline() {
    std::thread([] {}).join();
    threads_ = ThreadCount();
    descriptors_ = DescriptorCount();
    pool_ = orvex::hidl::RpcThreadCount();
    started_ = std::chrono::steady_clock::now();
}

void Baseline::ExpectNothingLeft() const {
    const size_t pool = orvex::hidl::RpcThreadCount();
    EXPECT_LE(pool, 2u);
    EXPECT_EQ(threads_ + (pool - pool_), ThreadCount());
    EXPECT_EQ(descriptors_, DescriptorCount());
}

int Baseline::Milliseconds() const {
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                std::chrono::steady_clock::now() - started_)
                                .count());
}

size_t Count(const std::vector<orvex::hostlog::Entry>& log, const std::string& message) {
    size_t n = 0;
    for (const auto& e : log) n += e.message == message;
    return n;
}

}  // namespace soak
