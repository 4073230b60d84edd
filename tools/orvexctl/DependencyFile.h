// The tool's own reading of a device's external-dependencies file: which group defines each
// name, and what the library accepts silently but is likely a mistake. The library's resolver
// stays the authority on the resolved texts; this reader explains them.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orvexctl {

struct DependencyOrigin {
    std::string group;      // "files", "binaries", "properties" or "" (not listed)
    int entry = 0;          // 1-based position of the entry inside its group
    bool propertySet = false;  // properties: the system property had a non-empty value
};

struct DependencyFile {
    std::string devicePath;  // where the library reads it, given the device root
    bool loaded = false;
    std::string loadError;
    // Origins of the names the library keeps (first definition wins).
    std::map<std::string, DependencyOrigin> origins;
    std::vector<std::string> warnings;
    // The device path each file and binary entry resolves to (first definition wins).
    std::map<std::string, std::string> paths;
    // Texts too long for the library's fixed buffers; the first ends the process while the file
    // is read, so nothing after it is resolved.
    std::vector<std::string> overflows;
};

// The library's buffers: names, absolutepath texts and property values; resolved paths. Each
// holds one byte less than its size as text.
constexpr size_t kDependencyTextSize = 128;
constexpr size_t kDependencyPathSize = 256;

// Reads the file under the device root as the library does, for a process named
// `processName` (its per-user data-files directory is checked first). `property` answers
// system property values.
DependencyFile ReadDependencyFile(const std::string& deviceRoot, const std::string& processName,
                                  const std::map<std::string, std::string>& properties);

}  // namespace orvexctl
