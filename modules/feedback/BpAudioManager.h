// The proxy of the audio service: each operation is one synchronous transaction with a fixed
// code of the service's interface.
#pragma once

#include <binder/IInterface.h>

#include "IAudioManager.h"

class BpAudioManager : public android::BpInterface<IAudioManager> {
  public:
    // The service's transaction codes for the three calls the library makes.
    enum : uint32_t {
        SET_STREAM_VOLUME = 3,
        GET_STREAM_VOLUME = 8,
        GET_STREAM_MAX_VOLUME = 10,
    };

    explicit BpAudioManager(const android::sp<android::IBinder>& impl);

    // The reply is not read: the service's answer does not change what the caller does.
    void setStreamVolume(int streamType, int index, int flags,
                         android::String8& callingPackage) override;
    // The word after the reply's exception word; 0 when the transaction failed, since the
    // reply is then empty.
    int getStreamVolume(int streamType) override;
    int getStreamMaxVolume(int streamType) override;
};
