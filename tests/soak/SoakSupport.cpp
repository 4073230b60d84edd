#include "SoakSupport.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <stdlib.h>
#include <unistd.h>

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

// Open descriptors by number, with what each refers to; not the one reading the list.
std::map<int, std::string> Descriptors() {
    std::map<int, std::string> out;
    DIR* d = opendir("/proc/self/fd");
    while (dirent* e = d ? readdir(d) : nullptr) {
        char target[256] = {};
        const std::string path = std::string("/proc/self/fd/") + e->d_name;
        if (e->d_name[0] == '.' || atoi(e->d_name) == dirfd(d)) continue;
        out[atoi(e->d_name)] = readlink(path.c_str(), target, sizeof target - 1) > 0 ? target : "?";
    }
    if (d) closedir(d);
    return out;
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
    descriptors_ = Descriptors();
    pool_ = orvex::hidl::RpcThreadCount();
    started_ = std::chrono::steady_clock::now();
}

void Baseline::ExpectNothingLeft() const {
    const size_t pool = orvex::hidl::RpcThreadCount();
    EXPECT_LE(pool, 2u);
    EXPECT_EQ(threads_ + (pool - pool_), ThreadCount());
    std::vector<std::string> opened;
    for (const auto& d : Descriptors()) {
        const auto then = descriptors_.find(d.first);
        if (then == descriptors_.end() || then->second != d.second) {
            opened.push_back(std::to_string(d.first) + " " + d.second);
        }
    }
    EXPECT_EQ(std::vector<std::string>{}, opened);
}

int Baseline::Milliseconds() const {
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                std::chrono::steady_clock::now() - started_)
                                .count());
}

void Report(std::initializer_list<std::pair<const char*, size_t>> figures) {
    for (const auto& f : figures) ::testing::Test::RecordProperty(f.first, static_cast<int>(f.second));
}

size_t Count(const std::vector<orvex::hostlog::Entry>& log, const std::string& message) {
    size_t n = 0;
    for (const auto& e : log) n += e.message == message;
    return n;
}

}  // namespace soak
