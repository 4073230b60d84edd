// libovc.so for the simulated device: the volume-control library's three entry points, answering
// from the profile file /sim/libovc.prop:
//
//   scanner_beep_volume=N        GetScannerVolume()          (default 7)
//   beep_audio_api=N             getBeepAudioApiValue()      (default 0)
//   audio_accessory_status=TEXT  getAudioAccessoryStatus()   (default "0": nothing attached)
//
// Every call is logged under "sim.libovc" with its answer, so tests see which calls were made.

#include <android/log.h>

#include <string>

#include "SubstituteProfile.h"

#define OVC_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr const char* kTag = "sim.libovc";
constexpr const char* kProfile = "/sim/libovc.prop";

// The text handed out stays valid until the next call on the same thread; callers copy or
// convert it at once.
thread_local std::string tAccessoryStatus;

}  // namespace

OVC_EXPORT int GetScannerVolume() {
    int volume = orvex::sim::SubstituteProfile(kProfile).GetInt("scanner_beep_volume", 7);
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "GetScannerVolume() = %d", volume);
    return volume;
}

OVC_EXPORT int getBeepAudioApiValue() {
    int api = orvex::sim::SubstituteProfile(kProfile).GetInt("beep_audio_api", 0);
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "getBeepAudioApiValue() = %d", api);
    return api;
}

OVC_EXPORT const char* getAudioAccessoryStatus() {
    std::string status = orvex::sim::SubstituteProfile(kProfile).Get("audio_accessory_status", "0");
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "getAudioAccessoryStatus() = %s", status.c_str());
    tAccessoryStatus = status;
    return tAccessoryStatus.c_str();
}
