#include "Profiles.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>

#include "PlatformLibrary.h"

namespace orvexctl {

namespace fs = std::filesystem;

namespace {

std::mutex g_tempLock;
std::vector<std::string> g_tempDirs;  // GUARDED_BY(g_tempLock)
// Children forked by the tool inherit the atexit handler; only the process that made a
// directory removes it.
pid_t g_owner = 0;

void RemoveTempDirsInOwner() {
    if (getpid() == g_owner) RemoveTempDirs();
}

bool MakeDirs(const std::string& path) {
    std::error_code ec;
    fs::create_directories(path, ec);
    return !ec;
}

bool WriteBytes(const std::string& path, const void* data, size_t size) {
    if (!MakeDirs(path.substr(0, path.rfind('/')))) return false;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    return static_cast<bool>(out);
}

bool IsDirectory(const std::string& path) {
    std::error_code ec;
    return fs::is_directory(path, ec);
}

// What a profile only gets on a running device: the platform library where the device keeps it
// (in the library folder of its ABI, which the external-dependencies file names), and the folder
// the timer pipe is created in.
bool StageRuntimeFiles(const std::string& root, std::string* error) {
    std::istringstream props(ReadSmallFile(root + "/system/build.prop"));
    std::string line, abi;
    while (std::getline(props, line)) {
        if (line.rfind("ro.product.cpu.abi=", 0) == 0) abi = line.substr(19);
    }
    const std::string libdir = abi == "arm64-v8a" || abi == "x86_64" ? "lib64" : "lib";
    std::error_code ec;
    fs::create_directories(root + "/system/" + libdir, ec);
    fs::create_directories(root + "/data/vendor/scanner", ec);
    const std::string link = root + "/system/" + libdir + "/libplatform.orvex.so";
    if (!fs::exists(fs::symlink_status(link, ec))) {
        fs::create_symlink(fs::absolute(PlatformLibrary::DefaultPath()), link, ec);
        if (ec) {
            *error = "cannot place the platform library in the device root: " + ec.message();
            return false;
        }
    }
    return true;
}

}  // namespace

std::vector<ProfileInfo> EmbeddedProfiles() {
    std::map<std::string, std::string> descriptions;
    for (const EmbeddedFile* f = kEmbeddedFiles; f->path != nullptr; ++f) {
        std::string path = f->path;
        std::string name = path.substr(0, path.find('/'));
        std::string& description = descriptions[name];
        if (path != name + "/README.md") continue;
        std::istringstream text(std::string(reinterpret_cast<const char*>(f->data), f->size));
        std::string line;
        while (std::getline(text, line)) {
            size_t start = line.find_first_not_of("# \t");
            if (start == std::string::npos) continue;
            description = line.substr(start);
            break;
        }
    }
    std::vector<ProfileInfo> out;
    for (const auto& d : descriptions) out.push_back(ProfileInfo{d.first, d.second});
    return out;
}

bool MakeTempDir(std::string* path, std::string* error) {
    const char* base = getenv("TMPDIR");
    std::string tmpl = std::string(base && *base ? base : "/tmp") + "/orvexctl-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    std::lock_guard<std::mutex> lock(g_tempLock);
    if (mkdtemp(buf.data()) == nullptr) {
        *error = std::string("cannot create a temporary directory in ") +
                 (base && *base ? base : "/tmp") + ": " + strerror(errno);
        return false;
    }
    if (g_owner == 0) {
        g_owner = getpid();
        atexit(RemoveTempDirsInOwner);
    }
    g_tempDirs.push_back(buf.data());
    *path = buf.data();
    return true;
}

void RemoveTempDirs() {
    std::lock_guard<std::mutex> lock(g_tempLock);
    for (const std::string& dir : g_tempDirs) {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
    g_tempDirs.clear();
}

namespace {

bool WriteProfile(const std::string& name, const std::string& dir, std::string* error) {
    bool found = false;
    const std::string prefix = name + "/";
    for (const EmbeddedFile* f = kEmbeddedFiles; f->path != nullptr; ++f) {
        if (strncmp(f->path, prefix.c_str(), prefix.size()) != 0) continue;
        found = true;
        std::string relative = std::string(f->path).substr(prefix.size());
        if (relative == "README.md") continue;
        if (!WriteBytes(dir + "/" + relative, f->data, f->size)) {
            *error = "cannot write " + dir + "/" + relative + ": " + strerror(errno);
            return false;
        }
    }
    if (!found) *error = "no profile named " + name + " (orvexctl profiles lists them)";
    return found && StageRuntimeFiles(dir, error);
}

}  // namespace

bool ExportProfile(const std::string& name, const std::string& dir, std::string* error) {
    std::error_code ec;
    if (fs::exists(fs::symlink_status(dir, ec)) && !fs::is_empty(dir, ec)) {
        *error = dir + " exists and is not empty: export writes a new device root";
        return false;
    }
    return WriteProfile(name, dir, error);
}

bool DeviceRootChoice::Select(const std::string& profile, const std::string& root,
                              std::string* error) {
    if (!profile.empty() && !root.empty()) {
        *error = "--profile and --root exclude each other";
        return false;
    }
    std::string source = root;
    label_ = "root " + root;
    const std::string name = profile.empty() ? kDefaultProfile : profile;
    if (root.empty() && (name.find('/') != std::string::npos || IsDirectory(name))) {
        if (!IsDirectory(name)) {
            *error = "profile directory " + name + " does not exist";
            return false;
        }
        // A first private copy gets the runtime files; the library runs against a view of it.
        DeviceView copy;
        if (!MakeTempDir(&source, error) || !copy.Build(name, source, error) ||
            !StageRuntimeFiles(source, error)) {
            return false;
        }
        label_ = "directory " + name;
    } else if (root.empty()) {
        if (!MakeTempDir(&source, error) || !WriteProfile(name, source, error)) return false;
        label_ = "profile " + name;
    } else if (!IsDirectory(root)) {
        *error = "device root " + root + " is not a directory";
        return false;
    }
    std::string viewPath;
    if (!MakeTempDir(&viewPath, error) || !view_.Build(source, viewPath, error)) return false;
    if (view_.ProblemAt("/sim").rfind("a directory", 0) == 0) {
        notes_.push_back("simulated: the cameras, the imager (libimagerclient.so), the volume "
                         "library (libovc.so) and the services come from the simulator (sim/ in the "
                         "root), not from the device's own files");
    } else {
        notes_.push_back("not known: this root has no sim/ folder, so the cameras, the imager "
                         "(libimagerclient.so), the volume library (libovc.so) and the services "
                         "are those of a device without them: the rear and front camera, scanner "
                         "(imager ID), imager interface type, beep volume and audio API facts and "
                         "the scanners offered are not this device's");
    }
    return true;
}

}  // namespace orvexctl
