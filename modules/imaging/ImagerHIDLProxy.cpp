#include "ImagerHIDLProxy.h"

#include "ImagerControlHIDLProxy.h"
#include "ScannerLog.h"
#include "V4L2ImagerAdapterHIDLProxy.h"

using android::sp;
using android::hardware::hidl_string;
using vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;

template <AndroidVersion T>
typename ImagerHIDLProxy<T>::_thread_register ImagerHIDLProxy<T>::Obj;

template <AndroidVersion T>
ImagerHIDLProxy<T>::ImagerHIDLProxy()
    : sp_DCHWManager(nullptr),
      sp_Imager(nullptr),
      p_ImagerControl(nullptr),
      p_ImagerAdapter(nullptr) {
    if (!associateImagerHIDL()) {
        SF_LOGE("[ImagerHIDLProxy<T>::ImagerHIDLProxy] failed to associate Imager HIDL");
    }
}

template <AndroidVersion T>
ImagerHIDLProxy<T>::~ImagerHIDLProxy() {
    disAssociateImagerHIDL();
}

template <AndroidVersion T>
bool ImagerHIDLProxy<T>::associateImagerHIDL() {
    if (sp_DCHWManager != nullptr && !sp_DCHWManager->ping().isOk()) {
        SF_LOGE(
            "[ImagerHIDLProxy::associateImagerHIDL] Master HIDL (DCHWManager) is not available");
        return false;
    }
    sp_DCHWManager = IDCHWManager::getService("default");
    if (sp_DCHWManager == nullptr) {
        SF_LOGE("[ImagerHIDLProxy::associateImagerHIDL] Unable to get DCHWManager HIDL interface.");
        return false;
    }
    sp_Imager = sp_DCHWManager->getImager();
    if (sp_Imager == nullptr) {
        SF_LOGE("[ImagerHIDLProxy::associateImagerHIDL] Unable to get IImager HIDL interface.");
        sp_DCHWManager = nullptr;
        return false;
    }
    SF_LOGI("[ImagerHIDLProxy::associateImagerHIDL] Acquired IImager HIDL interface.");
    return true;
}

template <AndroidVersion T>
void ImagerHIDLProxy<T>::disAssociateImagerHIDL() {
    sp_Imager = nullptr;
    sp_DCHWManager = nullptr;
    SF_LOGI("[ImagerHIDLProxy::disAssociateImagerHIDL] disconnected Imager HIDL");
}

template <AndroidVersion T>
int8_t ImagerHIDLProxy<T>::openImager() {
    if (sp_Imager == nullptr) {
        SF_LOGE("[ImagerHIDLProxy::openImager] sp_Imager is Null");
        return -1;
    }
    return sp_Imager->openImager();
}

template <AndroidVersion T>
int8_t ImagerHIDLProxy<T>::closeImager() {
    if (sp_Imager == nullptr) {
        SF_LOGE("[ImagerHIDLProxy::closeImager] sp_Imager is Null");
        return -1;
    }
    return sp_Imager->closeImager();
}

template <AndroidVersion T>
ImagerControlHIDLProxy* ImagerHIDLProxy<T>::getImagerControlHIDLProxy() {
    if (p_ImagerControl == nullptr) p_ImagerControl = new ImagerControlHIDLProxy();
    return p_ImagerControl;
}

template <AndroidVersion T>
V4L2ImagerAdapterHIDLProxy* ImagerHIDLProxy<T>::getImagerAdapterHIDLProxy() {
    if (p_ImagerAdapter == nullptr) p_ImagerAdapter = new V4L2ImagerAdapterHIDLProxy();
    return p_ImagerAdapter;
}

template <AndroidVersion T>
int8_t ImagerHIDLProxy<T>::getImagerInterfaceType() {
    if (sp_Imager == nullptr) {
        SF_LOGE("[ImagerHIDLProxy::getImagerInterfaceType] sp_Imager is Null");
        return -1;
    }
    return sp_Imager->getImagerInterfaceType();
}

template <AndroidVersion T>
std::string ImagerHIDLProxy<T>::getEngineID() {
    std::string engineId;
    if (sp_Imager != nullptr) {
        SF_LOGI("[ImagerHIDLProxy::getEngineID] getEngineID");
        // A service that died before answering leaves the text empty, which is reported below.
        sp_Imager
            ->getEngineID([&engineId](const hidl_string& id) {
                engineId = std::string(id.c_str(), id.size());  // every byte, as delivered
            })
            .isOk();
        if (engineId.empty()) SF_LOGE("[ImagerHIDLProxy::getEngineID] Error at HIDL Service");
    } else {
        SF_LOGE("[ImagerHIDLProxy::getEngineID] sp_Imager is Null");
    }
    SF_LOGD("[ImagerHIDLProxy::getEngineID] ScannerID=%s", engineId.c_str());
    return engineId;
}

template <AndroidVersion T>
void ImagerHIDLProxy<T>::deInit() {
    delete p_ImagerControl;
    p_ImagerControl = nullptr;
    delete p_ImagerAdapter;
    p_ImagerAdapter = nullptr;
}

template class ImagerHIDLProxy<(AndroidVersion)10>;
