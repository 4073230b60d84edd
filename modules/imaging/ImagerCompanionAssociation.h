// The association that both companions of the imager module (the control object and the V4L2
// adapter) make on their own: reach the hardware manager, get the imager, open it, then fetch
// the companion's own interface from it. Only the sequence is shared: each companion keeps the
// references and the flag in its own members and writes its own texts, which log readers
// match as they are.
//
// Threads: runs on the companion's caller thread, inside its constructor.
#pragma once

#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImager.h>

#include <functional>

// The lines one companion writes while it associates; every one is an error line except the
// two acquisitions, which are info lines.
struct ImagerCompanionTexts {
    const char* managerUnavailable;
    const char* noManager;
    const char* noImager;
    const char* imagerAcquired;
    const char* openFailed;
    const char* noInterface;
    const char* interfaceAcquired;
};

// Associates a companion. A held `manager` that no longer answers its ping, or none held by a
// companion already marked `associated`, fails at once. Otherwise the manager is fetched again,
// its imager taken and opened, and `acquire` fetches the companion's interface from the opened
// imager, answering whether it got one. On success `associated` is set. A failure after the
// manager was fetched drops what was fetched: the manager when there is no imager, the imager
// and the manager when the imager does not open or the interface is missing.
bool AssociateImagerCompanion(
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager>& manager,
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IImager>& imager, bool& associated,
    const ImagerCompanionTexts& texts,
    const std::function<bool(vendor::tevrin::hardware::dchwmanager::V1_0::IImager&)>& acquire);
