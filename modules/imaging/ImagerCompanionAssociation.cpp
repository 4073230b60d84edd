#include "ImagerCompanionAssociation.h"

#include "ScannerLog.h"

using android::sp;
using vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;
using vendor::tevrin::hardware::dchwmanager::V1_0::IImager;

bool AssociateImagerCompanion(sp<IDCHWManager>& manager, sp<IImager>& imager, bool& associated,
                              const ImagerCompanionTexts& texts,
                              const std::function<bool(IImager&)>& acquire) {
    if ((manager == nullptr && associated) || (manager != nullptr && !manager->ping().isOk())) {
        SF_LOGE("%s", texts.managerUnavailable);
        return false;
    }
    manager = IDCHWManager::getService("default");
    if (manager == nullptr) {
        SF_LOGE("%s", texts.noManager);
        return false;
    }
    imager = manager->getImager();
    if (imager == nullptr) {
        SF_LOGE("%s", texts.noImager);
        manager = nullptr;
        return false;
    }
    SF_LOGI("%s", texts.imagerAcquired);
    if (static_cast<int8_t>(imager->openImager()) == -1) {
        SF_LOGE("%s", texts.openFailed);
        imager = nullptr;
        manager = nullptr;
        return false;
    }
    if (!acquire(*imager)) {
        SF_LOGE("%s", texts.noInterface);
        imager = nullptr;
        manager = nullptr;
        return false;
    }
    associated = true;
    SF_LOGI("%s", texts.interfaceAcquired);
    return true;
}
