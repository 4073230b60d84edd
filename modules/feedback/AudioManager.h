// The process's client of the audio service, used by the beep to follow the user's stream
// volumes. Created by the first beep module and never destroyed; GetInstance takes no lock, so
// its first call must not race (module construction on one thread).
#pragma once

#include <utils/String8.h>

#include "IAudioManager.h"

class AudioManager {
  public:
    // The instance; the first call connects to the service. Never null.
    static AudioManager* GetInstance();

    // Looks the "audio" service up; true when a client object was obtained.
    bool LoadService();

    // The stream's volume index, or -1 when the service was not reached.
    int GetStreamVolume(int streamType);
    // The stream's maximum index, or -1 when the service was not reached.
    int GetStreamMaxVolume(int streamType);
    // Does nothing when the service was not reached.
    void setStreamVolume(int streamType, int index, int flags, android::String8& callingPackage);

  private:
    AudioManager();

    // Empty when the service was not reached: the lookup is made once per process.
    android::sp<IAudioManager> sp_AudioManager;

    static AudioManager* m_sAudioManager;
};
