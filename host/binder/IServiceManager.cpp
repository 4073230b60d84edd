// The host's service manager: a registry of the binder objects of this process, with the
// declared instance names a device manifest would list.

#include <binder/IServiceManager.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>

#include "orvex/binder_services.h"

namespace android {

IServiceManager::IServiceManager() {}
IServiceManager::~IServiceManager() {}

namespace {

class HostServiceManager : public IServiceManager {
  public:
    sp<IBinder> getService(const String16& name) const override { return checkService(name); }

    sp<IBinder> checkService(const String16& name) const override {
        std::lock_guard<std::mutex> lock(mMutex);
        auto it = mServices.find(name);
        return it != mServices.end() ? it->second : nullptr;
    }

    status_t addService(const String16& name, const sp<IBinder>& service, bool, int) override {
        if (service == nullptr) return BAD_VALUE;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mServices[name] = service;
        }
        mAdded.notify_all();
        return NO_ERROR;
    }

    sp<IBinder> waitForService(const String16& name) override {
        std::unique_lock<std::mutex> lock(mMutex);
        mAdded.wait(lock, [&] { return mServices.count(name) != 0; });
        return mServices[name];
    }

    bool isDeclared(const String16& name) override {
        std::lock_guard<std::mutex> lock(mMutex);
        return mDeclared.count(name) != 0;
    }

    void declare(const String16& name, bool declared) {
        std::lock_guard<std::mutex> lock(mMutex);
        if (declared) {
            mDeclared.insert(name);
        } else {
            mDeclared.erase(name);
        }
    }

    void remove(const String16& name) {
        sp<IBinder> removed;  // released outside the lock: its destructor may call back in
        std::lock_guard<std::mutex> lock(mMutex);
        auto it = mServices.find(name);
        if (it == mServices.end()) return;
        removed = it->second;
        mServices.erase(it);
    }

    void reset() {
        std::map<String16, sp<IBinder>> removed;
        std::lock_guard<std::mutex> lock(mMutex);
        removed.swap(mServices);
        mDeclared.clear();
    }

  protected:
    // The registry is not itself a binder object on a host.
    IBinder* onAsBinder() override { return nullptr; }

  private:
    mutable std::mutex mMutex;
    std::condition_variable mAdded;
    std::map<String16, sp<IBinder>> mServices;  // guarded by mMutex
    std::set<String16> mDeclared;               // guarded by mMutex
};

HostServiceManager* TheServiceManager() {
    // Never destroyed: services may be looked up while the process exits.
    static HostServiceManager* const sm = [] {
        HostServiceManager* instance = new HostServiceManager();
        instance->incStrong(instance);
        return instance;
    }();
    return sm;
}

std::atomic<bool> gServiceManagerAvailable{true};

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    if (!gServiceManagerAvailable.load(std::memory_order_acquire)) return nullptr;
    return TheServiceManager();
}

}  // namespace android

namespace orvex {
namespace binder {

void Declare(const std::string& name) {
    android::TheServiceManager()->declare(android::String16(name.c_str()), true);
}

void Undeclare(const std::string& name) {
    android::TheServiceManager()->declare(android::String16(name.c_str()), false);
}

void RemoveService(const std::string& name) {
    android::TheServiceManager()->remove(android::String16(name.c_str()));
}

void Reset() {
    android::TheServiceManager()->reset();
    SetServiceManagerAvailable(true);
}

void SetServiceManagerAvailable(bool available) {
    android::gServiceManagerAvailable.store(available, std::memory_order_release);
}

}  // namespace binder
}  // namespace orvex
