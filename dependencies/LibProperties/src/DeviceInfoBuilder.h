// The process-wide factory of the device facts: owns the one DeviceInfo and the one
// SupportedScannerInfo, both built on first request and never destroyed.
//
// Any thread may call both operations. Lock order: mSupportedScannerInfoMutex before
// mDeviceInfoMutex; mDeviceInfoMutex is never held across a DeviceInfo call.
#pragma once

#include <atomic>
#include <mutex>

#include "DeviceInfo.h"
#include "PlatformExport.h"
#include "SupportedScannerInfo.h"

namespace odk {

class PLATFORM_EXPORT DeviceInfoBuilder {
public:
    static DeviceInfo* GetDeviceInfoInstance();

    // Gathers the device facts (scanner ID, cameras, platform, model, release) on the first
    // call and builds the scanner list from them. A number in the scanner list that does not
    // parse throws std::invalid_argument (or std::out_of_range) to the caller; nothing is
    // stored then, and the next call tries again.
    static SupportedScannerInfo* GetSupportedScannerInfoInstance();

private:
    static DeviceInfo* deviceInfo;  // GUARDED_BY(mDeviceInfoMutex)
    static std::mutex mDeviceInfoMutex;
    // Read without the lock on the fast path; stored under mSupportedScannerInfoMutex once
    // the object is complete.
    static std::atomic<SupportedScannerInfo*> supportedScannerInfo;
    static std::mutex mSupportedScannerInfoMutex;
};

}  // namespace odk
