// orvexctl info: the device as the library sees it. Facts that the simulator answers (sim/ in
// the root: cameras, imager, volume library) are marked, or, without sim/, named as not known.

#include <stdio.h>
#include <sys/stat.h>

#include "DeviceInfo.h"
#include "DeviceInfoBuilder.h"
#include "ITriggerInfo.h"
#include "Json.h"
#include "OdkList.h"
#include "Platform.h"
#include "PlatformModuleInterfaces.h"
#include "ProbeCommands.h"
#include "SimulatedDevice.h"
#include "SupportedScannerInfo.h"

namespace orvexctl {

// `notes`: what the tool says about the simulator for this root, one paragraph each.
int ProbeInfo(const ProbeContext& context, const std::vector<std::string>& notes) {
    orvex::sim::SimulatedDevice device;
    device.Start();
    struct stat st;
    const bool simulated =
        stat((context.deviceRoot + "/sim").c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    const char* mark = simulated ? "simulated" : "not known";

    DeviceInfo* info = odk::DeviceInfoBuilder::GetDeviceInfoInstance();
    struct Fact {
        const char* key;
        std::string text;
        bool isNumber;
        long number;
        bool fromSim;  // answered by the camera service or a substitute library
    };
    std::vector<Fact> facts;
    auto text = [&](const char* key, const std::string& value) {
        facts.push_back(Fact{key, value, false, 0, false});
    };
    auto number = [&](const char* key, long value, bool fromSim = false) {
        facts.push_back(Fact{key, std::to_string(value), true, value, fromSim});
    };
    // In the order the library's getters are declared; each may stop the process when the
    // device lacks the property it needs.
    number("rearCamera", info->IsRearCameraAvaialable(), true);
    number("frontCamera", info->IsFrontCameraAvaialable(), true);
    text("platform", info->GetPlatformName());
    text("product", info->GetProductName());
    text("model", info->GetProductModel());
    text("sku", info->GetProductSKU());
    text("manufacturer", info->GetManufacturerName());
    text("androidVersion", info->GetAndroidVersion());
    text("abi", info->GetABI());
    number("scannerBeepVolume", info->GetScannerBeepVolume(), true);
    number("scannerAudioApi", info->GetScannerAudioAPI(), true);
    number("scanner", info->GetScanner(), true);
    text("decryptionStatus", info->GetDeviceDecryptionStatus());
    number("imagerInterfaceType", info->GetImagerInterfaceType(), true);
    number("platformVersion", info->GetPlatformVersion());
    number("federalSku1", info->isDeviceFederalSKU1());
    number("federalSku2", info->isDeviceFederalSKU2());

    SupportedScannerInfo* scanners = odk::DeviceInfoBuilder::GetSupportedScannerInfoInstance();
    const bool listAvailable = scanners != nullptr && scanners->IsScannerListAvailable();
    struct Scanner {
        std::string name, model;
    };
    std::vector<Scanner> list;
    std::string inBuilt;
    int mirrored = 0;
    if (listAvailable) {
        for (int i = 0; i < scanners->GetNumberOfSupportedScanners(); ++i) {
            list.push_back(Scanner{scanners->GetScannerNameAt(i), scanners->GetScannerModelNameAt(i)});
        }
        inBuilt = scanners->GetInBuiltScannerModel();
        mirrored = scanners->IsMirroredAndFlipped();
    }

    // The trigger table as the trigger configuration module builds it.
    struct Key {
        int scanCode;
        std::string name, resource;
        bool multi;
    };
    std::vector<Key> keys;
    bool triggersInit = false;
    auto* triggers = static_cast<ITriggersModule*>(GetPlatformModule(PLATFORM_MODULE_TRIGGERS, "Triggers"));
    if (triggers != nullptr) {
        triggersInit = triggers->Init();
        odk::List<odk::ITriggerInfo*>* list = triggers->GetTriggerInfo();
        if (list != nullptr && !list->empty()) {
            list->begin();
            while (list->hasNext()) {
                odk::ITriggerInfo* key = list->get();
                keys.push_back(Key{key->GetScanCode(), key->GetFriendlyName(),
                                   key->GetScannerResource(), key->IsMultiScannerSupported()});
                list->movenext();
            }
        }
        triggers->Deinit();
        DeletePlatformModule(triggers);
    }

    if (context.json) {
        Json doc = {{"command", "info"}, {"ok", true}, {"device", context.deviceLabel},
                    {"facts", Json::object()}, {"scanners", Json::array()}};
        // Which scanners are offered follows from the imager and the cameras.
        Json fromSim = Json::array();
        for (const Fact& f : facts) {
            doc["facts"][f.key] = f.isNumber ? Json(f.number) : Json(f.text);
            if (f.fromSim) fromSim.push_back(f.key);
        }
        fromSim.push_back("scanners");
        doc["simulated"] = simulated ? fromSim : Json::array();
        doc["notKnown"] = simulated ? Json::array() : fromSim;
        doc["notes"] = notes;
        for (size_t i = 0; i < list.size(); ++i) {
            doc["scanners"].push_back({{"position", i}, {"name", list[i].name}, {"index", i},
                                       {"model", list[i].model}});
        }
        doc["inBuiltModel"] = listAvailable ? Json(inBuilt) : Json();
        doc["mirroredAndFlipped"] = listAvailable ? Json(mirrored) : Json();
        doc["triggers"] = {{"init", triggersInit}, {"keys", Json::array()}};
        for (const Key& k : keys) {
            doc["triggers"]["keys"].push_back({{"scanCode", k.scanCode},
                                               {"friendlyName", k.name},
                                               {"scannerResource", k.resource},
                                               {"multiScanner", k.multi}});
        }
        printf("%s\n", Document(doc).c_str());
        return 0;
    }

    printf("device: %s\n\nfacts\n", context.deviceLabel.c_str());
    for (const Fact& f : facts) {
        if (f.fromSim) printf("  %-20s %-10s (%s)\n", f.key, f.text.c_str(), mark);
        else printf("  %-20s %s\n", f.key, f.text.c_str());
    }
    printf("\nsupported scanners (%s, as they follow from the imager and the cameras)\n", mark);
    if (!listAvailable) printf("  (none: the scanner list is empty)\n");
    for (size_t i = 0; i < list.size(); ++i) {
        printf("  %zu  %-28s %s\n", i, list[i].name.c_str(), list[i].model.c_str());
    }
    if (listAvailable) {
        printf("  in-built model %s, mirrored and flipped %d\n", inBuilt.c_str(), mirrored);
    }
    printf("\ntrigger keys (Init %s)\n", triggersInit ? "true" : "false");
    for (const Key& k : keys) {
        printf("  0x%-5x %-24s %-22s multi-scanner %s\n", static_cast<unsigned>(k.scanCode),
               k.name.c_str(), k.resource.c_str(), k.multi ? "yes" : "no");
    }
    for (const std::string& n : notes) printf("\n%s\n", n.c_str());
    return 0;
}

}  // namespace orvexctl
