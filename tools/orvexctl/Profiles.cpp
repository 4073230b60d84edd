#include "Profiles.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "PlatformLibrary.h"

namespace orvexctl {

namespace fs = std::filesystem;

namespace {

std::vector<std::string>& TempRoots() {
    static std::vector<std::string>* roots = new std::vector<std::string>;
    return *roots;
}

void RemoveTree(const std::string& path) {
    std::error_code ec;
    fs::remove_all(path, ec);
}

void RemoveTempRoots() {
    for (const std::string& root : TempRoots()) RemoveTree(root);
}

// Children forked by the tool inherit the atexit handler; only the process that made a root
// removes it.
pid_t g_owner = 0;

void RemoveTempRootsInOwner() {
    if (getpid() == g_owner) RemoveTempRoots();
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

bool NewTempRoot(std::string* path, std::string* error) {
    const char* base = getenv("TMPDIR");
    std::string tmpl = std::string(base && *base ? base : "/tmp") + "/orvexctl-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    if (mkdtemp(buf.data()) == nullptr) {
        *error = std::string("cannot create a temporary device root: ") + strerror(errno);
        return false;
    }
    if (TempRoots().empty()) {
        g_owner = getpid();
        atexit(RemoveTempRootsInOwner);
    }
    TempRoots().push_back(buf.data());
    *path = buf.data();
    return true;
}

bool IsDirectory(const std::string& path) {
    std::error_code ec;
    return fs::is_directory(path, ec);
}

bool CopyTree(const std::string& from, const std::string& to, std::string* error) {
    std::error_code ec;
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::overwrite_existing, ec);
    if (ec) *error = "cannot copy profile directory " + from + ": " + ec.message();
    return !ec;
}

// What a profile only gets on a running device: the platform library where the device keeps it
// (in the library folder of its ABI, which the external-dependencies file names), and the folder
// the timer pipe is created in.
bool StageRuntimeFiles(const std::string& root, std::string* error) {
    std::ifstream props(root + "/system/build.prop");
    std::string line, abi;
    while (std::getline(props, line)) {
        if (line.rfind("ro.product.cpu.abi=", 0) == 0) abi = line.substr(19);
    }
    const std::string libdir = abi == "arm64-v8a" || abi == "x86_64" ? "lib64" : "lib";
    std::error_code ec;
    fs::create_directories(root + "/system/" + libdir, ec);
    fs::create_directories(root + "/data/vendor/scanner", ec);
    const std::string link = root + "/system/" + libdir + "/libplatform.orvex.so";
    if (!fs::exists(link, ec)) {
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

bool DeviceRootChoice::Select(const std::string& profile, const std::string& root,
                              std::string* error) {
    if (!profile.empty() && !root.empty()) {
        *error = "--profile and --root exclude each other";
        return false;
    }
    if (!root.empty()) {
        if (!IsDirectory(root)) {
            *error = "device root " + root + " is not a directory";
            return false;
        }
        path_ = root;
        label_ = "root " + root;
        return true;
    }
    std::string name = profile.empty() ? kDefaultProfile : profile;
    if (name.find('/') != std::string::npos || IsDirectory(name)) {
        if (!IsDirectory(name)) {
            *error = "profile directory " + name + " does not exist";
            return false;
        }
        if (!NewTempRoot(&path_, error)) return false;
        label_ = "directory " + name;
        return CopyTree(name, path_, error) && StageRuntimeFiles(path_, error);
    }
    bool found = false;
    std::string prefix = name + "/";
    for (const EmbeddedFile* f = kEmbeddedFiles; f->path != nullptr; ++f) {
        if (strncmp(f->path, prefix.c_str(), prefix.size()) != 0) continue;
        if (!found && !NewTempRoot(&path_, error)) return false;
        found = true;
        std::string relative = std::string(f->path).substr(prefix.size());
        if (relative == "README.md") continue;
        if (!WriteBytes(path_ + "/" + relative, f->data, f->size)) {
            *error = "cannot write " + path_ + "/" + relative;
            return false;
        }
    }
    if (!found) {
        *error = "no profile named " + name + " (orvexctl profiles lists them)";
        return false;
    }
    label_ = "profile " + name;
    return StageRuntimeFiles(path_, error);
}

}  // namespace orvexctl
