// Shared pieces of the feedback suites.
#pragma once

#include <stdio.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "orvex/log_capture.h"

namespace feedback_test {

// The scanner log level every feedback suite runs at, so that debug lines are written: the
// level is read once when the library loads, so a suite started at another level re-executes
// itself under a device root of its own that sets this one.
constexpr int kSuiteLogLevel = 1;

using orvex::hostlog::Entry;

// This process's device root, and files in it by device path.
std::string DeviceRootPath();
void WriteDeviceFile(const std::string& devicePath, const std::string& content);
// What the volume-control library answers as the device's scanner beep volume.
void SetScannerBeepVolume(int volume);

inline Entry Debug(const std::string& text) { return {3, "ScannerFramework", text}; }
inline Entry Info(const std::string& text) { return {4, "ScannerFramework", text}; }
inline Entry Error(const std::string& text) { return {6, "ScannerFramework", text}; }

// Collects mismatches inside a death-test child, where gtest assertions cannot report: the
// child ends with status 0 when everything matched, otherwise 1 with the mismatches on stderr.
class ChildChecks {
  public:
    template <typename A, typename B>
    void Eq(const char* what, const A& actual, const B& expected) {
        std::ostringstream out;
        out << what << ": got " << actual << ", expected " << expected << "\n";
        if (!(actual == expected)) failures_ += out.str();
    }
    void True(const char* what, bool condition) { Eq(what, condition, true); }
    void Logged(const std::vector<Entry>& actual, const std::vector<Entry>& expected) {
        std::ostringstream out;
        for (const auto* list : {&actual, &expected}) {
            out << (list == &actual ? "log differs; got:\n" : "expected:\n");
            for (const Entry& e : *list) PrintTo(e, &out), out << "\n";
        }
        if (actual != expected) failures_ += out.str();
    }
    [[noreturn]] void Exit() {
        fputs(failures_.c_str(), stderr);
        fflush(stderr);
        _exit(failures_.empty() ? 0 : 1);
    }

  private:
    std::string failures_;
};

}  // namespace feedback_test

// Runs `body` (which must end with ChildChecks::Exit) in a fresh process: the singletons it
// touches start unset there.
#define EXPECT_IN_FRESH_PROCESS(body)                           \
    do {                                                        \
        ::testing::FLAGS_gtest_death_test_style = "threadsafe"; \
        EXPECT_EXIT(body, ::testing::ExitedWithCode(0), "");    \
    } while (0)
