// orvexctl as an integrator runs it: every command on every shipped profile, usage errors, and
// check against device roots broken in each way that stops the scanning service.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "Json.h"
#include "TestSupport.h"

namespace {

namespace fs = std::filesystem;
using orvex::test::Json;
using orvex::test::ProcessResult;
using orvex::test::ReadFile;
using orvex::test::TempDir;
using orvex::test::WriteFile;

const std::vector<std::string> kProfiles = {"default", "tr41", "camera-only", "HX2105x", "QT7BW"};

ProcessResult Orvexctl(const std::vector<std::string>& args) {
    return orvex::test::RunProcess(ORVEX_BUILD_DIR "/bin/orvexctl", "orvexctl", args,
                                   {{"ORVEX_LOG", ""}, {"ORVEX_DEVICE_ROOT", ""}}, 120);
}

Json ParseOutput(const ProcessResult& run) {
    std::string error;
    Json doc = Json::Parse(run.out, &error);
    EXPECT_EQ(error, "") << run.out;
    return doc;
}

TEST(Orvexctl, UsageErrorsExitWithTwo) {
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"nosuchcommand"},
        {"--bogus", "modules"},
        {"--profile", "nosuchprofile", "modules"},
        {"--profile", "default", "--root", "/", "modules"},
        {"--root", "/nonexistent/root", "info"},
        {"resolve"},
        {"modules", "extra"},
        {"scan", "--presses", "0"},
        {"--profile"},
    };
    for (const auto& args : cases) {
        ProcessResult run = Orvexctl(args);
        EXPECT_EQ(run.exitCode, 2) << testing::PrintToString(args) << run.out << run.err;
        EXPECT_EQ(run.termSignal, 0);
    }
}

TEST(Orvexctl, ProfilesListsEveryShippedProfile) {
    ProcessResult run = Orvexctl({"--json", "profiles"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    Json doc = ParseOutput(run);
    EXPECT_EQ(doc["default"].String(), "default");
    std::vector<std::string> names;
    for (const Json& p : doc["profiles"].Array()) {
        names.push_back(p["name"].String());
        EXPECT_FALSE(p["description"].String().empty()) << p["name"].String();
    }
    for (const std::string& profile : kProfiles) {
        EXPECT_NE(std::find(names.begin(), names.end(), profile), names.end()) << profile;
    }
}

TEST(Orvexctl, ModulesShowsEveryTagAsACallerSeesIt) {
    for (const std::string& profile : kProfiles) {
        ProcessResult run = Orvexctl({"--profile", profile, "--json", "modules"});
        ASSERT_EQ(run.exitCode, 0) << profile << run.err;
        Json doc = ParseOutput(run);
        EXPECT_TRUE(doc["ok"].Bool());
        EXPECT_EQ(doc["version"].Int(), 1);
        ASSERT_EQ(doc["tags"].size(), 14u);
        for (int tag = 0; tag < 14; ++tag) {
            const Json& t = doc["tags"][static_cast<size_t>(tag)];
            EXPECT_EQ(t["tag"].Int(), tag);
            EXPECT_EQ(static_cast<size_t>(t["count"].Int()), t["modules"].size()) << tag;
        }
        for (int reserved : {3, 4, 5}) EXPECT_EQ(doc["tags"][reserved]["count"].Int(), 0);
        // The hardware-info module is always supported; tag 8 never is by tag alone.
        EXPECT_TRUE(doc["tags"][12]["supported"].Bool());
        EXPECT_EQ(doc["tags"][12]["modules"][0].String(), "PlatformHWInfoRetriever");
        EXPECT_FALSE(doc["tags"][8]["supported"].Bool());
        EXPECT_EQ(doc["tags"][6]["modules"][0].String(), "HWTrigger");
    }
}

TEST(Orvexctl, ResolveTellsWhereEachTextComesFrom) {
    ProcessResult run = Orvexctl({"--json", "resolve", "scannerlistxml", "libplatformso",
                                  "ro.product.model", "ro.product.cpu.abi", "not.a.name"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    Json doc = ParseOutput(run);
    const Json& names = doc["names"];
    ASSERT_EQ(names.size(), 5u);
    EXPECT_EQ(names[0]["value"].String(), "/system/etc/scanner/ScannerList.xml");
    EXPECT_EQ(names[0]["group"].String(), "files");
    EXPECT_EQ(names[1]["value"].String(), "/system/lib64/libplatform.orvex.so");
    EXPECT_EQ(names[1]["group"].String(), "binaries");
    EXPECT_EQ(names[2]["value"].String(), "TR52");
    EXPECT_EQ(names[2]["group"].String(), "properties");
    EXPECT_TRUE(names[2]["propertySet"].Bool());
    EXPECT_TRUE(names[4]["group"].IsNull());
    EXPECT_FALSE(names[4]["propertyExists"].Bool());
    EXPECT_EQ(names[4]["value"].String(), "");
}

TEST(Orvexctl, InfoShowsTheDeviceFactsAndScanners) {
    struct Case {
        std::string profile, platform, model, android;
        bool rear;
        bool triggersInit;
        std::vector<std::string> keys;  // "scan code name resource"
    } cases[] = {
        {"default", "lahaina", "TR52", "13", true, true,
         {"726 Trigger Left TRIGGER_LEFT", "727 Trigger Right TRIGGER_RIGHT",
          "725 Trigger Center TRIGGER_CENTER"}},
        {"tr41", "holi", "TR41", "14", true, true,
         {"726 Trigger Left TRIGGER_LEFT", "727 Trigger Right TRIGGER_RIGHT"}},
        // No device element: Init answers false and the table stays empty.
        {"camera-only", "bengal", "TR21", "11", true, false, {}},
        // Keys listed under the SKU.
        {"HX2105x", "lahaina", "HX2105x", "13", true, true,
         {"725 Trigger Center TRIGGER_CENTER", "728 Trigger Grip TRIGGER_GRIP"}},
        // Without an imager the centre trigger drives the key mapper.
        {"QT7BW", "holi", "QT7BW", "14", true, true,
         {"725 Key Mapper Scan KEY_MAPPER_SCAN", "311 Key Mapper R1 KEY_MAPPER_R1"}},
    };
    for (const Case& c : cases) {
        ProcessResult run = Orvexctl({"--profile", c.profile, "--json", "info"});
        ASSERT_EQ(run.exitCode, 0) << c.profile << run.out << run.err;
        Json doc = ParseOutput(run);
        EXPECT_EQ(doc["facts"]["platform"].String(), c.platform);
        EXPECT_EQ(doc["facts"]["model"].String(), c.model);
        EXPECT_EQ(doc["facts"]["androidVersion"].String(), c.android);
        EXPECT_EQ(doc["facts"]["rearCamera"].Int(), c.rear ? 1 : 0) << c.profile;
        ASSERT_GT(doc["scanners"].size(), 0u) << c.profile;
        for (size_t i = 0; i < doc["scanners"].size(); ++i) {
            EXPECT_EQ(doc["scanners"][i]["index"].Int(), static_cast<int>(i));
        }
        EXPECT_EQ(doc["triggers"]["init"].Bool(), c.triggersInit) << c.profile;
        std::vector<std::string> keys;
        for (const Json& k : doc["triggers"]["keys"].Array()) {
            keys.push_back(std::to_string(k["scanCode"].Int()) + " " + k["friendlyName"].String() +
                           " " + k["scannerResource"].String());
        }
        EXPECT_EQ(keys, c.keys) << c.profile;
    }
}

TEST(Orvexctl, CheckPassesOnEveryShippedProfile) {
    for (const std::string& profile : kProfiles) {
        ProcessResult run = Orvexctl({"--profile", profile, "--json", "check"});
        EXPECT_EQ(run.exitCode, 0) << profile << run.out << run.err;
        Json doc = ParseOutput(run);
        EXPECT_TRUE(doc["ok"].Bool()) << profile;
        for (const Json& step : doc["steps"].Array()) {
            EXPECT_EQ(step["status"].String(), "ok") << profile << " " << step["step"].String();
        }
    }
}

// A copy of the staged default profile, broken by the test.
class BrokenRoot {
public:
    BrokenRoot() {
        fs::copy(ORVEX_BUILD_DIR "/sim/profiles/default", dir_.path(),
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
    std::string path() const { return dir_.path(); }
    std::string File(const std::string& devicePath) const { return dir_.path() + devicePath; }
    void Edit(const std::string& devicePath, const std::string& from, const std::string& to) const {
        std::string text = ReadFile(File(devicePath));
        text = std::regex_replace(text, std::regex(from), to);
        WriteFile(File(devicePath), text);
    }

private:
    TempDir dir_;
};

TEST(Orvexctl, CheckReportsEachWayTheServiceWouldStop) {
    const std::string deps = "/system/etc/scanner/ExternalDependencies.xml";
    const std::string list = "/system/etc/scanner/ScannerList.xml";
    const std::string settings = "/enterprise/device/settings/scanner/LogLevel.xml";
    const std::string base = "device/common/platform_bundle/";
    struct Case {
        const char* what;
        std::function<void(const BrokenRoot&)> breakIt;
        std::string step, description, source;
        int line;
    } cases[] = {
        {"settings without root",
         [&](const BrokenRoot& r) { WriteFile(r.File(settings), "<?xml version=\"1.0\"?>\n"); },
         "settings", "Can't attach JVM to current thread.",
         base + "dependencies/PersistManager/src/XMLFilePersist", 21},
        {"no dependencies file", [&](const BrokenRoot& r) { fs::remove(r.File(deps)); },
         "dependencies", "ConfigInfo : Unable to load ExternalDependencies XML file",
         base + "dependencies/includes/ConfigInfo", 121},
        {"dependencies without root",
         [&](const BrokenRoot& r) { WriteFile(r.File(deps), "<!-- nothing -->\n"); }, "dependencies",
         "[ConfigInfo::ResolveConfigDependency] Failed : No root element.",
         base + "dependencies/includes/ConfigInfo", 130},
        {"no files group", [&](const BrokenRoot& r) { r.Edit(deps, "<files>[^]*</files>", ""); },
         "dependencies", "ConfigInfo : No files node in ExternalDependencies XML",
         base + "dependencies/includes/ConfigInfo", 138},
        {"no binaries group",
         [&](const BrokenRoot& r) { r.Edit(deps, "<binaries>[^]*</binaries>", ""); },
         "dependencies", "ConfigInfo : No binaries node in ExternalDependencies XML",
         base + "dependencies/includes/ConfigInfo", 146},
        {"no properties group",
         [&](const BrokenRoot& r) { r.Edit(deps, "<properties>[^]*</properties>", ""); },
         "dependencies", "ConfigInfo : No properties node in ExternalDependencies XML",
         base + "dependencies/includes/ConfigInfo", 154},
        {"no platform",
         [&](const BrokenRoot& r) {
             r.Edit("/system/build.prop", "ro.board.platform=[^\n]*\n", "");
             r.Edit(deps, "<name>ro.board.platform</name>\\s*<value>[^<]*</value>",
                    "<name>ro.board.platform</name><value></value>");
         },
         "GetPlatformName", "GetPlatformName Failed", base + "dependencies/LibProperties/src/DeviceInfo",
         118},
        {"no model",
         [&](const BrokenRoot& r) {
             r.Edit("/system/build.prop", "ro.product.model=[^\n]*\n", "");
             r.Edit(deps, "<name>ro.product.model</name>\\s*<value>[^<]*</value>",
                    "<name>ro.product.model</name><value></value>");
         },
         "GetProductModel", "GetProductModel Failed", base + "dependencies/LibProperties/src/DeviceInfo",
         140},
        {"platform library without its entry points",
         [&](const BrokenRoot& r) {
             fs::remove(r.File("/system/lib64/libplatform.orvex.so"));
             fs::create_symlink(ORVEX_BUILD_DIR "/lib/libovc.so",
                                r.File("/system/lib64/libplatform.orvex.so"));
         },
         "GetPlatformName", "Unable to load function GetAbstractedPlatformModule\n",
         base + "dependencies/LibProperties/src/DeviceInfo", 66},
        {"no scanner list", [&](const BrokenRoot& r) { fs::remove(r.File(list)); }, "scannerlist",
         "XMLParserUtil : Unable to load ScannerList XML file",
         base + "dependencies/LibProperties/utility/XMLParserUtil", 30},
        {"scanner list without this release",
         [&](const BrokenRoot& r) { r.Edit(list, "Android_13", "Android_99"); }, "scannerlist",
         "XMLParserUtil : No node in ScannerList XML with AndroidVersion = Android_13",
         base + "dependencies/LibProperties/utility/XMLParserUtil", 44},
        {"scanner list without default",
         [&](const BrokenRoot& r) { r.Edit(list, "<(/?)default>", "<$1defaults>"); }, "scannerlist",
         "XMLParserUtil : No default node in ScannerList XML",
         base + "dependencies/LibProperties/utility/XMLParserUtil", 52},
        {"scanner list without platform",
         [&](const BrokenRoot& r) { r.Edit(list, "<(/?)platform>", "<$1platforms>"); }, "scannerlist",
         "XMLParserUtil : No platform node in ScannerList XML",
         base + "dependencies/LibProperties/utility/XMLParserUtil", 59},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        BrokenRoot root;
        c.breakIt(root);
        ProcessResult run = Orvexctl({"--root", root.path(), "--json", "check"});
        EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
        EXPECT_EQ(run.termSignal, 0);
        Json doc = ParseOutput(run);
        EXPECT_FALSE(doc["ok"].Bool());
        bool found = false;
        for (const Json& step : doc["steps"].Array()) {
            if (step["step"].String() != c.step) continue;
            found = true;
            EXPECT_EQ(step["status"].String(), "stop");
            EXPECT_EQ(step["assertion"]["description"].String(), c.description);
            EXPECT_EQ(step["assertion"]["source"].String(), c.source);
            EXPECT_EQ(step["assertion"]["line"].Int(), c.line);
        }
        EXPECT_TRUE(found) << run.out;
    }
}

TEST(Orvexctl, CheckWarnsAboutWhatTheLibraryAcceptsSilently) {
    BrokenRoot root;
    root.Edit("/enterprise/device/settings/scanner/LogLevel.xml", "<LogLevel>[^<]*</LogLevel>",
              "<LogLevel>4x</LogLevel>");
    root.Edit("/system/etc/scanner/ExternalDependencies.xml",
              "<absolutepath>true</absolutepath>(\\s*<path>/data/vendor)", "$1");
    root.Edit("/system/etc/scanner/ScannerResourceConfig.xml", "<KeyCode>2D7</KeyCode>", "");
    ProcessResult run = Orvexctl({"--root", root.path(), "--json", "check"});
    EXPECT_EQ(run.exitCode, 0) << run.out;
    Json doc = ParseOutput(run);
    std::vector<std::string> texts;
    for (const Json& w : doc["warnings"].Array()) texts.push_back(w["text"].String());
    auto has = [&](const std::string& part) {
        for (const std::string& t : texts) {
            if (t.find(part) != std::string::npos) return true;
        }
        return false;
    };
    EXPECT_TRUE(has("LogLevel \"4x\" is read as 4")) << run.out;
    EXPECT_TRUE(has("inherited from an earlier entry")) << run.out;
    EXPECT_TRUE(has("TR52/Key #2: no <KeyCode>; the key's scan code stays -1")) << run.out;
}

TEST(Orvexctl, ScanRunsTheTypicalScanEndToEnd) {
    ProcessResult run = Orvexctl({"--json", "scan", "--presses", "2"});
    ASSERT_EQ(run.exitCode, 0) << run.out << run.err;
    Json doc = ParseOutput(run);
    EXPECT_TRUE(doc["ok"].Bool());
    EXPECT_EQ(doc["summary"]["keyEvents"].Int(), 2);
    std::vector<std::string> calls;
    std::string keyThread, resetThread;
    for (const Json& e : doc["timeline"].Array()) {
        const std::string call = e["service"].String() + " " + e["call"].String();
        calls.push_back(call);
        if (call.rfind("caller OnKeyEvent", 0) == 0) keyThread = e["thread"].String();
        if (call == "ILight setLight(8, color=0xffff0000)") resetThread = e["thread"].String();
    }
    // Key events arrive on the reader thread; the LED is reset to red on the timer's callback
    // thread (the last red of each scan).
    EXPECT_NE(keyThread, "");
    EXPECT_NE(keyThread, "caller");
    EXPECT_NE(resetThread, "caller");
    std::vector<std::string> feedback;
    for (const std::string& c : calls) {
        if (c.rfind("ILight", 0) == 0 || c.rfind("IHardwareBeepConfigs startBeep", 0) == 0 ||
            c.rfind("caller OnKeyEvent", 0) == 0) {
            feedback.push_back(c);
        }
    }
    const std::vector<std::string> oneScan = {
        "ILight setLight(8, color=0xffff0000)", "caller OnKeyEvent(291, 1)",
        "IHardwareBeepConfigs startBeep()", "ILight setLight(8, color=0xff00ff00)",
        "ILight setLight(8, color=0xffff0000)"};
    std::vector<std::string> twoScans = oneScan;
    twoScans.insert(twoScans.end(), oneScan.begin(), oneScan.end());
    EXPECT_EQ(feedback, twoScans);
}

}  // namespace
