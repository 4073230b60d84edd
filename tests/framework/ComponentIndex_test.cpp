// The registry and the entry functions, with test modules registered by the test itself (this
// suite links the framework without the real modules).

#include "ComponentIndex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "Platform.h"
#include "TestSupport.h"
#include "orvex/log_capture.h"
#include <android/log.h>

namespace {

using orvex::hostlog::Entry;
using orvex::hostlog::ScopedCapture;

std::atomic<int> g_liveModules{0};

template <bool kSupported>
class TestModule : public ISupportedPlatformModule {
public:
    TestModule() { ++g_liveModules; }
    ~TestModule() override { --g_liveModules; }
    bool IsSupported() override { return kSupported; }
    char const* GetModuleName() override { return kSupported ? "Supported" : "Unsupported"; }
};

class PlainModule : public IPlatformModule {
public:
    PlainModule() { ++g_liveModules; }
    ~PlainModule() override { --g_liveModules; }
};

// Registered once per process, as the real modules are at load time.
void RegisterTestModules() {
    static bool done = [] {
        ComponentIndex* index = ComponentIndex::Instance();
        index->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_BEEP, "HWBeep");
        index->AddPlatformModule(&Constructor<TestModule<false>>, PLATFORM_MODULE_LED,
                                 "LEDNotification");
        index->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_LED, "Extra");
        index->AddPlatformModule(&Constructor<PlainModule>, PLATFORM_MODULE_IMAGER,
                                 "ImagerHIDLProxy");
        index->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_BATTERY_SWAP,
                                 "BatterySwapModule");
        return true;
    }();
    (void)done;
}

class ComponentIndexTest : public ::testing::Test {
protected:
    void SetUp() override {
        RegisterTestModules();
        g_liveModules = 0;
    }
};

Entry Error(const std::string& message) { return Entry{ANDROID_LOG_ERROR, "ScannerFramework", message}; }

TEST_F(ComponentIndexTest, CountsNamesPerTagOnly) {
    const int expected[ComponentIndex::kTagCount] = {1, 2, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0};
    for (int tag = 0; tag < ComponentIndex::kTagCount; ++tag) {
        EXPECT_EQ(GetNumberOfPlatformModulesForTag(static_cast<PlatformModuleTag>(tag)),
                  expected[tag])
            << "tag " << tag;
    }
    // Out of range is answered as empty rather than read past the table.
    EXPECT_EQ(GetNumberOfPlatformModulesForTag(static_cast<PlatformModuleTag>(14)), 0);
    EXPECT_EQ(GetNumberOfPlatformModulesForTag(static_cast<PlatformModuleTag>(-1)), 0);
}

TEST_F(ComponentIndexTest, LooksNamesUpInTheirOwnTagOnly) {
    struct Case {
        int tag;
        const char* name;
        bool found;
    } cases[] = {
        {0, "HWBeep", true},      {6, "HWBeep", false},       {1, "HWBeep", false},
        {1, "Extra", true},       {0, "Extra", false},        {8, "ImagerHIDLProxy", true},
        {0, "hwbeep", false},     {0, "HWBeep ", false},      {0, "", false},
        {14, "HWBeep", false},    {-3, "HWBeep", false},
    };
    for (const Case& c : cases) {
        ScopedCapture log;
        IPlatformModule* module = GetPlatformModule(static_cast<PlatformModuleTag>(c.tag), c.name);
        EXPECT_EQ(module != nullptr, c.found) << c.tag << " " << c.name;
        if (c.found) {
            EXPECT_TRUE(log.Entries().empty());
        } else {
            EXPECT_EQ(log.Entries(), std::vector<Entry>{Error(
                                         std::string("[ComponentIndex::CreateModule] Unable to find module ") +
                                         c.name + "\n")});
        }
        DeletePlatformModule(module);
    }
    EXPECT_EQ(g_liveModules, 0);
}

TEST_F(ComponentIndexTest, EveryRequestCreatesANewObject) {
    IPlatformModule* first = GetPlatformModule(PLATFORM_MODULE_BEEP, "HWBeep");
    IPlatformModule* second = GetPlatformModule(PLATFORM_MODULE_BEEP, "HWBeep");
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(g_liveModules, 2);
    DeletePlatformModule(first);
    DeletePlatformModule(second);
    DeletePlatformModule(nullptr);
    EXPECT_EQ(g_liveModules, 0);
}

TEST_F(ComponentIndexTest, AbstractedLookupUsesTheFixedNameOfEachTag) {
    struct Case {
        int tag;
        std::vector<Entry> log;
        bool module;
    } cases[] = {
        {0, {}, true},
        // Registered, but the tag's fixed name does not find it.
        {8, {Error("[ComponentIndex::CreateModule] Unable to find module Invalid Platform Module Tag\n")}, false},
        {11, {Error("[ComponentIndex::CreateModule] Unable to find module Invalid Platform Module Tag\n")}, false},
        {3, {Error("[ComponentIndex::CreateModule] Unable to find module Invalid Platform Module Tag\n")}, false},
        {13, {Error("[ComponentIndex::CreateModule] Unable to find module Invalid Platform Module Tag\n")}, false},
        {200, {Error("[ComponentIndex::CreateModule] Unable to find module Invalid Platform Module Tag\n")}, false},
        {6, {Error("[ComponentIndex::CreateModule] Unable to find module HWTrigger\n")}, false},
        // Found but unsupported: destroyed, null.
        {1, {Error("[Platform::GetAbstractedPlatformModule] Platform module : LEDNotification (1) is not supported.")}, false},
    };
    for (const Case& c : cases) {
        ScopedCapture log;
        IPlatformModule* module = GetAbstractedPlatformModule(static_cast<PlatformModuleTag>(c.tag));
        EXPECT_EQ(module != nullptr, c.module) << "tag " << c.tag;
        EXPECT_EQ(log.Entries(), c.log) << "tag " << c.tag;
        DeletePlatformModule(module);
        EXPECT_EQ(g_liveModules, 0) << "tag " << c.tag;
    }
}

TEST_F(ComponentIndexTest, VersionIsOne) { EXPECT_EQ(getPlatformVersion(), 1); }

TEST_F(ComponentIndexTest, RegistrationLogsItsInfoLineAndAcceptsANameUnderAnotherTag) {
    ScopedCapture log;
    ComponentIndex::Instance()->AddPlatformModule(&Constructor<TestModule<true>>,
                                                  PLATFORM_MODULE_CAMERA, "HWBeep");
    const Entry added{ANDROID_LOG_INFO, "ScannerFramework",
                      "[ComponentIndex::AddPlatformModule] Adding platform module 'HWBeep' with "
                      "Tag '13'\n"};
    EXPECT_EQ(log.Entries(), std::vector<Entry>{added});
    EXPECT_EQ(GetNumberOfPlatformModulesForTag(PLATFORM_MODULE_CAMERA), 1);
}

TEST_F(ComponentIndexTest, DuplicateNameUnderOneTagEndsTheProcess) {
    const std::string error =
        "[ComponentIndex::AddPlatformModule] A Module with the same name is also registered";
    EXPECT_DEATH(ComponentIndex::Instance()->AddPlatformModule(&Constructor<TestModule<true>>,
                                                               PLATFORM_MODULE_BEEP, "HWBeep"),
                 orvex::test::LiteralRegex(" E ScannerFramework: " + error + "\n") + ".*" +
                     orvex::test::AssertionRegex(
                         error,
                         "device/common/platform_bundle/src/SFPlatform/src/LibPlatform/ComponentIndex",
                         39));
}

}  // namespace
