// The log level as a fresh process that loads the library sees it.

#include <gtest/gtest.h>

#include <algorithm>

#include "TestSupport.h"
#include <android/log.h>

namespace {

using orvex::hostlog::Entry;
using orvex::test::CallerRun;
using orvex::test::DeviceRoot;
using orvex::test::FilterTag;
using orvex::test::RunCaller;

Entry LevelRecord(int level) {
    return Entry{ANDROID_LOG_ERROR, "LoglevelManager",
                 "[InitLogLevel::InitLogLevel] Log level XML - " + std::to_string(level)};
}

TEST(LogLevel, IsReadOnceAtLoadFromTheSettingsFile) {
    struct Case {
        const char* text;  // null: no settings file
        int level;
    } cases[] = {
        {"3", 3}, {"1", 1}, {"8", 8}, {" 7", 7}, {"7abc", 7}, {"0", 5}, {"9", 5},
        {"-1", 5}, {"abc", 5}, {"", 5}, {nullptr, 5},
    };
    for (const Case& c : cases) {
        DeviceRoot root;
        if (c.text != nullptr) root.SetLogLevel(c.text);
        CallerRun run = RunCaller(root, {"load"});
        ASSERT_EQ(run.process.exitCode, 0) << run.process.err;
        EXPECT_EQ(FilterTag(run.log, "LoglevelManager"), std::vector<Entry>{LevelRecord(c.level)})
            << (c.text ? c.text : "(missing)");
        std::vector<Entry> keys = FilterTag(run.log, "Key=%s,Value=%s");
        if (c.text != nullptr) {
            EXPECT_EQ(keys, (std::vector<Entry>{Entry{ANDROID_LOG_DEBUG, "Key=%s,Value=%s", "LogLevel"}}));
        } else {
            EXPECT_TRUE(keys.empty());
        }
    }
}

TEST(LogLevel, GatesErrorLinesAtLevelEightOnly) {
    // The lookup failure is an error line: written at every level below 8.
    const Entry unknown{ANDROID_LOG_ERROR, "ScannerFramework",
                        "[ComponentIndex::CreateModule] Unable to find module Nope\n"};
    for (const char* level : {"1", "5", "7", "8"}) {
        DeviceRoot root;
        root.SetLogLevel(level);
        CallerRun run = RunCaller(root, {"create", "3", "Nope"});
        ASSERT_EQ(run.process.exitCode, 0) << run.process.err;
        EXPECT_EQ(run.process.out, "null\n");
        std::vector<Entry> framework = FilterTag(run.log, "ScannerFramework");
        bool written = std::find(framework.begin(), framework.end(), unknown) != framework.end();
        EXPECT_EQ(written, std::string(level) != "8") << "level " << level;
    }
}

TEST(LogLevel, RegistrationsAreLoggedBeforeTheLevelIsRead) {
    // Even at level 8 the registration lines are written: they run before the level is set.
    DeviceRoot root;
    root.SetLogLevel("8");
    CallerRun run = RunCaller(root, {"load"});
    ASSERT_EQ(run.process.exitCode, 0) << run.process.err;
    ASSERT_FALSE(run.log.empty());
    size_t levelAt = run.log.size();
    size_t lastRegistration = 0;
    for (size_t i = 0; i < run.log.size(); ++i) {
        if (run.log[i].tag == "LoglevelManager") levelAt = i;
        if (run.log[i].message.find("[ComponentIndex::AddPlatformModule] Adding") == 0) {
            lastRegistration = i;
            EXPECT_EQ(run.log[i].priority, ANDROID_LOG_INFO);
        }
    }
    ASSERT_LT(levelAt, run.log.size());
    EXPECT_LE(lastRegistration, levelAt);
}

}  // namespace

namespace {

TEST(Registry, EveryTagCountsItsRegisteredModules) {
    // Tags 3, 4 and 5 have no module in this build; every other tag has exactly one.
    std::vector<std::string> args;
    for (int tag = 0; tag < 14; ++tag) {
        args.push_back("count");
        args.push_back(std::to_string(tag));
    }
    DeviceRoot root;
    CallerRun run = RunCaller(root, args);
    ASSERT_EQ(run.process.exitCode, 0) << run.process.err;
    EXPECT_EQ(run.process.out, "1\n1\n1\n0\n0\n0\n1\n1\n1\n1\n1\n1\n1\n1\n");
}

}  // namespace
