// odk::DeviceInfoBuilder in fresh caller processes: the order in which it gathers the device
// facts, one scanner list per process even under racing first calls, and what it leaves
// behind when building the list fails.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <string>
#include <vector>

#include "DeviceFixture.h"
#include "ScannerListXml.h"

namespace {

using namespace orvex::test;
using namespace orvex::test::xml;
using orvex::hostlog::Entry;

const std::string kList =
    List(Camera("Camera Scanner", "1", "10", "REAR_CAMERA") +
             FrontCamera("Front Camera Scanner", "11", "FRONT_CAMERA") +
             Builtin("31", "1", "Imager", "0", "IM5100") + External("Ring", "1", "20", "BT_RING"),
         Product("lahaina", "TR41", ProductBuiltin("0", "IM5100", "Imager", "1")));

std::string Release(const std::string& key) {
    return List(External("Ring " + key, "1", "20", "BT_RING"), "", key);
}

// The builder's own lines, in order.
std::vector<Entry> Gathered(const DeviceRun& run) {
    std::vector<Entry> out;
    for (const Entry& e : DeviceRecords(run.log, {kTag})) {
        if (e.message.rfind("[DeviceInfo::GetSupportedScannerInstance]", 0) == 0) out.push_back(e);
    }
    return out;
}

size_t Count(const std::vector<Entry>& log, const std::string& message) {
    return std::count_if(log.begin(), log.end(),
                         [&](const Entry& e) { return e.message == message; });
}

TEST(DeviceInfoBuilder, GathersTheDeviceFactsInOrderAndBuildsTheListFromThem) {
    struct Case {
        const char* what;
        Device device;
        std::vector<std::string> lines;
        std::vector<Entry> gathered;
    };
    const Entry noImager =
        D("[DeviceInfo::GetSupportedScannerInstance] Imager scanner is not present");
    const Entry id31 = D("[DeviceInfo::GetSupportedScannerInstance] Scanner ID=31");
    const Entry rear = D("[DeviceInfo::GetSupportedScannerInstance] Rear Camera is available");
    const Entry noRear =
        D("[DeviceInfo::GetSupportedScannerInstance] Rear camera is not available");
    const Entry front = D("[DeviceInfo::GetSupportedScannerInstance] Front Camera is available");
    const Entry noFront =
        D("[DeviceInfo::GetSupportedScannerInstance] Front camera is not available");
    const Entry android13 =
        I("[DeviceInfo::GetSupportedScannerInstance] android version is Android_13");

    std::vector<Case> cases(4);
    cases[0] = {
        "rear camera and imager",
        {},
        {"count 3", "0\tImager\tIM5100", "1\tCamera Scanner\tREAR_CAMERA", "2\tRing\tBT_RING"},
        {id31, rear, noFront, android13}};
    cases[0].device.cameras = "0=back\n";
    cases[1] = {"TR41 with both cameras",
                {},
                {"count 4", "0\tImager\tIM5100", "1\tCamera Scanner\tREAR_CAMERA",
                 "2\tFront Camera Scanner\tFRONT_CAMERA", "3\tRing\tBT_RING"},
                {id31, rear, front, android13}};
    cases[1].device.cameras = "0=back\n1=front\n";
    cases[1].device.properties["ro.product.model"] = "TR41";
    cases[2] = {"no camera and no imager",
                {},
                {"count 1", "0\tRing\tBT_RING"},
                {noImager, noRear, noFront, android13}};
    cases[2].device.imagerClient = "imager=0\n";
    cases[3] = {"release 14",
                {},
                {"count 1", "0\tRing Android_14\tBT_RING"},
                {id31, noRear, noFront,
                 I("[DeviceInfo::GetSupportedScannerInstance] android version is Android_14")}};
    cases[3].device.properties["ro.build.version.release"] = "14";
    cases[3].device.scannerList =
        "<ScannerList>" +
        Element("Android_13",
                Element("default", External("Ring 13", "1", "1", "X")) + Element("platform", "")) +
        Element("Android_14", Element("default", External("Ring Android_14", "1", "1", "BT_RING")) +
                                  Element("platform", "")) +
        "</ScannerList>";
    for (Case& c : cases) {
        SCOPED_TRACE(c.what);
        if (c.device.scannerList.empty()) c.device.scannerList = kList;
        DeviceRun run = RunDevice(c.device, {"scanners"});
        EXPECT_EQ(c.lines, Output(run)) << run.process.err;
        EXPECT_EQ(c.gathered, Gathered(run));
    }
}

TEST(DeviceInfoBuilder, RacingFirstCallsShareOneDeviceInfoAndOneList) {
    Device device;
    device.scannerList = kList;
    device.cameras = "0=back\n";
    DeviceRun run = RunDevice(device, {"race", "8", "same"});
    EXPECT_EQ((std::vector<std::string>{"same", "same"}), Output(run)) << run.process.err;
    std::vector<Entry> log = DeviceRecords(run.log, {kTag, kImagerTag});
    EXPECT_EQ(1u, Count(log, "[DeviceInfo::LoadPlatformHWInfoRetrieverModule] E"));
    EXPECT_EQ(1u, Count(log, "[SupportedScannerInfo::SupportedScannerInfo] masterScannerMap"));
    EXPECT_EQ(1u, Count(log, "libimagerclient.so loaded"));
}

TEST(DeviceInfoBuilder, NumberThatDoesNotParseLeavesNothingStoredAndTheLockFree) {
    Device device;
    device.scannerList = List(External("Ring", "1", "first", "BT_RING"), "");
    DeviceRun run = RunDevice(device, {"scanners-catch", "scanners-catch"});
    EXPECT_EQ((std::vector<std::string>{"exception invalid_argument: stoi",
                                        "exception invalid_argument: stoi"}),
              Output(run))
        << run.process.err;
    // Both calls gathered the facts: the first left nothing behind.
    EXPECT_EQ(2u, Count(DeviceRecords(run.log, {kTag}),
                        "[DeviceInfo::GetSupportedScannerInstance] Scanner ID=31"));
}

TEST(DeviceInfoBuilder, PlatformOrModelTooLongForItsBufferEndsTheProcess) {
    struct Case {
        const char* property;
        size_t length;
        bool ends;
    };
    for (const Case& c :
         {Case{"ro.board.platform", 255, false}, Case{"ro.board.platform", 256, true},
          Case{"ro.product.model", 256, true}}) {
        SCOPED_TRACE(std::string(c.property) + " " + std::to_string(c.length));
        Device device;
        device.scannerList = kList;
        device.properties[c.property] = std::string(c.length, 'p');
        DeviceRun run = RunDevice(device, {"scanners"});
        if (c.ends) {
            EXPECT_EQ(SIGABRT, run.process.termSignal);
            EXPECT_TRUE(run.lines.empty());
        } else {
            EXPECT_EQ(
                (std::vector<std::string>{"count 2", "0\tImager\tIM5100", "1\tRing\tBT_RING"}),
                Output(run));
        }
    }
}

TEST(DeviceInfoBuilder, BrokenOrUnnamedScannerListEndsTheProcess) {
    const std::string source =
        "device/common/platform_bundle/dependencies/LibProperties/utility/XMLParserUtil";
    Device device;
    device.scannerList = Release("Android_12");
    DeviceRun run = RunDevice(device, {"scanners"});
    EXPECT_EQ(SIGABRT, run.process.termSignal);
    std::vector<Entry> log = Facts(run);
    ASSERT_GE(log.size(), 4u);
    EXPECT_EQ(Plus({E("[XMLParserUtil::GetSupportedScannerListFromXML] No node in ScannerList XML "
                      "with AndroidVersion = Android_13")},
                   AssertionRecords("XMLParserUtil : No node in ScannerList XML with "
                                    "AndroidVersion = Android_13",
                                    source, 44)),
              std::vector<Entry>(log.end() - 4, log.end()));

    // No file at all where the device says the list is.
    run = RunDevice(Device(), {"scanners"});
    EXPECT_EQ(SIGABRT, run.process.termSignal);
    log = Facts(run);
    ASSERT_GE(log.size(), 3u);
    EXPECT_EQ(AssertionRecords("XMLParserUtil : Unable to load ScannerList XML file", source, 30),
              std::vector<Entry>(log.end() - 3, log.end()));
}

}  // namespace
