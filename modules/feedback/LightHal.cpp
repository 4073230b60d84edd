#include "LightHal.h"

#include <android/hardware/light/2.0/ILight.h>
#include <android/hardware/light/ILights.h>
#include <binder/IServiceManager.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include "AIDLinterface.h"
#include "HIDLinterface.h"
#include "ScannerLog.h"

LightInterface* LightHal::lighthal = nullptr;
bool LightHal::b_LightInit = false;

LightInterface* LightHal::associate() {
    if (lighthal != nullptr) return lighthal;
    if (b_LightInit) return nullptr;

    android::sp<android::hardware::light::V2_0::ILight> hidl =
        android::hardware::light::V2_0::ILight::getService("default", false);
    b_LightInit = true;
    if (hidl != nullptr) {
        SF_LOGE("creating HIDL interface\n");
        lighthal = new HIDLinterface(hidl);
        return lighthal;
    }
    SF_LOGE("[LEDNotification::LEDNotification()] Unable to get ILight interface.");
    b_LightInit = false;

    android::String8 instance(android::hardware::light::ILights::descriptor);
    instance.append("/");
    instance.append("default");
    android::sp<android::hardware::light::ILights> aidl =
        android::waitForDeclaredService<android::hardware::light::ILights>(
            android::String16(instance));
    b_LightInit = true;
    if (aidl != nullptr) {
        SF_LOGE("creating AIDL interface\n");
        lighthal = new AIDLinterface(aidl);
        return lighthal;
    }
    SF_LOGE("[LEDNotification::LEDNotification()] Unable to get ILight interface.");
    b_LightInit = false;
    return nullptr;
}
