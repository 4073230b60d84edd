// In-process view of the host log, for tests and tools.
#pragma once

#include <stdlib.h>

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

// The reverse of FormatFileRecord, for readers of a log file. False for a line that is not a
// record. Inline, so that a reader in a process that must not load the host layer (orvexctl's
// own) can use it without linking it.
inline bool ParseFileRecord(const std::string& line, Entry* entry) {
    const size_t t1 = line.find('\t');
    const size_t t2 = t1 == std::string::npos ? t1 : line.find('\t', t1 + 1);
    if (t2 == std::string::npos) return false;
    auto unescape = [&line](size_t from, size_t to) {
        std::string out;
        for (size_t i = from; i < to; ++i) {
            if (line[i] != '\\' || i + 1 == to) {
                out += line[i];
                continue;
            }
            const char c = line[++i];
            out += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
        }
        return out;
    };
    entry->priority = atoi(line.substr(0, t1).c_str());
    entry->tag = unescape(t1 + 1, t2);
    entry->message = unescape(t2 + 1, line.size());
    return true;
}

}  // namespace hostlog
}  // namespace orvex
