// The host log and property store as the library and its callers rely on them: the log's record
// format, sinks and whole records under concurrency; build.prop as the host contract states it.

#include <android/log.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/system_properties.h>
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

// Points the sink (or, with a name, another variable) at `value` for the test's duration.
class ScopedEnv {
  public:
    ScopedEnv(const std::string& value, const char* name = "ORVEX_LOG") : name_(name) {
        const char* old = getenv(name);
        old_ = old ? old : "";
        setenv(name, value.c_str(), 1);
        orvex::hostlog::ResetSink();
    }
    ~ScopedEnv() {
        setenv(name_, old_.c_str(), 1);
        if (old_.empty()) unsetenv(name_);
        orvex::hostlog::ResetSink();
    }

  private:
    const char* name_;
    std::string old_;
};

TEST(HostLog, FileRecordsEscapeSeparatorsAndBackslashes) {
    struct Case {
        int priority;
        const char *tag, *message, *record;
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
        EXPECT_EQ(orvex::hostlog::FormatFileRecord(c.priority, c.tag, c.message), c.record);
    }
}

TEST(HostLog, SinksWriteWholeRecordsAndCapturesSeeThemCutAsOnADevice) {
    {
        ScopedEnv sink("off");
        orvex::hostlog::ScopedCapture capture;
        __android_log_print(ANDROID_LOG_INFO, "T", "%s", std::string(3000, 'x').c_str());
        EXPECT_EQ(capture.Entries(), (std::vector<Entry>{{4, "T", std::string(1023, 'x')}}));
    }
    testing::internal::CaptureStderr();
    {
        ScopedEnv sink("stderr");
        __android_log_print(ANDROID_LOG_WARN, "Tag", "two\nlines\n");
    }
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find(" W Tag: two\n"), std::string::npos) << err;
    EXPECT_NE(err.find(" W Tag: lines\n"), std::string::npos) << err;

    // Records from threads of two processes, with separators in them, never interleave.
    orvex::test::TempDir dir;
    const std::string path = dir.path() + "/log";
    constexpr int kProcesses = 2, kThreads = 4, kRecords = 2000;
    const std::string payload(300, 'p');
    {
        ScopedEnv sink(path);
        __android_log_write(ANDROID_LOG_DEBUG, "A\tB", "back\\slash\r");
        std::vector<pid_t> children;
        for (int p = 0; p < kProcesses; ++p) {
            children.push_back(fork());
            if (children.back() != 0) continue;
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
        for (pid_t pid : children) {
            int status = 0;
            waitpid(pid, &status, 0);
            ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        }
    }
    std::vector<Entry> log = orvex::test::ReadLogFile(path);
    ASSERT_EQ(log.size(), static_cast<size_t>(1 + kProcesses * kThreads * kRecords));
    EXPECT_EQ(log[0], (Entry{ANDROID_LOG_DEBUG, "A\tB", "back\\slash\r"}));
    std::map<std::pair<int, int>, int> next;  // per writer, records arrive in order
    for (size_t n = 1; n < log.size(); ++n) {
        ASSERT_EQ(log[n].tag, "W");
        int p, t, i, consumed = 0;
        ASSERT_EQ(sscanf(log[n].message.c_str(), "%d\t%d\t%d\n%n", &p, &t, &i, &consumed), 3);
        ASSERT_EQ(log[n].message.substr(static_cast<size_t>(consumed)), payload);
        EXPECT_EQ(next[std::make_pair(p, t)]++, i);
    }
}

TEST(BuildProp, ParsesTheDeviceFormatAndOnlyListedNamesExist) {
    using Props = std::map<std::string, std::string>;
    struct Case {
        std::string text;
        Props props;
    } cases[] = {
        {"a=1\nb=2\n", {{"a", "1"}, {"b", "2"}}},
        {"# comment=x\n\n  \na=1", {{"a", "1"}}},
        {"a= spaced value \n", {{"a", " spaced value "}}},
        {"a=\n", {{"a", ""}}},
        {"a=b=c\n", {{"a", "b=c"}}},
        {"a=1\na=2\n", {{"a", "2"}}},
        {"noequals\n=novalue\nx=1\r\n", {{"x", "1"}}},
        {"", {}},
        {" #notcomment=1\n", {{" #notcomment", "1"}}},
        {std::string("a\0b=1\nc=2\0\nd=3\n", 15), {{"d", "3"}}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(orvex::properties::ParseBuildProp(c.text), c.props) << c.text;
    }

    orvex::test::DeviceRoot root;
    root.AddFile("/system/build.prop", "ro.product.cpu.abi=arm64-v8a\n# ro.hidden=1\nro.empty=\n");
    {
        ScopedEnv deviceRoot(root.path(), "ORVEX_DEVICE_ROOT");
        orvex::properties::Reload();
        char value[PROP_VALUE_MAX];
        EXPECT_EQ(__system_property_get("ro.product.cpu.abi", value), 9);
        EXPECT_STREQ(value, "arm64-v8a");
        EXPECT_NE(__system_property_find("ro.empty"), nullptr);
        EXPECT_EQ(__system_property_get("ro.empty", value), 0);
        EXPECT_EQ(__system_property_find("ro.hidden"), nullptr);
        EXPECT_EQ(__system_property_get("ro.absent", value), 0);
        EXPECT_STREQ(value, "");
    }
    orvex::properties::Reload();
}

}  // namespace
