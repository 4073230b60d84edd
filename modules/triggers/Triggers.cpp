#include "Triggers.h"

#include <stdio.h>
#include <string.h>
#include <tinyxml2.h>

#include <string>

#include "ConfigInfo.h"
#include "DeviceInfoBuilder.h"
#include "HostHooks.h"
#include "ImagerHIDLProxy.h"
#include "ScannerLog.h"
#include "TriggerInfo.h"

namespace {

// The only model whose file keeps its keys one level deeper, under the SKU.
constexpr const char* kModelWithSkuLevel = "HX2105x";
// A model that also ships without an imager; its centre key then maps to the key mapper.
constexpr const char* kModelWithoutImager = "QT7BW";

struct BuiltInTrigger {
    int scanCode;
    const char* friendlyName;
    const char* scannerResource;
};

// For a device whose entry lists no keys.
constexpr BuiltInTrigger kBuiltInTriggers[] = {
    {0x136, "Key Mapper Scan", "KEY_MAPPER_SCAN"},
    {0x137, "Key Mapper R1", "KEY_MAPPER_R1"},
    {0x2E8, "Key Mapper L1", "KEY_MAPPER_L1"},
    {0x2D4, "Trigger Proximity", "TRIGGER_PROXIMITY"},
    {0x2D6, "Trigger Wired Left", "TRIGGER_WIRED_LEFT"},
    {0x2D7, "Trigger Wired Right", "TRIGGER_WIRED_RIGHT"},
};

const char* Text(const tinyxml2::XMLElement* element) {
    const char* text = element->GetText();
    return text != nullptr ? text : "";
}

// The engine identifier's decimal value is zero on a device without an imager; text that is
// not all digits (or empty) counts as zero too.
bool EngineIdIsZero(const std::string& engineId) {
    for (char c : engineId) {
        if (c < '0' || c > '9') return true;
    }
    return engineId.find_first_not_of('0') == std::string::npos;
}

TriggerInfo* ReadKey(const tinyxml2::XMLElement* key) {
    TriggerInfo* info = new TriggerInfo();
    for (const tinyxml2::XMLElement* child = key->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        const char* name = child->Name();
        if (strcmp(name, "KeyCode") == 0) {
            // Scan codes are written in hex, with or without 0x; other text reads as 0.
            unsigned int code = 0;
            sscanf(Text(child), "%x", &code);
            info->SetScanCode(static_cast<int>(code));
        } else if (strcmp(name, "friendlyname") == 0) {
            info->SetFriendlyName(Text(child));
        } else if (strcmp(name, "ScannerResource") == 0) {
            info->SetScannerResource(Text(child));
        } else if (strcmp(name, "MultiScannerSupport") == 0) {
            info->SetMultiScannerSupport(strcmp(Text(child), "1") == 0);
        }
    }
    return info;
}

}  // namespace

template <AndroidVersion T>
typename Triggers<T>::_thread_register Triggers<T>::Obj;

template <AndroidVersion T>
Triggers<T>::Triggers() : m_TriggerList(new odk::List<odk::ITriggerInfo*>()) {}

template <AndroidVersion T>
Triggers<T>::~Triggers() {
    delete m_TriggerList;
}

template <AndroidVersion T>
bool Triggers<T>::IsSupported() {
    return true;
}

template <AndroidVersion T>
char const* Triggers<T>::GetModuleName() {
    return "Triggers";
}

template <AndroidVersion T>
bool Triggers<T>::Init() {
    DeviceInfo* deviceInfo = odk::DeviceInfoBuilder::GetDeviceInfoInstance();
    std::string model = deviceInfo->GetProductModel();
    std::string device = deviceInfo->GetProductSKU();

    IImagerModule* imager = new ImagerHIDLProxy<T>();
    bool withoutImager = EngineIdIsZero(imager->getEngineID());
    delete imager;

    SF_LOGD("[Triggers::Init] Product model : '%s' | Device : '%s'", model.c_str(), device.c_str());

    std::string path = ConfigInfo::ResolveConfigDependency("scannerresourceconfig");
    tinyxml2::XMLDocument document;
    if (document.LoadFile(platform::host::DevicePath(path.c_str()).c_str()) !=
        tinyxml2::XML_SUCCESS) {
        SF_LOGW("[Triggers::Init] Unable to load scannerresourceconfig file from : %s",
                path.c_str());
        return false;
    }
    tinyxml2::XMLElement* root = document.RootElement();
    if (root == nullptr) {
        SF_LOGE("[Triggers::Init] No root element in scannerresourceconfig file : %s",
                path.c_str());
        return false;
    }
    tinyxml2::XMLElement* deviceElement = root->FirstChildElement(model.c_str());
    if (deviceElement != nullptr && model == kModelWithSkuLevel) {
        deviceElement = deviceElement->FirstChildElement(device.c_str());
    }
    if (deviceElement == nullptr) {
        SF_LOGW(
            "[Triggers::Init] No element in scannerresourceconfig file for the device : %s - %s",
            model.c_str(), device.c_str());
        return false;
    }

    for (tinyxml2::XMLElement* key = deviceElement->FirstChildElement("Key"); key != nullptr;
         key = key->NextSiblingElement("Key")) {
        odk::ITriggerInfo* info = ReadKey(key);
        m_TriggerList->push_back(info);
    }

    if (model == kModelWithoutImager && withoutImager) {
        SF_LOGD("[Triggers::Init] Product model : '%s' with no imager", model.c_str());
        for (m_TriggerList->begin(); m_TriggerList->hasNext(); m_TriggerList->movenext()) {
            odk::ITriggerInfo* info = m_TriggerList->get();
            if (info != nullptr && strcmp(info->GetScannerResource(), "TRIGGER_CENTER") == 0) {
                info->SetFriendlyName("Key Mapper Scan");
                info->SetScannerResource("KEY_MAPPER_SCAN");
                info->SetMultiScannerSupport(false);
            }
        }
    }

    if (m_TriggerList->size() == 0) {
        for (const BuiltInTrigger& trigger : kBuiltInTriggers) {
            odk::ITriggerInfo* info = new TriggerInfo(trigger.scanCode, trigger.friendlyName,
                                                      trigger.scannerResource, false);
            m_TriggerList->push_back(info);
        }
    }

    document.Clear();
    return true;
}

template <AndroidVersion T>
bool Triggers<T>::Deinit() {
    for (m_TriggerList->begin(); m_TriggerList->hasNext(); m_TriggerList->movenext()) {
        odk::ITriggerInfo*& info = m_TriggerList->get();
        delete info;
        info = nullptr;
    }
    m_TriggerList->clear();
    return true;
}

template <AndroidVersion T>
odk::List<odk::ITriggerInfo*>* Triggers<T>::GetTriggerInfo() {
    return m_TriggerList;
}

template class Triggers<(AndroidVersion)10>;
