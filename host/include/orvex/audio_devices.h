// The host's audio policy, for the simulator and tests: which audio devices are connected, and
// which connection states were asked.
#pragma once

#include <system/audio.h>
#include <system/audio_policy.h>

#include <string>
#include <vector>

namespace orvex {
namespace audio {

// Connects (AVAILABLE) or disconnects (UNAVAILABLE) a device at an address ("" for none).
void SetDeviceConnectionState(audio_devices_t device, const std::string& address,
                              audio_policy_dev_state_t state);

// Disconnects every device and forgets the queries.
void ResetDevices();

struct DeviceQuery {
    audio_devices_t device;
    std::string address;

    bool operator==(const DeviceQuery& o) const {
        return device == o.device && address == o.address;
    }
};

// Every AudioSystem::getDeviceConnectionState call since the last reset, in order.
std::vector<DeviceQuery> DeviceQueries();

}  // namespace audio
}  // namespace orvex
