// The shipped device profiles, as staged by the build, give the device facts and scanner lists
// they describe.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "DeviceFixture.h"

namespace {

using namespace orvex::test;

struct Profile {
    const char* name;
    std::vector<std::string> lines;
    // Every record at error level or above; the front camera is checked once by the query
    // and once more for the scanner list.
    std::vector<orvex::hostlog::Entry> errors;
};

TEST(DeviceProfiles, EachProfileDescribesAWorkingDevice) {
    const std::vector<std::string> ops = {"GetPlatformName",
                                          "GetProductModel",
                                          "GetProductSKU",
                                          "GetAndroidVersion",
                                          "GetABI",
                                          "IsRearCameraAvaialable",
                                          "IsFrontCameraAvaialable",
                                          "GetScanner",
                                          "GetImagerInterfaceType",
                                          "GetScannerBeepVolume",
                                          "CheckExternalHeadset",
                                          "GetPlatformVersion"};
    std::vector<std::string> queries = Info(ops);
    queries.insert(queries.end(), {"scanners", "scanner", "GetInBuiltScannerModel", "scanner",
                                   "IsMirroredAndFlipped"});
    const auto facing = [](int value) {
        return E("[DeviceInfo::IsFrontCameraAvaialableCheckUsingNDK] cam facing " +
                 std::to_string(value));
    };

    const std::vector<Profile> profiles = {
        {"default",
         {"lahaina", "TR52", "TR52HC", "13", "arm64-v8a", "true", "false", "31", "1", "5", "0", "1",
          "count 4", "0\t2D Barcode Imager\tIM5100", "1\tCamera Scanner\tREAR_CAMERA",
          "2\tBluetooth Ring Scanner\tBT_RING", "3\tSerial Scanner\tSERIAL_SSI", "[IM5100]", "1"},
         {facing(1), facing(1),
          E("[XMLParserUtil::GetDefaultExternalScanners] External scanner(Serial "
            "Scanner) is not supported")}},
        {"tr41",
         {"holi", "TR41", "TR41FR", "14", "x86_64", "true", "true", "44", "2", "3", "1", "1",
          "count 4", "0\t2D Extended Range Imager\tIM7300", "1\tCamera Scanner\tREAR_CAMERA",
          "2\tFront Camera Scanner\tFRONT_CAMERA", "3\tBluetooth Ring Scanner\tBT_RING", "[IM7300]",
          "2"},
         {facing(1), facing(0), facing(1), facing(0)}},
        {"camera-only",
         {"bengal", "TR21", "TR21CE", "11", "armeabi-v7a", "true", "false", "0", "0", "6", "0", "1",
          "count 3", "0\tCamera Scanner\tREAR_CAMERA", "1\tBluetooth Ring Scanner\tBT_RING",
          "2\tUSB Scanner\tUSB_HID", "[BT_RING]", "0"},
         {E("[ImagerInfoUtils::LoadImagerModules] m_Imager is NULL\n"),
          E("ImagerInfoUtils::ImagerInfoUtils] Load Imager Modules Unsuccessful!\n"),
          E("[XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] builtin scanner "
            "name does not exist under Product tag")}},
    };
    for (const Profile& p : profiles) {
        SCOPED_TRACE(p.name);
        // A copy, so that nothing the run creates lands in the build's profile.
        TempDir root;
        ProcessResult copy = RunProcess(
            "/bin/cp", "cp",
            {"-a", std::string(ORVEX_BUILD_DIR "/sim/profiles/") + p.name + "/.", root.path()}, {});
        ASSERT_EQ(0, copy.exitCode) << copy.err;
        std::vector<std::string> args;
        if (access((root.path() + "/sim/cameras.prop").c_str(), F_OK) == 0) {
            args.push_back("cameras");
        }
        args.insert(args.end(), queries.begin(), queries.end());
        DeviceRun run = RunOnRoot(root.path(), args);
        EXPECT_EQ(p.lines, Output(run));
        std::vector<orvex::hostlog::Entry> errors;
        for (const auto& e : DeviceRecords(run.log, {kTag, kAssertTag})) {
            if (e.priority >= kError) errors.push_back(e);
        }
        EXPECT_EQ(p.errors, errors);
    }
}

TEST(DeviceProfiles, SubstitutesAreFoundBesideThePlatformLibrary) {
#if defined(ORVEX_SANITIZED)
    GTEST_SKIP() << "a sanitizer runtime opens libraries on the platform library's behalf, so "
                    "its own run path is not searched";
#endif
    TempDir root;
    ASSERT_EQ(0, RunProcess("/bin/cp", "cp",
                            {"-a", ORVEX_BUILD_DIR "/sim/profiles/default/.", root.path()}, {})
                     .exitCode);
    // The loader's own search path holds the host layer only.
    TempDir hostOnly;
    ASSERT_EQ(0, symlink(ORVEX_BUILD_DIR "/lib/liborvex_host.so",
                         (hostOnly.path() + "/liborvex_host.so").c_str()));
    DeviceRun run =
        RunOnRoot(root.path(), Info({"GetScannerBeepVolume", "GetScanner"}), hostOnly.path());
    EXPECT_EQ((std::vector<std::string>{"5", "31"}), Output(run)) << run.process.err;
}

}  // namespace
