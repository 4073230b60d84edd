// Device profiles: the ones built into orvexctl (from sim/profiles) and directories on disk.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

#include "DeviceView.h"

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

// A temporary directory of the tool's own, removed when the tool ends, on Ctrl-C too.
bool MakeTempDir(std::string* path, std::string* error);
// Removes every temporary directory made so far (at exit, and from the signal thread).
void RemoveTempDirs();

// Writes an embedded profile to `dir` as an editable device root, with what a device has that
// the profile files do not (the platform library where the dependencies file puts it, the timer
// pipe's folder), so that `--root dir check` passes. `dir` must be missing or empty.
bool ExportProfile(const std::string& name, const std::string& dir, std::string* error);

// The device a command runs against. The library never sees the chosen files themselves: it
// runs against a private view (see DeviceView), so nothing in them is created or changed.
class DeviceRootChoice {
public:
    // Exactly one of: an embedded profile name, a profile directory (a device root without
    // the runtime files, which are added to the view), an existing device root used as it
    // stands. An empty `profile` and `root` choose the default profile. False with `error`.
    bool Select(const std::string& profile, const std::string& root, std::string* error);

    // The view's path: what ORVEX_DEVICE_ROOT names.
    const std::string& path() const { return view_.path(); }
    const DeviceView& view() const { return view_; }
    // What was chosen, for reports: "profile default", "directory /x", "root /y".
    const std::string& label() const { return label_; }
    // Which facts come from the simulator rather than from the device's own files.
    const std::vector<std::string>& simulatedNotes() const { return notes_; }

private:
    DeviceView view_;
    std::string label_;
    std::vector<std::string> notes_;
};

}  // namespace orvexctl
