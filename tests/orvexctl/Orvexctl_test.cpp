// orvexctl as an integrator runs it: every command on every shipped profile, check against device
// roots broken so that the scanning service would stop, and a typical scan.

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "TestSupport.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// Runs orvexctl, checks its exit status and returns its output, parsed (output that is not JSON
// throws, failing the test).
Json Orvexctl(const std::vector<std::string>& args, int status = 0) {
    orvex::test::ProcessResult run =
        orvex::test::RunProcess(ORVEX_BUILD_DIR "/bin/orvexctl", "orvexctl", args,
                                {{"ORVEX_LOG", ""}, {"ORVEX_DEVICE_ROOT", ""}}, 120);
    EXPECT_EQ(run.exitCode, status) << testing::PrintToString(args) << run.out << run.err;
    return Json::parse(run.out);
}

// The `fields` (JSON pointers) of each element of `list` (or of `list` itself when an object)
// that `keep` accepts: fields joined by " ", elements by ", "; strings bare, the rest as JSON.
std::string Rows(
    const Json& list, const std::vector<std::string>& fields,
    bool (*keep)(const Json&) = [](const Json&) { return true; }) {
    std::string out;
    for (const Json& e : list.is_array() ? list : Json::array({list})) {
        for (size_t i = 0; keep(e) && i < fields.size(); ++i) {
            const Json v = e.value(Json::json_pointer(fields[i]), Json());
            out += (i ? " " : ", ") + (v.is_string() ? v.get<std::string>() : v.dump());
        }
    }
    return out.erase(0, 2);
}

// Whether check passed, then each step that stopped the service (skipped ones follow a stop).
std::string Stops(const Json& check) {
    const std::string stops =
        Rows(check["steps"],
             {"/step", "/status", "/assertion/description", "/assertion/source", "/assertion/line"},
             [](const Json& s) { return s["status"] != "ok" && s["status"] != "skipped"; });
    return Rows(check, {"/ok"}) + ": " +
           std::regex_replace(stops, std::regex("device/common/platform_bundle/dependencies/"), "");
}

TEST(Orvexctl, EveryCommandWorksOnEveryShippedProfile) {
    // clang-format off
    const std::pair<std::string, std::string> cases[] = {  // profile; facts, scanners and keys
        {"default", "lahaina TR52 13 1 true | 0, 1, 2, 3 | 726 Trigger Left TRIGGER_LEFT, "
                    "727 Trigger Right TRIGGER_RIGHT, 725 Trigger Center TRIGGER_CENTER"},
        {"tr41", "holi TR41 14 1 true | 0, 1, 2, 3 | 726 Trigger Left TRIGGER_LEFT, "
                 "727 Trigger Right TRIGGER_RIGHT"},
        // No device element: Init answers false and the table stays empty.
        {"camera-only", "bengal TR21 11 1 false | 0, 1, 2 | "},
        // Keys listed under the SKU.
        {"HX2105x", "lahaina HX2105x 13 1 true | 0, 1, 2 | 725 Trigger Center TRIGGER_CENTER, "
                    "728 Trigger Grip TRIGGER_GRIP"},
        // Without an imager the centre trigger drives the key mapper.
        {"QT7BW", "holi QT7BW 14 1 true | 0, 1 | 725 Key Mapper Scan KEY_MAPPER_SCAN, "
                  "311 Key Mapper R1 KEY_MAPPER_R1"},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        const Json modules = Orvexctl({"--profile", c.first, "--json", "modules"});
        // Tags 8, 11 and 13 are only handed out by name, never by tag alone.
        EXPECT_EQ(
            Rows(modules, {"/ok", "/version"}) + ": " +
                Rows(modules["tags"], {"/count", "/supported", "/modules/0"}),
            "true 1: 1 true HWBeep, 1 true LEDNotification, 1 true Triggers, 0 false null, "
            "0 false null, 0 false null, 1 true HWTrigger, 1 true IExternalHapticFeedack, 1 "
            "false ImagerHIDLProxy, 1 true SerialPort, 1 true PlugableDeviceNotifier, 1 false "
            "BatterySwapModule, 1 true PlatformHWInfoRetriever, 1 false CameraModule");
        const Json info = Orvexctl({"--profile", c.first, "--json", "info"});
        EXPECT_EQ(
            Rows(info, {"/facts/platform", "/facts/model", "/facts/androidVersion",
                        "/facts/rearCamera", "/triggers/init"}) +
                " | " + Rows(info["scanners"], {"/index"}) + " | " +
                Rows(info["triggers"]["keys"], {"/scanCode", "/friendlyName", "/scannerResource"}),
            c.second);
        EXPECT_EQ(Stops(Orvexctl({"--profile", c.first, "--json", "check"})), "true: ");
    }
}

// check on a copy of the default profile with files changed: in each, every match of a regular
// expression replaced.
TEST(Orvexctl, CheckReportsEachWayTheServiceWouldStop) {
    const std::string deps = "/system/etc/scanner/ExternalDependencies.xml";
    using Edit = std::vector<std::string>;  // file, regular expression, replacement
    const std::string noModel = " stop GetProductModel Failed LibProperties/src/DeviceInfo 140";
    // clang-format off
    const std::pair<std::vector<Edit>, std::string> cases[] = {
        {{{"/enterprise/device/settings/scanner/LogLevel.xml", "^[^]*", "<?xml version=\"1.0\"?>"}},
         "false: settings stop Can't attach JVM to current thread. "
         "PersistManager/src/XMLFilePersist 21"},
        {{{deps, "^[^]*", ""}},
         "false: dependencies stop ConfigInfo : Unable to load ExternalDependencies XML file "
         "includes/ConfigInfo 121"},
        // A device fact missing from the properties and with no default in the dependencies.
        {{{"/system/build.prop", "ro.product.model=[^\n]*\n", ""},
          {deps, "<name>ro.product.model</name>\\s*<value>[^<]*</value>",
           "<name>ro.product.model</name><value></value>"}},
         "false: GetProductModel" + noModel + ", scannerlist" + noModel + ", triggers" + noModel},
        {{{"/system/etc/scanner/ScannerList.xml", "Android_13", "Android_99"}},
         "false: scannerlist stop XMLParserUtil : No node in ScannerList XML with AndroidVersion = "
         "Android_13 LibProperties/utility/XMLParserUtil 44"},
    };
    // clang-format on
    for (const auto& c : cases) {
        orvex::test::TempDir dir;
        fs::copy(ORVEX_BUILD_DIR "/sim/profiles/default", dir.path(),
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        for (const Edit& e : c.first) {
            orvex::test::WriteFile(dir.path() + e[0],
                                   std::regex_replace(orvex::test::ReadFile(dir.path() + e[0]),
                                                      std::regex(e[1]), e[2]));
        }
        EXPECT_EQ(Stops(Orvexctl({"--root", dir.path(), "--json", "check"}, 1)), c.second);
    }
}

TEST(Orvexctl, ScanRunsTheTypicalScanEndToEnd) {
    const Json doc = Orvexctl({"--json", "scan", "--presses", "2"});
    const std::string calls =
        Rows(doc["timeline"], {"/thread", "/service", "/call"}, [](const Json& e) {
            return std::regex_search(e["call"].get<std::string>(),
                                     std::regex("^(setLight|OnKeyEvent|startBeep)\\("));
        });
    // Key events arrive on the reader thread (the first other than the caller's); the LED is reset
    // to red on the timer's callback thread (the last red of each scan).
    const std::string scan =
        "caller ILight setLight(8, color=0xffff0000), thread-1 caller OnKeyEvent(291, 1), caller "
        "IHardwareBeepConfigs startBeep(), caller ILight setLight(8, color=0xff00ff00), thread-2 "
        "ILight setLight(8, color=0xffff0000)";
    EXPECT_EQ(Rows(doc, {"/ok", "/summary/keyEvents"}) + ", " + calls,
              "true 2, " + scan + ", " + scan);
}

// Documented exit status 2: nothing runs when the command line is wrong.
TEST(Orvexctl, UsageErrorsExitWithTwo) {
    for (const char* line : {"", "nosuchcommand", "--bogus modules", "--profile nosuch modules",
                             "--profile default --root / modules", "--root /nonexistent info",
                             "resolve", "modules extra", "scan --presses 0", "--profile"}) {
        std::istringstream words(line);
        const std::vector<std::string> args{std::istream_iterator<std::string>(words), {}};
        EXPECT_EQ(
            orvex::test::RunProcess(ORVEX_BUILD_DIR "/bin/orvexctl", "orvexctl", args, {}).exitCode,
            2)
            << line;
    }
}

}  // namespace
