// The host log: record format, sinks and whole records under concurrency.

#include <android/log.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "TestSupport.h"
#include "orvex/log_capture.h"

namespace {

using orvex::hostlog::Entry;
using orvex::hostlog::FormatFileRecord;
using orvex::hostlog::ScopedCapture;

// Points the sink at ORVEX_LOG=value for the test's duration.
class ScopedSink {
public:
    explicit ScopedSink(const std::string& value) {
        const char* old = getenv("ORVEX_LOG");
        hadOld_ = old != nullptr;
        if (hadOld_) old_ = old;
        setenv("ORVEX_LOG", value.c_str(), 1);
        orvex::hostlog::ResetSink();
    }
    ~ScopedSink() {
        if (hadOld_) {
            setenv("ORVEX_LOG", old_.c_str(), 1);
        } else {
            unsetenv("ORVEX_LOG");
        }
        orvex::hostlog::ResetSink();
    }

private:
    bool hadOld_;
    std::string old_;
};

TEST(HostLog, FileRecordsEscapeSeparatorsAndBackslashes) {
    struct Case {
        int priority;
        const char* tag;
        const char* message;
        const char* record;
    } cases[] = {
        {3, "ScannerFramework", "plain", "3\tScannerFramework\tplain"},
        {6, "T", "ends in newline\n", "6\tT\tends in newline\\n"},
        {4, "tab\ttag", "a\tb", "4\ttab\\ttag\ta\\tb"},
        {5, "T", "back\\slash", "5\tT\tback\\\\slash"},
        {7, "####ASSERTION#####", "cr\r\nlf", "7\t####ASSERTION#####\tcr\\r\\nlf"},
        {6, "Key=%s,Value=%s", "LogLevel", "6\tKey=%s,Value=%s\tLogLevel"},
        {3, "", "", "3\t\t"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(FormatFileRecord(c.priority, c.tag, c.message), c.record);
    }
}

TEST(HostLog, FileSinkRoundTripsThroughTheReader) {
    orvex::test::TempDir dir;
    const std::string path = dir.path() + "/log";
    {
        ScopedSink sink(path);
        __android_log_print(ANDROID_LOG_ERROR, "A\tB", "x=%d\n", 42);
        __android_log_write(ANDROID_LOG_DEBUG, "T", "back\\slash\r");
    }
    EXPECT_EQ(orvex::test::ReadLogFile(path),
              (std::vector<Entry>{{ANDROID_LOG_ERROR, "A\tB", "x=42\n"},
                                  {ANDROID_LOG_DEBUG, "T", "back\\slash\r"}}));
}

TEST(HostLog, OffWritesNothingButCapturesStillSee) {
    orvex::test::TempDir dir;
    ScopedSink sink("off");
    ScopedCapture capture;
    __android_log_print(ANDROID_LOG_INFO, "T", "%s", "seen");
    EXPECT_EQ(capture.Entries(), (std::vector<Entry>{{ANDROID_LOG_INFO, "T", "seen"}}));
}

TEST(HostLog, LongMessagesAreCutAsOnADevice) {
    ScopedSink sink("off");
    ScopedCapture capture;
    std::string longText(3000, 'x');
    __android_log_print(ANDROID_LOG_INFO, "T", "%s", longText.c_str());
    ASSERT_EQ(capture.Entries().size(), 1u);
    EXPECT_EQ(capture.Entries()[0].message, std::string(1023, 'x'));
}

TEST(HostLog, StderrLinesCarryPriorityLetterAndTag) {
    // Death-test style: run in a child whose stderr we read.
    testing::internal::CaptureStderr();
    {
        ScopedSink sink("stderr");
        __android_log_print(ANDROID_LOG_WARN, "Tag", "two\nlines\n");
    }
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find(" W Tag: two\n"), std::string::npos) << err;
    EXPECT_NE(err.find(" W Tag: lines\n"), std::string::npos) << err;
}

TEST(HostLog, RecordsFromThreadsAndProcessesNeverInterleave) {
    orvex::test::TempDir dir;
    const std::string path = dir.path() + "/log";
    constexpr int kProcesses = 2, kThreads = 4, kRecords = 2000;
    // Long records with separators make a torn write visible as a malformed or unknown line.
    const std::string payload(300, 'p');
    {
        ScopedSink sink(path);
        std::vector<pid_t> children;
        for (int p = 0; p < kProcesses; ++p) {
            pid_t pid = fork();
            if (pid == 0) {
                std::vector<std::thread> threads;
                for (int t = 0; t < kThreads; ++t) {
                    threads.emplace_back([&, p, t] {
                        for (int i = 0; i < kRecords; ++i) {
                            __android_log_print(ANDROID_LOG_INFO, "W", "%d\t%d\t%d\n%s", p, t, i,
                                                payload.c_str());
                        }
                    });
                }
                for (auto& th : threads) th.join();
                _exit(0);
            }
            children.push_back(pid);
        }
        for (pid_t pid : children) {
            int status = 0;
            waitpid(pid, &status, 0);
            ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        }
    }
    std::vector<Entry> log = orvex::test::ReadLogFile(path);
    ASSERT_EQ(log.size(), static_cast<size_t>(kProcesses * kThreads * kRecords));
    std::map<std::pair<int, int>, int> next;  // per writer, records arrive in order
    for (const Entry& e : log) {
        ASSERT_EQ(e.tag, "W");
        int p, t, i, consumed = 0;
        ASSERT_EQ(sscanf(e.message.c_str(), "%d\t%d\t%d\n%n", &p, &t, &i, &consumed), 3);
        ASSERT_EQ(e.message.substr(static_cast<size_t>(consumed)), payload);
        EXPECT_EQ(next[std::make_pair(p, t)]++, i);
    }
}

}  // namespace
