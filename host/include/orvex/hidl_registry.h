// The HIDL service registry as the simulator drives it: services come, die, come back and go.
// Every function is thread-safe.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <stddef.h>
#include <utils/StrongPointer.h>

#include <string>
#include <utility>
#include <vector>

namespace orvex {
namespace hidl {

// Registers `service` as (descriptor, instance), hosted by a new process of its own. A live
// registration under that name dies first (its clients see a dead service).
void RegisterService(const std::string& descriptor, const std::string& instance,
                     const android::sp<android::hidl::base::V1_0::IBase>& service);

template <typename I>
void RegisterService(const android::sp<I>& service, const std::string& instance = "default") {
    RegisterService(I::descriptor, instance, service);
}

// The service's process dies: every proxy to it and to the interfaces it handed out fails
// with DEAD_OBJECT from now on, and each death link is told once on a runtime thread. The name
// stays declared, so getService waits until a new instance is registered (as on a device,
// where the service manager restarts it); tryGetService answers null at once. False when no
// live service had that name.
bool KillService(const std::string& descriptor, const std::string& instance);

// As KillService when the service is alive; then the name is no longer declared, so every
// lookup, waiting ones included, answers null at once.
bool RemoveService(const std::string& descriptor, const std::string& instance);

// Whether a live service has that name.
bool IsServiceRegistered(const std::string& descriptor, const std::string& instance);

// Live services as (descriptor, instance), sorted.
std::vector<std::pair<std::string, std::string>> ListServices();

// Threads the runtime's pool has started so far (they stay until the process ends).
size_t RpcThreadCount();

// Whether the calling thread is one of the runtime's pool threads.
bool OnRpcThread();

}  // namespace hidl
}  // namespace orvex
