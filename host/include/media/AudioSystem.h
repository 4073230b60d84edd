// The part of libaudioclient's AudioSystem that the library uses, for Linux hosts. The audio
// policy behind it is the simulator's list of connected devices (orvex/audio_devices.h).
#pragma once

#include <system/audio.h>
#include <system/audio_policy.h>

namespace android {

class AudioSystem {
  public:
    // Whether an output or input device is connected. An empty (or null) address matches a
    // device of that type at any address, as the audio policy matches it.
    static audio_policy_dev_state_t getDeviceConnectionState(audio_devices_t device,
                                                             const char* device_address);

  private:
    AudioSystem() = delete;
};

}  // namespace android
