// liblog for Linux hosts: records go to the sink that ORVEX_LOG names and to live captures.

#include <android/log.h>

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "orvex/log_capture.h"

namespace orvex {
namespace hostlog {

namespace {

// liblog formats into a buffer of this size and cuts longer messages.
constexpr size_t kLogBufSize = 1024;

enum class SinkKind { kUnset, kStderr, kOff, kFile };

struct Sink {
    std::mutex mutex;
    SinkKind kind = SinkKind::kUnset;
    int fd = -1;
};

Sink& TheSink() {
    static Sink* sink = new Sink;  // never destroyed: threads may log during exit
    return *sink;
}

struct CaptureRegistry {
    std::mutex mutex;
    std::vector<ScopedCapture::Impl*> live;
};

CaptureRegistry& Captures() {
    static CaptureRegistry* registry = new CaptureRegistry;
    return *registry;
}

char PriorityLetter(int priority) {
    static const char kLetters[] = "??VDIWEFS";
    return priority >= 0 && priority <= ANDROID_LOG_SILENT ? kLetters[priority] : '?';
}

void AppendEscaped(std::string& out, const char* text) {
    for (const char* p = text; *p != '\0'; ++p) {
        switch (*p) {
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\t': out += "\\t"; break;
            case '\r': out += "\\r"; break;
            default: out += *p;
        }
    }
}

void WriteAll(int fd, const std::string& data) {
    // One write per record keeps records from several threads or processes whole; a short
    // write to a pipe or terminal is finished with further writes.
    size_t done = 0;
    while (done < data.size()) {
        ssize_t n = write(fd, data.data() + done, data.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return;
        }
        done += static_cast<size_t>(n);
    }
}

// logcat's "threadtime" shape, one line per line of the message.
std::string HumanRecord(int priority, const char* tag, const char* message) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    struct tm tm;
    localtime_r(&now.tv_sec, &tm);
    char head[64];
    snprintf(head, sizeof head, "%02d-%02d %02d:%02d:%02d.%03ld %5d %5d %c ", tm.tm_mon + 1,
             tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, now.tv_nsec / 1000000,
             static_cast<int>(getpid()), static_cast<int>(syscall(SYS_gettid)),
             PriorityLetter(priority));
    std::string prefix = std::string(head) + tag + ": ";

    std::string out;
    std::string text(message);
    while (!text.empty() && text.back() == '\n') text.pop_back();
    size_t start = 0;
    do {
        size_t end = text.find('\n', start);
        out += prefix;
        out.append(text, start, end == std::string::npos ? std::string::npos : end - start);
        out += '\n';
        start = end == std::string::npos ? text.size() + 1 : end + 1;
    } while (start <= text.size());
    return out;
}

void OpenSinkLocked(Sink& sink) {
    const char* destination = getenv("ORVEX_LOG");
    if (destination == nullptr || *destination == '\0' || strcmp(destination, "stderr") == 0) {
        sink.kind = SinkKind::kStderr;
    } else if (strcmp(destination, "off") == 0) {
        sink.kind = SinkKind::kOff;
    } else {
        sink.fd = open(destination, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
        if (sink.fd < 0) {
            fprintf(stderr, "orvex host log: cannot open ORVEX_LOG file %s: %s; using stderr\n",
                    destination, strerror(errno));
            sink.kind = SinkKind::kStderr;
        } else {
            sink.kind = SinkKind::kFile;
        }
    }
}

}  // namespace

struct ScopedCapture::Impl {
    mutable std::mutex mutex;
    std::vector<Entry> entries;
};

ScopedCapture::ScopedCapture() : impl_(new Impl) {
    CaptureRegistry& registry = Captures();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.live.push_back(impl_);
}

ScopedCapture::~ScopedCapture() {
    {
        CaptureRegistry& registry = Captures();
        std::lock_guard<std::mutex> lock(registry.mutex);
        registry.live.erase(std::remove(registry.live.begin(), registry.live.end(), impl_),
                            registry.live.end());
    }
    delete impl_;
}

std::vector<Entry> ScopedCapture::Entries() const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->entries;
}

std::vector<Entry> ScopedCapture::WithTag(const std::string& tag) const {
    std::vector<Entry> out;
    std::lock_guard<std::mutex> lock(impl_->mutex);
    for (const Entry& e : impl_->entries) {
        if (e.tag == tag) out.push_back(e);
    }
    return out;
}

bool ScopedCapture::Contains(int priority, const std::string& tag,
                             const std::string& message) const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    for (const Entry& e : impl_->entries) {
        if (e.priority == priority && e.tag == tag && e.message == message) return true;
    }
    return false;
}

void ScopedCapture::Clear() {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->entries.clear();
}

void ResetSink() {
    Sink& sink = TheSink();
    std::lock_guard<std::mutex> lock(sink.mutex);
    if (sink.fd >= 0) close(sink.fd);
    sink.fd = -1;
    sink.kind = SinkKind::kUnset;
}

std::string FormatFileRecord(int priority, const char* tag, const char* message) {
    std::string out = std::to_string(priority);
    out += '\t';
    AppendEscaped(out, tag);
    out += '\t';
    AppendEscaped(out, message);
    return out;
}

void Emit(int priority, const char* tag, const char* message) {
    {
        CaptureRegistry& registry = Captures();
        std::lock_guard<std::mutex> lock(registry.mutex);
        for (ScopedCapture::Impl* capture : registry.live) {
            std::lock_guard<std::mutex> entries_lock(capture->mutex);
            capture->entries.push_back(Entry{priority, tag, message});
        }
    }

    Sink& sink = TheSink();
    SinkKind kind;
    int fd;
    {
        std::lock_guard<std::mutex> lock(sink.mutex);
        if (sink.kind == SinkKind::kUnset) OpenSinkLocked(sink);
        kind = sink.kind;
        fd = sink.fd;
    }
    switch (kind) {
        case SinkKind::kOff:
        case SinkKind::kUnset:
            return;
        case SinkKind::kStderr:
            WriteAll(STDERR_FILENO, HumanRecord(priority, tag, message));
            return;
        case SinkKind::kFile: {
            std::string record = FormatFileRecord(priority, tag, message);
            record += '\n';
            WriteAll(fd, record);
            return;
        }
    }
}

}  // namespace hostlog
}  // namespace orvex

extern "C" {

int __android_log_write(int prio, const char* tag, const char* text) {
    if (tag == nullptr) tag = "";
    if (text == nullptr) text = "";
    orvex::hostlog::Emit(prio, tag, text);
    return static_cast<int>(strlen(text));
}

int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap) {
    char buf[orvex::hostlog::kLogBufSize];
    vsnprintf(buf, sizeof buf, fmt, ap);
    return __android_log_write(prio, tag, buf);
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int result = __android_log_vprint(prio, tag, fmt, ap);
    va_end(ap);
    return result;
}

void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...) {
    char buf[orvex::hostlog::kLogBufSize];
    if (fmt != nullptr) {
        va_list ap;
        va_start(ap, fmt);
        vsnprintf(buf, sizeof buf, fmt, ap);
        va_end(ap);
    } else if (cond != nullptr) {
        snprintf(buf, sizeof buf, "Assertion failed: %s", cond);
    } else {
        snprintf(buf, sizeof buf, "Unspecified assertion failed");
    }
    __android_log_write(ANDROID_LOG_FATAL, tag, buf);
    abort();
}

}  // extern "C"
