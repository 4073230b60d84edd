// The settings store and its file, in-process with a device root of the test's own.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <memory>

#include "PersistManager.h"
#include "PropertyPersist.h"
#include "TestSupport.h"
#include "XMLFilePersist.h"
#include "orvex/log_capture.h"
#include <android/log.h>

namespace {

using orvex::hostlog::Entry;
using orvex::hostlog::ScopedCapture;
using orvex::test::DeviceRoot;

const char* const kSettings = "/enterprise/device/settings/scanner/LogLevel.xml";

class SettingsStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* old = getenv("ORVEX_DEVICE_ROOT");
        oldRoot_ = old ? old : "";
        setenv("ORVEX_DEVICE_ROOT", root_.path().c_str(), 1);
    }
    void TearDown() override { setenv("ORVEX_DEVICE_ROOT", oldRoot_.c_str(), 1); }

    DeviceRoot root_;
    std::string oldRoot_;
};

Entry KeyRecord(const std::string& name) { return Entry{ANDROID_LOG_DEBUG, "Key=%s,Value=%s", name}; }

TEST_F(SettingsStoreTest, ReadsEveryChildOfTheRootInOrder) {
    root_.AddFile(kSettings,
                  "<?xml version=\"1.0\"?>\n<AnyRoot>\n  <LogLevel>3</LogLevel>\n  <Foo>x</Foo>\n"
                  "  <Foo>y</Foo>\n  <Empty/>\n  <Outer><Inner>1</Inner></Outer>\n</AnyRoot>\n");
    XMLFilePersist store;
    ScopedCapture log;
    store.LoadInfo();
    EXPECT_EQ(log.Entries(), (std::vector<Entry>{KeyRecord("LogLevel"), KeyRecord("Foo"),
                                                 KeyRecord("Foo"), KeyRecord("Empty"),
                                                 KeyRecord("Outer")}));
    EXPECT_EQ(store.GetInfo("LogLevel"), "3");
    EXPECT_EQ(store.GetInfo("Foo"), "y");  // a later element replaces an earlier one
    EXPECT_EQ(store.GetInfo("Empty"), "");
    EXPECT_EQ(store.GetInfo("Inner"), "");  // nested elements are not read
    EXPECT_EQ(store.GetInfo("Bar"), "");
}

TEST_F(SettingsStoreTest, SetInfoStaysInMemory) {
    const std::string text = "<Settings><LogLevel>3</LogLevel></Settings>";
    root_.AddFile(kSettings, text);
    XMLFilePersist store;
    store.LoadInfo();
    store.SetInfo("LogLevel", "7");
    store.SetInfo("New", "v");
    EXPECT_EQ(store.GetInfo("LogLevel"), "7");
    EXPECT_EQ(store.GetInfo("New"), "v");
    EXPECT_EQ(orvex::test::ReadFile(root_.HostPath(kSettings)), text);
}

TEST_F(SettingsStoreTest, MissingOrBrokenFilesLeaveTheStoreEmptyAndQuiet) {
    const char* const files[] = {nullptr, "", "<Settings><LogLevel>3</LogLevel>", "not xml at all",
                                 "<a></b>"};
    for (const char* content : files) {
        if (content != nullptr) root_.AddFile(kSettings, content);
        XMLFilePersist store;
        ScopedCapture log;
        store.LoadInfo();
        EXPECT_TRUE(log.Entries().empty()) << (content ? content : "(missing)");
        EXPECT_EQ(store.GetInfo("LogLevel"), "") << (content ? content : "(missing)");
    }
}

TEST_F(SettingsStoreTest, DocumentWithoutRootElementEndsTheProcess) {
    root_.AddFile(kSettings, "<?xml version=\"1.0\"?>\n<!-- nothing but a comment -->\n");
    XMLFilePersist store;
    EXPECT_DEATH(store.LoadInfo(),
                 orvex::test::AssertionRegex(
                     "Can't attach JVM to current thread.",
                     "device/common/platform_bundle/dependencies/PersistManager/src/XMLFilePersist",
                     21));
}

TEST_F(SettingsStoreTest, ManagerCreatesTheConfiguredKindOnce) {
    IPersistInfo* const loaded = PersistManager::pInterface;
    const int type = PersistManager::implementationType;
    ASSERT_NE(loaded, nullptr);  // created while the library loaded
    EXPECT_NE(dynamic_cast<XMLFilePersist*>(loaded), nullptr);
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

}  // namespace
