// The device facts. The scanner list reader runs in-process at the suites' log level (5); the
// rest keeps process-wide state and runs in fresh caller processes, each with its own device
// root at log level 1, so every debug line shows, and its own library folder: DeviceInfo,
// odk::DeviceInfoBuilder, SupportedScannerInfo, ImagerInfoUtils and the hardware-info module.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "TestSupport.h"
#include "XMLParserUtil.h"

namespace {

using namespace orvex::test;
using Text = const std::string&;

const std::string kBuild = ORVEX_BUILD_DIR;

// Small scanner list files, written element by element.
std::string Element(Text name, Text text) { return "<" + name + ">" + text + "</" + name + ">"; }
std::string Camera(Text name, Text supported, Text index, Text model,
                   Text element = "camera-scanner") {
    return Element(element, Element("name", name) + Element("supported", supported) +
                                Element("index", index) + Element("model", model));
}
std::string External(Text name, Text supported, Text index, Text model) {
    return Camera(name, supported, index, model, "external-scanner");
}
std::string Builtin(Text id, Text supported, Text name, Text index, Text model) {
    return Element("builtin-scanner", Element("id", id) + Element("supported", supported) +
                                          Element("name", name) + Element("index", index) +
                                          Element("model", model));
}
// A product's amendment of the built-in scanner.
std::string ProductBuiltin(Text index, Text model, Text name, Text orientation) {
    return Element("builtin-scanner", Element("index", index) + Element("model", model) +
                                          Element("name", name) +
                                          Element("orientation", orientation));
}
std::string Product(Text platform, Text model, Text body) {
    return Element(platform, Element(model, body));
}
// One release element; List() is a whole file with one release.
std::string Release(Text defaults, Text platforms = "", Text release = "Android_13") {
    return Element(release, Element("default", defaults) + Element("platform", platforms));
}
std::string List(Text defaults, Text platforms = "", Text release = "Android_13") {
    return "<?xml version=\"1.0\"?>\n<ScannerList>" + Release(defaults, platforms, release) +
           "</ScannerList>\n";
}

// Expected records are written short: each key below stands for its text.
std::string Expand(std::string text) {
    static const std::map<std::string, std::string> kShort = {
        {"@D", "[DeviceInfo::"},           {"@S", "[SupportedScannerInfo::"},
        {"@X", "[XMLParserUtil::"},        {"@G", "D [DeviceInfo::GetSupportedScannerInstance] "},
        {"@C", "D sim.libimagerclient: "}, {"@I", "ImagerInfoUtils::"},
        {"@H", "PlatformHWInfoRetriever"}};
    for (const auto& key : kShort) {
        for (size_t at; (at = text.find(key.first)) != std::string::npos;)
            text.replace(at, key.first.size(), key.second);
    }
    return text;
}

TEST(XMLParserUtil, BuildsTheOrderedListFromDefaultsAndProductAmendments) {
    const std::string builtin31 = Builtin("31", "1", "Imager", "1", "IM5100");
    const std::string ring = External("Ring", "1", "5", "BT_RING");
    const std::string u = "E @XUpDateScannerListWithPlatformSupportedScanners] ";
    const std::string d = "E @XGetDefaultExternalScanners] ", b = "E @XGetInBuiltScannerName] ";
    const std::vector<std::vector<std::string>> cases = {
        // Indexes order the scanners and are renumbered; negative ones sort first.
        {List(Camera("Camera", "1", "5", "REAR_CAMERA") + builtin31 +
              External("Ring", "1", "7", "BT_RING") + External("Serial", "1", "3", "SSI")),
         "", "Imager IM5100 0, Serial SSI 0, Camera REAR_CAMERA 0, Ring BT_RING 0"},
        {List(ring + External("Serial", "1", "-4", "SSI")), "", "Serial SSI 0, Ring BT_RING 0"},
        // The camera, inserted first, keeps an index the built-in scanner also claims.
        {List(Camera("Camera", "1", "1", "REAR_CAMERA") + builtin31), "", "Camera REAR_CAMERA 0"},
        {List(Camera("Camera", "1", "5", "REAR_CAMERA") + builtin31), "norear", "Imager IM5100 0"},
        {List(Camera("Camera", "0", "5", "REAR_CAMERA")), "", "",
         "I @XGetCameraScannerName] Camera scanner is not supported\n"},
        // Supported written with a blank, or empty, still offers.
        {List(Camera("Camera", " 0", "5", "REAR_CAMERA") + External("Ring", "", "7", "BT_RING")),
         "", "Camera REAR_CAMERA 0, Ring BT_RING 0"},
        // The front camera is offered on TR41 only.
        {List(Camera("Front", "1", "6", "FRONT_CAMERA", "front-camera-scanner")), "front", ""},
        {List(Camera("Camera", "1", "5", "REAR_CAMERA") +
              Camera("Front", "1", "6", "FRONT_CAMERA", "front-camera-scanner")),
         "front TR41", "Camera REAR_CAMERA 0, Front FRONT_CAMERA 0"},
        // Scanner ID 0 considers no built-in scanner, even one with ID 0.
        {List(Builtin("0", "1", "Zero", "1", "IM0")), "id0", ""},
        {List(Builtin("31", "1", "First", "1", "IM1") + Builtin("31", "1", "Second", "2", "IM2")),
         "", "First IM1 0"},
        // A matching built-in scanner without a name, or withdrawn, is passed over.
        {List(Builtin("", "1", "NoId", "1", "IM0") + Builtin("31", "1", "", "1", "IM1") +
              Builtin("31", "0", "Off", "1", "IM2") + Builtin("31", "1", "Third", "2", "IM3")),
         "", "Third IM3 0",
         b + "Scanner ID is empty\n" + b +
             "Scanner name does not exist under builtin-scanner tag\n"},
        {List(External("", "1", "3", "X") + External("Serial", "0", "4", "SSI") + ring), "",
         "Ring BT_RING 0",
         d + "Scanner name is empty\n" + d + "External scanner(Serial) is not supported\n"},
        // An element without text reads as empty.
        {List("<camera-scanner><name/><supported>1</supported><index>5</index></camera-scanner>" +
              ring),
         "", "Ring BT_RING 0",
         "E @XGetCameraScannerName] Camera scanner name does not exist under camera-scanner tag\n"},
        // A product withdraws the default built-in scanner by its index.
        {List(builtin31 + ring, Product("lahaina", "TR52", External("Anything", "0", "1", "O"))),
         "", "Ring BT_RING 0", u + "builtin scanner name does not exist under Product tag\n"},
        // A product adds without replacing and ignores other numbers.
        {List(ring, Product("lahaina", "TR52",
                            External("Serial", "1", "8", "SSI") + External("Other", "1", "5", "X") +
                                External("Two", "2", "9", "Y") + External("", "1", "10", "Z") +
                                ProductBuiltin("5", "BT_RING", "Renamed Ring", "0"))),
         "", "Renamed Ring BT_RING 0, Serial SSI 0",
         u + "External scanner name does not exist under external-scanner tag\n"},
        // A product renames and orients the built-in scanner of its model only.
        {List(builtin31, Product("lahaina", "TR52",
                                 ProductBuiltin("1", "IM5100", "Mirrored Imager", "2") +
                                     ProductBuiltin("1", "IM9999", "Wrong Model", "1") +
                                     ProductBuiltin("7", "IM5100", "Wrong Index", "1"))),
         "", "Mirrored Imager IM5100 2"},
        {List(builtin31,
              Product("holi", "TR52", ProductBuiltin("1", "IM5100", "Holi", "1")) +
                  Product("lahaina", "TR41", ProductBuiltin("1", "IM5100", "TR41", "1"))),
         "", "Imager IM5100 0"},
        // Only the first element of the release counts.
        {"<ScannerList>" + Release(External("First", "1", "1", "A")) +
             Release(External("Second", "1", "1", "B")) + "</ScannerList>",
         "", "First A 0"},
        // A number that does not parse escapes only from an entry that is taken.
        {List(Camera("Camera", "1", "five", "C")), "", "invalid_argument"},
        {List(Camera("Camera", "1", "five", "C")), "norear", ""},
        {List(External("Ring", "1", "", "R")), "", "invalid_argument"},
        {List(External("Ring", "1", "99999999999", "R")), "", "out_of_range"},
        {List(Builtin("abc", "1", "Imager", "1", "IM")), "", "invalid_argument"},
        {List(Builtin("abc", "1", "Imager", "1", "IM")), "id0", ""},
        {List("", Product("lahaina", "TR52", External("S", "yes", "1", "M"))), "",
         "invalid_argument"},
        {List(builtin31, Product("lahaina", "TR52", ProductBuiltin("1", "IM5100", "Imager", ""))),
         "", "invalid_argument"},
        {List(builtin31, Product("lahaina", "TR52", ProductBuiltin("1", "OTHER", "Imager", "x"))),
         "", "Imager IM5100 0"},
    };
    // Each row: the list, read as that of a lahaina device on Android_13 whose facts are the
    // defaults (rear camera, scanner ID 31, TR52, front camera not checked) as the second column
    // changes them; the list as "NAME MODEL ORIENTATION, ...", each key and index checked
    // against its position, or the exception that escaped; the records.
    DeviceRoot root;
    const std::string previous = getenv("ORVEX_DEVICE_ROOT") ? getenv("ORVEX_DEVICE_ROOT") : "";
    setenv("ORVEX_DEVICE_ROOT", root.path().c_str(), 1);
    char platform[] = "lahaina", release[] = "Android_13", tr52[] = "TR52", tr41[] = "TR41";
    for (const auto& c : cases) {
        SCOPED_TRACE(c[0] + " " + c[1]);
        root.AddFile("/ScannerList.xml", c[0]);
        const auto has = [&](Text fact) { return c[1].find(fact) != std::string::npos; };
        orvex::hostlog::ScopedCapture capture;
        std::string out;
        try {
            XMLParserUtil parser;
            int position = 0;
            for (auto& entry : parser.GetSupportedScannerListFromXML(
                     "/ScannerList.xml", !has("norear"), has("id0") ? 0 : 31, platform,
                     has("TR41") ? tr41 : tr52, release, has("front"))) {
                EXPECT_EQ(position, entry.first);
                EXPECT_EQ(position++, entry.second.GetScannerIndex());
                out += (out.empty() ? "" : ", ") + entry.second.GetScannerName() + " " +
                       entry.second.GetScannerModel() + " " +
                       std::to_string(entry.second.GetScannerOrientation());
            }
        } catch (const std::logic_error& e) {
            out = dynamic_cast<const std::invalid_argument*>(&e) ? "invalid_argument"
                                                                 : "out_of_range";
        }
        EXPECT_EQ(c[2], out);
        std::string log;
        for (const auto& e : capture.WithTag("ScannerFramework")) {
            log += std::string(1, "??VDIWEF"[e.priority & 7]) + " " + e.message + "\n";
        }
        EXPECT_EQ(Expand(c.size() > 3 ? c[3] : ""), log);
    }
    setenv("ORVEX_DEVICE_ROOT", previous.c_str(), 1);
    // Null text arguments give an empty list without reading anything.
    XMLParserUtil parser;
    char x[] = "x";
    EXPECT_TRUE(parser.GetSupportedScannerListFromXML(nullptr, true, 1, x, x, x, true).empty());
    EXPECT_TRUE(parser.GetSupportedScannerListFromXML("/no", true, 1, nullptr, x, x, true).empty());
    EXPECT_TRUE(parser.GetSupportedScannerListFromXML("/no", true, 1, x, nullptr, x, true).empty());
    EXPECT_TRUE(parser.GetSupportedScannerListFromXML("/no", true, 1, x, x, nullptr, true).empty());
}

// One caller process: the default device with `changes` ("KEY=VALUE;..."): a system property
// ("ro.*"; "-NAME" removes one); the device's scanner list (list), camera list (cameras),
// imager client and volume library files (imager, volume), log level (level), the
// external-dependencies entry of the platform library (libname; empty leaves it out) and the
// file the device keeps under it (libfile); or the library folder's libovc.so,
// libimagerclient.so or libplatform.orvex.so (empty leaves it out). Library files are relative
// to the build, or to this folder's build without a folder. The caller's arguments are split at
// blanks; '+' stands for a blank, '' for nothing. Then what it prints, and its records of the
// device facts, the imager client and the assertions, one a line as "LEVEL [TAG: ]TEXT" (the
// facts' own tag left out, the root written as $ROOT): those `keep` selects (a regex; empty: all
// but the module registrations; none checked when both are empty) after the first that `after`
// finds; and the signal that ends it (0: it must end normally, so that a sanitizer's report at
// exit fails it).
struct Case {
    std::string changes, args, out, log = "", keep = "";
    int signal = 0;
    std::string after = "";
};

void Check(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.changes + " | " + c.args);
        std::map<std::string, std::string> d;
        std::istringstream in(
            "ro.board.platform=lahaina;ro.product.name=tr52_gms;ro.product.model=TR52;"
            "ro.product.device=TR52HC;ro.product.manufacturer=Tevrin;ro.build.version.release=13;"
            "ro.product.cpu.abi=x86_64;imager=imager_id=31\ninterface_type=1\n;level=1;"
            "volume=scanner_beep_volume=5\nbeep_audio_api=1\n;libname=libplatform.orvex.so;"
            "libovc.so=lib/libovc.so;libimagerclient.so=lib/libimagerclient.so;"
            "libplatform.orvex.so=lib/libplatform.orvex.so;liborvex_host.so=lib/liborvex_host.so;" +
            c.changes);
        for (std::string change; std::getline(in, change, ';');) {
            d[change.substr(0, change.find('='))] = change.substr(change.find('=') + 1);
        }
        const auto file = [&](Text name) {
            return kBuild + (d[name].find('/') == std::string::npos ? "/tests/deviceinfo/" : "/") +
                   d[name];
        };
        TempDir libraries;
        DeviceRoot root;
        std::string buildProp;
        for (const auto& entry : d) {
            if (entry.first.rfind("ro.", 0) == 0)
                buildProp += entry.first + "=" + entry.second + "\n";
            const std::string link = libraries.path() + "/" + entry.first;
            if (entry.first.rfind(".so") == entry.first.size() - 3 && !entry.second.empty()) {
                EXPECT_EQ(0, symlink(file(entry.first).c_str(), link.c_str()));
            }
        }
        root.AddFile("/system/build.prop", buildProp);
        // Scanner list and platform library only, so properties come from build.prop.
        const std::string list = "/system/etc/scanner/ScannerList.xml";
        const auto entry = [](Text group, Text name, Text key, Text value) {
            return Element(group, Element("name", name) + Element("absolutepath", "true") +
                                      Element(key, value));
        };
        const std::string binary = entry("binary", "libplatformso", "libname", d["libname"]);
        root.AddFile(
            "/system/etc/scanner/ExternalDependencies.xml",
            Element("deps", Element("files", entry("file", "scannerlistxml", "path", list)) +
                                Element("binaries", d["libname"].empty() ? "" : binary) +
                                "<properties/>"));
        // The x86_64 ABI puts absolute library paths under /system/lib64.
        root.AddDir("/system/lib64");
        const std::string platform = libraries.path() + "/libplatform.orvex.so";
        const std::string kept = d["libfile"].empty() ? platform : file("libfile");
        EXPECT_EQ(
            0, symlink(kept.c_str(), root.HostPath("/system/lib64/libplatform.orvex.so").c_str()));
        if (!d["list"].empty()) root.AddFile(list, d["list"]);
        if (!d["cameras"].empty()) root.AddFile("/sim/cameras.prop", d["cameras"]);
        root.AddFile("/sim/libimagerclient.prop", d["imager"]);
        root.AddFile("/sim/libovc.prop", d["volume"]);
        root.SetLogLevel(d["level"]);
        // The caller has no run path of its own: the loader looks for the host layer, and for the
        // libraries the platform library opens by bare name, in the library folder first.
        // Sanitizer runtimes open libraries on the platform library's behalf, so its own $ORIGIN
        // is not looked at then; naming the folder gives every build the same search.
        std::vector<std::string> argv;
        std::istringstream words(c.args);
        for (std::string word; words >> word;) {
            std::replace(word.begin(), word.end(), '+', ' ');
            argv.push_back(word == "''" ? "" : word);
        }
        const std::string logFile = root.path() + "/caller.log";
        const ProcessResult run = RunProcess(kBuild + "/bin/deviceinfo_caller", "caller", argv,
                                             {{"ORVEX_DEVICE_ROOT", root.path()},
                                              {"ORVEX_LOG", logFile},
                                              {"ORVEX_PLATFORM_LIB", platform},
                                              {"LD_LIBRARY_PATH", libraries.path()}});
        EXPECT_EQ(c.signal == 0 ? 0 : -1, run.exitCode) << run.err;
        EXPECT_EQ(c.signal, run.termSignal) << run.err;
        EXPECT_EQ(c.out, run.out);
        const std::regex keep(
            c.keep.empty() ? "^(?!I \\[ComponentIndex::AddPlatformModule\\] Adding)" : c.keep);
        const std::regex kTags("ScannerFramework|sim\\.libimagerclient|####ASSERTION#####");
        std::string log;
        bool started = c.after.empty();
        for (const orvex::hostlog::Entry& e : ReadLogFile(logFile)) {
            if (!std::regex_match(e.tag, kTags)) continue;
            std::string text(1, e.priority >= 0 && e.priority < 8 ? "??VDIWEF"[e.priority] : '?');
            text += " " + (e.tag == "ScannerFramework" ? "" : e.tag + ": ") + e.message;
            for (size_t at; (at = text.find(root.path())) != std::string::npos;)
                text.replace(at, root.path().size(), "$ROOT");
            if (started && std::regex_search(text, keep)) log += text + "\n";
            started = started || std::regex_search(text, std::regex(c.after));
        }
        EXPECT_TRUE(Expand(c.log) == log || (c.log.empty() && c.keep.empty())) << log;
    }
}

// The three assertion records of the library.
std::string Abort(Text description, Text source, int line) {
    const std::string a = "F ####ASSERTION#####: ";
    return a +
           "This is not my fault, Something else has malfunctioned - Sincerly ScanningService\n\n" +
           a + "ERROR DESCRIPTION: " + description + "\n" + a + "ASSERTING AT " +
           "device/common/platform_bundle/dependencies/LibProperties/" + source + ":" +
           std::to_string(line) + " \n\n";
}

const std::string kLoad = "D @DLoadPlatformHWInfoRetrieverModule] E\n";
// What every DeviceInfo writes while it is built on a device with the real platform library.
const std::string kBuilt = kLoad +
                           "D [@H] Construct\nD [@H<T>::IsSupported] return true\n"
                           "D @DLoadPlatformHWINfoRetrieverModule] @H module loaded\n"
                           "D [@H<T>::GetModuleName] E\n"
                           "D @DLoadPlatformHWINfoRetrieverModule] GetModuleName @H\n";
const std::string kUnable =
    "E @DLoadPlatformHWINfoRetrieverModule]  Unable to load platform library '";

std::string Unloadable(Text path) {
    return kUnable + path + " error $ROOT" + path +
           ": cannot open shared object file: No such file or directory'\n\n";
}

TEST(DeviceInfo, AnswersLogsAndAssertsEachFact) {
    const auto camera = [](Text id) {
        return "ACameraManager_getCameraCharacteristics " + id +
               "\nACameraMetadata_getConstEntry 0x80005\nACameraMetadata_free\n";
    };
    const std::string created = "ACameraManager_create\nACameraManager_getCameraIdList\n";
    const std::string decryption = "D @DGetDeviceDecryptionStatus] Device Decryption status ";
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
             "D @DGetPlatformName] Platform Name lahaina\nD @DGetProductName] Product Name "
             "tr52_gms\nD @DGetProductModel] ProductModel Name TR52\nD @DGetProductSKU] "
             "ProductSKU Name TR52HC\nD @DGetManufacturerName] Manufacturer Name Tevrin\nD "
             "@DGetAndroidVersion] Android Version 13\nD @DGetABI] ABI x86_64\n" +
             decryption + "\n" + decryption + "\n" + decryption + "trigger_restart_framework\n"},
        // The camera check frees the manager and each metadata but keeps the id list.
        {"cameras=0=front\n1=back\n", "IsRearCameraAvaialable camera-calls",
         "true\n" + created + camera("0") + camera("1") + "ACameraManager_delete\n1\n"},
        {"cameras=0=none\n", "IsFrontCameraAvaialable camera-calls",
         "false\n" + created + camera("0") + "ACameraManager_delete\n1\n"}};
    // Cameras come from the camera service, then from properties.
    const std::string rearStoi = "E @DIsRearCameraAvaialable] Exception. stoi\n";
    const std::string frontStoi = "E @DIsFrontCameraAvaialable] Exception. stoi\n";
    const std::string facing = "E @DIsFrontCameraAvaialableCheckUsingNDK] cam facing ";
    // clang-format off
    for (const auto& c : std::vector<std::vector<std::string>>{
             {"cameras=0=front\n1=external\n2=back\n", "Rear", "true"},
             {"cameras=0=back\n1=front\n", "Front", "true", facing + "1\n" + facing + "0\n"},
             {"cameras=0=back\n", "Front", "false", facing + "1\n"},
             {"ro.boot.device.camera0=0;ro.config.device.camera0=2", "Rear", "true"},
             {"cameras=# none\n;ro.boot.device.camera0=1", "Rear", "true"},
             {"ro.boot.device.camera0=-1", "Rear", "false"}, {"", "Rear", "false"},
             {"ro.boot.device.camera0=  1", "Rear", "true"},
             {"ro.boot.device.camera0=yes;ro.config.device.camera0=1", "Rear", "true", rearStoi},
             {"ro.config.device.camera0=99999999999", "Rear", "false", rearStoi},
             {"ro.boot.device.camera0=a", "Rear", "false", rearStoi},  // decimal only
             {"ro.boot.device.camera1=x", "Front", "false", frontStoi + frontStoi},
             {"ro.boot.device.camera1=1", "Front", "true"},
             // A camera without lens facing, or one that went away, ends the service check.
             {"cameras=0=none\n1=back\n", "Rear", "false"},
             {"cameras=0=unavailable\n1=front\n", "Front", "false"}}) {
        cases.push_back({c[0], "Is" + c[1] + "CameraAvaialable", c[2] + "\n",
                         kBuilt + (c.size() > 3 ? c[3] : "")});
    }
    // clang-format on
    // Volume facts come from the volume library when it has them; only a device with the whole
    // library is asked about the headset, whose state is the accessory text as a number.
    const std::string volume =
        "volume=scanner_beep_volume=5\nbeep_audio_api=1\naudio_accessory_status=1\n";
    const std::string beep = "GetScannerBeepVolume GetScannerAudioAPI";
    const auto log = [](Text volume, Text api) {
        return kBuilt + "D @DGetScannerBeepVolume] Scanner Beep Volume " + volume +
               "\nD @DGetScannerAudioAPI] Scanner Audio API " + api + "\n";
    };
    cases.push_back({volume, beep + " CheckExternalHeadset", "5\n1\n1\n",
                     log("5", "1") + "D @DCheckExternalHeadset] CheckExternalHeadset 1\n"});
    cases.push_back({volume + ";libovc.so=", beep, "-1\n-1\n", log("-1", "-1")});
    cases.push_back({volume + ";libovc.so=libovc_volume_only.so", beep, "9\n-1\n", log("9", "-1")});
    for (const std::string c : {"0=0", "2=2", " 3 connected=3", "none=0"}) {
        cases.push_back({"volume=audio_accessory_status=" + c.substr(0, c.find('=')) + "\n",
                         "CheckExternalHeadset", c.substr(c.find('=') + 1) + "\n"});
    }
    // The scanner ID is the imager ID as a number, and zero when it is none.
    const std::string stoi = "E @DGetScanner] Exception. stoi\n";
    // clang-format off
    for (const auto& c : std::vector<std::vector<std::string>>{
             {" 42x", "42", ""}, {"abc", "0", stoi}, {"99999999999", "0", stoi},
             {"", "0", "D @DGetScanner] Setting scannerID = 0\n\n"}}) {
        // clang-format on
        cases.push_back({"imager=imager_id=" + c[0] + "\ninterface_type=4\n",
                         "GetScanner GetImagerInterfaceType", c[1] + "\n4\n",
                         "D @DGetScanner] scanner ID = " + c[0] + "\n\n" + c[2] +
                             "D @DGetImagerInterfaceType] Imager Interface type= 4\n\n",
                         "DeviceInfo::(GetScanner|GetImagerInterfaceType)\\]"});
    }
    // The hardware-info module comes through the platform library's entry points; when the
    // module is not supported the library stays open, so its version still answers.
    const std::string sku = "isDeviceFederalSKU1 isDeviceFederalSKU2 GetPlatformVersion";
    const std::string notLoaded =
        "E @DisDeviceFederalSKU1] @H module is not loaded\nE "
        "@DisDeviceFederalSKU2] @H module is not loaded\n";
    for (const auto& c : std::vector<std::vector<std::string>>{
             {"", "1",
              kBuilt + "D @DisDeviceFederalSKU1] pPlatforHWInfoRetreiver->isDeviceFederalSKU1 "
                       "returns false\nD @DisDeviceFederalSKU2] "
                       "pPlatforHWInfoRetreiver->isDeviceFederalSKU2 returns false\n"},
             {"libfile=libplatform_without_hw_info.so", "7",
              kLoad + "E @DLoadPlatformHWINfoRetrieverModule] @H module is not supported\n" +
                  notLoaded},
             {"libname=libmissing.so", "-1",
              kLoad + Unloadable("/system/lib64/libmissing.so") + notLoaded},
             {"libname=", "-1",
              kLoad + kUnable + " error library \"\" not found'\n\n" + notLoaded}}) {
        cases.push_back(
            {c[0], sku, "false\nfalse\n" + c[1] + "\n",
             c[2] + "D @DGetImagerInterfaceType] Platform Version type= " + c[1] + "\n\n"});
    }
    // A missing fact or entry point ends the process with its assertion: the fact's line, what
    // comes before it, the assertion's text. The ABI also picks the library folder, so without
    // it the platform library is not found.
    const std::string noLibrary = kLoad + Unloadable("/system//libplatform.orvex.so");
    const std::string function = "Unable to load function ", get = "GetPlatformVersion";
    // clang-format off
    for (const auto& c : std::vector<std::vector<std::string>>{
        {"ro.board.platform=", "GetPlatformName", "118"},
        {"ro.product.name=", "GetProductName", "129"},
        {"ro.product.model=", "GetProductModel", "140"},
        {"ro.product.device=", "GetProductSKU", "151"},
        {"ro.product.manufacturer=", "GetManufacturerName", "162"},
        {"ro.build.version.release=", "GetAndroidVersion", "173"},
        {"ro.product.cpu.abi=", "GetABI", "184", noLibrary},
        {"libfile=libplatform_without_get_module.so", get, "66", kLoad,
         function + "GetAbstractedPlatformModule\n"},
        {"libfile=libplatform_without_delete_module.so", get, "69", kLoad,
         function + "DeletePlatformModule\n"}}) {
        // clang-format on
        cases.push_back(
            {c[0], c[1], "",
             (c.size() > 3 ? c[3] : kBuilt) +
                 Abort(c.size() > 4 ? c[4] : c[1] + " Failed", "src/DeviceInfo", std::stoi(c[2])),
             "", SIGABRT});
    }
    Check(cases);
}

TEST(DeviceInfoBuilder, GathersTheFactsInOrderBuildsOneListAndEndsTheProcessOnABrokenOne) {
    const std::string id31 = "@GScanner ID=31\n", noFront = "@GFront camera is not available\n";
    const std::string a13 = "I @DGetSupportedScannerInstance] android version is Android_13\n";
    const std::string gathered = "GetSupportedScannerInstance\\]";
    const std::string list =
        "list=" +
        List(Camera("Camera Scanner", "1", "10", "REAR_CAMERA") +
                 Camera("Front Camera Scanner", "1", "11", "FRONT_CAMERA", "front-camera-scanner") +
                 Builtin("31", "1", "Imager", "0", "IM5100") +
                 External("Ring", "1", "20", "BT_RING"),
             Product("lahaina", "TR41", ProductBuiltin("0", "IM5100", "Imager", "1")));
    const auto broken = [](Text list, Text error, int line, Text detail = "") {
        const std::string log = "E @XGetSupportedScannerListFromXML] " + error + detail + "\n" +
                                Abort("XMLParserUtil : " + error, "utility/XMLParserUtil", line);
        return Case{list, "scanners", "", log, "XMLParserUtil|ASSERTION", SIGABRT};
    };
    Check({{list + ";cameras=0=back\n", "scanners",
            "count 3\n0\tImager\tIM5100\n1\tCamera Scanner\tREAR_CAMERA\n2\tRing\tBT_RING\n",
            id31 + "@GRear Camera is available\n" + noFront + a13, gathered},
           {list + ";cameras=0=back\n1=front\n;ro.product.model=TR41", "scanners",
            "count 4\n0\tImager\tIM5100\n1\tCamera Scanner\tREAR_CAMERA\n2\tFront Camera "
            "Scanner\tFRONT_CAMERA\n3\tRing\tBT_RING\n",
            id31 + "@GRear Camera is available\n@GFront Camera is available\n" + a13, gathered},
           {list + ";imager=imager=0\n", "scanners", "count 1\n0\tRing\tBT_RING\n",
            "@GImager scanner is not present\n@GRear camera is not available\n" + noFront + a13,
            gathered},
           // Racing first calls share one DeviceInfo, one list and one imager client.
           {list + ";cameras=0=back\n", "race 8", "same\n",
            kLoad + "@Clibimagerclient.so loaded\nD @SSupportedScannerInfo] masterScannerMap\n",
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
           broken("list=<?xml version=\"1.0\"?>\n<!-- nothing -->\n",
                  "Failed to load config file: No root element.", 38),
           broken("list=<ScannerList><Android_13><platform/></Android_13></ScannerList>",
                  "No default node in ScannerList XML", 52),
           broken("list=<ScannerList><Android_13><default/></Android_13></ScannerList>",
                  "No platform node in ScannerList XML", 59),
           // No file at all where the device says the list is.
           broken("", "Unable to load ScannerList XML file", 30,
                  ", desc : Error=XML_ERROR_FILE_NOT_FOUND ErrorID=3 (0x3) Line number=0: "
                  "filename=$ROOT/system/etc/scanner/ScannerList.xml")});
}

TEST(SupportedScannerInfo, AnswersQueriesOnTheListAndEndsTheProcessOnAPositionOfAnEmptyOne) {
    // The facts' own records once the list is built, without the list's own construction lines.
    const std::string queries = "^. (?!sim|#|\\[SupportedScannerInfo::SupportedScannerInfo)";
    const std::string built = "\\] masterScannerMap$",
                      m = "D @SGetScannerModelNameAt] Scanner Model ";
    const std::string empty = "E @SIsScannerListAvailable] Scanner List is empty\n";
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
         m + "REAR_CAMERA\n" + m + "IM5100\n" + m + "REAR_CAMERA\n" + m + "IM5100\n" +
             "I @SIsMirroredAndFlipped] ScannerName=Imager has orientation = 2\nD "
             "@SGetScannerNameAt] index=5, ScannerName=\n\nD @SGetScannerNameAt] index=-1, "
             "ScannerName=\n\n" +
             m +
             "BT_RING\nE @SIsScannerAvailable] Scanner camera scanner not found in Scanner "
             "List\nE @SIsScannerAvailable] Invalid ScannerName\nD "
             "@SGetNumberOfSupportedScanners] 3\n",
         queries, 0, built},
        // A list of only a camera scanner has no imager.
        {"cameras=0=back\n;list=" + List(Camera("Camera Scanner", "1", "0", "REAR_CAMERA")),
         "GetInBuiltScannerModel IsMirroredAndFlipped", "[]\n0\n"},
        // An empty list answers false or zero; a position in it ends the process.
        {emptyList,
         "IsScannerListAvailable GetNumberOfSupportedScanners IsScannerAvailable Ring "
         "IsMirroredAndFlipped",
         "false\n0\nfalse\n0\n",
         empty + empty +
             "E @SGetNumberOfSupportedScanners] Scanner List is NULL\nE @SIsScannerAvailable] "
             "Scanner Ring not found in Scanner List\n" +
             empty,
         queries, 0, built}};
    // clang-format off
    for (const auto& c : std::vector<std::vector<std::string>>{
             {"GetScannerNameAt", " 0", "index 0"}, {"GetScannerModelNameAt", " 1", "index 1"},
             {"GetInBuiltScannerModel", "", "InBuilt Scanner"}}) {
        // clang-format on
        cases.push_back({emptyList, c[0] + c[1], "",
                         empty + "E @S" + c[0] + "] " + c[2] + " not found in Scanner List\n",
                         queries, SIGABRT, built});
    }
    Check(cases);
}

TEST(ImagerInfoUtils, ReleasesTheImagerClientAfterASuccessKeepsItAfterAFailureAndNeedsIt) {
    const std::string args = "imager.GetImagerID imager.GetImagerInterfaceType imagerclient-loaded";
    const std::string asked =
        "@Clibimagerclient.so loaded\nI @ILoadImagerLibrary] Loaded "
        "libimagerclient.so!!\n\n@CGetImagerModule(1, ImagerProvider)\n";
    const std::string failed =
        "E @IImagerInfoUtils] Load Imager Modules Unsuccessful!\n\n@Clibimagerclient.so unloaded\n";
    Check({{"imager=imager_id=31\ninterface_type=2\n", args, "[31]\n2\nunloaded\n",
            asked + "@CGetImager() = imager\nI [@ILoadImagerModules] m_Imager not NULL\n\nD "
                    "@IImagerInfoUtils] Loaded Imager Modules!\n\n@CGetImagerId() = 31\nD "
                    "@IImagerInfoUtils] m_ImagerID = 31\n\n@CGetInterfaceType() = 2\nD "
                    "@IImagerInfoUtils] Interface ID = 2\n\n@Cimager destroyed\n@Cprovider "
                    "destroyed\n@Clibimagerclient.so unloaded\n"},
           {"imager=provider=0\n", args, "[]\n0\nloaded\n",
            asked + "E [@ILoadImagerModules] m_ImagerProvider is NULL\n" + failed},
           {"imager=imager=0\n", args, "[]\n0\nloaded\n",
            asked + "@CGetImager() = null\nE [@ILoadImagerModules] m_Imager is NULL\n\n" + failed},
           {"libimagerclient.so=", "imager.GetImagerID", "",
            "E [@ILoadImagerLibrary] Unable to load library, Error 'libimagerclient.so: cannot "
            "open shared object file: No such file or directory'\n" +
                Abort("[ImagerContext::LoadImagerLibrary] Unable to load libimagerclient.so",
                      "src/ImagerInfoUtils", 56),
            "", SIGABRT},
           {"libimagerclient.so=libimagerclient_without_entry.so", "imager.GetImagerID", "",
            "I @ILoadImagerLibrary] Loaded libimagerclient.so!!\n\n" +
                Abort("Unable to load function GetImagerModule\n", "src/ImagerInfoUtils", 62),
            "", SIGABRT}});
}

}  // namespace
