// libbinder's service manager, for Linux hosts: one registry of named binder objects per
// process, filled by the simulator (addService) and read by the library.
#pragma once

#include <binder/IInterface.h>
#include <utils/String16.h>

namespace android {

class IServiceManager : public IInterface {
  public:
    enum {
        DUMP_FLAG_PRIORITY_CRITICAL = 1 << 0,
        DUMP_FLAG_PRIORITY_HIGH = 1 << 1,
        DUMP_FLAG_PRIORITY_NORMAL = 1 << 2,
        DUMP_FLAG_PRIORITY_DEFAULT = 1 << 3,
        DUMP_FLAG_PRIORITY_ALL = DUMP_FLAG_PRIORITY_CRITICAL | DUMP_FLAG_PRIORITY_HIGH |
                                 DUMP_FLAG_PRIORITY_NORMAL | DUMP_FLAG_PRIORITY_DEFAULT,
    };

    // The service registered under `name`, or null. A device waits a few seconds for a service
    // that is still starting; a host has no starting services, so the answer comes at once.
    virtual sp<IBinder> getService(const String16& name) const = 0;
    // The service registered under `name`, or null, without waiting.
    virtual sp<IBinder> checkService(const String16& name) const = 0;
    // Registers (or replaces) the service under `name` and wakes whoever waits for it.
    virtual status_t addService(const String16& name, const sp<IBinder>& service,
                                bool allowIsolated = false,
                                int dumpsysFlags = DUMP_FLAG_PRIORITY_DEFAULT) = 0;
    // Blocks until a service is registered under `name`; callers ask isDeclared() first, since
    // a service that is never registered is waited for forever, as on a device.
    virtual sp<IBinder> waitForService(const String16& name) = 0;
    // True when the device declares an instance of this name ("<descriptor>/<instance>").
    virtual bool isDeclared(const String16& name) = 0;

  protected:
    IServiceManager();
    ~IServiceManager() override;
};

// The process's service manager; null when the simulator made it unavailable.
sp<IServiceManager> defaultServiceManager();

template <typename INTERFACE>
status_t getService(const String16& name, sp<INTERFACE>* outService) {
    const sp<IServiceManager> sm = defaultServiceManager();
    if (sm == nullptr) return NAME_NOT_FOUND;
    *outService = interface_cast<INTERFACE>(sm->getService(name));
    return *outService != nullptr ? NO_ERROR : NAME_NOT_FOUND;
}

template <typename INTERFACE>
sp<INTERFACE> waitForService(const String16& name) {
    const sp<IServiceManager> sm = defaultServiceManager();
    if (sm == nullptr) return nullptr;
    return interface_cast<INTERFACE>(sm->waitForService(name));
}

// Waits only for a service the device declares; an undeclared name gives null at once.
template <typename INTERFACE>
sp<INTERFACE> waitForDeclaredService(const String16& name) {
    const sp<IServiceManager> sm = defaultServiceManager();
    if (sm == nullptr || !sm->isDeclared(name)) return nullptr;
    return interface_cast<INTERFACE>(sm->waitForService(name));
}

template <typename INTERFACE>
sp<INTERFACE> checkDeclaredService(const String16& name) {
    const sp<IServiceManager> sm = defaultServiceManager();
    if (sm == nullptr || !sm->isDeclared(name)) return nullptr;
    return interface_cast<INTERFACE>(sm->checkService(name));
}

}  // namespace android
