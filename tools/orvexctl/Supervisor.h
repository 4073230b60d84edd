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
    // The error line the asserting site wrote for this failure, if any.
    std::string lastError;
    // A fatal line outside an assertion block (a text too long for its buffer), if any.
    std::string fatalLine;
};

// Prepares the log file every child writes to (ORVEX_LOG). Call once before the first child.
void InitSupervisor();

// Forks; the child runs `body` with its standard output captured and exits with its result.
// A child still running after `timeoutSeconds` is killed (timedOut).
ChildOutcome RunInChild(const std::function<int()>& body, int timeoutSeconds = 20);

// Removes the log file InitSupervisor made (for the signal thread; exit removes it too).
void RemoveSupervisorFiles();

// Kills the running child, if any, and waits for it (async-signal-safe; for Ctrl-C).
void KillRunningChild();

// Around a fork whose child runs without exec: the tool's signal thread stops, and starts again.
void PauseSignalThread();
void ResumeSignalThread();

// Names what the next children do: on a terminal, standard error shows it while one runs longer
// than a second. "" ends it.
void SetProgress(const std::string& label);

// All records written to the shared log so far (for --log).
std::vector<LogRecord> AllLogRecords();

}  // namespace orvexctl
