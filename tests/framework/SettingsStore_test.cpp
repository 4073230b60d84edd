// The settings store and its file, in-process with a device root of the test's own, and the log
// level that a fresh process loading the library reads from that file.

#include <android/log.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include "PersistManager.h"
#include "PropertyPersist.h"
#include "TestSupport.h"
#include "XMLFilePersist.h"
#include "orvex/log_capture.h"

namespace {

using orvex::hostlog::Entry;
using orvex::test::DeviceRoot;

const char* const kSettings = "/enterprise/device/settings/scanner/LogLevel.xml";
const char* const kKeyTag = "Key=%s,Value=%s";

class SettingsStoreTest : public ::testing::Test {
  protected:
    void SetUp() override { setenv("ORVEX_DEVICE_ROOT", root_.path().c_str(), 1); }
    void TearDown() override { setenv("ORVEX_DEVICE_ROOT", oldRoot_.c_str(), 1); }

    std::string oldRoot_ = getenv("ORVEX_DEVICE_ROOT") ? getenv("ORVEX_DEVICE_ROOT") : "";
    DeviceRoot root_;
};

TEST_F(SettingsStoreTest, ReadsEveryChildOfTheRootAndKeepsSetInfoInMemory) {
    // clang-format off
    const std::pair<const char*, std::string> cases[] = {  // file (null: none), key lines|values
        // Broken files leave the store empty and quiet.
        {nullptr, "|||||"}, {"", "|||||"}, {"<Settings><LogLevel>3</LogLevel>", "|||||"},
        {"not xml at all", "|||||"}, {"<a></b>", "|||||"},
        // A later element replaces an earlier one; nested elements are not read.
        {"<?xml version=\"1.0\"?>\n<AnyRoot>\n  <LogLevel>3</LogLevel>\n  <Foo>x</Foo>\n  <Foo>y</Foo>\n"
         "  <Empty/>\n  <Outer><Inner>1</Inner></Outer>\n</AnyRoot>\n", "LogLevel Foo Foo Empty Outer |3|y|||"},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first ? c.first : "(missing)");
        if (c.first != nullptr) root_.AddFile(kSettings, c.first);
        XMLFilePersist store;
        orvex::hostlog::ScopedCapture log;
        store.LoadInfo();
        std::string seen;  // the key lines are debug lines with the format in the tag position
        for (const Entry& e : log.Entries()) {
            seen +=
                (e.priority == ANDROID_LOG_DEBUG && e.tag == kKeyTag ? "" : "?") + e.message + " ";
        }
        for (const char* key : {"LogLevel", "Foo", "Empty", "Inner", "Bar"})
            seen += "|" + store.GetInfo(key);
        EXPECT_EQ(seen, c.second);
        store.SetInfo("LogLevel", "7");
        store.SetInfo("New", "v");
        EXPECT_EQ(store.GetInfo("LogLevel") + store.GetInfo("New"), "7v");
        // Never written back.
        EXPECT_EQ(c.first ? orvex::test::ReadFile(root_.HostPath(kSettings)) : "",
                  c.first ? c.first : "");
    }
}

TEST_F(SettingsStoreTest, ManagerCreatesTheConfiguredKindOnce) {
    IPersistInfo* const loaded = PersistManager::pInterface;
    const int type = PersistManager::implementationType;
    ASSERT_NE(dynamic_cast<XMLFilePersist*>(loaded), nullptr);  // created while the library loaded
    EXPECT_EQ(PersistManager::GetInstance(), loaded);
    PersistManager::pInterface = nullptr;
    PersistManager::implementationType = 3;
    EXPECT_EQ(PersistManager::GetInstance(), nullptr);
    EXPECT_EQ(PersistManager::pInterface, nullptr);  // tried again on every call
    root_.AddFile(kSettings, "<Settings><LogLevel>3</LogLevel></Settings>");
    PersistManager::implementationType = 2;
    IPersistInfo* memory = PersistManager::GetInstance();
    ASSERT_NE(dynamic_cast<PropertyPersist*>(memory), nullptr);
    EXPECT_EQ(memory->GetInfo("LogLevel"), "");  // the property store never reads the file
    EXPECT_EQ(PersistManager::GetInstance(), memory);
    delete memory;
    PersistManager::pInterface = loaded;
    PersistManager::implementationType = type;
}

TEST(LogLevel, IsReadOnceAtLoadAndGatesErrorLinesAtEightOnly) {
    std::vector<std::string> args = {"create", "3", "Nope"};
    for (int tag = 0; tag < 14; ++tag) args.insert(args.end(), {"count", std::to_string(tag)});
    // clang-format off
    const std::pair<const char*, int> cases[] = {  // file text (null: no file), level
        {"3", 3}, {"1", 1}, {"8", 8}, {" 7", 7}, {"7abc", 7}, {"0", 5}, {"9", 5}, {"-1", 5},
        {"abc", 5}, {"", 5}, {nullptr, 5}};
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first ? c.first : "(missing)");
        DeviceRoot root;
        if (c.first != nullptr) root.SetLogLevel(c.first);
        orvex::test::CallerRun run = orvex::test::RunCaller(root, args);
        ASSERT_EQ(run.process.exitCode, 0) << run.process.err;
        // Tags 3, 4 and 5 have no module in this build; every other tag has exactly one.
        EXPECT_EQ(run.process.out, "null\n1\n1\n1\n0\n0\n0\n1\n1\n1\n1\n1\n1\n1\n1\n");
        std::vector<Entry> expected = {
            {ANDROID_LOG_ERROR, "LoglevelManager",
             "[InitLogLevel::InitLogLevel] Log level XML - " + std::to_string(c.second)}};
        if (c.first) expected.insert(expected.begin(), {ANDROID_LOG_DEBUG, kKeyTag, "LogLevel"});
        // Error lines are gated at level 8 only.
        if (c.second != 8) {
            expected.push_back({ANDROID_LOG_ERROR, "ScannerFramework",
                                "[ComponentIndex::CreateModule] Unable to find module Nope\n"});
        }
        // The eleven registrations run before the level is read, so even level 8 writes them.
        ASSERT_GE(run.log.size(), 11u);
        EXPECT_EQ(std::vector<Entry>(run.log.begin() + 11, run.log.end()), expected);
        EXPECT_EQ(orvex::test::WithoutRegistrations(run.log), expected);
        for (int i = 0; i < 11; ++i) EXPECT_EQ(run.log[i].priority, ANDROID_LOG_INFO);
        EXPECT_EQ(
            run.log[0].message,
            "[ComponentIndex::AddPlatformModule] Adding platform module 'HWBeep' with Tag '0'\n");
    }
}

}  // namespace
