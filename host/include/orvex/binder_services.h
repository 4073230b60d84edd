// Control of the host's binder service manager, for the simulator and tests: what a device's
// service manager and manifest would hold.
#pragma once

#include <binder/IBinder.h>

#include <string>

namespace orvex {
namespace binder {

// Declares an instance name ("<descriptor>/<instance>") as a device manifest would, so that
// isDeclared() answers true for it.
void Declare(const std::string& name);
void Undeclare(const std::string& name);

// Unregisters a service; later lookups give null.
void RemoveService(const std::string& name);

// Removes every service and declaration and makes the service manager available again.
void Reset();

// false: defaultServiceManager() gives null, as in a process that cannot reach binder.
void SetServiceManagerAvailable(bool available);

// A binder through which `local` is reached as if it lived in another process: it implements
// no local interface (interface_cast builds a proxy), and each transaction travels as a copy of
// the request's bytes with the reply copied back, empty when the transaction failed.
android::sp<android::IBinder> AsRemote(const android::sp<android::IBinder>& local);

}  // namespace binder
}  // namespace orvex
