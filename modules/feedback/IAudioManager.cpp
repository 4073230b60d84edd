#include "IAudioManager.h"

#include <utility>

#include "BpAudioManager.h"

const android::String16 IAudioManager::descriptor("android.media.IAudioService");
android::sp<IAudioManager> IAudioManager::default_impl;

IAudioManager::IAudioManager() {}
IAudioManager::~IAudioManager() {}

const android::String16& IAudioManager::getInterfaceDescriptor() const { return descriptor; }

android::sp<IAudioManager> IAudioManager::asInterface(const android::sp<android::IBinder>& obj) {
    android::sp<IAudioManager> intr;
    if (obj != nullptr) {
        intr = static_cast<IAudioManager*>(obj->queryLocalInterface(descriptor).get());
        if (intr == nullptr) intr = new BpAudioManager(obj);
    }
    return intr;
}

bool IAudioManager::setDefaultImpl(android::sp<IAudioManager> impl) {
    if (!default_impl && impl) {
        default_impl = std::move(impl);
        return true;
    }
    return false;
}

const android::sp<IAudioManager>& IAudioManager::getDefaultImpl() { return default_impl; }
