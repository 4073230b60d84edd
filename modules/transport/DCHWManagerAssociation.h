// The association step the transport modules share: connect an instance to the hardware manager
// and take one of its sub-interfaces. Each module keeps its own manager, sub-interface and flag
// members and its own log texts; only the sequence lives here.
//
// Threads: runs on the caller's thread, on members the caller's thread owns; takes no lock.
#pragma once

#include <utils/StrongPointer.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include "ScannerLog.h"

// The messages of one module's association, each a complete log text.
struct DCHWManagerAssociationTexts {
    const char* alreadyAssociated;  // error: this instance holds a live connection already
    const char* noManager;          // error: the manager service could not be had
    const char* noSubInterface;     // error: the manager handed out no sub-interface
    const char* acquired;           // debug: associated
};

// A cached manager that still answers means this instance is associated already, and so does
// the flag without a manager; a manager that does not answer is replaced by a fresh connection.
// On success `manager` and `subInterface` are held and `associated` is set; when the manager
// hands out no sub-interface the manager is dropped as well.
template <typename SubInterface>
bool AssociateWithDCHWManager(
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager>& manager,
    android::sp<SubInterface>& subInterface, bool& associated,
    android::hardware::Return<android::sp<SubInterface>> (
        vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager::*getSubInterface)(),
    const DCHWManagerAssociationTexts& texts) {
    using vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;
    if (manager != nullptr) {
        if (manager->ping().isOk()) {
            SF_LOGE("%s", texts.alreadyAssociated);
            return false;
        }
    } else if (associated) {
        SF_LOGE("%s", texts.alreadyAssociated);
        return false;
    }
    manager = IDCHWManager::getService("default", false);
    if (manager == nullptr) {
        SF_LOGE("%s", texts.noManager);
        return false;
    }
    subInterface = ((*manager).*getSubInterface)();
    if (subInterface == nullptr) {
        SF_LOGE("%s", texts.noSubInterface);
        manager = nullptr;
        return false;
    }
    associated = true;
    SF_LOGD("%s", texts.acquired);
    return true;
}
