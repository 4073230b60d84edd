// The registry and the entry functions, with test modules registered by the test itself (this
// suite links the framework without the real modules); the settings store and its file,
// in-process with a device root of the test's own; and the log level that a fresh process
// loading the library reads from that file.

#include <android/log.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include "ComponentIndex.h"
#include "PersistManager.h"
#include "Platform.h"
#include "PropertyPersist.h"
#include "TestSupport.h"
#include "XMLFilePersist.h"

namespace {

using orvex::hostlog::Entry;

int g_liveModules = 0;

template <bool kSupported>
class TestModule : public ISupportedPlatformModule {
  public:
    TestModule() { ++g_liveModules; }
    ~TestModule() override { --g_liveModules; }
    bool IsSupported() override { return kSupported; }
    char const* GetModuleName() override { return kSupported ? "Supported" : "Unsupported"; }
};

// Registered while the program loads, as the real modules are; a name may repeat under
// another tag.
ComponentIndex* const g_registry = [] {
    const PlatformModuleFactory supported = &Constructor<TestModule<true>>;
    ComponentIndex* i = ComponentIndex::Instance();
    i->AddPlatformModule(supported, PLATFORM_MODULE_BEEP, "HWBeep");
    i->AddPlatformModule(&Constructor<TestModule<false>>, PLATFORM_MODULE_LED, "LEDNotification");
    i->AddPlatformModule(supported, PLATFORM_MODULE_LED, "Extra");
    i->AddPlatformModule(supported, PLATFORM_MODULE_IMAGER, "ImagerHIDLProxy");
    i->AddPlatformModule(supported, PLATFORM_MODULE_BATTERY_SWAP, "BatterySwapModule");
    i->AddPlatformModule(supported, PLATFORM_MODULE_CAMERA, "HWBeep");
    return i;
}();

TEST(ComponentIndex, CountsCreatesAndRegistersModulesPerTag) {
    std::string counts;  // out of range is answered as empty rather than read past the table
    for (int tag = -1; tag <= 14; ++tag)
        counts += std::to_string(GetNumberOfPlatformModulesForTag(PlatformModuleTag(tag)));
    // The version and the counts in a fresh process are checked with orvexctl's suite.
    EXPECT_EQ(counts, "0120000001001010");

    const char* const kInvalid = "Invalid Platform Module Tag";
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
        {8, nullptr, kInvalid}, {11, nullptr, kInvalid}, {3, nullptr, kInvalid}, {13, nullptr, kInvalid},
        {200, nullptr, kInvalid},
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
        IPlatformModule *first = get(), *second = get();
        const std::string e = c.error ? c.error : "";
        const std::string line =
            e[0] == '[' ? e : "[ComponentIndex::CreateModule] Unable to find module " + e + "\n";
        EXPECT_EQ(log.Entries(), std::vector<Entry>(c.error ? 2 : 0,
                                                    {ANDROID_LOG_ERROR, "ScannerFramework", line}));
        EXPECT_EQ(std::string(first ? "module " : "null ") + std::to_string(g_liveModules) +
                      (first == second ? " same" : ""),
                  c.error ? "null 0 same" : "module 2");
        DeletePlatformModule(first);
        DeletePlatformModule(second);
        EXPECT_EQ(g_liveModules, 0);
    }
}

TEST(ComponentIndex, DuplicateNameUnderOneTagEndsTheProcess) {
    const std::string error =
        "[ComponentIndex::AddPlatformModule] A Module with the same name is also registered";
    EXPECT_DEATH(
        g_registry->AddPlatformModule(&Constructor<TestModule<true>>, PLATFORM_MODULE_BEEP,
                                      "HWBeep"),
        orvex::test::LiteralRegex(" E ScannerFramework: " + error + "\n") + ".*" +
            orvex::test::AssertionRegex(
                error,
                "device/common/platform_bundle/src/SFPlatform/src/LibPlatform/ComponentIndex", 39));
}

const char* const kSettings = "/enterprise/device/settings/scanner/LogLevel.xml";
const char* const kKeyTag = "Key=%s,Value=%s";

class SettingsStore : public ::testing::Test {
  protected:
    void SetUp() override { setenv("ORVEX_DEVICE_ROOT", root_.path().c_str(), 1); }
    void TearDown() override { setenv("ORVEX_DEVICE_ROOT", oldRoot_.c_str(), 1); }

    std::string oldRoot_ = getenv("ORVEX_DEVICE_ROOT") ? getenv("ORVEX_DEVICE_ROOT") : "";
    orvex::test::DeviceRoot root_;
};

TEST_F(SettingsStore, ReadsEveryChildOfTheRootAndKeepsSetInfoInMemory) {
    // clang-format off
    const std::pair<const char*, std::string> cases[] = {  // file (null: none), key lines|values
        // Broken files leave the store empty and quiet.
        {nullptr, "|||||"}, {"", "|||||"}, {"<Settings><LogLevel>3</LogLevel>", "|||||"},
        // A later element replaces an earlier one; nested elements are not read.
        {"<?xml version=\"1.0\"?>\n<AnyRoot>\n  <LogLevel>3</LogLevel>\n  <Foo>x</Foo>\n  <Foo>y</Foo>\n"
         "  <Empty/>\n  <Outer><Inner>1</Inner></Outer>\n</AnyRoot>\n", " LogLevel Foo Foo Empty Outer|3|y|||"},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first ? c.first : "(missing)");
        if (c.first != nullptr) root_.AddFile(kSettings, c.first);
        XMLFilePersist store;
        orvex::hostlog::ScopedCapture log;
        store.LoadInfo();
        std::string got;  // the key lines are debug lines with the format in the tag position
        for (const Entry& e : log.Entries())
            got += (e.priority == ANDROID_LOG_DEBUG && e.tag == kKeyTag ? " " : " ?") + e.message;
        for (const char* key : {"LogLevel", "Foo", "Empty", "Inner", "Bar"})
            got += "|" + store.GetInfo(key);
        EXPECT_EQ(got, c.second);
        store.SetInfo("LogLevel", "7");
        store.SetInfo("New", "v");
        // Kept in memory, never written back.
        EXPECT_EQ(store.GetInfo("LogLevel") + store.GetInfo("New") +
                      (c.first ? orvex::test::ReadFile(root_.HostPath(kSettings)) : ""),
                  std::string("7v") + (c.first ? c.first : ""));
    }
}

// Whether `store` is exactly a T, told without RTTI (the library has none, as on a device): the
// two share T's table of virtual functions.
template <typename T>
bool IsA(IPersistInfo* store) {
    T probe;
    return store != nullptr &&
           *reinterpret_cast<void**>(store) == *reinterpret_cast<void**>(&probe);
}

TEST_F(SettingsStore, ManagerCreatesTheConfiguredKindOnce) {
    IPersistInfo* const loaded = PersistManager::pInterface;
    const int type = PersistManager::implementationType;
    ASSERT_TRUE(IsA<XMLFilePersist>(loaded));  // created while the library loaded
    EXPECT_EQ(PersistManager::GetInstance(), loaded);
    PersistManager::pInterface = nullptr;
    PersistManager::implementationType = 3;
    EXPECT_EQ(PersistManager::GetInstance(), nullptr);  // tried again on the next call
    root_.AddFile(kSettings, "<Settings><LogLevel>3</LogLevel></Settings>");
    PersistManager::implementationType = 2;
    IPersistInfo* memory = PersistManager::GetInstance();
    ASSERT_TRUE(IsA<PropertyPersist>(memory));
    EXPECT_EQ(memory->GetInfo("LogLevel"), "");  // the property store never reads the file
    EXPECT_EQ(PersistManager::GetInstance(), memory);
    delete memory;
    PersistManager::pInterface = loaded;
    PersistManager::implementationType = type;
}

// Module counts and registration lines in fresh processes are checked with the transport and
// orvexctl suites.
TEST(LogLevel, IsReadOnceAtLoadAndGatesErrorLinesAtEightOnly) {
    // clang-format off
    const std::pair<const char*, int> cases[] = {  // file text (null: no file), level
        {"3", 3}, {"1", 1}, {"8", 8}, {" 7", 7}, {"7abc", 7}, {"0", 5}, {"9", 5}, {nullptr, 5}};
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first ? c.first : "(missing)");
        orvex::test::DeviceRoot root;
        if (c.first != nullptr) root.SetLogLevel(c.first);
        orvex::test::CallerRun run = orvex::test::RunCaller(root, {"create", "3", "Nope"});
        ASSERT_EQ(run.process.exitCode, 0) << run.process.err;
        EXPECT_EQ(run.process.out, "null\n");
        std::vector<Entry> expected = {
            {ANDROID_LOG_DEBUG, kKeyTag, "LogLevel"},
            {ANDROID_LOG_ERROR, "LoglevelManager",
             "[InitLogLevel::InitLogLevel] Log level XML - " + std::to_string(c.second)},
            {ANDROID_LOG_ERROR, "ScannerFramework",
             "[ComponentIndex::CreateModule] Unable to find module Nope\n"}};
        if (c.second == 8) expected.pop_back();  // error lines are gated at level 8 only
        if (!c.first) expected.erase(expected.begin());
        // The eleven registrations run before the level is read, so even level 8 writes them.
        ASSERT_GE(run.log.size(), 11u);
        EXPECT_EQ(std::vector<Entry>(run.log.begin() + 11, run.log.end()), expected);
        EXPECT_EQ(orvex::test::WithoutRegistrations(run.log), expected);
    }
}

}  // namespace
