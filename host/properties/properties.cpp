// bionic's property reader over an in-memory store. Entries are never freed, so a prop_info
// pointer stays valid for the life of the process, as on a device; an erased property keeps its
// entry and is only hidden.

#include <sys/system_properties.h>

#include <string.h>

#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>

#include "orvex/device_root.h"
#include "orvex/properties.h"

struct prop_info {
    std::string name;
    std::string value;  // guarded by Store::mutex
    uint32_t serial = 0;
    bool exists = false;
};

namespace orvex {
namespace properties {

namespace {

struct Store {
    std::mutex mutex;
    bool loaded = false;
    std::map<std::string, std::unique_ptr<prop_info>> entries;
};

Store& TheStore() {
    static Store* store = new Store;
    return *store;
}

void SetLocked(Store& store, const std::string& name, const std::string& value) {
    std::unique_ptr<prop_info>& slot = store.entries[name];
    if (!slot) {
        slot.reset(new prop_info);
        slot->name = name;
    }
    slot->value = value;
    slot->exists = true;
    slot->serial += 2;
}

void HideAllLocked(Store& store) {
    for (auto& entry : store.entries) entry.second->exists = false;
}

void LoadLocked(Store& store) {
    store.loaded = true;
    std::ifstream in(DevicePath("/system/build.prop"), std::ios::binary);
    if (!in) return;
    std::stringstream text;
    text << in.rdbuf();
    for (const auto& pair : ParseBuildProp(text.str())) SetLocked(store, pair.first, pair.second);
}

void EnsureLoadedLocked(Store& store) {
    if (!store.loaded) LoadLocked(store);
}

}  // namespace

std::map<std::string, std::string> ParseBuildProp(const std::string& text) {
    std::map<std::string, std::string> out;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        // A NUL cannot be part of a property name or value on a device: the line is unreadable.
        if (line.find('\0') != std::string::npos) continue;
        size_t eq = line.find('=');
        if (eq == std::string::npos || eq == 0) continue;
        out[line.substr(0, eq)] = line.substr(eq + 1);
    }
    return out;
}

void Set(const std::string& name, const std::string& value) {
    Store& store = TheStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    EnsureLoadedLocked(store);
    SetLocked(store, name, value);
}

void Erase(const std::string& name) {
    Store& store = TheStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    EnsureLoadedLocked(store);
    auto it = store.entries.find(name);
    if (it != store.entries.end()) it->second->exists = false;
}

void Clear() {
    Store& store = TheStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    HideAllLocked(store);
    store.loaded = true;
}

void Reload() {
    Store& store = TheStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    HideAllLocked(store);
    LoadLocked(store);
}

std::map<std::string, std::string> Snapshot() {
    Store& store = TheStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    EnsureLoadedLocked(store);
    std::map<std::string, std::string> out;
    for (const auto& entry : store.entries) {
        if (entry.second->exists) out[entry.first] = entry.second->value;
    }
    return out;
}

}  // namespace properties
}  // namespace orvex


extern "C" {

const prop_info* __system_property_find(const char* name) {
    if (name == nullptr) return nullptr;
    auto& store = orvex::properties::TheStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    orvex::properties::EnsureLoadedLocked(store);
    auto it = store.entries.find(name);
    if (it == store.entries.end() || !it->second->exists) return nullptr;
    return it->second.get();
}

void __system_property_read_callback(const prop_info* pi,
                                     void (*callback)(void* cookie, const char* name,
                                                      const char* value, uint32_t serial),
                                     void* cookie) {
    if (pi == nullptr || callback == nullptr) return;
    std::string value;
    uint32_t serial;
    {
        auto& store = orvex::properties::TheStore();
        std::lock_guard<std::mutex> lock(store.mutex);
        value = pi->value;
        serial = pi->serial;
    }
    // The callback runs without the lock, as bionic's does, so it may read other properties.
    callback(cookie, pi->name.c_str(), value.c_str(), serial);
}

int __system_property_get(const char* name, char* value) {
    value[0] = '\0';
    const prop_info* pi = __system_property_find(name);
    if (pi == nullptr) return 0;
    auto& store = orvex::properties::TheStore();
    std::lock_guard<std::mutex> lock(store.mutex);
    size_t n = pi->value.size() < PROP_VALUE_MAX - 1 ? pi->value.size() : PROP_VALUE_MAX - 1;
    memcpy(value, pi->value.data(), n);
    value[n] = '\0';
    return static_cast<int>(n);
}

}  // extern "C"
