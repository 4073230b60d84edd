// Runs the parts of a command that load the platform library in a child process, so that a
// device configuration that makes the library stop (its assertions abort) is reported instead
// of ending the tool. The tool's own process never loads the library.
#pragma once

#include <orvex/log_capture.h>

#include <functional>
#include <string>
#include <vector>

namespace orvexctl {

// A record of the library's log as the file sink wrote it.
using LogRecord = orvex::hostlog::Entry;

struct ChildOutcome {
    bool exited = false;  // the body returned (or called exit)
    int exitCode = -1;
    int signal = 0;  // the signal that ended it (SIGABRT for an assertion)
    bool timedOut = false;
    std::string output;          // what the body wrote to standard output
    std::vector<LogRecord> log;  // the library's log records written by the child

    // The three assertion lines, when the child stopped on one: description (after
    // "ERROR DESCRIPTION: "), source path and line.
    bool asserted = false;
    std::string assertDescription;
    std::string assertSource;
    int assertLine = 0;
    // The error line the asserting site wrote just before the assertion, if any.
    std::string lastError;
};

// Prepares the log file every child writes to (ORVEX_LOG). Call once before the first child.
void InitSupervisor();

// Forks; the child runs `body` with its standard output captured and exits with its result.
ChildOutcome RunInChild(const std::function<int()>& body, int timeoutSeconds = 60);

// All records written to the shared log so far (for --log).
std::vector<LogRecord> AllLogRecords();

}  // namespace orvexctl
