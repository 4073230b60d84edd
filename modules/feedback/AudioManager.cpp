#include "AudioManager.h"

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "ScannerLog.h"

AudioManager* AudioManager::m_sAudioManager = nullptr;

AudioManager* AudioManager::GetInstance() {
    if (m_sAudioManager == nullptr) m_sAudioManager = new AudioManager();
    return m_sAudioManager;
}

AudioManager::AudioManager() {
    if (!LoadService()) {
        SF_LOGE("[AudioManager::AudioManager] Unable to load AudioManager\n");
        // Never retried: every later query of the process answers -1.
        sp_AudioManager.clear();
    }
}

bool AudioManager::LoadService() {
    android::ProcessState::self();
    android::sp<android::IServiceManager> sm = android::defaultServiceManager();
    if (sm == nullptr) {
        SF_LOGE("[AudioManager::LoadService] Unable to get an instance of the service manager");
        return false;
    }
    SF_LOGD("[AudioManager::LoadService] Received an instance of service manager");

    // Android 14 deprecates getService for waitForService and checkService; the lookup stays as
    // it is, with its bounded wait, because callers rely on it. Only this use is exempt.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    android::sp<android::IBinder> binder = sm->getService(android::String16("audio"));
#pragma GCC diagnostic pop
    if (binder == nullptr) {
        SF_LOGE("[AudioManager::LoadService] Audio service client object not received");
        return false;
    }
    sp_AudioManager = IAudioManager::asInterface(binder);
    if (sp_AudioManager == nullptr) {
        SF_LOGE("[AudioManager::LoadService] Remote object is not an audio manager object");
        return false;
    }
    return true;
}

int AudioManager::GetStreamVolume(int streamType) {
    if (sp_AudioManager == nullptr) return -1;
    return sp_AudioManager->getStreamVolume(streamType);
}

int AudioManager::GetStreamMaxVolume(int streamType) {
    if (sp_AudioManager == nullptr) return -1;
    return sp_AudioManager->getStreamMaxVolume(streamType);
}

void AudioManager::setStreamVolume(int streamType, int index, int flags,
                                   android::String8& callingPackage) {
    if (sp_AudioManager == nullptr) return;
    sp_AudioManager->setStreamVolume(streamType, index, flags, callingPackage);
}
