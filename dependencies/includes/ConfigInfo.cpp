#include "ConfigInfo.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/system_properties.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

#include "FixedFormat.h"
#include "FrameworkAssert.h"
#include "HostHooks.h"
#include "ScannerLog.h"

using tinyxml2::XMLElement;

namespace {

constexpr const char* kSourcePath =
    "device/common/platform_bundle/dependencies/includes/ConfigInfo";

// Android gives every user a range of 100000 uids.
constexpr unsigned kUidsPerUser = 100000;

// The sizes the configuration has always been read with; see Utils::FormatFixed.
constexpr size_t kTextSize = 128;
constexpr size_t kPathSize = 256;

const char* TextOf(const XMLElement* element) {
    const char* text = element->GetText();
    return text != nullptr ? text : "";
}

bool Is(const XMLElement* element, const char* name) { return strcmp(element->Name(), name) == 0; }

// The first string of the command line, cut at ':' so that a service's sub-processes
// ("com.example:remote") share their package's directory.
std::string ProcessName() {
    char cmdline[256] = {};
    int fd = open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        size_t done = 0;
        while (done < sizeof cmdline - 1) {
            ssize_t n = read(fd, cmdline + done, sizeof cmdline - 1 - done);
            if (n <= 0) break;
            done += static_cast<size_t>(n);
        }
        close(fd);
    }
    if (char* colon = strchr(cmdline, ':')) *colon = '\0';
    return cmdline;
}

std::string FindDataFilesPrefix() {
    char dir[kTextSize];
    Utils::FormatFixed(dir, sizeof dir, "the data-files directory",
                       "/data/user_de/%d/%s/files/dcfiles",
                       static_cast<int>(getuid() / kUidsPerUser), ProcessName().c_str());
    struct stat st;
    return stat(platform::host::DevicePath(dir).c_str(), &st) == 0 ? dir : "";
}

const char* LibraryDirectory(const std::string& abi) {
    if (abi == "armeabi-v7a" || abi == "x86") return "lib";
    if (abi == "arm64-v8a" || abi == "x86_64") return "lib64";
    return "";
}

// The buffers of one pass over the file. They are deliberately not reset between entries:
// an entry without its own "absolutepath" takes the previous entry's, one without "name"
// repeats the previous key (and is dropped as a duplicate), one without "path" or "libname"
// stores the previous text. Device files rely on the first of these.
struct EntryBuffers {
    char name[kTextSize] = "";
    char absolutePath[kTextSize] = "";
    char resolved[kPathSize] = "";
    char value[kTextSize] = "";

    bool IsAbsolute() const { return strcmp(absolutePath, "true") == 0; }
};

// The table's texts live as long as the table: callers get copies, so nothing points into them
// once the library's statics are being destroyed. Constructed after the table, so destroyed
// before it.
struct TableTextsRelease {
    ~TableTextsRelease() {
        for (auto& entry : ConfigInfoState::DependencyTable) free(entry.second);
        ConfigInfoState::DependencyTable.clear();
    }
} tableTextsRelease;

// The first definition of a name wins.
void Store(const char* name, const char* text) {
    auto& table = ConfigInfoState::DependencyTable;
    if (table.find(name) == table.end()) table.emplace(name, strdup(text));
}

// Reads the common children of a file or binary entry; true when `child` was one of them.
bool ReadNameOrAbsolutePath(const XMLElement* child, EntryBuffers& b) {
    if (Is(child, "name")) {
        Utils::FormatFixed(b.name, sizeof b.name, "a dependency name", "%s", TextOf(child));
    } else if (Is(child, "absolutepath")) {
        Utils::FormatFixed(b.absolutePath, sizeof b.absolutePath, "an absolutepath text", "%s",
                           TextOf(child));
    } else {
        return false;
    }
    return true;
}

void ReadFiles(const XMLElement* files, const std::string& prefix, EntryBuffers& b) {
    for (const XMLElement* file = files->FirstChildElement(); file != nullptr;
         file = file->NextSiblingElement()) {
        if (!Is(file, "file")) continue;
        for (const XMLElement* child = file->FirstChildElement(); child != nullptr;
             child = child->NextSiblingElement()) {
            if (ReadNameOrAbsolutePath(child, b) || !Is(child, "path")) continue;
            if (b.IsAbsolute()) {
                Utils::FormatFixed(b.resolved, sizeof b.resolved, "a file path", "%s",
                                   TextOf(child));
            } else {
                Utils::FormatFixed(b.resolved, sizeof b.resolved, "a file path", "%s%s",
                                   prefix.c_str(), TextOf(child));
            }
        }
        Store(b.name, b.resolved);
    }
}

void ReadBinaries(const XMLElement* binaries, const std::string& prefix, EntryBuffers& b) {
    const std::string abi = ConfigInfo::QueryProperty("ro.product.cpu.abi");
    const char* libDir = LibraryDirectory(abi);
    for (const XMLElement* binary = binaries->FirstChildElement(); binary != nullptr;
         binary = binary->NextSiblingElement()) {
        if (!Is(binary, "binary")) continue;
        for (const XMLElement* child = binary->FirstChildElement(); child != nullptr;
             child = child->NextSiblingElement()) {
            if (ReadNameOrAbsolutePath(child, b) || !Is(child, "libname")) continue;
            if (b.IsAbsolute()) {
                Utils::FormatFixed(b.resolved, sizeof b.resolved, "a library path", "/system/%s/%s",
                                   libDir, TextOf(child));
            } else {
                Utils::FormatFixed(b.resolved, sizeof b.resolved, "a library path",
                                   "%s/system/libs/%s/%s", prefix.c_str(), abi.c_str(),
                                   TextOf(child));
            }
        }
        Store(b.name, b.resolved);
    }
}

// A property entry is stored as soon as its value is known, so its "name" must come first.
void ReadProperties(const XMLElement* properties, EntryBuffers& b) {
    for (const XMLElement* property = properties->FirstChildElement(); property != nullptr;
         property = property->NextSiblingElement()) {
        if (!Is(property, "property")) continue;
        for (const XMLElement* child = property->FirstChildElement(); child != nullptr;
             child = child->NextSiblingElement()) {
            if (Is(child, "name")) {
                Utils::FormatFixed(b.name, sizeof b.name, "a dependency name", "%s", TextOf(child));
            } else if (Is(child, "value")) {
                const std::string current = ConfigInfo::QueryProperty(b.name);
                Utils::FormatFixed(b.value, sizeof b.value, "a property value", "%s",
                                   current.empty() ? TextOf(child) : current.c_str());
                Store(b.name, b.value);
            }
        }
    }
}

[[noreturn]] void MissingNode(const char* error, int line, const char* description) {
    SF_LOGE("%s", error);
    ConfigInfoState::ExternalDependencies.Clear();
    platform::AssertFramework(kSourcePath, line, description);
}

void FillDependencyTable() {
    std::string& prefix = ConfigInfoState::DataFilesPrefix;
    prefix = FindDataFilesPrefix();
    char path[kPathSize];
    Utils::FormatFixed(path, sizeof path, "the ExternalDependencies path",
                       "%s/system/etc/scanner/ExternalDependencies.xml", prefix.c_str());
    ConfigInfoState::ExternalDependenciesPath = path;

    tinyxml2::XMLDocument& doc = ConfigInfoState::ExternalDependencies;
    if (doc.LoadFile(platform::host::DevicePath(path).c_str()) != tinyxml2::XML_SUCCESS) {
        SF_LOGE(
            "[ConfigInfo::ResolveConfigDependency] Unable to load ExternalDependencies XML "
            "file, desc : %s",
            doc.ErrorStr());
        platform::AssertFramework(kSourcePath, 121,
                                  "ConfigInfo : Unable to load ExternalDependencies XML file");
    }
    const XMLElement* root = doc.RootElement();
    if (root == nullptr) {
        MissingNode("[ConfigInfo::ResolveConfigDependency] Failed : No root element.", 130,
                    "[ConfigInfo::ResolveConfigDependency] Failed : No root element.");
    }
    const XMLElement* files = root->FirstChildElement("files");
    if (files == nullptr) {
        MissingNode(
            "[ConfigInfo::ResolveConfigDependency] No files node in ExternalDependencies XML", 138,
            "ConfigInfo : No files node in ExternalDependencies XML");
    }
    const XMLElement* binaries = root->FirstChildElement("binaries");
    if (binaries == nullptr) {
        MissingNode(
            "[ConfigInfo::ResolveConfigDependency] No binaries node in ExternalDependencies XML",
            146, "ConfigInfo : No binaries node in ExternalDependencies XML");
    }
    const XMLElement* properties = root->FirstChildElement("properties");
    if (properties == nullptr) {
        MissingNode(
            "[ConfigInfo::ResolveConfigDependency] No properties node in ExternalDependencies XML",
            154, "ConfigInfo : No properties node in ExternalDependencies XML");
    }

    EntryBuffers buffers;
    ReadFiles(files, prefix, buffers);
    ReadBinaries(binaries, prefix, buffers);
    ReadProperties(properties, buffers);
    doc.Clear();
}

// The table is read from the file while it is empty: a file whose groups are all empty leaves
// it so, and the next resolution reads the file again (and picks up what was added since). A
// flag and a lock rather than std::call_once, so that a host build can forget the table
// (ForgetConfigDependencies) and a fill that an assertion hook unwound is simply made again.
// While the table is empty, lookups happen under the lock, since a fill may be under way.
std::mutex g_fillLock;
std::atomic<bool> g_filled{false};

// The stored text for `name`, or null when the table has none.
const char* FindDependency(const char* name) {
    const auto& table = ConfigInfoState::DependencyTable;
    std::unique_lock<std::mutex> lock(g_fillLock, std::defer_lock);
    if (!g_filled.load(std::memory_order_acquire)) {
        lock.lock();
        if (table.empty()) FillDependencyTable();
        g_filled.store(!table.empty(), std::memory_order_release);
    }
    if (name == nullptr) return nullptr;
    auto it = table.find(name);
    return it != table.end() ? it->second : nullptr;
}

}  // namespace

#if !defined(__BIONIC__)
void platform::host::ForgetConfigDependencies() {
    std::lock_guard<std::mutex> lock(g_fillLock);
    for (auto& entry : ConfigInfoState::DependencyTable) free(entry.second);
    ConfigInfoState::DependencyTable.clear();
    ConfigInfoState::ExternalDependencies.Clear();
    g_filled.store(false, std::memory_order_release);
}
#endif

std::string ConfigInfo::ResolveConfigDependency(const char* name) {
    const char* resolved = FindDependency(name);
    if (name == nullptr) return "";
    if (resolved != nullptr) return resolved;
    return QueryProperty(name);
}

std::string ConfigInfo::QueryProperty(const char* name) {
    std::string value;
    if (name == nullptr) return value;
    const prop_info* info = __system_property_find(name);
    if (info == nullptr) return value;
    struct Query {
        const char* name;
        std::string* value;
    } query{name, &value};
    // The callback reports the name it read; a value is only taken for the name asked for.
    __system_property_read_callback(
        info,
        [](void* cookie, const char* readName, const char* readValue, uint32_t) {
            auto* q = static_cast<Query*>(cookie);
            if (strcmp(readName, q->name) == 0) *q->value = readValue;
        },
        &query);
    return value;
}
