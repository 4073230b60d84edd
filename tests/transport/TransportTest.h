// Pieces the transport suites share: log entries by priority and text, the fatal line of a value
// read from a call that did not reach its service, and where a callback ran.
#pragma once

#include <android/log.h>
#include <orvex/hidl_registry.h>
#include <orvex/log_capture.h>

#include <string>
#include <thread>

namespace transport_test {

constexpr int D = ANDROID_LOG_DEBUG;
constexpr int I = ANDROID_LOG_INFO;
constexpr int E = ANDROID_LOG_ERROR;

inline orvex::hostlog::Entry Log(int priority, const std::string& text) {
    return orvex::hostlog::Entry{priority, "ScannerFramework", text};
}

// What a death test sees on stderr when a module reads the result of a call to a dead service.
std::string DeadServiceRegex();

// The thread a callback ran on.
struct CallbackThread {
    std::thread::id id;
    bool onRpcThread = false;

    static CallbackThread Current() {
        return CallbackThread{std::this_thread::get_id(), orvex::hidl::OnRpcThread()};
    }
};

}  // namespace transport_test
