// orvexctl as an integrator runs it: every command on every shipped profile, check against device
// roots broken so that the scanning service would stop, and a typical scan.

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
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

// Every entry under `dir`, its type, mode, size, link target and a hash of its bytes, read
// without following links or blocking on pipes: equal before and after means nothing changed.
std::string Tree(const std::string& dir) {
    std::string out;
    for (const auto& e : fs::recursive_directory_iterator(dir)) {
        struct stat st;
        lstat(e.path().c_str(), &st);
        out += e.path().string() + " " + std::to_string(st.st_mode) + " " +
               std::to_string(st.st_size) + " " + std::to_string(st.st_mtime) + " " +
               (S_ISLNK(st.st_mode) ? fs::read_symlink(e.path()).string() : "") +
               (S_ISREG(st.st_mode) ? std::to_string(std::hash<std::string>()(
                                          orvex::test::ReadFile(e.path())))
                                    : "") + "\n";
    }
    return out;
}

// check on a copy of the default profile, broken one way per row: the exit status, a fragment
// of the JSON report that names what to fix, and a root left exactly as it was.
TEST(Orvexctl, CheckNamesWhatToFixInEveryBrokenRootAndNeverWritesIt) {
    const std::string deps = "/system/etc/scanner/ExternalDependencies.xml";
    const std::string settings = "/enterprise/device/settings/scanner/LogLevel.xml";
    const std::string list = "/system/etc/scanner/ScannerList.xml";
    const std::string triggers = "/system/etc/scanner/ScannerResourceConfig.xml";
    const std::string prop = "/system/build.prop";
    std::string r;  // the row's root
    auto put = [&](const std::string& path, const std::string& text) {
        fs::remove(r + path);
        orvex::test::WriteFile(r + path, text);
    };
    auto edit = [&](const std::string& path, const std::string& re, const std::string& with) {
        put(path, std::regex_replace(orvex::test::ReadFile(r + path), std::regex(re), with));
    };
    auto fifo = [&](const std::string& path) { fs::remove(r + path), mkfifo((r + path).c_str(), 0600); };
    auto link = [&](const std::string& path, const std::string& to) {
        fs::remove(r + path), fs::create_symlink(to, r + path);
    };
    auto timerAt = [&](const std::string& to) {
        edit(deps, "/data/vendor/scanner/sctimerfifo", to);
    };
    using Build = std::function<void()>;
    // clang-format off
    const std::tuple<const char*, Build, int, std::string> cases[] = {
        {"settings without root element", [&] { put(settings, "<?xml version=\"1.0\"?>"); }, 1,
         "\"detail\":\"Can't attach JVM to current thread.\",\"facts\":{},\"file\":\"" + settings +
             "\",\"fix\":[\"" + settings + " has no root element"},
        {"settings is a named pipe", [&] { fifo(settings); }, 1,
         settings + " is a named pipe, which the tool never opens: the library reads it as it loads"},
        {"settings is a symlink to the PC's /dev/zero", [&] { link(settings, "/dev/zero"); }, 0,
         "\"leftOut\":[]"},
        {"settings LogLevel with a tail", [&] { edit(settings, ">[0-9]+<", ">7abc<"); }, 0,
         "\"line\":3,\"text\":\"LogLevel \\\"7abc\\\" is read as 7\""},
        {"dependencies file empty", [&] { put(deps, ""); }, 1,
         "Unable to load ExternalDependencies XML file"},
        {"dependencies file is a directory", [&] { fs::remove(r + deps), fs::create_directory(r + deps); }, 1,
         deps + " is a directory, not a file"},
        {"dependencies file in a symlink loop", [&] { link(deps, "Loop.xml"), link("/system/etc/scanner/Loop.xml", deps); }, 1,
         deps + " is a symlink loop"},
        {"dependencies file an absolute symlink inside the root",
         [&] { fs::rename(r + deps, r + "/system/Deps.xml"), link(deps, "/system/Deps.xml"); }, 0, "\"causes\":0"},
        {"dependencies file an absolute symlink to the PC's /etc", [&] { link(deps, "/etc/hostname"); }, 1,
         deps + " is missing (the link leads to /etc/hostname)"},
        {"dependencies file over the size limit", [&] { fs::resize_file(r + deps, 65 << 20); }, 1,
         "a file of 68157440 bytes, over the 64 MiB the tool reads"},
        {"a socket in the root", [&] {
             int fd = socket(AF_UNIX, SOCK_STREAM, 0);
             sockaddr_un a{AF_UNIX, {}};
             snprintf(a.sun_path, sizeof a.sun_path, "%s/data/sock", r.c_str());
             bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a), close(fd);
         }, 0, "{\"path\":\"/data/sock\",\"text\":\"a socket, which the tool never opens\"}"},
        {"product name of 150 bytes", [&] { edit(prop, "ro.product.name=[^\n]*", "ro.product.name=" + std::string(150, 'n')); }, 1,
         "properties entry 2 \\\"ro.product.name\\\": its value in /system/build.prop is 150 bytes; the library's buffer holds at most 127"},
        {"a path over 256 bytes", [&] { edit(deps, "/system/etc/scanner/ScannerList.xml", "/" + std::string(300, 'p')); }, 1,
         "is 301 bytes; the library's buffer holds at most 255"},
        {"model missing: one cause", [&] {
             edit(prop, "ro.product.model=[^\n]*\n", "");
             edit(deps, "<name>ro.product.model</name>\\s*<value>[^<]*</value>", "<name>ro.product.model</name><value></value>");
         }, 1, "ro.product.model is not set in /system/build.prop, and its <property> entry (properties entry 3"},
        {"model missing: later steps follow", [&] { edit(prop, "ro.product.model=[^\n]*\n", ""), edit(deps, "<value>TR52</value>", "<value></value>"); }, 1,
         "\"causes\":1"},
        {"no node for the Android release", [&] { edit(list, "Android_13", "Android_99"); }, 1,
         "No node in ScannerList XML with AndroidVersion = Android_13"},
        {"timer pipe resolved to build.prop", [&] { timerAt("/system/build.prop"); }, 1,
         "sctimerfifo resolves to /system/build.prop, which is a regular file, not a named pipe"},
        {"timer pipe folder missing", [&] { fs::remove_all(r + "/data/vendor/scanner"); }, 1,
         "Error while creating Named pipe"},
        {"timer pipe already there", [&] { fifo("/data/vendor/scanner/sctimerfifo"); }, 0, "\"writes\":[]"},
        {"scanner list is a named pipe", [&] { fifo(list); }, 1, list + " is a named pipe"},
        {"scanner list offers nothing", [&] { edit(list, "<supported>1<", "<supported>0<"); }, 0,
         "\"file\":\"" + list + "\",\"line\":0,\"text\":\"the list offers no scanner for this device"},
        {"trigger file symlinked to itself", [&] { link(triggers, triggers); }, 0,
         "Init answers false): the file is a symlink loop"},
        {"platform library missing", [&] { fs::remove(r + "/system/lib64/libplatform.orvex.so"); }, 0,
         "the platform library cannot be loaded"},
        {"release element twice", [&] { edit(list, "(<Android_13>[^]*</Android_13>)", "$1$1"); }, 0,
         "<Android_13> appears again; the library uses the first, at line"},
        {"trigger device element twice", [&] { edit(triggers, "(<TR52>[^]*</TR52>)", "$1$1"); }, 0,
         "<TR52> appears again; the library uses the first, at line"},
        {"platform with a leading blank", [&] { edit(prop, "ro.board.platform=", "ro.board.platform= "); }, 0,
         "ro.board.platform \\\" lahaina\\\" has a blank at its start or end"},
        {"file name not UTF-8", [&] { fifo("/data/\xfe\xff"); }, 0, "\"invalid_utf8_replaced\":true"},
    };
    // clang-format on
    for (const auto& [name, build, status, fragment] : cases) {
        SCOPED_TRACE(name);
        orvex::test::TempDir dir;
        r = dir.path() + "/root";
        fs::copy(ORVEX_BUILD_DIR "/sim/profiles/default", r,
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        build();
        const std::string before = Tree(r);
        const std::string report = Orvexctl({"--root", r, "--json", "check"}, status).dump();
        EXPECT_NE(report.find(fragment), std::string::npos) << report;
        EXPECT_EQ(Tree(r), before);
    }
}

// An exported profile and a root pulled from a device (a stand-in adb serving that root and its
// properties to serial S1) both check as the profile does.
TEST(Orvexctl, ExportAndPullGiveRootsThatCheck) {
    orvex::test::TempDir dir;
    const std::string exported = dir.path() + "/exported", pulled = dir.path() + "/pulled";
    Orvexctl({"--json", "export", "default", exported});
    EXPECT_EQ(Stops(Orvexctl({"--root", exported, "--json", "check"})), "true: ");
    orvex::test::WriteFile(dir.path() + "/adb",
                           "#!/bin/sh\n[ \"$1 $2\" = '-s S1' ] || exit 1\nshift 2\n"
                           "if [ \"$1 $2\" = 'shell getprop' ]; then sed 's/^\\([^=]*\\)=\\(.*\\)/[\\1]: [\\2]/' " +
                               exported + "/system/build.prop; exit 0; fi\n"
                               "[ \"$1\" = pull ] && cp -L \"" + exported + "$2\" \"$3\"\n");
    fs::permissions(dir.path() + "/adb", fs::perms::owner_all);
    const auto run = orvex::test::RunProcess(ORVEX_BUILD_DIR "/bin/orvexctl", "orvexctl",
                                             {"pull", "--serial", "S1", pulled},
                                             {{"ORVEX_ADB", dir.path() + "/adb"}});
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(Stops(Orvexctl({"--root", pulled, "--json", "check"})), "true: ");
    // The exported root keeps the profile's sim/; a device has none, so those facts are unknown.
    const std::string simFacts = R"(["rearCamera","frontCamera","scannerBeepVolume",)"
                                 R"("scannerAudioApi","scanner","imagerInterfaceType","scanners"])";
    EXPECT_EQ(Orvexctl({"--root", exported, "--json", "info"})["simulated"].dump(), simFacts);
    EXPECT_EQ(Orvexctl({"--root", pulled, "--json", "info"})["notKnown"].dump(), simFacts);
    // A warning passes, but fails a CI run under --strict.
    const std::string settings = exported + "/enterprise/device/settings/scanner/LogLevel.xml";
    orvex::test::WriteFile(settings, "<S><LogLevel>7abc</LogLevel></S>");
    EXPECT_EQ(Rows(Orvexctl({"--root", exported, "--strict", "--json", "check"}, 1), {"/ok"}), "true");
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
                             "resolve", "modules extra", "scan --presses 0", "--profile",
                             "--log /nonexistent/dir/log modules", "export default",
                             "export default /", "pull /"}) {  // never over an existing folder
        std::istringstream words(line);
        const std::vector<std::string> args{std::istream_iterator<std::string>(words), {}};
        EXPECT_EQ(
            orvex::test::RunProcess(ORVEX_BUILD_DIR "/bin/orvexctl", "orvexctl", args, {}).exitCode,
            2)
            << line;
    }
}

// The installed tree runs on its own, from any folder; its per-command help gives the exit codes
// and its text report reads as documented; the binary copied out of it cannot find its libraries
// and says so as a set-up error (exit 2).
TEST(Orvexctl, InstalledToolChecksFromAnyFolderAndACopiedOneRefuses) {
    orvex::test::TempDir dir;
    const std::string bin = dir.path() + "/bin/orvexctl";
    const auto run = orvex::test::RunProcess(
        "/bin/sh", "sh",
        {"-c", ORVEX_CMAKE " --install " ORVEX_BUILD_DIR " --component orvexctl --prefix " +
                   dir.path() + " >/dev/null && cd / && " + bin + " check --help && " + bin +
                   " check && cp " + bin + " " + dir.path() + " && exec " + dir.path() +
                   "/orvexctl check"},
        {{"ORVEX_LOG", ""}, {"ORVEX_DEVICE_ROOT", ""}}, 120);
    EXPECT_EQ(run.exitCode, 2) << run.err;
    EXPECT_NE(run.out.find("\nok    settings file                "
                           "/enterprise/device/settings/scanner/LogLevel.xml (log level 5)\n"),
              std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\n\nExit status: 0 success"), std::string::npos) << run.out;
    EXPECT_NE(run.err.find("orvexctl: set-up error: "), std::string::npos) << run.err;
}

}  // namespace
