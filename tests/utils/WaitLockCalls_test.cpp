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

template <typename Fn>
Fn Next(const char* name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

int Record(const std::string& call, int result) {
    if (!t_recording) return result;
    t_calls.push_back(call);
    const std::string name = call.substr(0, call.find(' '));
    return name == t_failing ? EAGAIN : result;
}

const char* Sharing(int pshared) {
    return pshared == PTHREAD_PROCESS_PRIVATE  ? "private"
           : pshared == PTHREAD_PROCESS_SHARED ? "shared"
                                               : "?";
}

const char* WhichAttr(const void* attr) {
    return attr == nullptr ? "default" : attr == t_lastAttr ? "prepared" : "other";
}

}  // namespace

extern "C" {

int pthread_mutexattr_init(pthread_mutexattr_t* attr) {
    static auto real = Next<int (*)(pthread_mutexattr_t*)>("pthread_mutexattr_init");
    if (t_recording) t_lastAttr = attr;
    return Record("pthread_mutexattr_init", real(attr));
}

int pthread_mutexattr_setpshared(pthread_mutexattr_t* attr, int pshared) {
    static auto real = Next<int (*)(pthread_mutexattr_t*, int)>("pthread_mutexattr_setpshared");
    return Record(
        std::string("pthread_mutexattr_setpshared ") + Sharing(pshared) + " " + WhichAttr(attr),
        real(attr, pshared));
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attr) {
    static auto real =
        Next<int (*)(pthread_mutex_t*, const pthread_mutexattr_t*)>("pthread_mutex_init");
    return Record(std::string("pthread_mutex_init ") + WhichAttr(attr), real(mutex, attr));
}

int pthread_mutexattr_destroy(pthread_mutexattr_t* attr) {
    static auto real = Next<int (*)(pthread_mutexattr_t*)>("pthread_mutexattr_destroy");
    return Record(std::string("pthread_mutexattr_destroy ") + WhichAttr(attr), real(attr));
}

int pthread_condattr_init(pthread_condattr_t* attr) {
    static auto real = Next<int (*)(pthread_condattr_t*)>("pthread_condattr_init");
    if (t_recording) t_lastAttr = attr;
    return Record("pthread_condattr_init", real(attr));
}

int pthread_condattr_setpshared(pthread_condattr_t* attr, int pshared) {
    static auto real = Next<int (*)(pthread_condattr_t*, int)>("pthread_condattr_setpshared");
    return Record(
        std::string("pthread_condattr_setpshared ") + Sharing(pshared) + " " + WhichAttr(attr),
        real(attr, pshared));
}

int pthread_cond_init(pthread_cond_t* cond, const pthread_condattr_t* attr) {
    static auto real =
        Next<int (*)(pthread_cond_t*, const pthread_condattr_t*)>("pthread_cond_init");
    return Record(std::string("pthread_cond_init ") + WhichAttr(attr), real(cond, attr));
}

int pthread_condattr_destroy(pthread_condattr_t* attr) {
    static auto real = Next<int (*)(pthread_condattr_t*)>("pthread_condattr_destroy");
    return Record(std::string("pthread_condattr_destroy ") + WhichAttr(attr), real(attr));
}

int pthread_mutex_destroy(pthread_mutex_t* mutex) {
    static auto real = Next<int (*)(pthread_mutex_t*)>("pthread_mutex_destroy");
    return Record("pthread_mutex_destroy", real(mutex));
}

int pthread_cond_destroy(pthread_cond_t* cond) {
    static auto real = Next<int (*)(pthread_cond_t*)>("pthread_cond_destroy");
    return Record("pthread_cond_destroy", real(cond));
}

}  // extern "C"

namespace {

using orvex::hostlog::Entry;

// Records the calls of one construction and destruction, with `failing` reported as failed.
std::vector<std::string> ConstructAndDestroy(const std::string& failing = "") {
    t_calls.clear();
    t_lastAttr = nullptr;
    t_failing = failing;
    t_recording = true;
    { WaitLock lock; }
    t_recording = false;
    return t_calls;
}

TEST(WaitLockCalls, ProcessPrivateAttributesPreparedInOrderAndDestroyedMutexFirst) {
    EXPECT_EQ((std::vector<std::string>{
                  "pthread_mutexattr_init",
                  "pthread_mutexattr_setpshared private prepared",
                  "pthread_mutex_init prepared",
                  "pthread_mutexattr_destroy prepared",
                  "pthread_condattr_init",
                  "pthread_condattr_setpshared private prepared",
                  "pthread_cond_init prepared",
                  "pthread_condattr_destroy prepared",
                  "pthread_mutex_destroy",
                  "pthread_cond_destroy",
              }),
              ConstructAndDestroy());
}

TEST(WaitLockCalls, EachFailingCallIsLoggedAndTheRestStillRuns) {
    struct Case {
        const char* call;
        const char* format;
    } cases[] = {
        {"pthread_mutexattr_init",
         "[Wait lock] Unable to Iinitialize mutex attribute, Error(%d) - %s\n"},
        {"pthread_mutexattr_setpshared",
         "[Wait lock] Unable to set privacy for mutex attribute, Error(%d) - %s\n"},
        {"pthread_mutex_init",
         "[Wait lock] Unable to Iinitialize mutex[WaitLock], Error(%d) - %s\n"},
        {"pthread_mutexattr_destroy",
         "[Wait lock] Unable to destroy mutex attribute, Error(%d) - %s\n"},
        {"pthread_condattr_init",
         "[Wait lock] Unable to Iinitialize condition attribute, Error(%d) - %s\n"},
        {"pthread_condattr_setpshared",
         "[Wait lock] Unable to set shared status in attribute, Error(%d) - %s\n"},
        {"pthread_cond_init",
         "[Wait lock] Unable to Iinitialize condition[WaitLock], Error(%d) - %s\n"},
        {"pthread_condattr_destroy",
         "[Wait lock] Unable to destroy condition variable attribute, Error(%d) - %s\n"},
        {"pthread_mutex_destroy",
         "[~Wait lock] Unable to destroy mutex[WaitLock], Error(%d) - %s\n"},
        {"pthread_cond_destroy",
         "[~Wait lock] Unable to destroy condition[WaitLock], Error(%d) - %s\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.call);
        char message[256];
        snprintf(message, sizeof message, c.format, EAGAIN, strerror(EAGAIN));
        orvex::hostlog::ScopedCapture capture;
        EXPECT_EQ(10u, ConstructAndDestroy(c.call).size());
        EXPECT_EQ((std::vector<Entry>{{6, "ScannerFramework", message}}), capture.Entries());
    }
}

}  // namespace
