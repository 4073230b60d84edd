// Shared pieces of the soak and fault-injection suites.
#pragma once

#include <stddef.h>

#include <string>

namespace soak {

// Entries of /proc/self/task (threads) and /proc/self/fd (open descriptors) right now.
size_t ThreadCount();
size_t DescriptorCount();

// The log sink while it exists: off, so that thousands of soak lines do not flood ctest's
// output (an in-process capture still sees every record). Restores the sink afterwards.
class QuietLog {
  public:
    QuietLog();
    ~QuietLog();
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

  private:
    bool had_;
    std::string previous_;
};

}  // namespace soak
