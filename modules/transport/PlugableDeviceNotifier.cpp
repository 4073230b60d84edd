#include "PlugableDeviceNotifier.h"

#include "DCHWManagerAssociation.h"
#include "ScannerLog.h"

using android::sp;
using android::hardware::hidl_string;
using android::hardware::Return;
using android::hardware::Void;
using vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace implementation {

PlugableNotifierCallback::PlugableNotifierCallback() {
    SF_LOGD("[PlugableNotifierCallbacki::PlugableNotifierCallback] ctor\n");
}

PlugableNotifierCallback::~PlugableNotifierCallback() {
    SF_LOGD("[PlugableNotifierCallbacki::~PlugableNotifierCallback] dtor\n");
}

bool PlugableNotifierCallback::setPlugableHALCallback(IPlugableHALCallBack* callback) {
    return m_PlugableHALCallback.Set(callback);
}

void PlugableNotifierCallback::clearPlugableHALCallback() { m_PlugableHALCallback.Close(); }

Return<void> PlugableNotifierCallback::OnConnectionChanged(bool event, const hidl_string& portName,
                                                           int8_t scannerType) {
    SF_LOGD(
        "[PlugableNotifierCallback::OnConnectionChanged] event:%d, portName:%s, scannerType:%d\n",
        event ? 1 : 0, portName.c_str(), scannerType);
    // After a release the service may still hold this object: what reaches it then goes nowhere.
    m_PlugableHALCallback.Call([&](IPlugableHALCallBack* callback) {
        callback->OnPlugableDeviceChanged(event, std::string(portName.c_str(), portName.size()),
                                          static_cast<int>(scannerType));
    });
    return Void();
}

}  // namespace implementation
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor

namespace {
const char kWrongPort[] = "WrongPort";
}

template <AndroidVersion T>
typename PlugableDeviceNotifier<T>::_thread_register PlugableDeviceNotifier<T>::Obj;

template <AndroidVersion T>
PlugableDeviceNotifier<T>::PlugableDeviceNotifier() : b_PlugableInit(false) {
    SF_LOGD("[PlugableDeviceNotifier<T>::PlugableDeviceNotifier()] ctor");
}

template <AndroidVersion T>
PlugableDeviceNotifier<T>::~PlugableDeviceNotifier() {
    SF_LOGD("[PlugableDeviceNotifier<T>::PlugableDeviceNotifier()] dtor");
    sp_PlugableHal = nullptr;
    sp_IDCHWManager = nullptr;
    closeNotifierCallbacks();
    sp_PlugableNotifierCallback = nullptr;
}

template <AndroidVersion T>
bool PlugableDeviceNotifier<T>::IsSupported() {
    return true;
}

template <AndroidVersion T>
char const* PlugableDeviceNotifier<T>::GetModuleName() {
    return "PlugableDeviceNotifier";
}

template <AndroidVersion T>
bool PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier() {
    // A live manager means this instance is connected already.
    static const DCHWManagerAssociationTexts kTexts = {
        "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] failed",
        "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] Unable to get "
        "IDCHWManager interface.",
        "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] Unable to get "
        "IPlugableDevice interface.",
        "[PlugableDeviceNotifier<T>::associatePlugableDeviceNotifier] Acquired "
        "PlugableDeviceNotifier interface.",
    };
    return AssociateWithDCHWManager(sp_IDCHWManager, sp_PlugableHal, b_PlugableInit,
                                    &IDCHWManager::getPlugableDeviceNotifier, kTexts);
}

template <AndroidVersion T>
bool PlugableDeviceNotifier<T>::AcquirePlugableDeviceNotifier() {
    bool acquired = associatePlugableDeviceNotifier();
    if (acquired) {
        SF_LOGD("[PlugableDeviceNotifier<T>::AcquirePlugableDeviceNotifierInterface] success");
    } else {
        SF_LOGE(
            "[PlugableDeviceNotifier<T>::AcquirePlugableDeviceNotifierInterface] is not available");
    }
    return acquired;
}

template <AndroidVersion T>
void PlugableDeviceNotifier<T>::disassociate() {
    SF_LOGD("[PlugableDeviceNotifier<T>::disassociate]");
    b_PlugableInit = false;
    closeNotifierCallbacks();
    sp_PlugableNotifierCallback = nullptr;
    sp_IDCHWManager = nullptr;
    sp_PlugableHal = nullptr;
}

template <AndroidVersion T>
void PlugableDeviceNotifier<T>::closeNotifierCallbacks() {
    // The service may keep calling the objects it was given; the caller may destroy its callback
    // as soon as this instance lets go of it, so nothing may reach it from then on.
    for (const auto& given : m_GivenCallbacks) {
        given->clearPlugableHALCallback();
    }
    m_GivenCallbacks.clear();
    if (sp_PlugableNotifierCallback != nullptr) {
        sp_PlugableNotifierCallback->clearPlugableHALCallback();
    }
}

template <AndroidVersion T>
bool PlugableDeviceNotifier<T>::ReleasePlugableDeviceNotifier() {
    SF_LOGD("[PlugableDeviceNotifier<T>::ReleasePlugableDeviceNotifierInterface]");
    disassociate();
    return true;
}

template <AndroidVersion T>
bool PlugableDeviceNotifier<T>::InitializeSSI(IPlugableHALCallBack* callback, ScannerType type) {
    SF_LOGD("[PlugableDeviceNotifier<T>::InitializeSSI] scanner:%d ++", static_cast<int>(type));
    if (sp_PlugableHal != nullptr) {
        // The new object replaces the held one, but an earlier registration stays in force (and
        // its object open) until the service accepts a new one: a refused or null registration
        // leaves the caller's earlier callback reached.
        sp_PlugableNotifierCallback = new PlugableNotifierCallback();
        if (sp_PlugableNotifierCallback->setPlugableHALCallback(callback)) {
            uint8_t registered = sp_PlugableHal->registerNotifierCallback(
                sp_PlugableNotifierCallback, static_cast<int32_t>(type));
            if (registered != 0) {
                for (const auto& replaced : m_GivenCallbacks) {
                    replaced->clearPlugableHALCallback();
                }
                m_GivenCallbacks.clear();
            }
            m_GivenCallbacks.push_back(sp_PlugableNotifierCallback);
            return registered != 0;
        }
    }
    SF_LOGE("[PlugableDeviceNotifier<T>::InitializeSSI] failed");
    return false;
}

template <AndroidVersion T>
std::string PlugableDeviceNotifier<T>::GetPortName() {
    std::string portName;
    if (sp_PlugableHal == nullptr) {
        SF_LOGE("[PlugableDeviceNotifier<T>::GetPortName] sp_PlugableHal is null");
        portName = kWrongPort;
    } else {
        // A reply that never came names no valid port.
        int status = -1;
        sp_PlugableHal
            ->getPortName([&](int8_t replyStatus, const hidl_string& replyName) {
                status = replyStatus;
                portName = std::string(replyName.c_str(), replyName.size());
            })
            .isOk();
        if (status == -1) {
            SF_LOGE("[PlugableDeviceNotifier<T>::GetPortName] Error in port Name");
            portName = kWrongPort;
        }
    }
    SF_LOGE("[PlugableDeviceNotifier<T>::GetPortName] port name %s", portName.c_str());
    return portName;
}

template class PlugableDeviceNotifier<(AndroidVersion)10>;
