// orvexctl as an integrator runs it: every command on every shipped profile, usage errors, and
// check against device roots broken so that the scanning service would stop.

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>

#include "TestSupport.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Args = std::vector<std::string>;

// Runs orvexctl, checks its exit status and returns its output, parsed unless a usage error.
Json Orvexctl(const Args& args, int status = 0) {
    orvex::test::ProcessResult run =
        orvex::test::RunProcess(ORVEX_BUILD_DIR "/bin/orvexctl", "orvexctl", args,
                                {{"ORVEX_LOG", ""}, {"ORVEX_DEVICE_ROOT", ""}}, 120);
    EXPECT_EQ(run.exitCode, status) << testing::PrintToString(args) << run.out << run.err;
    EXPECT_EQ(run.termSignal, 0);
    Json doc = Json::parse(run.out, nullptr, false);
    EXPECT_TRUE(!doc.is_discarded() || status == 2) << run.out;
    return doc;
}

// A file of a copy of the default profile changed: `from` (a regular expression) replaced by
// `to`; with no `from` the file is removed.
struct Edit {
    std::string file, from, to;
};

// Runs check on a copy of the default profile with `edits` made.
Json CheckEdited(const std::vector<Edit>& edits, int status) {
    orvex::test::TempDir dir;
    fs::copy(ORVEX_BUILD_DIR "/sim/profiles/default", dir.path(),
             fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    for (const Edit& e : edits) {
        const std::string path = dir.path() + e.file;
        if (e.from.empty()) {
            fs::remove(path);
        } else {
            orvex::test::WriteFile(
                path, std::regex_replace(orvex::test::ReadFile(path), std::regex(e.from), e.to));
        }
    }
    return Orvexctl({"--root", dir.path(), "--json", "check"}, status);
}

const std::string kSettings = "/enterprise/device/settings/scanner/LogLevel.xml";
const std::string kDeps = "/system/etc/scanner/ExternalDependencies.xml";
const std::string kList = "/system/etc/scanner/ScannerList.xml";

TEST(Orvexctl, UsageErrorsExitWithTwo) {
    // clang-format off
    for (const Args& args : std::vector<Args>{
             {}, {"nosuchcommand"}, {"--bogus", "modules"}, {"resolve"}, {"modules", "extra"},
             {"--profile", "nosuchprofile", "modules"}, {"--root", "/nonexistent/root", "info"},
             {"--profile", "default", "--root", "/", "modules"}, {"scan", "--presses", "0"},
             {"--profile"}}) {
        Orvexctl(args, 2);
    }
    // clang-format on
}

TEST(Orvexctl, EveryCommandWorksOnEveryShippedProfile) {
    const Json list = Orvexctl({"--json", "profiles"});
    std::string profiles =
        list["default"].get<std::string>() + ":";  // "?" marks a missing description
    for (const Json& p : list["profiles"]) {
        profiles +=
            " " + p["name"].get<std::string>() + (p.value("description", "").empty() ? "?" : "");
    }
    EXPECT_EQ(profiles, "default: HX2105x QT7BW camera-only default tr41");
    // clang-format off
    const std::pair<std::string, std::string> cases[] = {  // profile; facts, scanners and keys
        {"default", "lahaina TR52 13 1 0123 init: 726 Trigger Left TRIGGER_LEFT, 727 Trigger Right "
                    "TRIGGER_RIGHT, 725 Trigger Center TRIGGER_CENTER"},
        {"tr41", "holi TR41 14 1 0123 init: 726 Trigger Left TRIGGER_LEFT, 727 Trigger Right "
                 "TRIGGER_RIGHT"},
        // No device element: Init answers false and the table stays empty.
        {"camera-only", "bengal TR21 11 1 012 no init:"},
        // Keys listed under the SKU.
        {"HX2105x", "lahaina HX2105x 13 1 012 init: 725 Trigger Center TRIGGER_CENTER, "
                    "728 Trigger Grip TRIGGER_GRIP"},
        // Without an imager the centre trigger drives the key mapper.
        {"QT7BW", "holi QT7BW 14 1 01 init: 725 Key Mapper Scan KEY_MAPPER_SCAN, "
                  "311 Key Mapper R1 KEY_MAPPER_R1"},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        const Json modules = Orvexctl({"--profile", c.first, "--json", "modules"});
        std::string tags = modules["ok"].get<bool>() ? "version " : "not ok ";
        tags += std::to_string(modules["version"].get<int>());
        for (const Json& t : modules["tags"]) {  // tag:count, supported (+) or not, names
            tags += " " + std::to_string(t["tag"].get<int>()) + ":" +
                    std::to_string(t["count"].get<int>()) +
                    (t["supported"].get<bool>() ? "+" : "-");
            for (const Json& name : t["modules"]) tags += name.get<std::string>();
        }
        // Tags 8, 11 and 13 are only handed out by name, never by tag alone.
        EXPECT_EQ(tags,
                  "version 1 0:1+HWBeep 1:1+LEDNotification 2:1+Triggers 3:0- 4:0- 5:0- "
                  "6:1+HWTrigger 7:1+IExternalHapticFeedack 8:1-ImagerHIDLProxy 9:1+SerialPort "
                  "10:1+PlugableDeviceNotifier 11:1-BatterySwapModule 12:1+PlatformHWInfoRetriever "
                  "13:1-CameraModule");

        const Json info = Orvexctl({"--profile", c.first, "--json", "info"});
        const Json& facts = info["facts"];
        std::string seen = facts["platform"].get<std::string>() + " " +
                           facts["model"].get<std::string>() + " " +
                           facts["androidVersion"].get<std::string>() + " " +
                           std::to_string(facts["rearCamera"].get<int>()) + " ";
        for (const Json& s : info["scanners"]) seen += std::to_string(s["index"].get<int>());
        std::string keys = info["triggers"]["init"].get<bool>() ? " init:" : " no init:";
        for (const Json& k : info["triggers"]["keys"]) {
            keys += std::string(keys.back() == ':' ? " " : ", ") +
                    std::to_string(k["scanCode"].get<int>()) + " " +
                    k["friendlyName"].get<std::string>() + " " +
                    k["scannerResource"].get<std::string>();
        }
        EXPECT_EQ(seen + keys, c.second);

        const Json check = Orvexctl({"--profile", c.first, "--json", "check"});
        std::string failed = check["ok"].get<bool>() ? "" : "not ok";
        for (const Json& step : check["steps"]) {
            if (step["status"].get<std::string>() != "ok")
                failed += " " + step["step"].get<std::string>();
        }
        EXPECT_EQ(failed, "");
    }
}

TEST(Orvexctl, ResolveTellsWhereEachTextComesFrom) {
    Json doc = Orvexctl({"--json", "resolve", "scannerlistxml", "libplatformso", "ro.product.model",
                         "ro.product.cpu.abi", "not.a.name"});
    std::string got;
    for (const Json& n : doc["names"]) {
        got += n["value"].get<std::string>() + " | " +
               (n["group"].is_null() ? "null" : n["group"].get<std::string>()) + " | " +
               n["from"].get<std::string>() + "\n";
    }
    EXPECT_EQ(got,
              "/system/etc/scanner/ScannerList.xml | files | files entry 1\n"
              "/system/lib64/libplatform.orvex.so | binaries | binaries entry 1\n"
              "TR52 | properties | properties entry 3 (property set)\n"
              "arm64-v8a | properties | properties entry 8 (property set)\n"
              " | null | nothing: not in the file and no such property\n");
}

TEST(Orvexctl, CheckReportsEachWayTheServiceWouldStop) {
    const std::string bundle = "device/common/platform_bundle/dependencies/";
    // clang-format off
    const std::pair<std::vector<Edit>, std::string> cases[] = {  // edits; the step's outcome
        {{{kSettings, "^[^]*", "<?xml version=\"1.0\"?>\n"}},
         "settings stop Can't attach JVM to current thread. at "
         "PersistManager/src/XMLFilePersist:21"},
        {{{kDeps, "", ""}},
         "dependencies stop ConfigInfo : Unable to load ExternalDependencies XML file at "
         "includes/ConfigInfo:121"},
        // A device fact missing from the properties and with no default in the dependencies.
        {{{"/system/build.prop", "ro.product.model=[^\n]*\n", ""},
          {kDeps, "<name>ro.product.model</name>\\s*<value>[^<]*</value>",
           "<name>ro.product.model</name><value></value>"}},
         "GetProductModel stop GetProductModel Failed at LibProperties/src/DeviceInfo:140"},
        {{{kList, "Android_13", "Android_99"}},
         "scannerlist stop XMLParserUtil : No node in ScannerList XML with AndroidVersion = "
         "Android_13 at LibProperties/utility/XMLParserUtil:44"},
    };
    // clang-format on
    for (const auto& c : cases) {
        const Json doc = CheckEdited(c.first, 1);
        const std::string step = c.second.substr(0, c.second.find(' '));
        std::string stops = doc["ok"].get<bool>() ? "ok" : "not ok";  // and that step's outcome
        for (const Json& s : doc["steps"]) {
            if (s["step"] != step) continue;
            const Json& at = s["assertion"];
            const std::string source = at["source"];
            stops += ", " + step + " " + s["status"].get<std::string>() + " " +
                     at["description"].get<std::string>() + " at " +
                     (source.rfind(bundle, 0) ? source : source.substr(bundle.size())) + ":" +
                     std::to_string(at["line"].get<int>());
        }
        EXPECT_EQ(stops, "not ok, " + c.second);
    }
}

TEST(Orvexctl, CheckWarnsAboutWhatTheLibraryAcceptsSilently) {
    Json doc = CheckEdited(
        {{kSettings, "<LogLevel>[^<]*</LogLevel>", "<LogLevel>4x</LogLevel>"},
         {kDeps, "<absolutepath>true</absolutepath>(\\s*<path>/data/vendor)", "$1"},
         {"/system/etc/scanner/ScannerResourceConfig.xml", "<KeyCode>2D7</KeyCode>", ""}},
        0);
    std::string texts;
    for (const Json& w : doc["warnings"]) texts += w["text"].get<std::string>() + "\n";
    for (const char* part : {"LogLevel \"4x\" is read as 4", "inherited from an earlier entry",
                             "TR52/Key #2: no <KeyCode>; the key's scan code stays -1"}) {
        EXPECT_NE(texts.find(part), std::string::npos) << part << "\n" << texts;
    }
}

TEST(Orvexctl, ScanRunsTheTypicalScanEndToEnd) {
    const Json doc = Orvexctl({"--json", "scan", "--presses", "2"});
    std::string feedback = (doc["ok"].get<bool>() ? "ok, " : "not ok, ") +
                           std::to_string(doc["summary"]["keyEvents"].get<int>()) + " key events\n";
    for (const Json& e : doc["timeline"]) {
        const std::string call =
            e["service"].get<std::string>() + " " + e["call"].get<std::string>();
        if (call.rfind("ILight", 0) == 0 || call.rfind("IHardwareBeepConfigs startBeep", 0) == 0 ||
            call.rfind("caller OnKeyEvent", 0) == 0) {
            feedback +=
                (e["thread"].get<std::string>() == "caller" ? "caller: " : "other: ") + call + "\n";
        }
    }
    // Key events arrive on the reader thread; the LED is reset to red on the timer's callback
    // thread (the last red of each scan).
    const std::string scan =
        "caller: ILight setLight(8, color=0xffff0000)\nother: caller OnKeyEvent(291, 1)\n"
        "caller: IHardwareBeepConfigs startBeep()\ncaller: ILight setLight(8, color=0xff00ff00)\n"
        "other: ILight setLight(8, color=0xffff0000)\n";
    EXPECT_EQ(feedback, "ok, 2 key events\n" + scan + scan);
}

}  // namespace
