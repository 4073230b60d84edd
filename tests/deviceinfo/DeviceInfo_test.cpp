// DeviceInfo and odk::DeviceInfoBuilder in fresh caller processes, each with its own device
// root at log level 1, so every debug line shows.

#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <vector>

#include "DeviceFixture.h"
#include "ScannerListXml.h"

namespace {

using namespace orvex::test;
using orvex::hostlog::Entry;

constexpr const char* kSource =
    "device/common/platform_bundle/dependencies/LibProperties/src/DeviceInfo";

TEST(DeviceInfo, StringFactsAreReadOnceAndLoggedOnceExceptTheDecryptionStatus) {
    std::vector<std::string> args =
        Info({"GetPlatformName", "GetPlatformName", "GetProductName", "GetProductModel",
              "GetProductSKU", "GetManufacturerName", "GetAndroidVersion", "GetABI",
              "GetDeviceDecryptionStatus", "GetDeviceDecryptionStatus"});
    args.insert(args.end(), {"info", "GetConfigPath", "scannerlistxml"});
    // Changed properties: the cache keeps the first value, the decryption status follows.
    args.insert(args.end(), {"setprop", "ro.board.platform", "holi", "setprop", "vold.decrypt",
                             "trigger_restart_framework", "info", "GetPlatformName", "info",
                             "GetDeviceDecryptionStatus"});
    DeviceRun run = RunDevice({}, args);
    EXPECT_EQ(0, run.process.exitCode) << run.process.err;
    EXPECT_EQ((std::vector<std::string>{"lahaina", "lahaina", "tr52_gms", "TR52", "TR52HC",
                                        "Tevrin", "13", "x86_64", "[]", "[]", "[]", "lahaina",
                                        "[trigger_restart_framework]"}),
              Output(run));
    EXPECT_EQ(Plus(ConstructionRecords(),
                   {D("[DeviceInfo::GetPlatformName] Platform Name lahaina"),
                    D("[DeviceInfo::GetProductName] Product Name tr52_gms"),
                    D("[DeviceInfo::GetProductModel] ProductModel Name TR52"),
                    D("[DeviceInfo::GetProductSKU] ProductSKU Name TR52HC"),
                    D("[DeviceInfo::GetManufacturerName] Manufacturer Name Tevrin"),
                    D("[DeviceInfo::GetAndroidVersion] Android Version 13"),
                    D("[DeviceInfo::GetABI] ABI x86_64"),
                    D("[DeviceInfo::GetDeviceDecryptionStatus] Device Decryption status "),
                    D("[DeviceInfo::GetDeviceDecryptionStatus] Device Decryption status "),
                    D("[DeviceInfo::GetDeviceDecryptionStatus] Device Decryption status "
                      "trigger_restart_framework")}),
              Facts(run));
}

TEST(DeviceInfo, EmptyStringFactEndsTheProcessOnFirstUse) {
    struct Case {
        const char* property;
        const char* op;
        int line;
    };
    const std::vector<Case> cases = {
        {"ro.board.platform", "GetPlatformName", 118},
        {"ro.product.name", "GetProductName", 129},
        {"ro.product.model", "GetProductModel", 140},
        {"ro.product.device", "GetProductSKU", 151},
        {"ro.product.manufacturer", "GetManufacturerName", 162},
        {"ro.build.version.release", "GetAndroidVersion", 173},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.op);
        Device device;
        device.properties[c.property] = "";
        DeviceRun run = RunDevice(device, Info({c.op}));
        EXPECT_EQ(SIGABRT, run.process.termSignal);
        EXPECT_TRUE(run.lines.empty());
        EXPECT_EQ(Plus(ConstructionRecords(),
                       AssertionRecords(std::string(c.op) + " Failed", kSource, c.line)),
                  Facts(run));
    }
    // The ABI also picks the library folder, so without it the platform library is not found.
    Device device;
    device.properties.erase("ro.product.cpu.abi");
    DeviceRun run = RunDevice(device, Info({"GetABI"}));
    EXPECT_EQ(SIGABRT, run.process.termSignal);
    std::vector<Entry> log = Facts(run);
    ASSERT_EQ(5u, log.size());
    EXPECT_EQ(AssertionRecords("GetABI Failed", kSource, 184),
              std::vector<Entry>(log.begin() + 2, log.end()));
}

TEST(DeviceInfo, CamerasComeFromTheCameraServiceThenFromProperties) {
    struct Case {
        const char* what;
        std::string cameras;
        std::map<std::string, std::string> properties;
        const char* op;
        const char* answer;
        std::vector<Entry> log;
    };
    const char* rear = "IsRearCameraAvaialable";
    const char* front = "IsFrontCameraAvaialable";
    const Entry facing1 = E("[DeviceInfo::IsFrontCameraAvaialableCheckUsingNDK] cam facing 1");
    const Entry facing0 = E("[DeviceInfo::IsFrontCameraAvaialableCheckUsingNDK] cam facing 0");
    const Entry rearStoi = E("[DeviceInfo::IsRearCameraAvaialable] Exception. stoi");
    const Entry frontStoi = E("[DeviceInfo::IsFrontCameraAvaialable] Exception. stoi");
    const std::vector<Case> cases = {
        {"rear camera listed", "0=back\n", {}, rear, "true", {}},
        {"rear camera not first", "0=front\n1=external\n2=back\n", {}, rear, "true", {}},
        {"front camera listed second", "0=back\n1=front\n", {}, front, "true", {facing1, facing0}},
        {"only a rear camera", "0=back\n", {}, front, "false", {facing1}},
        {"no service, second rear property",
         "",
         {{"ro.boot.device.camera0", "0"}, {"ro.config.device.camera0", "2"}},
         rear,
         "true",
         {}},
        {"no service, no property", "", {}, rear, "false", {}},
        {"service without cameras, first rear property",
         "# none\n",
         {{"ro.boot.device.camera0", "1"}},
         rear,
         "true",
         {}},
        {"negative property", "", {{"ro.boot.device.camera0", "-1"}}, rear, "false", {}},
        {"leading blanks", "", {{"ro.boot.device.camera0", "  1"}}, rear, "true", {}},
        {"not a number, then the second property",
         "",
         {{"ro.boot.device.camera0", "yes"}, {"ro.config.device.camera0", "1"}},
         rear,
         "true",
         {rearStoi}},
        {"out of range",
         "",
         {{"ro.config.device.camera0", "99999999999"}},
         rear,
         "false",
         {rearStoi}},
        {"front property read twice",
         "",
         {{"ro.boot.device.camera1", "x"}},
         front,
         "false",
         {frontStoi, frontStoi}},
        {"front property", "", {{"ro.boot.device.camera1", "1"}}, front, "true", {}},
        {"a camera without lens facing ends the service check",
         "0=none\n1=back\n",
         {},
         rear,
         "false",
         {}},
        {"a camera that went away ends the service check",
         "0=unavailable\n1=front\n",
         {},
         front,
         "false",
         {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Device device;
        device.cameras = c.cameras;
        for (const auto& p : c.properties) device.properties[p.first] = p.second;
        DeviceRun run = RunDevice(device, Info({c.op}));
        EXPECT_EQ(std::vector<std::string>{c.answer}, Output(run)) << run.process.err;
        EXPECT_EQ(Plus(ConstructionRecords(), c.log), Facts(run));
    }
}

TEST(DeviceInfo, CameraCheckDeletesManagerAndMetadataButKeepsTheIdList) {
    Device device;
    device.cameras = "0=front\n1=back\n";
    DeviceRun run =
        RunDevice(device, {"info", "IsRearCameraAvaialable", "camera-calls", "idlists"});
    EXPECT_EQ(
        (std::vector<std::string>{"true", "ACameraManager_create", "ACameraManager_getCameraIdList",
                                  "ACameraManager_getCameraCharacteristics 0",
                                  "ACameraMetadata_getConstEntry 0x80005", "ACameraMetadata_free",
                                  "ACameraManager_getCameraCharacteristics 1",
                                  "ACameraMetadata_getConstEntry 0x80005", "ACameraMetadata_free",
                                  "ACameraManager_delete", "1"}),
        Output(run));

    device.cameras = "0=none\n";
    run = RunDevice(device, {"info", "IsFrontCameraAvaialable", "camera-calls"});
    EXPECT_EQ(
        (std::vector<std::string>{
            "false", "ACameraManager_create", "ACameraManager_getCameraIdList",
            "ACameraManager_getCameraCharacteristics 0", "ACameraMetadata_getConstEntry 0x80005",
            "ACameraMetadata_free", "ACameraManager_delete"}),
        Output(run));
}

TEST(DeviceInfo, VolumeFactsComeFromTheVolumeLibraryWhenItHasThem) {
    struct Case {
        const char* what;
        LibraryDir libraries;
        std::vector<std::string> lines;
    };
    Case cases[] = {
        {"volume library", LibraryDir(), {"5", "1", "1"}},
        {"no volume library", LibraryDir(false, true), {"-1", "-1"}},
        {"volume only", LibraryDir(false, true), {"9", "-1"}},
    };
    cases[2].libraries.Link("libovc.so", TestLibrary("libovc_volume_only.so"));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Device device;
        device.volumeLibrary =
            "scanner_beep_volume=5\nbeep_audio_api=1\naudio_accessory_status=1\n";
        std::vector<std::string> ops = {"GetScannerBeepVolume", "GetScannerAudioAPI"};
        // Only a device with the whole library may be asked about the headset.
        if (c.lines.size() == 3) ops.push_back("CheckExternalHeadset");
        DeviceRun run = RunDevice(device, Info(ops), c.libraries);
        EXPECT_EQ(c.lines, Output(run)) << run.process.err;
        std::vector<Entry> log = {
            D("[DeviceInfo::GetScannerBeepVolume] Scanner Beep Volume " + c.lines[0]),
            D("[DeviceInfo::GetScannerAudioAPI] Scanner Audio API " + c.lines[1])};
        if (c.lines.size() == 3) {
            log.push_back(D("[DeviceInfo::CheckExternalHeadset] CheckExternalHeadset 1"));
        }
        EXPECT_EQ(Plus(ConstructionRecords(), log), Facts(run));
    }
}

TEST(DeviceInfo, HeadsetStateIsTheAccessoryTextAsANumber) {
    for (const auto& c : std::vector<std::pair<std::string, std::string>>{
             {"0", "0"}, {"2", "2"}, {" 3 connected", "3"}, {"none", "0"}}) {
        Device device;
        device.volumeLibrary = "audio_accessory_status=" + c.first + "\n";
        EXPECT_EQ(std::vector<std::string>{c.second},
                  Output(RunDevice(device, Info({"CheckExternalHeadset"}))))
            << c.first;
    }
}

TEST(DeviceInfo, ScannerIdIsTheImagerIdAsANumberAndZeroWhenItIsNone) {
    struct Case {
        std::string id;
        const char* answer;
        std::vector<Entry> log;
    };
    const Entry stoi = E("[DeviceInfo::GetScanner] Exception. stoi");
    const std::vector<Case> cases = {
        {"31", "31", {}},
        {" 42x", "42", {}},
        {"", "0", {D("[DeviceInfo::GetScanner] Setting scannerID = 0\n")}},
        {"abc", "0", {stoi}},
        {"99999999999", "0", {stoi}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        Device device;
        device.imagerClient = "imager_id=" + c.id + "\ninterface_type=4\n";
        DeviceRun run = RunDevice(device, Info({"GetScanner", "GetImagerInterfaceType"}));
        EXPECT_EQ((std::vector<std::string>{c.answer, "4"}), Output(run));
        std::vector<Entry> log = DeviceRecords(run.log, {kTag});
        // After the construction and the imager library's own lines.
        std::vector<Entry> tail;
        for (const Entry& e : log) {
            if (e.message.rfind("[DeviceInfo::GetScanner]", 0) == 0 ||
                e.message.rfind("[DeviceInfo::GetImagerInterfaceType]", 0) == 0) {
                tail.push_back(e);
            }
        }
        std::vector<Entry> expected = {D("[DeviceInfo::GetScanner] scanner ID = " + c.id + "\n")};
        expected = Plus(Plus(expected, c.log),
                        {D("[DeviceInfo::GetImagerInterfaceType] Imager Interface type= 4\n")});
        EXPECT_EQ(expected, tail);
    }
}

TEST(DeviceInfo, HardwareInfoModuleComesThroughThePlatformLibrarysEntryPoints) {
    const std::vector<std::string> ops =
        Info({"isDeviceFederalSKU1", "isDeviceFederalSKU2", "GetPlatformVersion"});
    const std::vector<Entry> notLoaded = {
        E("[DeviceInfo::isDeviceFederalSKU1] PlatformHWInfoRetriever module is not loaded"),
        E("[DeviceInfo::isDeviceFederalSKU2] PlatformHWInfoRetriever module is not loaded")};

    DeviceRun run = RunDevice({}, ops);
    EXPECT_EQ((std::vector<std::string>{"false", "false", "1"}), Output(run));
    EXPECT_EQ(Plus(ConstructionRecords(),
                   {D("[DeviceInfo::isDeviceFederalSKU1] "
                      "pPlatforHWInfoRetreiver->isDeviceFederalSKU1 returns false"),
                    D("[DeviceInfo::isDeviceFederalSKU2] "
                      "pPlatforHWInfoRetreiver->isDeviceFederalSKU2 returns false"),
                    D("[DeviceInfo::GetImagerInterfaceType] Platform Version type= 1\n")}),
              Facts(run));

    // Unsupported module: the library stays open, so its version still answers.
    Device unsupported;
    unsupported.platformLibraryFile = TestLibrary("libplatform_without_hw_info.so");
    run = RunDevice(unsupported, ops);
    EXPECT_EQ((std::vector<std::string>{"false", "false", "7"}), Output(run));
    EXPECT_EQ(Plus(Plus({D("[DeviceInfo::LoadPlatformHWInfoRetrieverModule] E"),
                         E("[DeviceInfo::LoadPlatformHWINfoRetrieverModule] "
                           "PlatformHWInfoRetriever module is not supported")},
                        notLoaded),
                   {D("[DeviceInfo::GetImagerInterfaceType] Platform Version type= 7\n")}),
              Facts(run));

    Device missing;
    missing.platformLibraryName = "libmissing.so";
    run = RunDevice(missing, ops);
    EXPECT_EQ((std::vector<std::string>{"false", "false", "-1"}), Output(run));
    EXPECT_EQ(Plus(Plus({D("[DeviceInfo::LoadPlatformHWInfoRetrieverModule] E"),
                         E("[DeviceInfo::LoadPlatformHWINfoRetrieverModule]  Unable to load "
                           "platform library '/system/lib64/libmissing.so error " +
                           run.rootPath +
                           "/system/lib64/libmissing.so: cannot open shared object file: No "
                           "such file or directory'\n")},
                        notLoaded),
                   {D("[DeviceInfo::GetImagerInterfaceType] Platform Version type= -1\n")}),
              Facts(run));

    Device unnamed;
    unnamed.platformLibraryName = "";
    run = RunDevice(unnamed, ops);
    EXPECT_EQ((std::vector<std::string>{"false", "false", "-1"}), Output(run));
}

TEST(DeviceInfo, PlatformLibraryWithoutAnEntryPointEndsTheProcess) {
    struct Case {
        const char* file;
        const char* function;
        int line;
    };
    for (const Case& c :
         {Case{"libplatform_without_get_module.so", "GetAbstractedPlatformModule", 66},
          Case{"libplatform_without_delete_module.so", "DeletePlatformModule", 69}}) {
        SCOPED_TRACE(c.function);
        Device device;
        device.platformLibraryFile = TestLibrary(c.file);
        DeviceRun run = RunDevice(device, Info({"GetPlatformVersion"}));
        EXPECT_EQ(SIGABRT, run.process.termSignal);
        EXPECT_EQ(Plus({D("[DeviceInfo::LoadPlatformHWInfoRetrieverModule] E")},
                       AssertionRecords(std::string("Unable to load function ") + c.function + "\n",
                                        kSource, c.line)),
                  Facts(run));
    }
}

}  // namespace
