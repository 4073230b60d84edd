// Device profiles: the ones built into orvexctl (from sim/profiles) and directories on disk.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

namespace orvexctl {

struct EmbeddedFile {
    const char* path;  // "<profile>/<path in the device root>"
    const unsigned char* data;
    size_t size;
};
// Ends with a null path.
extern const EmbeddedFile kEmbeddedFiles[];

constexpr const char* kDefaultProfile = "default";

struct ProfileInfo {
    std::string name;
    std::string description;  // the first line of the profile's README.md
};

// The embedded profiles, by name.
std::vector<ProfileInfo> EmbeddedProfiles();

// A device root for the tool to run against, removed when the process ends if the tool made it.
class DeviceRootChoice {
public:
    // Exactly one of: an embedded profile name, a profile directory (copied, so that nothing the
    // library creates lands in it), an existing device root used as it stands. An empty
    // `profile` and `root` choose the default profile. False with `error` on failure.
    bool Select(const std::string& profile, const std::string& root, std::string* error);

    const std::string& path() const { return path_; }
    // What was chosen, for reports: "profile default", "directory /x", "root /y".
    const std::string& label() const { return label_; }

private:
    std::string path_;
    std::string label_;
};

}  // namespace orvexctl
