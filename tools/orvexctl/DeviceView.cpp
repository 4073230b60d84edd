#include "DeviceView.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>

#include "PlatformLibrary.h"
#include "UniqueFd.h"

namespace orvexctl {

namespace {

// Deep enough for any device tree; a deeper one is a loop of bind mounts or a mistake.
constexpr int kMaxDepth = 64;
constexpr size_t kMaxEntries = 200000;
// As the kernel's own limit on symlinks followed in one lookup.
constexpr int kMaxHops = 40;

const char* KindOf(mode_t mode) {
    if (S_ISFIFO(mode)) return "a named pipe";
    if (S_ISSOCK(mode)) return "a socket";
    if (S_ISCHR(mode)) return "a character device";
    if (S_ISBLK(mode)) return "a block device";
    if (S_ISDIR(mode)) return "a directory";
    if (S_ISLNK(mode)) return "a symlink";
    return "a regular file";
}

std::vector<std::string> Components(const std::string& path) {
    std::vector<std::string> out;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        if (end > start) out.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return out;
}

std::string Join(const std::vector<std::string>& parts) {
    std::string out;
    for (const std::string& p : parts) out += "/" + p;
    return out.empty() ? "/" : out;
}

bool CopyOpenFile(int from, const std::string& to, mode_t mode, uint64_t* hash, off_t* size) {
    UniqueFd out(open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, (mode & 0700) | 0600));
    if (!out.ok()) return false;
    uint64_t h = 1469598103934665603ull;
    off_t total = 0;
    char buf[65536];
    for (;;) {
        ssize_t n = read(from, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        if (n == 0) break;
        for (ssize_t i = 0; i < n; ++i) h = (h ^ static_cast<unsigned char>(buf[i])) * 1099511628211ull;
        total += n;
        // A file still growing while it is read: keep no more than the limit.
        if (total > DeviceView::kMaxFileBytes) return false;
        for (ssize_t done = 0; done < n;) {
            ssize_t w = write(out.get(), buf + done, static_cast<size_t>(n - done));
            if (w < 0 && errno == EINTR) continue;
            if (w <= 0) return false;
            done += w;
        }
    }
    *hash = h;
    *size = total;
    return true;
}

std::string RealPath(const std::string& path) {
    char buf[PATH_MAX];
    return realpath(path.c_str(), buf) != nullptr ? buf : "";
}

// The names in an open directory but "." and "..", in order; closes it.
std::set<std::string> TakeNames(DIR* dir) {
    std::set<std::string> names;
    while (struct dirent* e = readdir(dir)) {
        if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) names.insert(e->d_name);
    }
    closedir(dir);
    return names;
}

}  // namespace

bool HashFile(const std::string& hostPath, uint64_t* hash, off_t* size) {
    UniqueFd fd(open(hostPath.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat st;
    if (!fd.ok() || fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    uint64_t h = 1469598103934665603ull;
    off_t total = 0;
    char buf[65536];
    ssize_t n;
    while ((n = read(fd.get(), buf, sizeof buf)) > 0 || (n < 0 && errno == EINTR)) {
        for (ssize_t i = 0; i < n; ++i) h = (h ^ static_cast<unsigned char>(buf[i])) * 1099511628211ull;
        total += n > 0 ? n : 0;
    }
    *hash = h;
    *size = total;
    return n == 0;
}

std::string ReadSmallFile(const std::string& hostPath) {
    UniqueFd fd(open(hostPath.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat st;
    if (!fd.ok() || fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return "";
    std::string out;
    char buf[65536];
    ssize_t n;
    while ((n = read(fd.get(), buf, sizeof buf)) > 0 || (n < 0 && errno == EINTR)) {
        if (n > 0) out.append(buf, static_cast<size_t>(n));
        if (out.size() > static_cast<size_t>(DeviceView::kMaxFileBytes)) break;
    }
    return out;
}

bool DeviceView::Build(const std::string& root, const std::string& viewPath, std::string* error) {
    root_ = root;
    while (root_.size() > 1 && root_.back() == '/') root_.pop_back();
    view_ = viewPath;
    ownLibrary_ = RealPath(PlatformLibrary::DefaultPath());
    struct stat st;
    if (stat(root_.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
        *error = "device root " + root + " is not a directory";
        return false;
    }
    Walk("", 0);
    return true;
}

void DeviceView::Walk(const std::string& devicePath, int depth) {
    UniqueFd fd(open((root_ + devicePath).c_str(),
                     O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    DIR* dir = fd.ok() ? fdopendir(fd.get()) : nullptr;
    if (dir == nullptr) {
        entries_[devicePath.empty() ? "/" : devicePath].type = 'x';
        leftOut_.push_back(Note{devicePath.empty() ? "/" : devicePath,
                                std::string("a directory that cannot be listed: ") + strerror(errno)});
        return;
    }
    fd.release();
    for (const std::string& name : TakeNames(dir)) {
        const std::string child = devicePath + "/" + name;
        if (++count_ > kMaxEntries) {
            leftOut_.push_back(Note{child, "and everything after it: the root holds more than " +
                                               std::to_string(kMaxEntries) + " entries"});
            return;
        }
        struct stat st;
        if (lstat((root_ + child).c_str(), &st) != 0) continue;  // gone while walking
        if (S_ISDIR(st.st_mode) && depth >= kMaxDepth) {
            entries_[child].type = 'x';
            leftOut_.push_back(Note{child, "a directory nested deeper than " +
                                               std::to_string(kMaxDepth) + " levels"});
            continue;
        }
        Add(child, st);
        if (S_ISDIR(st.st_mode) && entries_[child].type == 'd') Walk(child, depth + 1);
    }
}

void DeviceView::Add(const std::string& devicePath, const struct stat& st) {
    Entry& e = entries_[devicePath];
    e.mode = st.st_mode & S_IFMT;
    const std::string target = view_ + devicePath;
    auto leave = [&](const std::string& why) {
        e.type = 'x';
        e.text = why;
        leftOut_.push_back(Note{devicePath, why});
    };
    if (S_ISDIR(st.st_mode)) {
        if (mkdir(target.c_str(), 0700) != 0) return leave(std::string("cannot copy: ") + strerror(errno));
        e.type = 'd';
    } else if (S_ISREG(st.st_mode)) {
        if (st.st_size > kMaxFileBytes) {
            return leave("a file of " + std::to_string(st.st_size) + " bytes, over the " +
                         std::to_string(kMaxFileBytes >> 20) + " MiB the tool reads");
        }
        UniqueFd in(open((root_ + devicePath).c_str(),
                         O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat again;
        if (!in.ok()) return leave(std::string("unreadable: ") + strerror(errno));
        if (fstat(in.get(), &again) != 0 || !S_ISREG(again.st_mode)) {
            return leave("replaced while it was read");
        }
        if (!CopyOpenFile(in.get(), target, st.st_mode, &e.hash, &e.size)) {
            unlink(target.c_str());
            return leave(std::string("unreadable: ") + (errno ? strerror(errno) : "it grew past the limit"));
        }
        e.type = 'f';
    } else if (S_ISLNK(st.st_mode)) {
        std::string resolved, why;
        if (!ResolveLink(devicePath, &resolved, &why)) return leave(why);
        char raw[PATH_MAX];
        ssize_t n = readlink((root_ + devicePath).c_str(), raw, sizeof raw - 1);
        std::string link = n > 0 ? std::string(raw, static_cast<size_t>(n)) : "";
        struct stat inside;
        // A staged profile's platform library is a link to the build's own: the one target
        // outside the root that is followed, as the build put it there.
        const bool ownLibrary = !link.empty() && link[0] == '/' &&
                                lstat((root_ + resolved).c_str(), &inside) != 0 &&
                                !ownLibrary_.empty() && RealPath(link) == ownLibrary_;
        if (symlink((ownLibrary ? ownLibrary_ : view_ + resolved).c_str(), target.c_str()) != 0) {
            return leave(std::string("cannot copy: ") + strerror(errno));
        }
        e.type = 'l';
        e.text = ownLibrary ? ownLibrary_ : resolved;
    } else {
        leave(std::string(KindOf(st.st_mode)) + ", which the tool never opens");
    }
}

bool DeviceView::ResolveLink(const std::string& devicePath, std::string* target,
                             std::string* why) const {
    std::vector<std::string> todo = Components(devicePath);
    std::vector<std::string> done;
    int hops = 0;
    while (!todo.empty()) {
        const std::string c = todo.front();
        todo.erase(todo.begin());
        if (c == ".") continue;
        if (c == "..") {
            if (!done.empty()) done.pop_back();  // as on the device, ".." of "/" is "/"
            continue;
        }
        done.push_back(c);
        struct stat st;
        if (lstat((root_ + Join(done)).c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) continue;
        if (++hops > kMaxHops) {
            *why = "a symlink loop (more than " + std::to_string(kMaxHops) + " links from " +
                   devicePath + ")";
            return false;
        }
        char raw[PATH_MAX];
        ssize_t n = readlink((root_ + Join(done)).c_str(), raw, sizeof raw - 1);
        if (n <= 0) {
            *why = "a symlink that cannot be read";
            return false;
        }
        const std::string link(raw, static_cast<size_t>(n));
        done.pop_back();
        if (link[0] == '/') done.clear();
        std::vector<std::string> more = Components(link);
        todo.insert(todo.begin(), more.begin(), more.end());
    }
    *target = Join(done);
    return true;
}

std::string DeviceView::Resolve(const std::string& devicePath) const {
    std::string target, why;
    return ResolveLink(devicePath, &target, &why) ? target : devicePath;
}

std::string DeviceView::ProblemAt(const std::string& devicePath) const {
    std::string target, why;
    if (!ResolveLink(devicePath, &target, &why)) return why;
    const std::string via = target != devicePath ? " (the link leads to " + target + ")" : "";
    auto it = entries_.find(target);
    if (it == entries_.end()) {
        return "missing" + via;
    }
    const Entry& e = it->second;
    if (e.type == 'f') return "";
    if (e.type == 'd') return "a directory, not a file" + via;
    if (e.type == 'l') return "";  // the staged platform library
    return e.text + via;
}

std::vector<DeviceView::Note> DeviceView::Changes() const {
    std::vector<Note> out;
    std::set<std::string> seen;
    std::vector<std::string> dirs = {""};
    while (!dirs.empty()) {
        const std::string dirPath = dirs.back();
        dirs.pop_back();
        DIR* dir = opendir((view_ + dirPath).c_str());
        if (dir == nullptr) continue;
        for (const std::string& name : TakeNames(dir)) {
            const std::string p = dirPath + "/" + name;
            struct stat st;
            if (lstat((view_ + p).c_str(), &st) != 0) continue;
            seen.insert(p);
            auto it = entries_.find(p);
            const char want = S_ISDIR(st.st_mode) ? 'd' : S_ISREG(st.st_mode) ? 'f'
                              : S_ISLNK(st.st_mode) ? 'l' : '?';
            if (it != entries_.end() && it->second.type == 'x' &&
                it->second.mode == (st.st_mode & S_IFMT)) {
                // A pipe that the device has too (the timer's, made again for the library).
            } else if (it == entries_.end() || it->second.type == 'x') {
                out.push_back(Note{p, std::string("creates ") + KindOf(st.st_mode)});
            } else if (it->second.type != want) {
                out.push_back(Note{p, std::string("replaces it with ") + KindOf(st.st_mode)});
            } else if (want == 'f') {
                uint64_t hash = 0;
                off_t size = 0;
                if (HashFile(view_ + p, &hash, &size) &&
                    (hash != it->second.hash || size != it->second.size)) {
                    out.push_back(Note{p, "writes into it (" + std::to_string(it->second.size) +
                                              " bytes before, " + std::to_string(size) + " after)"});
                }
            }
            if (S_ISDIR(st.st_mode)) dirs.push_back(p);
        }
    }
    for (const auto& e : entries_) {
        if (e.second.type != 'x' && seen.count(e.first) == 0) out.push_back(Note{e.first, "removes it"});
    }
    return out;
}

}  // namespace orvexctl
