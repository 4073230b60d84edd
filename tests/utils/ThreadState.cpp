#include "ThreadState.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace orvex {
namespace test {

pid_t CurrentThreadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }

bool WaitUntilSleeping(pid_t tid, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    const std::string path = "/proc/self/task/" + std::to_string(tid) + "/stat";
    while (std::chrono::steady_clock::now() < deadline) {
        std::ifstream in(path);
        std::string stat;
        std::getline(in, stat);
        // "tid (comm) S ...": the state follows the last ')'.
        size_t close = stat.rfind(')');
        if (close != std::string::npos && close + 2 < stat.size() && stat[close + 2] == 'S') {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

}  // namespace test
}  // namespace orvex
