// orvexctl sim: the virtual handheld, live. Runs a program (or the demo service) with the
// simulated device inside it and its page and API on loopback.
#pragma once

#include <string>
#include <vector>

#include "Commands.h"

namespace orvexctl {

// `port` 0 picks a free one; an empty `command` runs orvex-demo from the tool's own folder.
// Returns the program's exit status (128 + signal when a signal ended it), kExitUsage when it
// cannot be started.
int RunSim(const Options& options, int port, const std::vector<std::string>& command);

// For the tool's signal thread. While orvexctl sim runs a program, Ctrl-C, SIGTERM and SIGHUP
// are the program's to handle: `sig` goes to it (unless `fromTerminal`: the terminal sent it to
// the program's process group too) and the tool waits for the program to end, then removes its
// files. True when the signal was taken that way; false when no program runs.
bool ForwardSignalToSimProgram(int sig, bool fromTerminal);

}  // namespace orvexctl
