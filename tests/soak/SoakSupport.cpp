#include "SoakSupport.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <orvex/hidl_registry.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <sstream>

namespace soak {

namespace {

// The entries of `dir`, each with what it links to; not the descriptor reading the list.
std::set<std::string> Entries(const char* dir) {
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

}  // namespace

size_t ThreadCount() { return Entries("/proc/self/task").size(); }
size_t DescriptorCount() { return Entries("/proc/self/fd").size(); }

QuietLog::QuietLog() {
    if (const char* sink = getenv("ORVEX_LOG")) previous_.reset(new std::string(sink));
    setenv("ORVEX_LOG", "off", 1);
    orvex::hostlog::ResetSink();
}

QuietLog::~QuietLog() {
    previous_ ? setenv("ORVEX_LOG", previous_->c_str(), 1) : unsetenv("ORVEX_LOG");
    orvex::hostlog::ResetSink();
}

Baseline::Baseline() {
    std::thread([] {}).join();
    threads_ = ThreadCount();
    descriptors_ = Entries("/proc/self/fd");
    pool_ = orvex::hidl::RpcThreadCount();
}

void Baseline::ExpectNothingLeft() const {
    const size_t pool = orvex::hidl::RpcThreadCount();
    EXPECT_LE(pool, 2u);
    EXPECT_EQ(threads_ + (pool - pool_), ThreadCount());
    std::vector<std::string> opened;
    for (const std::string& d : Entries("/proc/self/fd"))
        if (descriptors_.count(d) == 0) opened.push_back(d);
    EXPECT_EQ(std::vector<std::string>{}, opened);
}

void Baseline::End(std::initializer_list<std::pair<const char*, size_t>> figures) const {
    ::testing::Test::RecordProperty("milliseconds", static_cast<int>(std::chrono::duration_cast<
        std::chrono::milliseconds>(std::chrono::steady_clock::now() - started_).count()));
    ExpectNothingLeft();
    for (const auto& f : figures) ::testing::Test::RecordProperty(f.first, static_cast<int>(f.second));
}

size_t Count(const std::vector<orvex::hostlog::Entry>& log, const std::string& message) {
    size_t n = 0;
    for (const auto& e : log) n += e.message == message;
    return n;
}

size_t Count(const std::string& text, const std::string& line) {
    std::istringstream in(text);
    size_t n = 0;
    for (std::string l; std::getline(in, l);) n += l == line;
    return n;
}

}  // namespace soak
