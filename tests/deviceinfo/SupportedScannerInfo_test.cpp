// SupportedScannerInfo's queries, through the builder in fresh caller processes: positional
// look-ups, the built-in imager behind a camera scanner, orientation, and the empty list.

#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <vector>

#include "DeviceFixture.h"
#include "ScannerListXml.h"

namespace {

using namespace orvex::test;
using namespace orvex::test::xml;
using orvex::hostlog::Entry;

std::vector<std::string> Scanner(const std::vector<std::vector<std::string>>& calls) {
    std::vector<std::string> args;
    for (const auto& call : calls) {
        args.push_back("scanner");
        args.insert(args.end(), call.begin(), call.end());
    }
    return args;
}

// The records the queries wrote, after the list was built.
std::vector<Entry> QueryRecords(const DeviceRun& run) {
    std::vector<Entry> log = DeviceRecords(run.log, {kTag});
    std::vector<Entry> out;
    bool built = false;
    for (const Entry& e : log) {
        if (built && e.message.rfind("[SupportedScannerInfo::SupportedScannerInfo]", 0) != 0) {
            out.push_back(e);
        }
        if (e.message == "[SupportedScannerInfo::SupportedScannerInfo] masterScannerMap") {
            built = true;
        }
    }
    return out;
}

Device WithList(const std::string& list, bool rearCamera) {
    Device device;
    device.scannerList = list;
    if (rearCamera) device.cameras = "0=back\n";
    return device;
}

TEST(SupportedScannerInfo, ImagerBehindACameraScannerIsFoundWithItsOrientation) {
    Device device =
        WithList(List(Camera("Camera Scanner", "1", "0", "REAR_CAMERA") +
                          Builtin("31", "1", "Imager", "1", "IM5100") +
                          External("Ring", "1", "2", "BT_RING"),
                      Product("lahaina", "TR52", ProductBuiltin("1", "IM5100", "Imager", "2"))),
                 true);
    DeviceRun run = RunDevice(device, Scanner({{"GetInBuiltScannerModel"},
                                               {"IsMirroredAndFlipped"},
                                               {"GetScannerNameAt", "5"},
                                               {"GetScannerNameAt", "-1"},
                                               {"GetScannerModelNameAt", "2"},
                                               {"IsScannerAvailable", "Camera Scanner"},
                                               {"IsScannerAvailable", "camera scanner"},
                                               {"IsScannerAvailable", ""},
                                               {"GetNumberOfSupportedScanners"},
                                               {"IsScannerListAvailable"}}));
    EXPECT_EQ((std::vector<std::string>{"[IM5100]", "2", "[]", "[]", "[BT_RING]", "true", "false",
                                        "false", "3", "true"}),
              Output(run))
        << run.process.err;
    const Entry model0 =
        D("[SupportedScannerInfo::GetScannerModelNameAt] Scanner Model REAR_CAMERA");
    const Entry model1 = D("[SupportedScannerInfo::GetScannerModelNameAt] Scanner Model IM5100");
    EXPECT_EQ(
        (std::vector<Entry>{
            model0, model1, model0, model1,
            I("[SupportedScannerInfo::IsMirroredAndFlipped] ScannerName=Imager has orientation = "
              "2"),
            D("[SupportedScannerInfo::GetScannerNameAt] index=5, ScannerName=\n"),
            D("[SupportedScannerInfo::GetScannerNameAt] index=-1, ScannerName=\n"),
            D("[SupportedScannerInfo::GetScannerModelNameAt] Scanner Model BT_RING"),
            E("[SupportedScannerInfo::IsScannerAvailable] Scanner camera scanner not found in "
              "Scanner List"),
            E("[SupportedScannerInfo::IsScannerAvailable] Invalid ScannerName"),
            D("[SupportedScannerInfo::GetNumberOfSupportedScanners] 3")}),
        QueryRecords(run));
}

TEST(SupportedScannerInfo, ListOfOnlyACameraScannerHasNoImager) {
    DeviceRun run =
        RunDevice(WithList(List(Camera("Camera Scanner", "1", "0", "REAR_CAMERA"), ""), true),
                  Scanner({{"GetInBuiltScannerModel"}, {"IsMirroredAndFlipped"}}));
    EXPECT_EQ((std::vector<std::string>{"[]", "0"}), Output(run)) << run.process.err;
}

TEST(SupportedScannerInfo, EmptyListAnswersFalseOrZero) {
    Device device = WithList(List("", ""), false);
    device.imagerClient = "imager=0\n";
    DeviceRun run = RunDevice(device, Scanner({{"IsScannerListAvailable"},
                                               {"GetNumberOfSupportedScanners"},
                                               {"IsScannerAvailable", "Ring"},
                                               {"IsMirroredAndFlipped"}}));
    EXPECT_EQ((std::vector<std::string>{"false", "0", "false", "0"}), Output(run));
    const Entry empty = E("[SupportedScannerInfo::IsScannerListAvailable] Scanner List is empty");
    EXPECT_EQ((std::vector<Entry>{
                  empty, empty,
                  E("[SupportedScannerInfo::GetNumberOfSupportedScanners] Scanner List is NULL"),
                  E("[SupportedScannerInfo::IsScannerAvailable] Scanner Ring not found in Scanner "
                    "List"),
                  empty}),
              QueryRecords(run));
}

TEST(SupportedScannerInfo, PositionalQueriesOnAnEmptyListEndTheProcess) {
    struct Case {
        std::vector<std::string> call;
        std::string line;
    };
    const std::vector<Case> cases = {
        {{"GetScannerNameAt", "0"},
         "[SupportedScannerInfo::GetScannerNameAt] index 0 not found in Scanner List"},
        {{"GetScannerModelNameAt", "1"},
         "[SupportedScannerInfo::GetScannerModelNameAt] index 1 not found in Scanner List"},
        {{"GetInBuiltScannerModel"},
         "[SupportedScannerInfo::GetInBuiltScannerModel] InBuilt Scanner not found in Scanner "
         "List"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.call[0]);
        Device device = WithList(List("", ""), false);
        device.imagerClient = "imager=0\n";
        DeviceRun run = RunDevice(device, Scanner({c.call}));
        EXPECT_EQ(SIGABRT, run.process.termSignal);
        EXPECT_TRUE(run.lines.empty());
        EXPECT_EQ((std::vector<Entry>{
                      E("[SupportedScannerInfo::IsScannerListAvailable] Scanner List is empty"),
                      E(c.line)}),
                  QueryRecords(run));
    }
}

}  // namespace
