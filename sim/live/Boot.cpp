// The virtual handheld inside any process that loads the platform library with ORVEX_SIM set:
// the host layer calls orvex_sim_live_boot at load time, before the library's first service
// lookup. It makes the device root (unless ORVEX_DEVICE_ROOT names one), starts the device and,
// with ORVEX_SIM_HTTP, the server; at exit it stops the server before anything it reads goes.

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "ApiServer.h"
#include "LiveDevice.h"

namespace fs = std::filesystem;

namespace {

// Process-wide on purpose: they live until exit, and fakes may still be called while the
// process ends, so the device is stopped but never destroyed.
orvex::sim::LiveDevice* gDevice = nullptr;
orvex::sim::ApiServer* gServer = nullptr;
std::string* gTempRoot = nullptr;
pid_t gOwner = 0;

// A forked child inherits this handler but neither the threads nor the root it would stop.
void ShutDown() {
    if (getpid() != gOwner) return;
    if (gServer != nullptr) gServer->Stop();
    if (gDevice != nullptr) gDevice->Stop();
    if (gTempRoot != nullptr) {
        std::error_code ec;
        fs::remove_all(*gTempRoot, ec);
    }
}

// Ends the process from inside the loader's initialisation: what was made is undone here,
// and nothing else runs on a half-loaded process, no exit handler, no static destructor and
// no sanitizer's end-of-process check (which would take the loader's state for a fault).
void Fail(const std::string& message) {
    fprintf(stderr, "orvex-sim: %s\n", message.c_str());
    ShutDown();
    fflush(nullptr);
    syscall(SYS_exit_group, 2);
}

// A private copy of the profile, with what only a running device has: the platform library
// where the device keeps it (the library folder of its ABI) and the timer pipe's folder.
std::string MakeDeviceRoot(const std::string& profile, const std::string& libDir) {
    std::error_code ec;
    std::string source = profile;
    if (profile.find('/') == std::string::npos && !fs::is_directory(profile, ec)) {
        source = libDir + "/../sim/profiles/" + profile;
    }
    if (!fs::is_directory(source, ec)) {
        std::string known;
        for (const auto& entry : fs::directory_iterator(libDir + "/../sim/profiles", ec)) {
            const std::string name = entry.path().filename().string();
            if (!fs::exists(entry.path() / "system/build.prop", ec) ||
                name.find('.') != std::string::npos) {
                continue;  // build files, and the staged copies made from the profiles
            }
            known += (known.empty() ? "" : ", ") + name;
        }
        Fail("ORVEX_SIM=" + profile + " is neither a profile of this build (" + known +
             ") nor a profile directory");
    }
    const char* tmp = getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp ? tmp : "/tmp") + "/orvex-sim-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        Fail("cannot create a device root: " + std::string(strerror(errno)));
    }
    gTempRoot = new std::string(pattern);
    // Files, folders and links only: a staged profile may hold a running device's timer pipe.
    for (auto it = fs::recursive_directory_iterator(source, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const fs::path to = pattern / it->path().lexically_relative(source);
        if (it->is_symlink(ec)) {
            fs::copy_symlink(it->path(), to, ec);
        } else if (it->is_directory(ec)) {
            fs::create_directories(to, ec);
        } else if (it->is_regular_file(ec)) {
            fs::copy_file(it->path(), to, ec);
        }
        if (ec) break;
    }
    if (ec) Fail("cannot copy the profile " + source + ": " + ec.message());

    std::ifstream props(pattern + "/system/build.prop");
    std::string line, abi;
    while (std::getline(props, line)) {
        if (line.rfind("ro.product.cpu.abi=", 0) == 0) abi = line.substr(19);
    }
    const std::string lib =
        pattern + "/system/" + (abi == "arm64-v8a" || abi == "x86_64" ? "lib64" : "lib");
    fs::create_directories(lib, ec);
    fs::create_directories(pattern + "/data/vendor/scanner", ec);
    if (!fs::exists(lib + "/libplatform.orvex.so", ec)) {
        fs::create_symlink(libDir + "/libplatform.orvex.so", lib + "/libplatform.orvex.so", ec);
    }
    return pattern;
}

void WriteUrlFile(const std::string& path, const std::string& url) {
    const std::string temp = path + ".tmp" + std::to_string(getpid());
    {
        std::ofstream out(temp, std::ios::trunc);
        out << url << "\n";
        if (!out) Fail("cannot write ORVEX_SIM_URL_FILE " + path);
    }
    if (rename(temp.c_str(), path.c_str()) != 0) {
        Fail("cannot write ORVEX_SIM_URL_FILE " + path + ": " + strerror(errno));
    }
}

}  // namespace

// `libDir`: the folder of the host library (and of the platform library beside it).
extern "C" __attribute__((visibility("default"))) void orvex_sim_live_boot(const char* libDir) {
    const char* sim = getenv("ORVEX_SIM");
    if (sim == nullptr || *sim == '\0' || gDevice != nullptr) return;
    const std::string profile = sim;
    gOwner = getpid();
    atexit(ShutDown);

    const char* root = getenv("ORVEX_DEVICE_ROOT");
    if (root == nullptr || *root == '\0') {
        setenv("ORVEX_DEVICE_ROOT", MakeDeviceRoot(profile, libDir).c_str(), 1);
    }
    gDevice = new orvex::sim::LiveDevice(profile);
    gDevice->Start();

    const char* http = getenv("ORVEX_SIM_HTTP");
    if (http == nullptr || *http == '\0') return;
    char* end = nullptr;
    const long port = strtol(http, &end, 10);
    if (*end != '\0' || port < 0 || port > 65535) {
        Fail(std::string("ORVEX_SIM_HTTP=") + http + " is not a port; use 0 to 65535 (0: any free one)");
    }
    // The page: where the user points, else an installed copy beside the libraries, else the
    // source tree this library was built from.
    const char* web = getenv("ORVEX_SIM_WEB");
    std::string page = web != nullptr && *web ? web : std::string(libDir) + "/../share/orvex/web";
    std::error_code ec;
    if ((web == nullptr || *web == '\0') && !fs::is_directory(page, ec)) page = ORVEX_SIM_WEB_DIR;
    gServer = new orvex::sim::ApiServer(*gDevice, page);
    std::string error;
    if (!gServer->Start(static_cast<int>(port), &error)) Fail(error);
    fprintf(stderr, "orvex-sim: serving the virtual handheld at %s\n", gServer->url().c_str());
    const char* urlFile = getenv("ORVEX_SIM_URL_FILE");
    if (urlFile != nullptr && *urlFile != '\0') WriteUrlFile(urlFile, gServer->url());
    // Programs this one starts share the device root, but only this process serves.
    unsetenv("ORVEX_SIM_HTTP");
    unsetenv("ORVEX_SIM_URL_FILE");
}
