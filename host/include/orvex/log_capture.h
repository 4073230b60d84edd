// In-process view of the host log, for tests and tools.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace orvex {
namespace hostlog {

struct Entry {
    int priority;
    std::string tag;
    std::string message;

    bool operator==(const Entry& other) const {
        return priority == other.priority && tag == other.tag && message == other.message;
    }
};

// Readable test failure output (found by gtest through argument-dependent lookup).
inline void PrintTo(const Entry& e, std::ostream* os) {
    *os << "{" << e.priority << ", \"" << e.tag << "\", \"";
    for (char c : e.message) {
        if (c == '\n') {
            *os << "\\n";
        } else {
            *os << c;
        }
    }
    *os << "\"}";
}

// Records every log record written in this process while it exists, in addition to the
// ORVEX_LOG sink. Captures nest: each live capture sees every record. Thread-safe.
class ScopedCapture {
public:
    ScopedCapture();
    ~ScopedCapture();
    ScopedCapture(const ScopedCapture&) = delete;
    ScopedCapture& operator=(const ScopedCapture&) = delete;

    std::vector<Entry> Entries() const;
    // Records with this tag, in order.
    std::vector<Entry> WithTag(const std::string& tag) const;
    bool Contains(int priority, const std::string& tag, const std::string& message) const;
    void Clear();

    struct Impl;  // defined by the log

private:
    Impl* impl_;
};

// Drops the cached sink so that the next record reads ORVEX_LOG again.
void ResetSink();

// The escaped single-line form used by the file sink, without the trailing newline.
std::string FormatFileRecord(int priority, const char* tag, const char* message);

}  // namespace hostlog
}  // namespace orvex
