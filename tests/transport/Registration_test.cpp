// The transport, battery-swap and camera modules as a fresh process that loads the library sees
// them: registered while it loads, each in its place among the library's registrations, and
// reachable by tag and name.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "TestSupport.h"
#include <android/log.h>

namespace {

using orvex::hostlog::Entry;
using orvex::test::CallerRun;
using orvex::test::DeviceRoot;
using orvex::test::RunCaller;

// Every registration of the library, in load order.
const std::vector<std::pair<std::string, int>> kLoadOrder = {
    {"HWBeep", 0},
    {"LEDNotification", 1},
    {"Triggers", 2},
    {"HWTrigger", 6},
    {"ImagerHIDLProxy", 8},
    {"SerialPort", 9},
    {"IExternalHapticFeedack", 7},
    {"PlugableDeviceNotifier", 10},
    {"BatterySwapModule", 11},
    {"PlatformHWInfoRetriever", 12},
    {"CameraModule", 13},
};

std::string RegistrationLine(const std::string& name, int tag) {
    return "[ComponentIndex::AddPlatformModule] Adding platform module '" + name + "' with Tag '" +
           std::to_string(tag) + "'\n";
}

TEST(Registration, AllElevenModulesRegisterInLoadOrderWhileTheLibraryLoads) {
    DeviceRoot root;
    CallerRun run = RunCaller(root, {"load"});
    ASSERT_EQ(run.process.exitCode, 0) << run.process.err;

    std::vector<std::string> registered;
    for (const Entry& e : run.log) {
        if (e.message.rfind("[ComponentIndex::AddPlatformModule] Adding", 0) == 0) {
            registered.push_back(e.message);
        }
    }
    // All eleven, in load order, each at info priority under the framework's tag.
    std::vector<std::string> expected;
    for (const auto& [name, tag] : kLoadOrder) expected.push_back(RegistrationLine(name, tag));
    EXPECT_EQ(registered, expected);
    for (const Entry& e : run.log) {
        if (e.message.rfind("[ComponentIndex::AddPlatformModule] Adding", 0) != 0) continue;
        EXPECT_EQ(e.priority, ANDROID_LOG_INFO);
        EXPECT_EQ(e.tag, "ScannerFramework");
    }
}

TEST(TransportRegistration, EachTagHoldsOneModuleReachableAsTheRegistryAllows) {
    DeviceRoot root;
    // Tags 11 and 13 have no name for the abstracted lookup: only their names find them.
    CallerRun run = RunCaller(root, {"count",
                                     "9",
                                     "count",
                                     "10",
                                     "count",
                                     "11",
                                     "count",
                                     "13",
                                     "create",
                                     "9",
                                     "SerialPort",
                                     "create",
                                     "10",
                                     "PlugableDeviceNotifier",
                                     "create",
                                     "11",
                                     "BatterySwapModule",
                                     "create",
                                     "13",
                                     "CameraModule",
                                     "create",
                                     "11",
                                     "CameraModule",
                                     "abstract",
                                     "9",
                                     "abstract",
                                     "10",
                                     "abstract",
                                     "11",
                                     "abstract",
                                     "13"});
    ASSERT_EQ(run.process.exitCode, 0) << run.process.err;
    EXPECT_EQ(run.process.out,
              "1\n1\n1\n1\n"
              "module\nmodule\nmodule\nmodule\nnull\n"
              "module\nmodule\nnull\nnull\n");
}

}  // namespace
