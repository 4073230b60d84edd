// The device facts in fresh caller processes (the facts are process-wide), each with its own
// device root at log level 1, so every debug line shows, and its own library folder:
// DeviceInfo, odk::DeviceInfoBuilder, SupportedScannerInfo, ImagerInfoUtils, the hardware-info
// module and the shipped device profiles.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "ScannerListXml.h"
#include "TestSupport.h"

namespace {

using namespace orvex::test;
using namespace orvex::test::xml;

const std::string kBuild = ORVEX_BUILD_DIR;
const std::string kSource = "device/common/platform_bundle/dependencies/LibProperties/";
const std::string kInfoSource = "src/DeviceInfo";
const std::string kXmlSource = "utility/XMLParserUtil";
const std::string kTag = "ScannerFramework";

// A run's stdout, and its records of the device facts, the imager client and the assertions,
// one a line as "LEVEL [TAG: ]TEXT" (the facts' own tag left out), the root written as $ROOT.
struct Result {
    ProcessResult process;
    std::vector<std::string> records;
};

// Runs the caller on the default device with `changes` ("KEY=VALUE;..."): a system property
// ("ro.*"; "-NAME" removes one); the device's scanner list (list), camera list (cameras),
// imager client and volume library files (imager, volume), log level (level), the
// external-dependencies entry of the platform library (libname; empty leaves it out) and the
// file the device keeps under it (libfile); or the library folder's libovc.so,
// libimagerclient.so or libplatform.orvex.so (empty leaves it out). With profile=NAME the device
// is the build's staged profile instead, run with the build's platform library. The arguments
// are split at blanks; '+' stands for a blank, '' for nothing. Library files are
// relative to the build, or to this folder's build without a folder.
Result RunDevice(const std::string& changes, const std::string& args) {
    std::map<std::string, std::string> d;
    std::istringstream in(
        "ro.board.platform=lahaina;ro.product.name=tr52_gms;ro.product.model=TR52;"
        "ro.product.device=TR52HC;ro.product.manufacturer=Tevrin;ro.build.version.release=13;"
        "ro.product.cpu.abi=x86_64;imager=imager_id=31\ninterface_type=1\n;level=1;"
        "volume=scanner_beep_volume=5\nbeep_audio_api=1\n;libname=libplatform.orvex.so;"
        "libovc.so=lib/libovc.so;libimagerclient.so=lib/libimagerclient.so;"
        "libplatform.orvex.so=lib/libplatform.orvex.so;liborvex_host.so=lib/liborvex_host.so;" +
        changes);
    for (std::string change; std::getline(in, change, ';');) {
        if (change[0] == '-') d.erase(change.substr(1));
        if (change[0] != '-')
            d[change.substr(0, change.find('='))] = change.substr(change.find('=') + 1);
    }
    const auto file = [&](const std::string& name) {
        return kBuild + (d[name].find('/') == std::string::npos ? "/tests/deviceinfo/" : "/") +
               d[name];
    };
    TempDir libraries;
    DeviceRoot root;
    std::string buildProp, binaries;
    for (const auto& entry : d) {
        if (entry.first.rfind("ro.", 0) == 0) buildProp += entry.first + "=" + entry.second + "\n";
        const std::string link = libraries.path() + "/" + entry.first;
        if (entry.first.rfind(".so") == entry.first.size() - 3 && !entry.second.empty()) {
            EXPECT_EQ(0, symlink(file(entry.first).c_str(), link.c_str()));
        }
    }
    std::string platform = PlatformLibraryPath();
    if (!d["profile"].empty()) {
        // A copy, so that nothing the run creates lands in the build's profile.
        EXPECT_EQ(
            0, RunProcess("/bin/cp", "cp",
                          {"-a", kBuild + "/sim/profiles/" + d["profile"] + "/.", root.path()}, {})
                   .exitCode);
    } else {
        platform = libraries.path() + "/libplatform.orvex.so";
        root.AddFile("/system/build.prop", buildProp);
        // Scanner list and platform library only, so properties come from build.prop.
        const std::string list = "/system/etc/scanner/ScannerList.xml";
        if (!d["libname"].empty()) {
            binaries =
                "<binary><name>libplatformso</name><absolutepath>true</absolutepath><libname>" +
                d["libname"] + "</libname></binary>";
        }
        root.AddFile(
            "/system/etc/scanner/ExternalDependencies.xml",
            "<?xml version=\"1.0\"?>\n<deps>\n"
            "<files><file><name>scannerlistxml</name><absolutepath>true</absolutepath><path>" +
                list + "</path></file></files>\n<binaries>" + binaries +
                "</binaries>\n<properties/>\n</deps>\n");
        // The x86_64 ABI puts absolute library paths under /system/lib64.
        root.AddDir("/system/lib64");
        const std::string kept = d["libfile"].empty() ? platform : file("libfile");
        EXPECT_EQ(
            0, symlink(kept.c_str(), root.HostPath("/system/lib64/libplatform.orvex.so").c_str()));
        if (!d["list"].empty()) root.AddFile(list, d["list"]);
        if (!d["cameras"].empty()) root.AddFile("/sim/cameras.prop", d["cameras"]);
        root.AddFile("/sim/libimagerclient.prop", d["imager"]);
        root.AddFile("/sim/libovc.prop", d["volume"]);
        root.SetLogLevel(d["level"]);
    }
    // The caller has no run path of its own: the loader looks for the host layer, and for the
    // libraries the platform library opens by bare name, in the library folder first. Sanitizer
    // runtimes open libraries on the platform library's behalf, so its own $ORIGIN is not
    // looked at then; naming the folder gives every build the same search.
    std::vector<std::string> argv;
    std::istringstream words(args);
    for (std::string word; words >> word;) {
        std::replace(word.begin(), word.end(), '+', ' ');
        argv.push_back(word == "''" ? "" : word);
    }
    const std::string log = root.path() + "/caller.log";
    Result run;
    run.process = RunProcess(kBuild + "/bin/deviceinfo_caller", "caller", argv,
                             {{"ORVEX_DEVICE_ROOT", root.path()},
                              {"ORVEX_LOG", log},
                              {"ORVEX_PLATFORM_LIB", platform},
                              {"LD_LIBRARY_PATH", libraries.path()}});
    for (const orvex::hostlog::Entry& e : ReadLogFile(log)) {
        if (e.tag != kTag && e.tag != "sim.libimagerclient" && e.tag != "####ASSERTION#####") {
            continue;
        }
        std::string text(1, e.priority >= 0 && e.priority < 8 ? "??VDIWEF"[e.priority] : '?');
        text += " " + (e.tag == kTag ? "" : e.tag + ": ") + e.message;
        for (size_t at; (at = text.find(root.path())) != std::string::npos;)
            text.replace(at, root.path().size(), "$ROOT");
        run.records.push_back(text);
    }
    return run;
}

// One process: the default device with `changes`, the caller's arguments, what it prints, the
// records `keep` selects (a regex; empty: all but the module registrations; no records checked
// when both are empty), and the signal that ends it (0: it must end normally, so that a
// sanitizer's report at exit fails it).
const std::string kAll = "^(?!I \\[ComponentIndex::AddPlatformModule\\] Adding)";

struct Case {
    std::string changes, args, out, log = "", keep = "";
    int signal = 0;
    std::string after = "";  // a regex: only records after the first it finds count
};

void Check(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.changes + " | " + c.args);
        Result run = RunDevice(c.changes, c.args);
        EXPECT_EQ(c.signal == 0 ? 0 : -1, run.process.exitCode) << run.process.err;
        EXPECT_EQ(c.signal, run.process.termSignal) << run.process.err;
        EXPECT_EQ(c.out, run.process.out);
        const std::regex keep(c.keep.empty() ? kAll : c.keep);
        std::string log;
        bool started = c.after.empty();
        for (const std::string& record : run.records) {
            if (started && std::regex_search(record, keep)) log += record + "\n";
            started = started || std::regex_search(record, std::regex(c.after));
        }
        EXPECT_TRUE(c.log == log || (c.log.empty() && c.keep.empty())) << log;
    }
}

// The three assertion records of the library.
std::string Abort(const std::string& description, const std::string& source, int line) {
    const std::string a = "F ####ASSERTION#####: ";
    return a +
           "This is not my fault, Something else has malfunctioned - Sincerly ScanningService\n\n" +
           a + "ERROR DESCRIPTION: " + description + "\n" + a + "ASSERTING AT " + kSource + source +
           ":" + std::to_string(line) + " \n\n";
}

const std::string kLoad = "D [DeviceInfo::LoadPlatformHWInfoRetrieverModule] E\n";
// What every DeviceInfo writes while it is built on a device with the real platform library.
const std::string kBuilt =
    kLoad +
    "D [PlatformHWInfoRetriever] Construct\n"
    "D [PlatformHWInfoRetriever<T>::IsSupported] return true\n"
    "D [DeviceInfo::LoadPlatformHWINfoRetrieverModule] PlatformHWInfoRetriever module loaded\n"
    "D [PlatformHWInfoRetriever<T>::GetModuleName] E\n"
    "D [DeviceInfo::LoadPlatformHWINfoRetrieverModule] GetModuleName PlatformHWInfoRetriever\n";

const std::string kUnable =
    "E [DeviceInfo::LoadPlatformHWINfoRetrieverModule]  Unable to load platform library '";

std::string Unloadable(const std::string& path) {
    return kUnable + path + " error $ROOT" + path +
           ": cannot open shared object file: No such file or directory'\n\n";
}

TEST(DeviceInfo, AnswersAndLinesOfEachFact) {
    const auto camera = [](const std::string& id) {
        return "ACameraManager_getCameraCharacteristics " + id +
               "\nACameraMetadata_getConstEntry 0x80005\nACameraMetadata_free\n";
    };
    const std::string created = "ACameraManager_create\nACameraManager_getCameraIdList\n";
    const std::string decryption =
        "D [DeviceInfo::GetDeviceDecryptionStatus] Device Decryption status ";
    std::vector<Case> cases = {
        // String facts are read once and logged once, the decryption status each time.
        {"",
         "GetPlatformName GetPlatformName GetProductName GetProductModel GetProductSKU "
         "GetManufacturerName GetAndroidVersion GetABI GetDeviceDecryptionStatus "
         "GetDeviceDecryptionStatus GetConfigPath scannerlistxml setprop ro.board.platform holi "
         "setprop vold.decrypt trigger_restart_framework GetPlatformName GetDeviceDecryptionStatus",
         "[lahaina]\n[lahaina]\n[tr52_gms]\n[TR52]\n[TR52HC]\n[Tevrin]\n[13]\n[x86_64]\n[]\n[]\n[]"
         "\n[lahaina]\n[trigger_restart_framework]\n",
         kBuilt +
             "D [DeviceInfo::GetPlatformName] Platform Name lahaina\n"
             "D [DeviceInfo::GetProductName] Product Name tr52_gms\n"
             "D [DeviceInfo::GetProductModel] ProductModel Name TR52\n"
             "D [DeviceInfo::GetProductSKU] ProductSKU Name TR52HC\n"
             "D [DeviceInfo::GetManufacturerName] Manufacturer Name Tevrin\n"
             "D [DeviceInfo::GetAndroidVersion] Android Version 13\n"
             "D [DeviceInfo::GetABI] ABI x86_64\n" +
             decryption + "\n" + decryption + "\n" + decryption + "trigger_restart_framework\n"},
        // The camera check frees the manager and each metadata but keeps the id list.
        {"cameras=0=front\n1=back\n", "IsRearCameraAvaialable camera-calls",
         "true\n" + created + camera("0") + camera("1") + "ACameraManager_delete\n1\n"},
        {"cameras=0=none\n", "IsFrontCameraAvaialable camera-calls",
         "false\n" + created + camera("0") + "ACameraManager_delete\n1\n"}};
    // Cameras come from the camera service, then from properties.
    const std::string rearStoi = "E [DeviceInfo::IsRearCameraAvaialable] Exception. stoi\n";
    const std::string frontStoi = "E [DeviceInfo::IsFrontCameraAvaialable] Exception. stoi\n";
    const std::string facing = "E [DeviceInfo::IsFrontCameraAvaialableCheckUsingNDK] cam facing ";
    for (const auto& c : std::vector<std::vector<std::string>>{
             {"cameras=0=back\n", "Rear", "true"},
             {"cameras=0=front\n1=external\n2=back\n", "Rear", "true"},
             {"cameras=0=back\n1=front\n", "Front", "true", facing + "1\n" + facing + "0\n"},
             {"cameras=0=back\n", "Front", "false", facing + "1\n"},
             {"ro.boot.device.camera0=0;ro.config.device.camera0=2", "Rear", "true"},
             {"", "Rear", "false"},
             {"cameras=# none\n;ro.boot.device.camera0=1", "Rear", "true"},
             {"ro.boot.device.camera0=-1", "Rear", "false"},
             {"ro.boot.device.camera0=  1", "Rear", "true"},
             {"ro.boot.device.camera0=yes;ro.config.device.camera0=1", "Rear", "true", rearStoi},
             {"ro.config.device.camera0=99999999999", "Rear", "false", rearStoi},
             {"ro.boot.device.camera1=x", "Front", "false", frontStoi + frontStoi},
             {"ro.boot.device.camera1=1", "Front", "true"},
             // A camera without lens facing, or one that went away, ends the service check.
             {"cameras=0=none\n1=back\n", "Rear", "false"},
             {"cameras=0=unavailable\n1=front\n", "Front", "false"}}) {
        cases.push_back({c[0], "Is" + c[1] + "CameraAvaialable", c[2] + "\n",
                         kBuilt + (c.size() > 3 ? c[3] : "")});
    }
    // Volume facts come from the volume library when it has them; only a device with the whole
    // library is asked about the headset, whose state is the accessory text as a number.
    const std::string volume =
        "volume=scanner_beep_volume=5\nbeep_audio_api=1\naudio_accessory_status=1\n";
    const std::string beep = "GetScannerBeepVolume GetScannerAudioAPI";
    const auto log = [](const std::string& volume, const std::string& api) {
        return kBuilt + "D [DeviceInfo::GetScannerBeepVolume] Scanner Beep Volume " + volume +
               "\nD [DeviceInfo::GetScannerAudioAPI] Scanner Audio API " + api + "\n";
    };
    cases.push_back(
        {volume, beep + " CheckExternalHeadset", "5\n1\n1\n",
         log("5", "1") + "D [DeviceInfo::CheckExternalHeadset] CheckExternalHeadset 1\n"});
    cases.push_back({volume + ";libovc.so=", beep, "-1\n-1\n", log("-1", "-1")});
    cases.push_back({volume + ";libovc.so=libovc_volume_only.so", beep, "9\n-1\n", log("9", "-1")});
    for (const std::string c : {"0=0", "2=2", " 3 connected=3", "none=0"}) {
        cases.push_back({"volume=audio_accessory_status=" + c.substr(0, c.find('=')) + "\n",
                         "CheckExternalHeadset", c.substr(c.find('=') + 1) + "\n"});
    }
    // The scanner ID is the imager ID as a number, and zero when it is none.
    const std::string stoi = "E [DeviceInfo::GetScanner] Exception. stoi\n";
    for (const auto& c : std::vector<std::vector<std::string>>{
             {"31", "31", ""},
             {" 42x", "42", ""},
             {"abc", "0", stoi},
             {"99999999999", "0", stoi},
             {"", "0", "D [DeviceInfo::GetScanner] Setting scannerID = 0\n\n"}}) {
        cases.push_back({"imager=imager_id=" + c[0] + "\ninterface_type=4\n",
                         "GetScanner GetImagerInterfaceType", c[1] + "\n4\n",
                         "D [DeviceInfo::GetScanner] scanner ID = " + c[0] + "\n\n" + c[2] +
                             "D [DeviceInfo::GetImagerInterfaceType] Imager Interface type= 4\n\n",
                         "DeviceInfo::(GetScanner|GetImagerInterfaceType)\\]"});
    }
    // The hardware-info module comes through the platform library's entry points; when the
    // module is not supported the library stays open, so its version still answers.
    const std::string sku = "isDeviceFederalSKU1 isDeviceFederalSKU2 GetPlatformVersion";
    const std::string notLoaded =
        "E [DeviceInfo::isDeviceFederalSKU1] PlatformHWInfoRetriever module is not loaded\n"
        "E [DeviceInfo::isDeviceFederalSKU2] PlatformHWInfoRetriever module is not loaded\n";
    const std::string version = "D [DeviceInfo::GetImagerInterfaceType] Platform Version type= ";
    cases.push_back({"", sku, "false\nfalse\n1\n",
                     kBuilt +
                         "D [DeviceInfo::isDeviceFederalSKU1] "
                         "pPlatforHWInfoRetreiver->isDeviceFederalSKU1 returns false\n"
                         "D [DeviceInfo::isDeviceFederalSKU2] "
                         "pPlatforHWInfoRetreiver->isDeviceFederalSKU2 returns false\n" +
                         version + "1\n\n"});
    cases.push_back({"libfile=libplatform_without_hw_info.so", sku, "false\nfalse\n7\n",
                     kLoad +
                         "E [DeviceInfo::LoadPlatformHWINfoRetrieverModule] "
                         "PlatformHWInfoRetriever module is not supported\n" +
                         notLoaded + version + "7\n\n"});
    cases.push_back(
        {"libname=libmissing.so", sku, "false\nfalse\n-1\n",
         kLoad + Unloadable("/system/lib64/libmissing.so") + notLoaded + version + "-1\n\n"});
    cases.push_back(
        {"libname=", sku, "false\nfalse\n-1\n",
         kLoad + kUnable + " error library \"\" not found'\n\n" + notLoaded + version + "-1\n\n"});
    Check(cases);
}

TEST(DeviceInfo, MissingFactOrEntryPointEndsTheProcessWithItsAssertion) {
    std::vector<Case> cases;
    for (const std::string c :
         {"ro.board.platform=GetPlatformName", "ro.product.name=GetProductName",
          "ro.product.model=GetProductModel", "ro.product.device=GetProductSKU",
          "ro.product.manufacturer=GetManufacturerName",
          "ro.build.version.release=GetAndroidVersion"}) {
        const std::string op = c.substr(c.find('=') + 1);
        const int line = 118 + 11 * static_cast<int>(cases.size());
        cases.push_back({c.substr(0, c.find('=') + 1), op, "",
                         kBuilt + Abort(op + " Failed", kInfoSource, line), "", SIGABRT});
    }
    // The ABI also picks the library folder, so without it the platform library is not found.
    cases.push_back({"-ro.product.cpu.abi", "GetABI", "",
                     kLoad + Unloadable("/system//libplatform.orvex.so") +
                         Abort("GetABI Failed", kInfoSource, 184),
                     "", SIGABRT});
    for (const std::string c :
         {"get_module=GetAbstractedPlatformModule=66", "delete_module=DeletePlatformModule=69"}) {
        const size_t at = c.find('='), end = c.rfind('=');
        cases.push_back(
            {"libfile=libplatform_without_" + c.substr(0, at) + ".so", "GetPlatformVersion", "",
             kLoad + Abort("Unable to load function " + c.substr(at + 1, end - at - 1) + "\n",
                           kInfoSource, std::stoi(c.substr(end + 1))),
             "", SIGABRT});
    }
    Check(cases);
}

const std::string kList =
    List(Camera("Camera Scanner", "1", "10", "REAR_CAMERA") +
             FrontCamera("Front Camera Scanner", "11", "FRONT_CAMERA") +
             Builtin("31", "1", "Imager", "0", "IM5100") + External("Ring", "1", "20", "BT_RING"),
         Product("lahaina", "TR41", ProductBuiltin("0", "IM5100", "Imager", "1")));

TEST(DeviceInfoBuilder, GathersTheFactsInOrderBuildsOneListAndEndsTheProcessOnABrokenOne) {
    const std::string g = "D [DeviceInfo::GetSupportedScannerInstance] ";
    const std::string id31 = g + "Scanner ID=31\n", noFront = g + "Front camera is not available\n";
    const std::string a13 =
        "I [DeviceInfo::GetSupportedScannerInstance] android version is Android_13\n";
    const std::string gathered = "GetSupportedScannerInstance\\]", list = "list=" + kList;
    const std::string unable = "Unable to load ScannerList XML file";
    const auto broken = [](const std::string& list, const std::string& error, int line,
                           const std::string& detail = "") {
        return Case{list,
                    "scanners",
                    "",
                    "E [XMLParserUtil::GetSupportedScannerListFromXML] " + error + detail + "\n" +
                        Abort("XMLParserUtil : " + error, kXmlSource, line),
                    "XMLParserUtil|ASSERTION",
                    SIGABRT};
    };
    const std::vector<Case> cases = {
        {list + ";cameras=0=back\n", "scanners",
         "count 3\n0\tImager\tIM5100\n1\tCamera Scanner\tREAR_CAMERA\n2\tRing\tBT_RING\n",
         id31 + g + "Rear Camera is available\n" + noFront + a13, gathered},
        {list + ";cameras=0=back\n1=front\n;ro.product.model=TR41", "scanners",
         "count 4\n0\tImager\tIM5100\n1\tCamera Scanner\tREAR_CAMERA\n2\tFront Camera "
         "Scanner\tFRONT_CAMERA\n3\tRing\tBT_RING\n",
         id31 + g + "Rear Camera is available\n" + g + "Front Camera is available\n" + a13,
         gathered},
        {list + ";imager=imager=0\n", "scanners", "count 1\n0\tRing\tBT_RING\n",
         g + "Imager scanner is not present\n" + g + "Rear camera is not available\n" + noFront +
             a13,
         gathered},
        {"ro.build.version.release=14;list=<ScannerList>" +
             Release(External("Ring 13", "1", "1", "X")) +
             Release(External("Ring Android_14", "1", "1", "BT_RING"), "", "Android_14") +
             "</ScannerList>",
         "scanners", "count 1\n0\tRing Android_14\tBT_RING\n",
         id31 + g + "Rear camera is not available\n" + noFront +
             "I [DeviceInfo::GetSupportedScannerInstance] android version is Android_14\n",
         gathered},
        // Racing first calls share one DeviceInfo, one list and one imager client.
        {list + ";cameras=0=back\n", "race 8 same", "same\nsame\n",
         kLoad + "D sim.libimagerclient: libimagerclient.so loaded\nD "
                 "[SupportedScannerInfo::SupportedScannerInfo] masterScannerMap\n",
         "LoadPlatformHWInfoRetrieverModule\\] E$|masterScannerMap$|libimagerclient.so loaded"},
        // A number that does not parse leaves nothing stored and the lock free.
        {"list=" + List(External("Ring", "1", "first", "BT_RING")), "scanners scanners",
         "exception invalid_argument: stoi\nexception invalid_argument: stoi\n", id31 + id31,
         "Scanner ID=31"},
        // Platform or model too long for its buffer.
        {list + ";ro.board.platform=" + std::string(255, 'p'), "scanners",
         "count 2\n0\tImager\tIM5100\n1\tRing\tBT_RING\n"},
        {list + ";ro.board.platform=" + std::string(256, 'p'), "scanners", "", "", "", SIGABRT},
        {list + ";ro.product.model=" + std::string(256, 'p'), "scanners", "", "", "", SIGABRT},
        // A list file that cannot be read or lacks an element ends the process.
        broken("list=" + List(External("Ring", "1", "20", "BT_RING"), "", "Android_12"),
               "No node in ScannerList XML with AndroidVersion = Android_13", 44),
        broken("list=<ScannerList><Android_13>", unable, 30,
               ", desc : Error=XML_ERROR_MISMATCHED_ELEMENT ErrorID=14 (0xe) Line number=1: "
               "XMLElement name=Android_13"),
        broken("list=<?xml version=\"1.0\"?>\n<!-- nothing -->\n",
               "Failed to load config file: No root element.", 38),
        broken("list=<ScannerList><Android_13><platform/></Android_13></ScannerList>",
               "No default node in ScannerList XML", 52),
        broken("list=<ScannerList><Android_13><default/></Android_13></ScannerList>",
               "No platform node in ScannerList XML", 59),
        // No file at all where the device says the list is.
        broken("", unable, 30,
               ", desc : Error=XML_ERROR_FILE_NOT_FOUND ErrorID=3 (0x3) Line number=0: "
               "filename=$ROOT/system/etc/scanner/ScannerList.xml")};
    Check(cases);
}

TEST(SupportedScannerInfo, AnswersQueriesOnTheListAndEndsTheProcessOnAPositionOfAnEmptyOne) {
    // The facts' own records once the list is built, without the list's own construction lines.
    const std::string queries =
        "^. (?!sim\\.libimagerclient: |####ASSERTION#####: "
        "|\\[SupportedScannerInfo::SupportedScannerInfo\\])";
    const std::string built = "\\] masterScannerMap$";
    const std::string s = "[SupportedScannerInfo::",
                      m = "D " + s + "GetScannerModelNameAt] Scanner Model ";
    const std::string empty = "E " + s + "IsScannerListAvailable] Scanner List is empty\n";
    const std::string emptyList = "list=" + List("") + ";imager=imager=0\n";
    std::vector<Case> cases = {
        // The built-in imager behind a camera scanner is found, with its orientation.
        {"cameras=0=back\n;list=" +
             List(Camera("Camera Scanner", "1", "0", "REAR_CAMERA") +
                      Builtin("31", "1", "Imager", "1", "IM5100") +
                      External("Ring", "1", "2", "BT_RING"),
                  Product("lahaina", "TR52", ProductBuiltin("1", "IM5100", "Imager", "2"))),
         "GetInBuiltScannerModel IsMirroredAndFlipped GetScannerNameAt 5 GetScannerNameAt -1 "
         "GetScannerModelNameAt 2 IsScannerAvailable Camera+Scanner IsScannerAvailable "
         "camera+scanner IsScannerAvailable '' GetNumberOfSupportedScanners IsScannerListAvailable",
         "[IM5100]\n2\n[]\n[]\n[BT_RING]\ntrue\nfalse\nfalse\n3\ntrue\n",
         m + "REAR_CAMERA\n" + m + "IM5100\n" + m + "REAR_CAMERA\n" + m + "IM5100\nI " + s +
             "IsMirroredAndFlipped] ScannerName=Imager has orientation = 2\nD " + s +
             "GetScannerNameAt] index=5, ScannerName=\n\nD " + s +
             "GetScannerNameAt] index=-1, ScannerName=\n\n" + m + "BT_RING\nE " + s +
             "IsScannerAvailable] Scanner camera scanner not found in Scanner List\nE " + s +
             "IsScannerAvailable] Invalid ScannerName\nD " + s +
             "GetNumberOfSupportedScanners] 3\n",
         queries, 0, built},
        // A list of only a camera scanner has no imager.
        {"cameras=0=back\n;list=" + List(Camera("Camera Scanner", "1", "0", "REAR_CAMERA")),
         "GetInBuiltScannerModel IsMirroredAndFlipped", "[]\n0\n"},
        // An empty list answers false or zero; a position in it ends the process.
        {emptyList,
         "IsScannerListAvailable GetNumberOfSupportedScanners IsScannerAvailable Ring "
         "IsMirroredAndFlipped",
         "false\n0\nfalse\n0\n",
         empty + empty + "E " + s + "GetNumberOfSupportedScanners] Scanner List is NULL\nE " + s +
             "IsScannerAvailable] Scanner Ring not found in Scanner List\n" + empty,
         queries, 0, built}};
    for (const std::string c :
         {"GetScannerNameAt 0=GetScannerNameAt] index 0 not found in Scanner List",
          "GetScannerModelNameAt 1=GetScannerModelNameAt] index 1 not found in Scanner List",
          "GetInBuiltScannerModel=GetInBuiltScannerModel] InBuilt Scanner not found in Scanner "
          "List"}) {
        cases.push_back({emptyList, c.substr(0, c.find('=')), "",
                         empty + "E " + s + c.substr(c.find('=') + 1) + "\n", queries, SIGABRT,
                         built});
    }
    Check(cases);
}

TEST(ImagerInfoUtils, ReleasesTheImagerClientAfterASuccessKeepsItAfterAFailureAndNeedsIt) {
    const std::string c = "D sim.libimagerclient: ",
                      args = "imager GetImagerID imager GetImagerInterfaceType imagerclient-loaded";
    const std::string asked = c +
                              "libimagerclient.so loaded\nI ImagerInfoUtils::LoadImagerLibrary] "
                              "Loaded libimagerclient.so!!\n\n";
    const std::string failed =
        "E ImagerInfoUtils::ImagerInfoUtils] Load Imager Modules Unsuccessful!\n\n" + c +
        "libimagerclient.so unloaded\n";
    const std::string imagerSource = "src/ImagerInfoUtils";
    Check({{"imager=imager_id=31\ninterface_type=2\n", args, "[31]\n2\nunloaded\n",
            asked + c + "GetImagerModule(1, ImagerProvider)\n" + c +
                "GetImager() = imager\nI [ImagerInfoUtils::LoadImagerModules] m_Imager not NULL\n\n"
                "D ImagerInfoUtils::ImagerInfoUtils] Loaded Imager Modules!\n\n" +
                c + "GetImagerId() = 31\nD ImagerInfoUtils::ImagerInfoUtils] m_ImagerID = 31\n\n" +
                c +
                "GetInterfaceType() = 2\nD ImagerInfoUtils::ImagerInfoUtils] Interface ID = 2\n\n" +
                c + "imager destroyed\n" + c + "provider destroyed\n" + c +
                "libimagerclient.so unloaded\n"},
           {"imager=provider=0\n", args, "[]\n0\nloaded\n",
            asked + c +
                "GetImagerModule(1, ImagerProvider)\n"
                "E [ImagerInfoUtils::LoadImagerModules] m_ImagerProvider is NULL\n" +
                failed},
           {"imager=imager=0\n", args, "[]\n0\nloaded\n",
            asked + c + "GetImagerModule(1, ImagerProvider)\n" + c +
                "GetImager() = null\nE [ImagerInfoUtils::LoadImagerModules] m_Imager is NULL\n\n" +
                failed},
           {"libimagerclient.so=", "imager GetImagerID", "",
            "E [ImagerInfoUtils::LoadImagerLibrary] Unable to load library, Error "
            "'libimagerclient.so: cannot open shared object file: No such file or directory'\n" +
                Abort("[ImagerContext::LoadImagerLibrary] Unable to load libimagerclient.so",
                      imagerSource, 56),
            "", SIGABRT},
           {"libimagerclient.so=libimagerclient_without_entry.so", "imager GetImagerID", "",
            "I ImagerInfoUtils::LoadImagerLibrary] Loaded libimagerclient.so!!\n\n" +
                Abort("Unable to load function GetImagerModule\n", imagerSource, 62),
            "", SIGABRT}});
}

TEST(PlatformHWInfoRetriever, CallerObtainsItByTagAndByNameAndSeesItsLifeAtDebugLevel) {
    // The module before DeviceInfo exists, so only the caller's objects log.
    const std::string construct = "D [PlatformHWInfoRetriever] Construct\n",
                      destruct = "D PlatformHWInfoRetriever Destruct\n";
    Check({{"level=3", "hwinfo hwinfo-named PlatformHWInfoRetriever hwinfo-named HWBeep",
            "PlatformHWInfoRetriever false false\nmodule\nnull\n",
            construct +
                "D [PlatformHWInfoRetriever<T>::IsSupported] return true\nD "
                "[PlatformHWInfoRetriever<T>::GetModuleName] E\n" +
                destruct + construct + destruct +
                "E [ComponentIndex::CreateModule] Unable to find module HWBeep\n\n"},
           // Registered once, under its own tag and name, while the library loads.
           {"level=3", "hwinfo", "PlatformHWInfoRetriever false false\n",
            "I [ComponentIndex::AddPlatformModule] Adding platform module "
            "'PlatformHWInfoRetriever' with Tag '12'\n\n",
            "'PlatformHWInfoRetriever' with"},
           {"level=4", "hwinfo", "PlatformHWInfoRetriever false false\n", "", kAll}});
}

TEST(DeviceProfiles, EachProfileDescribesAWorkingDevice) {
    const std::string facing = "E [DeviceInfo::IsFrontCameraAvaialableCheckUsingNDK] cam facing ";
    const std::string ops =
        "GetPlatformName GetProductModel GetProductSKU GetAndroidVersion GetABI "
        "IsRearCameraAvaialable IsFrontCameraAvaialable GetScanner GetImagerInterfaceType "
        "GetScannerBeepVolume CheckExternalHeadset GetPlatformVersion scanners "
        "GetInBuiltScannerModel IsMirroredAndFlipped";
    // Every record at error level or above; the front camera is checked once by the query and
    // once more for the scanner list.
    std::vector<Case> cases = {
        {"profile=default", ops,
         "[lahaina]\n[TR52]\n[TR52HC]\n[13]\n[arm64-v8a]\ntrue\nfalse\n31\n1\n5\n0\n1\ncount 4\n"
         "0\t2D Barcode Imager\tIM5100\n1\tCamera Scanner\tREAR_CAMERA\n2\tBluetooth Ring "
         "Scanner\tBT_RING\n3\tSerial Scanner\tSERIAL_SSI\n[IM5100]\n1\n",
         facing + "1\n" + facing +
             "1\nE [XMLParserUtil::GetDefaultExternalScanners] External "
             "scanner(Serial Scanner) is not supported\n",
         "^[EF]"},
        {"profile=tr41", ops,
         "[holi]\n[TR41]\n[TR41FR]\n[14]\n[x86_64]\ntrue\ntrue\n44\n2\n3\n1\n1\ncount 4\n0\t2D "
         "Extended Range Imager\tIM7300\n1\tCamera Scanner\tREAR_CAMERA\n2\tFront Camera "
         "Scanner\tFRONT_CAMERA\n3\tBluetooth Ring Scanner\tBT_RING\n[IM7300]\n2\n",
         facing + "1\n" + facing + "0\n" + facing + "1\n" + facing + "0\n", "^[EF]"},
        {"profile=camera-only", ops,
         "[bengal]\n[TR21]\n[TR21CE]\n[11]\n[armeabi-v7a]\ntrue\nfalse\n0\n0\n6\n0\n1\ncount 3\n0\t"
         "Camera Scanner\tREAR_CAMERA\n1\tBluetooth Ring Scanner\tBT_RING\n2\tUSB "
         "Scanner\tUSB_HID\n[BT_RING]\n0\n",
         "E [ImagerInfoUtils::LoadImagerModules] m_Imager is NULL\n\nE "
         "ImagerInfoUtils::ImagerInfoUtils] Load Imager Modules Unsuccessful!\n\nE "
         "[XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] builtin scanner name "
         "does not exist under Product tag\n",
         "^[EF]"}};
#if !defined(ORVEX_SANITIZED)
    // The substitutes are found beside the platform library when the loader's own search path
    // holds the host layer only; a sanitizer runtime opens libraries on the platform library's
    // behalf, so its own run path is not searched then.
    cases.push_back({"profile=default;libplatform.orvex.so=;libovc.so=;libimagerclient.so=",
                     "GetScannerBeepVolume GetScanner", "5\n31\n"});
#endif
    Check(cases);
}

}  // namespace
