#include "CameraModule.h"

#include <hidl/HidlSupport.h>

#include "ScannerLog.h"

using android::hardware::hidl_string;
using vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;

template <AndroidVersion T>
typename CameraModule<T>::_thread_register CameraModule<T>::Obj;

template <AndroidVersion T>
CameraModule<T>::CameraModule() : b_CameraVendorTagInit(false) {}

template <AndroidVersion T>
CameraModule<T>::~CameraModule() {
    sp_CameraTagProvider = nullptr;
    sp_DCHWManager = nullptr;
}

template <AndroidVersion T>
bool CameraModule<T>::IsSupported() {
    return true;
}

template <AndroidVersion T>
char const* CameraModule<T>::GetModuleName() {
    return "CameraModule";
}

template <AndroidVersion T>
bool CameraModule<T>::Init() {
    SF_LOGI("CameraModule::Init");
    return associateCameraVendorTagHIDL();
}

template <AndroidVersion T>
bool CameraModule<T>::associateCameraVendorTagHIDL() {
    // Connected to a manager that still answers: a repeated Init answers false and keeps the
    // connection. The flag without a manager (a reconnection found none) answers false too.
    if (sp_DCHWManager != nullptr || b_CameraVendorTagInit) {
        if (sp_DCHWManager == nullptr) return false;
        if (sp_DCHWManager->ping().isOk()) return false;
    }
    sp_DCHWManager = IDCHWManager::getService("default", false);
    if (sp_DCHWManager == nullptr) {
        SF_LOGE(
            "[CameraModule::associateCameraVendorTagHIDL] Unable to get DCHWManager HIDL "
            "interface.");
        return false;
    }
    sp_CameraTagProvider = sp_DCHWManager->getCameraVendorTagProvider();
    if (sp_CameraTagProvider == nullptr) {
        SF_LOGE(
            "[CameraModule::associateCameraVendorTagHIDL] Unable to get ICameraVendorTagProvider "
            "HIDL interface.");
        sp_DCHWManager = nullptr;
        return false;
    }
    b_CameraVendorTagInit = true;
    SF_LOGI(
        "[CameraModule::associateCameraVendorTagHIDL] Acquired ICameraVendorTagProvider "
        "interface.");
    return true;
}

template <AndroidVersion T>
void CameraModule<T>::disassociateCameraVendorTagHIDL() {
    b_CameraVendorTagInit = false;
    sp_CameraTagProvider = nullptr;
    sp_DCHWManager = nullptr;
}

template <AndroidVersion T>
bool CameraModule<T>::DeInit() {
    SF_LOGI("CameraModule::DeInit");
    b_CameraVendorTagInit = false;
    sp_CameraTagProvider = nullptr;
    sp_DCHWManager = nullptr;
    return true;
}

template <AndroidVersion T>
int32_t CameraModule<T>::GetCameraVendorTagID(std::string name) {
    if (sp_CameraTagProvider == nullptr) {
        SF_LOGE("[CameraModule<T>::GetCameraVendorTagID] sp_CameraTagProvider is null");
        return -1;
    }
    int32_t tagId = sp_CameraTagProvider->getVendorTagId(hidl_string(name));
    return tagId;
}

template class CameraModule<(AndroidVersion)10>;
