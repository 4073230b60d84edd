// The host log and property store as the library and its callers rely on them: the log's record
// format, sinks and whole records under concurrency; build.prop as the host contract states it.

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
#include "orvex/properties.h"

namespace {

using orvex::hostlog::Entry;

// Points the log's sink at `value` (null: the default, standard error, whose line format the
// suite's death tests pin).
void Sink(const char* value) {
    value != nullptr ? setenv("ORVEX_LOG", value, 1) : unsetenv("ORVEX_LOG");
    orvex::hostlog::ResetSink();
}

TEST(HostLog, FileRecordsEscapeSeparatorsAndBackslashes) {
    struct Case {
        int priority;
        const char *tag, *message, *record;
    } cases[] = {{3, "ScannerFramework", "plain", "3\tScannerFramework\tplain"},
                 {6, "T", "ends in newline\n", "6\tT\tends in newline\\n"},
                 {4, "tab\ttag", "a\tb", "4\ttab\\ttag\ta\\tb"},
                 {5, "T", "back\\slash", "5\tT\tback\\\\slash"},
                 {7, "####ASSERTION#####", "cr\r\nlf", "7\t####ASSERTION#####\tcr\\r\\nlf"},
                 {3, "", "", "3\t\t"}};
    for (const Case& c : cases) {
        EXPECT_EQ(orvex::hostlog::FormatFileRecord(c.priority, c.tag, c.message), c.record);
    }
}

TEST(HostLog, SinksWriteWholeRecordsAndCapturesSeeThemCutAsOnADevice) {
    Sink("off");
    {
        orvex::hostlog::ScopedCapture capture;
        __android_log_print(ANDROID_LOG_INFO, "T", "%s", std::string(3000, 'x').c_str());
        EXPECT_EQ(capture.Entries(), (std::vector<Entry>{{4, "T", std::string(1023, 'x')}}));
    }
    // Records with separators, from threads of two processes, never interleave.
    orvex::test::TempDir dir;
    Sink((dir.path() + "/log").c_str());
    __android_log_write(ANDROID_LOG_DEBUG, "A\tB", "back\\slash\r");
    constexpr int kThreads = 4, kRecords = 2000;
    const std::string payload(300, 'p');
    const pid_t child = fork();
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kRecords; ++i) {
                __android_log_print(ANDROID_LOG_INFO, "W", "%d\t%d\t%d\n%s", child == 0, t, i,
                                    payload.c_str());
            }
        });
    }
    for (auto& th : threads) th.join();
    if (child == 0) _exit(0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    Sink(nullptr);
    std::vector<Entry> log = orvex::test::ReadLogFile(dir.path() + "/log");
    ASSERT_EQ(log.size(), static_cast<size_t>(1 + 2 * kThreads * kRecords));
    EXPECT_EQ(log[0], (Entry{ANDROID_LOG_DEBUG, "A\tB", "back\\slash\r"}));
    std::map<std::pair<int, int>, int> next;  // per writer, records arrive in order
    for (size_t n = 1; n < log.size(); ++n) {
        int p, t, i, consumed = 0;
        ASSERT_EQ(sscanf(log[n].message.c_str(), "%d\t%d\t%d\n%n", &p, &t, &i, &consumed), 3);
        ASSERT_EQ(log[n].tag + log[n].message.substr(static_cast<size_t>(consumed)), "W" + payload);
        EXPECT_EQ(next[std::make_pair(p, t)]++, i);
    }
}

TEST(BuildProp, ParsesTheDeviceFormat) {
    using Props = std::map<std::string, std::string>;
    struct Case {
        std::string text;
        Props props;
    } cases[] = {{"a=1\nb=2\n", {{"a", "1"}, {"b", "2"}}},
                 {"# comment=x\n\n  \na=1", {{"a", "1"}}},
                 {"a= spaced value \n", {{"a", " spaced value "}}},
                 {"a=\n", {{"a", ""}}},
                 {"a=b=c\n", {{"a", "b=c"}}},
                 {"a=1\na=2\n", {{"a", "2"}}},
                 {"noequals\n=novalue\nx=1\r\n", {{"x", "1"}}},
                 {"", {}},
                 {" #notcomment=1\n", {{" #notcomment", "1"}}},
                 {std::string("a\0b=1\nc=2\0\nd=3\n", 15), {{"d", "3"}}}};
    for (const Case& c : cases) {
        EXPECT_EQ(orvex::properties::ParseBuildProp(c.text), c.props) << c.text;
    }
}

}  // namespace
