// The registry and the entry functions, with test modules registered by the test itself (this
// suite links the framework without the real modules).

#include "ComponentIndex.h"

#include <android/log.h>
#include <gtest/gtest.h>

#include <string>

#include "Platform.h"
#include "TestSupport.h"
#include "orvex/log_capture.h"

namespace {

using orvex::hostlog::Entry;

int g_liveModules = 0;

struct Counted {
    Counted() { ++g_liveModules; }
    ~Counted() { --g_liveModules; }
};

template <bool kSupported>
class TestModule : public ISupportedPlatformModule, Counted {
  public:
    bool IsSupported() override { return kSupported; }
    char const* GetModuleName() override { return kSupported ? "Supported" : "Unsupported"; }
};

class PlainModule : public IPlatformModule, Counted {};

// Registered once per process, as the real modules are at load time.
ComponentIndex* Registry() {
    static ComponentIndex* index = [] {
        ComponentIndex* i = ComponentIndex::Instance();
        i->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_BEEP, "HWBeep");
        i->AddPlatformModule(&Constructor<TestModule<false>>, PLATFORM_MODULE_LED,
                             "LEDNotification");
        i->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_LED, "Extra");
        i->AddPlatformModule(&Constructor<PlainModule>, PLATFORM_MODULE_IMAGER, "ImagerHIDLProxy");
        i->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_BATTERY_SWAP,
                             "BatterySwapModule");
        return i;
    }();
    return index;
}

TEST(ComponentIndex, CountsCreatesAndRegistersModulesPerTag) {
    Registry();
    std::string counts;  // out of range is answered as empty rather than read past the table
    for (int tag = -1; tag <= 14; ++tag) {
        counts += std::to_string(GetNumberOfPlatformModulesForTag(PlatformModuleTag(tag)));
    }
    EXPECT_EQ(counts, "0120000001001000");
    EXPECT_EQ(getPlatformVersion(), 1);

    const std::string missing = "[ComponentIndex::CreateModule] Unable to find module ";
    struct Case {
        int tag;
        const char* name;   // null: looked up by tag alone, under the tag's fixed name
        const char* error;  // null: a new module each time, quietly; else the name not found
    } cases[] = {
        // clang-format off
        {0, "HWBeep", nullptr}, {6, "HWBeep", "HWBeep"}, {1, "HWBeep", "HWBeep"}, {1, "Extra", nullptr},
        {0, "Extra", "Extra"}, {8, "ImagerHIDLProxy", nullptr}, {0, "hwbeep", "hwbeep"},
        {0, "HWBeep ", "HWBeep "}, {0, "", ""}, {14, "HWBeep", "HWBeep"}, {-3, "HWBeep", "HWBeep"},
        {0, nullptr, nullptr}, {6, nullptr, "HWTrigger"},
        // Registered, but the tag's fixed name does not find it.
        {8, nullptr, "Invalid Platform Module Tag"}, {11, nullptr, "Invalid Platform Module Tag"},
        {3, nullptr, "Invalid Platform Module Tag"}, {13, nullptr, "Invalid Platform Module Tag"},
        {200, nullptr, "Invalid Platform Module Tag"},
        // Found but unsupported: destroyed, null.
        {1, nullptr, "[Platform::GetAbstractedPlatformModule] Platform module : LEDNotification (1) is not supported."},
        // clang-format on
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.tag) + " " + (c.name ? c.name : "by tag"));
        orvex::hostlog::ScopedCapture log;
        auto get = [&] {
            return c.name ? GetPlatformModule(PlatformModuleTag(c.tag), c.name)
                          : GetAbstractedPlatformModule(PlatformModuleTag(c.tag));
        };
        IPlatformModule* module = get();
        std::vector<Entry> expected;
        if (c.error)
            expected.push_back({ANDROID_LOG_ERROR, "ScannerFramework",
                                c.error[0] == '[' ? c.error : missing + c.error + "\n"});
        EXPECT_EQ(log.Entries(), expected);
        EXPECT_EQ(module == nullptr, c.error != nullptr);
        if (module != nullptr) {
            IPlatformModule* again = get();
            EXPECT_NE(again, module);
            EXPECT_EQ(g_liveModules, 2);
            DeletePlatformModule(again);
        }
        DeletePlatformModule(module);
        EXPECT_EQ(g_liveModules, 0);
    }

    // A name may repeat under another tag.
    Registry()->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_CAMERA, "HWBeep");
    EXPECT_EQ(GetNumberOfPlatformModulesForTag(PLATFORM_MODULE_CAMERA), 1);
}

TEST(ComponentIndex, DuplicateNameUnderOneTagEndsTheProcess) {
    const std::string error =
        "[ComponentIndex::AddPlatformModule] A Module with the same name is also registered";
    EXPECT_DEATH(
        Registry()->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_BEEP,
                                      "HWBeep"),
        orvex::test::LiteralRegex(" E ScannerFramework: " + error + "\n") + ".*" +
            orvex::test::AssertionRegex(
                error,
                "device/common/platform_bundle/src/SFPlatform/src/LibPlatform/ComponentIndex", 39));
}

}  // namespace
