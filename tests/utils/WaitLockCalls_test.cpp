// The pthread set-up calls of WaitLock, seen by replacing them for this program: each replacement
// forwards to the C library, records the call while the test thread records, and reports a
// chosen call as failed.

#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "WaitLock.h"
#include "orvex/log_capture.h"

namespace {

thread_local bool t_recording = false;
thread_local std::vector<std::string> t_calls;
thread_local const void* t_lastAttr = nullptr;
thread_local std::string t_failing;

const char* Which(const void* attr) {
    return attr == nullptr ? " default" : attr == t_lastAttr ? " prepared" : " other";
}
std::string Sharing(int pshared) {
    return pshared == PTHREAD_PROCESS_PRIVATE  ? " private"
           : pshared == PTHREAD_PROCESS_SHARED ? " shared"
                                               : " ?";
}

// Calls the C library's `name`, then records "name detail" and fails it if chosen.
template <typename... A>
int Forward(const char* name, const std::string& detail, A... args) {
    const int result = reinterpret_cast<int (*)(A...)>(dlsym(RTLD_NEXT, name))(args...);
    if (!t_recording) return result;
    t_calls.push_back(name + detail);
    return name == t_failing ? EAGAIN : result;
}

// An attribute object being initialised is the one later calls are expected to be given.
template <typename T>
const char* Prepare(T* attr) {
    if (t_recording) t_lastAttr = attr;
    return "";
}

}  // namespace

// Each replacement: the call, its parameters, what it records after its name, its arguments.
#define REPLACE(call, params, detail, ...) \
    int call params { return Forward(#call, detail, __VA_ARGS__); }

extern "C" {
REPLACE(pthread_mutexattr_init, (pthread_mutexattr_t * a), Prepare(a), a)
REPLACE(pthread_mutexattr_setpshared, (pthread_mutexattr_t * a, int s), Sharing(s) + Which(a), a, s)
REPLACE(pthread_mutex_init, (pthread_mutex_t * m, const pthread_mutexattr_t* a), Which(a), m, a)
REPLACE(pthread_mutexattr_destroy, (pthread_mutexattr_t * a), Which(a), a)
REPLACE(pthread_condattr_init, (pthread_condattr_t * a), Prepare(a), a)
REPLACE(pthread_condattr_setpshared, (pthread_condattr_t * a, int s), Sharing(s) + Which(a), a, s)
REPLACE(pthread_cond_init, (pthread_cond_t * c, const pthread_condattr_t* a), Which(a), c, a)
REPLACE(pthread_condattr_destroy, (pthread_condattr_t * a), Which(a), a)
REPLACE(pthread_mutex_destroy, (pthread_mutex_t * m), "", m)
REPLACE(pthread_cond_destroy, (pthread_cond_t * c), "", c)
}  // extern "C"

namespace {

// Each call of one construction and destruction in order (process-private attributes prepared
// in order, the mutex destroyed first), and what WaitLock logs when that call fails: the rest
// still runs.
TEST(WaitLockCalls, EachSetUpCallInOrderAndEachFailureLoggedWhileTheRestStillRuns) {
    const struct {
        const char* call;
        const char* message;
    } calls[] = {
        {"pthread_mutexattr_init", "[Wait lock] Unable to Iinitialize mutex attribute"},
        {"pthread_mutexattr_setpshared private prepared",
         "[Wait lock] Unable to set privacy for mutex attribute"},
        {"pthread_mutex_init prepared", "[Wait lock] Unable to Iinitialize mutex[WaitLock]"},
        {"pthread_mutexattr_destroy prepared", "[Wait lock] Unable to destroy mutex attribute"},
        {"pthread_condattr_init", "[Wait lock] Unable to Iinitialize condition attribute"},
        {"pthread_condattr_setpshared private prepared",
         "[Wait lock] Unable to set shared status in attribute"},
        {"pthread_cond_init prepared", "[Wait lock] Unable to Iinitialize condition[WaitLock]"},
        {"pthread_condattr_destroy prepared",
         "[Wait lock] Unable to destroy condition variable attribute"},
        {"pthread_mutex_destroy", "[~Wait lock] Unable to destroy mutex[WaitLock]"},
        {"pthread_cond_destroy", "[~Wait lock] Unable to destroy condition[WaitLock]"},
    };
    std::vector<std::string> sequence;
    for (const auto& c : calls) sequence.push_back(c.call);
    for (int failing = -1; failing < 10; ++failing) {
        t_failing = failing < 0 ? "" : sequence[failing].substr(0, sequence[failing].find(' '));
        SCOPED_TRACE("failing: " + t_failing);
        std::vector<orvex::hostlog::Entry> expected;
        if (failing >= 0) {
            char message[256];
            snprintf(message, sizeof message, "%s, Error(%d) - %s\n", calls[failing].message,
                     EAGAIN, strerror(EAGAIN));
            expected.push_back({6, "ScannerFramework", message});
        }
        orvex::hostlog::ScopedCapture capture;
        t_calls.clear();
        t_lastAttr = nullptr;
        t_recording = true;
        { WaitLock lock; }
        t_recording = false;
        EXPECT_EQ(sequence, t_calls);
        EXPECT_EQ(expected, capture.Entries());
    }
}

}  // namespace
