// ImagerInfoUtils in fresh caller processes: what it asks libimagerclient.so and in which
// order, what it releases after a success and keeps after a failure, and the missing library.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <string>
#include <vector>

#include "DeviceFixture.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::Entry;

constexpr const char* kSource =
    "device/common/platform_bundle/dependencies/LibProperties/src/ImagerInfoUtils";

Entry Client(const std::string& text) { return {kDebug, kImagerTag, text}; }

const std::vector<std::string> kQueries = {"imager", "GetImagerID", "imager",
                                           "GetImagerInterfaceType", "imagerclient-loaded"};

const std::vector<Entry> kLoadAndAsk = {
    Client("libimagerclient.so loaded"),
    I("ImagerInfoUtils::LoadImagerLibrary] Loaded libimagerclient.so!!\n"),
    Client("GetImagerModule(1, ImagerProvider)"),
};

TEST(ImagerInfoUtils, ReadsIdAndTypeOnceThenReleasesTheProviderAndTheLibrary) {
    Device device;
    device.imagerClient = "imager_id=31\ninterface_type=2\n";
    DeviceRun run = RunDevice(device, kQueries);
    EXPECT_EQ((std::vector<std::string>{"[31]", "2", "unloaded"}), Output(run)) << run.process.err;
    EXPECT_EQ(Plus(kLoadAndAsk, {Client("GetImager() = imager"),
                                 I("[ImagerInfoUtils::LoadImagerModules] m_Imager not NULL\n"),
                                 D("ImagerInfoUtils::ImagerInfoUtils] Loaded Imager Modules!\n"),
                                 Client("GetImagerId() = 31"),
                                 D("ImagerInfoUtils::ImagerInfoUtils] m_ImagerID = 31\n"),
                                 Client("GetInterfaceType() = 2"),
                                 D("ImagerInfoUtils::ImagerInfoUtils] Interface ID = 2\n"),
                                 Client("imager destroyed"), Client("provider destroyed"),
                                 Client("libimagerclient.so unloaded")}),
              DeviceRecords(run.log, {kTag, kImagerTag}));
}

TEST(ImagerInfoUtils, FailedLoadKeepsTheLibraryAndAnyProviderAndAnswersEmpty) {
    struct Case {
        const char* what;
        std::string profile;
        std::vector<Entry> log;
    };
    const Entry unsuccessful =
        E("ImagerInfoUtils::ImagerInfoUtils] Load Imager Modules Unsuccessful!\n");
    const std::vector<Case> cases = {
        {"no provider", "provider=0\n",
         Plus(kLoadAndAsk,
              {E("[ImagerInfoUtils::LoadImagerModules] m_ImagerProvider is NULL"), unsuccessful})},
        {"no imager", "imager=0\n",
         Plus(kLoadAndAsk,
              {Client("GetImager() = null"),
               E("[ImagerInfoUtils::LoadImagerModules] m_Imager is NULL\n"), unsuccessful})},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Device device;
        device.imagerClient = c.profile;
        DeviceRun run = RunDevice(device, kQueries);
        EXPECT_EQ((std::vector<std::string>{"[]", "0", "loaded"}), Output(run)) << run.process.err;
        // The library's unload line is written at exit, after everything the caller did.
        std::vector<Entry> log = DeviceRecords(run.log, {kTag, kImagerTag});
        EXPECT_EQ(Plus(c.log, {Client("libimagerclient.so unloaded")}), log);
    }
}

TEST(ImagerInfoUtils, SecondRequestReturnsTheSameInstanceWithoutLoadingAgain) {
    DeviceRun run = RunDevice({}, {"imager", "instance", "imager", "instance"});
    ASSERT_EQ(2u, run.lines.size()) << run.process.err;
    EXPECT_EQ(run.lines[0], run.lines[1]);
    std::vector<Entry> log = DeviceRecords(run.log, {kImagerTag});
    EXPECT_EQ(1, std::count(log.begin(), log.end(), Client("libimagerclient.so loaded")));
}

TEST(ImagerInfoUtils, MissingLibraryOrEntryPointEndsTheProcess) {
    LibraryDir withoutClient(true, false);
    DeviceRun run = RunDevice({}, {"imager", "GetImagerID"}, withoutClient);
    EXPECT_EQ(SIGABRT, run.process.termSignal);
    EXPECT_EQ(Plus({E("[ImagerInfoUtils::LoadImagerLibrary] Unable to load library, Error "
                      "'libimagerclient.so: cannot open shared object file: No such file or "
                      "directory'")},
                   AssertionRecords("[ImagerContext::LoadImagerLibrary] Unable to load "
                                    "libimagerclient.so",
                                    kSource, 56)),
              DeviceRecords(run.log, {kTag, kAssertTag}));

    LibraryDir withoutEntry(true, false);
    withoutEntry.Link("libimagerclient.so", TestLibrary("libimagerclient_without_entry.so"));
    run = RunDevice({}, {"imager", "GetImagerID"}, withoutEntry);
    EXPECT_EQ(SIGABRT, run.process.termSignal);
    EXPECT_EQ(Plus({I("ImagerInfoUtils::LoadImagerLibrary] Loaded libimagerclient.so!!\n")},
                   AssertionRecords("Unable to load function GetImagerModule\n", kSource, 62)),
              DeviceRecords(run.log, {kTag, kAssertTag}));
}

}  // namespace
