// A private, writable copy of a device root that the library runs against, so that nothing it
// does there (creating the timer pipe, writing into a file a dependency names by mistake) can
// reach the user's files, and nothing the root holds (pipes, devices, symlink loops, huge or
// unreadable files) can block the tool. Built by walking the root without following anything:
// regular files are copied, directories made, symlinks resolved inside the root (as on the
// device, never against this PC's `/`); everything else is left out and recorded.
#pragma once

#include <stdint.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace orvexctl {

class DeviceView {
public:
    // Files larger than this are not read (a configuration file is a few kilobytes).
    static constexpr off_t kMaxFileBytes = 64 << 20;

    struct Note {
        std::string devicePath;
        std::string text;  // what it is and why it was left out, or what the library did
    };

    // Copies `root` into `viewPath` (an empty directory of the tool's own). False with `error`
    // when the root cannot be walked at all.
    bool Build(const std::string& root, const std::string& viewPath, std::string* error);

    const std::string& path() const { return view_; }
    // Entries of the root not given to the library, in walk order.
    const std::vector<Note>& leftOut() const { return leftOut_; }

    // What the device path is in the user's root, following its symlinks inside the root: ""
    // for a regular file that the library may read, "missing", or what it is instead ("a named
    // pipe", "a directory", "a symlink loop", "unreadable: Permission denied", ...).
    std::string ProblemAt(const std::string& devicePath) const;
    // The device path a symlink chain ends at (the path itself when it is no symlink).
    std::string Resolve(const std::string& devicePath) const;

    // What the library created, changed or removed in the view since Build: on the device it
    // would have written these.
    std::vector<Note> Changes() const;

private:
    struct Entry {
        char type = 0;  // 'f' file, 'd' directory, 'l' symlink, 'x' left out
        uint64_t hash = 0;
        off_t size = 0;
        mode_t mode = 0;  // the entry's type in the user's root
        std::string text;  // a symlink's device target; a left-out entry's reason
    };
    void Walk(const std::string& devicePath, int depth);
    void Add(const std::string& devicePath, const struct stat& st);
    bool ResolveLink(const std::string& devicePath, std::string* target, std::string* why) const;

    std::string root_;
    std::string view_;
    std::string ownLibrary_;  // the tool's platform library, the one absolute link allowed out
    std::map<std::string, Entry> entries_;
    std::vector<Note> leftOut_;
    size_t count_ = 0;
};

// A regular file's bytes (up to the view's limit); "" for anything else. Never blocks.
std::string ReadSmallFile(const std::string& hostPath);

// FNV-1a of a file's bytes, and its size; false when it cannot be read.
bool HashFile(const std::string& hostPath, uint64_t* hash, off_t* size);

}  // namespace orvexctl
