#include "DeviceInfoBuilder.h"

#include <stdio.h>

#include <memory>
#include <string>

#include "ScannerLog.h"

namespace odk {

namespace {

constexpr size_t kFactBufferSize = 256;

// Copies a device fact into a fixed buffer; a fact that does not fit ends the process in the
// loader's overflow check rather than being cut short, since a shortened name would select a
// different scanner list.
void CopyFact(char (&buffer)[kFactBufferSize], const std::string& fact) {
    __builtin___strcpy_chk(buffer, fact.c_str(), sizeof buffer);
}

}  // namespace

DeviceInfo* DeviceInfoBuilder::deviceInfo = nullptr;
std::mutex DeviceInfoBuilder::mDeviceInfoMutex;
std::atomic<SupportedScannerInfo*> DeviceInfoBuilder::supportedScannerInfo{nullptr};
std::mutex DeviceInfoBuilder::mSupportedScannerInfoMutex;

DeviceInfo* DeviceInfoBuilder::GetDeviceInfoInstance() {
    std::lock_guard<std::mutex> lock(mDeviceInfoMutex);
    if (deviceInfo == nullptr) deviceInfo = new DeviceInfo();
    return deviceInfo;
}

SupportedScannerInfo* DeviceInfoBuilder::GetSupportedScannerInfoInstance() {
    SupportedScannerInfo* info = supportedScannerInfo.load(std::memory_order_acquire);
    if (info != nullptr) return info;

    std::lock_guard<std::mutex> lock(mSupportedScannerInfoMutex);
    info = supportedScannerInfo.load(std::memory_order_relaxed);
    if (info != nullptr) return info;

    // The order matters: every fact logs, and the camera checks open the camera service.
    int scannerId = GetDeviceInfoInstance()->GetScanner();
    if (scannerId != 0) {
        SF_LOGD("[DeviceInfo::GetSupportedScannerInstance] Scanner ID=%d", scannerId);
    } else {
        SF_LOGD("[DeviceInfo::GetSupportedScannerInstance] Imager scanner is not present");
    }
    bool rearCamera = GetDeviceInfoInstance()->IsRearCameraAvaialable();
    if (rearCamera) {
        SF_LOGD("[DeviceInfo::GetSupportedScannerInstance] Rear Camera is available");
    } else {
        SF_LOGD("[DeviceInfo::GetSupportedScannerInstance] Rear camera is not available");
    }
    bool frontCamera = GetDeviceInfoInstance()->IsFrontCameraAvaialable();
    if (frontCamera) {
        SF_LOGD("[DeviceInfo::GetSupportedScannerInstance] Front Camera is available");
    } else {
        SF_LOGD("[DeviceInfo::GetSupportedScannerInstance] Front camera is not available");
    }
    char platformName[kFactBufferSize];
    CopyFact(platformName, GetDeviceInfoInstance()->GetPlatformName());
    char productModel[kFactBufferSize];
    CopyFact(productModel, GetDeviceInfoInstance()->GetProductModel());

    std::string release = GetDeviceInfoInstance()->GetAndroidVersion();
    size_t keySize = sizeof("Android_") - 1 + release.size() + 1;
    std::unique_ptr<char[]> androidVersion(new char[keySize]);
    snprintf(androidVersion.get(), keySize, "Android_%s", release.c_str());
    SF_LOGI("[DeviceInfo::GetSupportedScannerInstance] android version is %s",
            androidVersion.get());

    info = new SupportedScannerInfo(rearCamera, scannerId, platformName, productModel,
                                    androidVersion.get(), frontCamera);
    supportedScannerInfo.store(info, std::memory_order_release);
    return info;
}

}  // namespace odk
