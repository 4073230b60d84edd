// libhidl's thread pool controls, for Linux hosts.
//
// The runtime's threads deliver death notices and every call that a service makes on an object
// that this process handed to it (callbacks). They are started on demand, up to the configured
// number; without a configuration the pool has one thread.
#pragma once

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <stddef.h>
#include <utils/Errors.h>

namespace android {
namespace hardware {

// Sets the most threads the pool may run (at least one). With `callerWillJoin`, the caller
// promises to lend its own thread through joinRpcThreadpool(), which counts as one of them.
status_t configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);

// Makes the calling thread one of the pool's threads. Never returns.
[[noreturn]] void joinRpcThreadpool();

}  // namespace hardware
}  // namespace android
