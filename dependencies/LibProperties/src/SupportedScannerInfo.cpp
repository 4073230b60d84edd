#include "SupportedScannerInfo.h"

#include <stdlib.h>

#include "ConfigInfo.h"
#include "ScannerLog.h"
#include "XMLParserUtil.h"

SupportedScannerInfo::SupportedScannerInfo(bool rearCamera, int scannerId, char* platformName,
                                           char* productModel, char* androidVersion,
                                           bool frontCamera) {
    std::string path = ConfigInfo::ResolveConfigDependency("scannerlistxml");
    XMLParserUtil parser;
    masterScannerMap =
        parser.GetSupportedScannerListFromXML(path.c_str(), rearCamera, scannerId, platformName,
                                              productModel, androidVersion, frontCamera);
    SF_LOGD("[SupportedScannerInfo::SupportedScannerInfo] masterScannerMap");
    for (auto& entry : masterScannerMap) {
        SF_LOGD("[SupportedScannerInfo::SupportedScannerInfo] %d %s %s %d", entry.first,
                entry.second.GetScannerName().c_str(), entry.second.GetScannerModel().c_str(),
                entry.second.GetScannerOrientation());
    }
}

SupportedScannerInfo::~SupportedScannerInfo() {}

bool SupportedScannerInfo::IsScannerListAvailable() {
    if (masterScannerMap.empty()) {
        SF_LOGE("[SupportedScannerInfo::IsScannerListAvailable] Scanner List is empty");
        return false;
    }
    return true;
}

int SupportedScannerInfo::GetNumberOfSupportedScanners() {
    if (!IsScannerListAvailable()) {
        SF_LOGE("[SupportedScannerInfo::GetNumberOfSupportedScanners] Scanner List is NULL");
        return 0;
    }
    SF_LOGD("[SupportedScannerInfo::GetNumberOfSupportedScanners] %zu", masterScannerMap.size());
    return static_cast<int>(masterScannerMap.size());
}

bool SupportedScannerInfo::IsScannerAvailable(std::string name) {
    if (name.empty()) {
        SF_LOGE("[SupportedScannerInfo::IsScannerAvailable] Invalid ScannerName");
        return false;
    }
    for (auto& entry : masterScannerMap) {
        if (entry.second.GetScannerName() == name) return true;
    }
    SF_LOGE("[SupportedScannerInfo::IsScannerAvailable] Scanner %s not found in Scanner List",
            name.c_str());
    return false;
}

namespace {

// The entry at a position in key order, or null. A free function, so that it stays out of the
// exported class.
SupportedScanner* EntryAt(std::map<int, SupportedScanner>& scanners, int index) {
    if (index < 0) return nullptr;
    auto it = scanners.begin();
    for (int step = 0; step < index && it != scanners.end(); ++step) ++it;
    return it != scanners.end() ? &it->second : nullptr;
}

}  // namespace

std::string SupportedScannerInfo::GetScannerNameAt(int index) {
    if (!IsScannerListAvailable()) {
        SF_LOGE("[SupportedScannerInfo::GetScannerNameAt] index %d not found in Scanner List",
                index);
        // A caller error: the device build fails here building its answer from an absent text.
        // End the process the same way every time instead of through undefined behaviour.
        abort();
    }
    SupportedScanner* entry = EntryAt(masterScannerMap, index);
    std::string name = entry != nullptr ? entry->GetScannerName() : "";
    SF_LOGD("[SupportedScannerInfo::GetScannerNameAt] index=%d, ScannerName=%s\n", index,
            name.c_str());
    return name;
}

std::string SupportedScannerInfo::GetScannerModelNameAt(int index) {
    if (!IsScannerListAvailable()) {
        SF_LOGE("[SupportedScannerInfo::GetScannerModelNameAt] index %d not found in Scanner List",
                index);
        abort();
    }
    SupportedScanner* entry = EntryAt(masterScannerMap, index);
    std::string model = entry != nullptr ? entry->GetScannerModel() : "";
    SF_LOGD("[SupportedScannerInfo::GetScannerModelNameAt] Scanner Model %s", model.c_str());
    return model;
}

std::string SupportedScannerInfo::GetInBuiltScannerModel() {
    if (!IsScannerListAvailable()) {
        SF_LOGE(
            "[SupportedScannerInfo::GetInBuiltScannerModel] InBuilt Scanner not found in "
            "Scanner List");
        abort();
    }
    // The list puts the built-in imager first, or second behind the rear-camera scanner.
    std::string model = GetScannerModelNameAt(0);
    if (model.find("CAMERA") != std::string::npos) return GetScannerModelNameAt(1);
    return model;
}

int SupportedScannerInfo::IsMirroredAndFlipped() {
    if (!IsScannerListAvailable()) return 0;
    std::string model = GetInBuiltScannerModel();
    for (auto& entry : masterScannerMap) {
        if (entry.second.GetScannerModel() != model) continue;
        SF_LOGI("[SupportedScannerInfo::IsMirroredAndFlipped] ScannerName=%s has orientation = %d",
                entry.second.GetScannerName().c_str(), entry.second.GetScannerOrientation());
        return entry.second.GetScannerOrientation();
    }
    return 0;
}
