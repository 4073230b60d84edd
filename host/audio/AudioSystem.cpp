// The audio policy of the host: a list of connected devices set by the simulator.

#include <media/AudioSystem.h>

#include <mutex>
#include <string>
#include <vector>

#include "orvex/audio_devices.h"

namespace {

struct ConnectedDevice {
    audio_devices_t device;
    std::string address;
};

struct AudioPolicy {
    std::mutex mutex;
    std::vector<ConnectedDevice> connected;          // guarded by mutex
    std::vector<orvex::audio::DeviceQuery> queries;  // guarded by mutex
};

AudioPolicy& ThePolicy() {
    static AudioPolicy* const policy = new AudioPolicy;  // never destroyed
    return *policy;
}

}  // namespace

namespace android {

audio_policy_dev_state_t AudioSystem::getDeviceConnectionState(audio_devices_t device,
                                                               const char* device_address) {
    const std::string address = device_address != nullptr ? device_address : "";
    AudioPolicy& policy = ThePolicy();
    std::lock_guard<std::mutex> lock(policy.mutex);
    policy.queries.push_back({device, address});
    for (const ConnectedDevice& d : policy.connected) {
        if (d.device == device && (address.empty() || d.address == address)) {
            return AUDIO_POLICY_DEVICE_STATE_AVAILABLE;
        }
    }
    return AUDIO_POLICY_DEVICE_STATE_UNAVAILABLE;
}

}  // namespace android

namespace orvex {
namespace audio {

void SetDeviceConnectionState(audio_devices_t device, const std::string& address,
                              audio_policy_dev_state_t state) {
    AudioPolicy& policy = ThePolicy();
    std::lock_guard<std::mutex> lock(policy.mutex);
    auto& connected = policy.connected;
    for (auto it = connected.begin(); it != connected.end(); ++it) {
        if (it->device == device && it->address == address) {
            if (state != AUDIO_POLICY_DEVICE_STATE_AVAILABLE) connected.erase(it);
            return;
        }
    }
    if (state == AUDIO_POLICY_DEVICE_STATE_AVAILABLE) connected.push_back({device, address});
}

void ResetDevices() {
    AudioPolicy& policy = ThePolicy();
    std::lock_guard<std::mutex> lock(policy.mutex);
    policy.connected.clear();
    policy.queries.clear();
}

std::vector<DeviceQuery> DeviceQueries() {
    AudioPolicy& policy = ThePolicy();
    std::lock_guard<std::mutex> lock(policy.mutex);
    return policy.queries;
}

}  // namespace audio
}  // namespace orvex
