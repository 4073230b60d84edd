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

}  // namespace orvexctl
