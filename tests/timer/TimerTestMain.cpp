// The timer suite runs in-process against a device root of its own, whose external-dependencies
// file names the pipe. Death-test children reuse their parent's root.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <memory>

#include "TestSupport.h"

namespace {
constexpr const char* kOwnRootVariable = "ORVEX_TIMER_TEST_ROOT";
}

int main(int argc, char** argv) {
    // The resolver puts the process name into a 128-byte directory path; a test binary deep in a
    // build tree would overflow it and end the process, so the suite runs under a short name.
    if (strlen(argv[0]) > 60) {
        argv[0] = const_cast<char*>("/proc/self/exe");
        execv("/proc/self/exe", argv);
        return 127;
    }
    std::unique_ptr<orvex::test::DeviceRoot> root;
    if (getenv(kOwnRootVariable) == nullptr) {
        root.reset(new orvex::test::DeviceRoot);
        root->AddFile("/system/etc/scanner/ExternalDependencies.xml",
                      "<ExternalDependencies><files><file><name>sctimerfifo</name>"
                      "<absolutepath>true</absolutepath><path>/data/local/tmp/sctimerfifo</path>"
                      "</file></files><binaries/><properties/></ExternalDependencies>\n");
        root->AddDir("/data/local/tmp");
        setenv("ORVEX_DEVICE_ROOT", root->path().c_str(), 1);
        setenv(kOwnRootVariable, root->path().c_str(), 1);
    }
    testing::InitGoogleTest(&argc, argv);
    // Each death test child starts afresh, so the service threads of earlier tests do not follow
    // it through fork.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    return RUN_ALL_TESTS();
}
