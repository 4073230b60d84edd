// Where the service's pipe comes from, seen from fresh processes with their own device roots.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace {

using orvex::hostlog::Entry;
using orvex::test::CallerRun;
using orvex::test::DeviceRoot;
using orvex::test::RunCaller;

constexpr const char* kDepsPath = "/system/etc/scanner/ExternalDependencies.xml";
constexpr const char* kReuseLine =
    "[TimerProvider::Initialize] Named pipe already exists. Not creating.\n";

std::string Dependencies(const std::string& files) {
    return "<ExternalDependencies><files>" + files +
           "</files><binaries/><properties/></ExternalDependencies>\n";
}

// The service's own records: the library's load-time lines (log level, settings store, module
// registrations) are left out.
std::vector<Entry> ServiceLog(const std::vector<Entry>& log) {
    std::vector<Entry> out;
    for (const Entry& e : log) {
        if (e.tag != "ScannerFramework" && e.tag != "####ASSERTION#####") continue;
        if (e.message.rfind("[ComponentIndex::AddPlatformModule]", 0) == 0) continue;
        out.push_back(e);
    }
    return out;
}

bool IsPrivateFifo(const std::string& hostPath) {
    struct stat st;
    return stat(hostPath.c_str(), &st) == 0 && S_ISFIFO(st.st_mode) && (st.st_mode & 0777) == 0600;
}

TEST(TimerProviderPipe, NamedThroughTheResolverAndReusedWhenLeftOver) {
    struct Case {
        const char* what;
        std::string files;
        std::string buildProp;
        bool leftOver;
        const char* pipe;
    } cases[] = {
        {"file entry",
         "<file><name>sctimerfifo</name><absolutepath>true</absolutepath>"
         "<path>/data/vendor/scanner/timer.fifo</path></file>",
         "", false, "/data/vendor/scanner/timer.fifo"},
        {"left over",
         "<file><name>sctimerfifo</name><absolutepath>true</absolutepath>"
         "<path>/data/vendor/scanner/timer.fifo</path></file>",
         "", true, "/data/vendor/scanner/timer.fifo"},
        {"property", "", "sctimerfifo=/data/vendor/scanner/prop.fifo\n", false,
         "/data/vendor/scanner/prop.fifo"},
        {"not configured", "", "", false, "/data/local/tmp/sctimerfifo"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DeviceRoot root;
        root.SetLogLevel("3");
        root.AddFile(kDepsPath, Dependencies(c.files));
        root.AddFile("/system/build.prop", c.buildProp);
        root.AddDir("/data/vendor/scanner");
        root.AddDir("/data/local/tmp");
        if (c.leftOver) {
            ASSERT_EQ(0, mkfifo(root.HostPath(c.pipe).c_str(), 0600));
        }

        CallerRun run = RunCaller(root, {"timer", "20"});
        EXPECT_EQ(0, run.process.exitCode) << run.process.err;
        // The service ends with the timer still registered.
        EXPECT_EQ("fired\nDestroying timer\n", run.process.out);
        EXPECT_TRUE(IsPrivateFifo(root.HostPath(c.pipe)));
        std::vector<Entry> expected;
        if (c.leftOver) expected.push_back({3, "ScannerFramework", kReuseLine});
        EXPECT_EQ(expected, ServiceLog(run.log));
    }
}

TEST(TimerProviderPipe, PipeThatCannotBeCreatedEndsTheProcess) {
    DeviceRoot root;
    root.AddFile(kDepsPath, Dependencies("<file><name>sctimerfifo</name><path>/missing/dir/fifo"
                                         "</path></file>"));
    CallerRun run = RunCaller(root, {"timer", "20"});
    EXPECT_EQ(SIGABRT, run.process.termSignal);
    EXPECT_EQ(
        (std::vector<Entry>{
            {6, "ScannerFramework",
             "[TimerProvider::Initialize] Error while creating Named pipe. (return:-1, "
             "errno:2)\n"},
            {7, "####ASSERTION#####",
             "This is not my fault, Something else has malfunctioned - Sincerly "
             "ScanningService\n"},
            {7, "####ASSERTION#####",
             "ERROR DESCRIPTION: [TimerProvider::Initialize] Error while creating Named pipe.\n"},
            {7, "####ASSERTION#####",
             "ASSERTING AT device/common/platform_bundle/dependencies/Utils/TimerProvider:71 \n"},
        }),
        ServiceLog(run.log));
}

}  // namespace
