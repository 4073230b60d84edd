#include "BatterySwapModule.h"

#include "ScannerLog.h"

using vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;

template <AndroidVersion T>
typename BatterySwapModule<T>::_thread_register BatterySwapModule<T>::Obj;

template <AndroidVersion T>
BatterySwapModule<T>::BatterySwapModule() : b_BatterySwapInit(false) {}

template <AndroidVersion T>
BatterySwapModule<T>::~BatterySwapModule() {
    sp_BatterySwapHandler = nullptr;
    sp_DCHWManager = nullptr;
}

template <AndroidVersion T>
bool BatterySwapModule<T>::IsSupported() {
    return true;
}

template <AndroidVersion T>
char const* BatterySwapModule<T>::GetModuleName() {
    return "BatterySwapModule";
}

template <AndroidVersion T>
bool BatterySwapModule<T>::Init() {
    return associateBatterySwapHIDL();
}

template <AndroidVersion T>
bool BatterySwapModule<T>::associateBatterySwapHIDL() {
    // Connected to a manager that still answers: a repeated Init answers false. The flag without
    // a manager (a reconnection found none) answers false too, for good.
    if (sp_DCHWManager != nullptr || b_BatterySwapInit) {
        if (sp_DCHWManager == nullptr) return false;
        if (sp_DCHWManager->ping().isOk()) return false;
    }
    sp_DCHWManager = IDCHWManager::getService("default", false);
    if (sp_DCHWManager == nullptr) {
        SF_LOGE(
            "[BatterySwapModule::associateBatterySwapHIDL] Unable to get DCHWManager HIDL "
            "interface.");
        return false;
    }
    sp_BatterySwapHandler = sp_DCHWManager->getBatterySwapHandler();
    if (sp_BatterySwapHandler == nullptr) {
        SF_LOGE(
            "[BatterySwapModule::associateBatterySwapHIDL] Unable to get IBatterySwapHandler HIDL "
            "interface.");
        sp_DCHWManager = nullptr;
        return false;
    }
    b_BatterySwapInit = true;
    SF_LOGI(
        "[BatterySwapModule::associateBatterySwapHIDL] Acquired IBatterySwapHandlerHIDL "
        "interface.");
    return true;
}

template <AndroidVersion T>
void BatterySwapModule<T>::disassociateBatterySwapHIDL() {
    b_BatterySwapInit = false;
    sp_BatterySwapHandler = nullptr;
    sp_DCHWManager = nullptr;
}

template <AndroidVersion T>
bool BatterySwapModule<T>::EnterBatterySwap() {
    if (sp_BatterySwapHandler == nullptr) {
        SF_LOGE("[BatterySwapModule<T>::EnterBatterySwap] sp_BatterySwapHandler is null");
        return false;
    }
    return sp_BatterySwapHandler->enterBatterySwap();
}

template <AndroidVersion T>
bool BatterySwapModule<T>::ExitBatterySwap() {
    if (sp_BatterySwapHandler == nullptr) {
        SF_LOGE("[BatterySwapModule<T>::ExitBatterySwap] sp_BatterySwapHandler is null");
        return false;
    }
    return sp_BatterySwapHandler->exitBatterySwap();
}

template class BatterySwapModule<(AndroidVersion)10>;
