#include "SoakSupport.h"

#include <dirent.h>
#include <stdlib.h>

#include "orvex/log_capture.h"

namespace soak {

namespace {

size_t CountEntries(const char* dir) {
    size_t n = 0;
    if (DIR* d = opendir(dir)) {
        while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
        closedir(d);
    }
    return n;
}

}  // namespace

// opendir holds a descriptor of its own while it reads /proc/self/fd.
size_t ThreadCount() { return CountEntries("/proc/self/task"); }
size_t DescriptorCount() { return CountEntries("/proc/self/fd") - 1; }

QuietLog::QuietLog() {
    const char* sink = getenv("ORVEX_LOG");
    had_ = sink != nullptr;
    if (had_) previous_ = sink;
    setenv("ORVEX_LOG", "off", 1);
    orvex::hostlog::ResetSink();
}

QuietLog::~QuietLog() {
    if (had_) {
        setenv("ORVEX_LOG", previous_.c_str(), 1);
    } else {
        unsetenv("ORVEX_LOG");
    }
    orvex::hostlog::ResetSink();
}

}  // namespace soak
