#include "XMLParserUtil.h"

#include <string.h>
#include <tinyxml2.h>

#include "FrameworkAssert.h"
#include "HostHooks.h"
#include "ScannerLog.h"

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

namespace {

constexpr const char* kSourcePath =
    "device/common/platform_bundle/dependencies/LibProperties/utility/XMLParserUtil";

// Only this model offers its front camera as a scanner, whatever the file says.
constexpr const char* kFrontCameraModel = "TR41";

// The texts that tell the rear-camera and front-camera look-ups apart.
struct CameraScannerTexts {
    const char* element;
    const char* tagMissing;
    const char* nameMissing;
    const char* notSupported;
};

constexpr CameraScannerTexts kRearCamera = {
    "camera-scanner",
    "[XMLParserUtil::GetCameraScannerName] Camera scanner Tag is not present in scannerMap XML",
    "[XMLParserUtil::GetCameraScannerName] Camera scanner name does not exist under "
    "camera-scanner tag",
    "[XMLParserUtil::GetCameraScannerName] Camera scanner is not supported",
};

constexpr CameraScannerTexts kFrontCamera = {
    "front-camera-scanner",
    "[XMLParserUtil::GetFrontCameraScannerName] Front Camera scanner Tag is not present in "
    "scannerMap XML",
    "[XMLParserUtil::GetFrontCameraScannerName] Front Camera scanner name does not exist under "
    "camera-scanner tag",
    "[XMLParserUtil::GetFrontCameraScannerName] Front Camera scanner is not supported",
};

}  // namespace

XMLParserUtil::XMLParserUtil() : m_pSupportedScanner(nullptr) {}

XMLParserUtil::~XMLParserUtil() { delete m_pSupportedScanner; }

SupportedScanner* XMLParserUtil::NewRecord() {
    delete m_pSupportedScanner;
    m_pSupportedScanner = new SupportedScanner();
    return m_pSupportedScanner;
}

SupportedScanner* XMLParserUtil::ReleaseRecord() {
    SupportedScanner* record = m_pSupportedScanner;
    m_pSupportedScanner = nullptr;
    return record;
}

void XMLParserUtil::InsertAndFree(std::map<int, SupportedScanner>& list, SupportedScanner* record) {
    // insert() keeps an existing entry: the first source to claim an index owns it.
    list.insert(std::make_pair(record->GetScannerIndex(), *record));
    delete record;
}

std::string XMLParserUtil::GetValue(const char* childName, XMLElement* parent) {
    if (childName == nullptr || parent == nullptr) return "";
    XMLElement* child = parent->FirstChildElement(childName);
    if (child == nullptr) return "";
    // An element without text reads as empty text, so it takes the path of a missing value.
    const char* text = child->GetText();
    return text != nullptr ? text : "";
}

std::map<int, SupportedScanner> XMLParserUtil::GetSupportedScannerListFromXML(
    const char* path, bool rearCamera, int scannerId, char* platformName, char* productModel,
    char* androidVersion, bool frontCamera) {
    if (path == nullptr || platformName == nullptr || productModel == nullptr ||
        androidVersion == nullptr) {
        return {};
    }

    XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
    if (document.LoadFile(platform::host::DevicePath(path).c_str()) != tinyxml2::XML_SUCCESS) {
        SF_LOGE(
            "[XMLParserUtil::GetSupportedScannerListFromXML] Unable to load ScannerList XML "
            "file, desc : %s",
            document.ErrorStr());
        platform::AssertFramework(kSourcePath, 30,
                                  "XMLParserUtil : Unable to load ScannerList XML file");
    }

    XMLElement* root = document.RootElement();
    if (root == nullptr) {
        SF_LOGE(
            "[XMLParserUtil::GetSupportedScannerListFromXML] Failed to load config file: No "
            "root element.");
        document.Clear();
        platform::AssertFramework(kSourcePath, 38,
                                  "XMLParserUtil : Failed to load config file: No root element.");
    }
    XMLElement* versionNode = root->FirstChildElement(androidVersion);
    if (versionNode == nullptr) {
        SF_LOGE(
            "[XMLParserUtil::GetSupportedScannerListFromXML] No node in ScannerList XML with "
            "AndroidVersion = %s",
            androidVersion);
        document.Clear();
        platform::AssertFrameworkF(kSourcePath, 44,
                                   "XMLParserUtil : No node in ScannerList XML with "
                                   "AndroidVersion = %s",
                                   androidVersion);
    }
    XMLElement* defaultNode = versionNode->FirstChildElement("default");
    if (defaultNode == nullptr) {
        SF_LOGE(
            "[XMLParserUtil::GetSupportedScannerListFromXML] No default node in ScannerList "
            "XML");
        document.Clear();
        platform::AssertFramework(kSourcePath, 52,
                                  "XMLParserUtil : No default node in ScannerList XML");
    }
    XMLElement* platformNode = versionNode->FirstChildElement("platform");
    if (platformNode == nullptr) {
        SF_LOGE(
            "[XMLParserUtil::GetSupportedScannerListFromXML] No platform node in ScannerList "
            "XML");
        document.Clear();
        platform::AssertFramework(kSourcePath, 59,
                                  "XMLParserUtil : No platform node in ScannerList XML");
    }

    std::map<int, SupportedScanner> list;
    if (rearCamera) {
        if (SupportedScanner* camera = GetCameraScannerName(defaultNode)) {
            SF_LOGD("[XMLParserUtil::GetSupportedScannerListFromXML] Camera Scanner Name: %s",
                    camera->GetScannerName().c_str());
            InsertAndFree(list, camera);
        }
    }
    SF_LOGD(
        "[XMLParserUtil::GetSupportedScannerListFromXML] Front Camera present %d "
        "productModel %s",
        frontCamera, productModel);
    if (frontCamera && strcmp(productModel, kFrontCameraModel) == 0) {
        if (SupportedScanner* camera = GetFrontCameraScannerName(defaultNode)) {
            SF_LOGD(
                "[XMLParserUtil::GetSupportedScannerListFromXML] Front Camera Scanner Name: "
                "%s",
                camera->GetScannerName().c_str());
            InsertAndFree(list, camera);
        }
    }
    if (scannerId != 0) {
        if (SupportedScanner* builtin = GetInBuiltScannerName(defaultNode, scannerId)) {
            SF_LOGD("[XMLParserUtil::GetSupportedScannerListFromXML] In-Built Scanner Name: %s",
                    builtin->GetScannerName().c_str());
            InsertAndFree(list, builtin);
        }
    }
    GetDefaultExternalScanners(defaultNode, list);
    UpDateScannerListWithPlatformSupportedScanners(platformNode, list, platformName, productModel);
    return GetUpdatedScannerMapWithIndexes(list);
}

SupportedScanner* XMLParserUtil::GetCameraScannerName(XMLElement* defaultNode) {
    return GetCameraScanner(defaultNode, kRearCamera.element, kRearCamera.tagMissing,
                            kRearCamera.nameMissing, kRearCamera.notSupported);
}

SupportedScanner* XMLParserUtil::GetFrontCameraScannerName(XMLElement* defaultNode) {
    return GetCameraScanner(defaultNode, kFrontCamera.element, kFrontCamera.tagMissing,
                            kFrontCamera.nameMissing, kFrontCamera.notSupported);
}

SupportedScanner* XMLParserUtil::GetCameraScanner(XMLElement* defaultNode, const char* element,
                                                  const char* tagMissing, const char* nameMissing,
                                                  const char* notSupported) {
    XMLElement* node = defaultNode->FirstChildElement(element);
    if (node == nullptr) {
        SF_LOGD("%s", tagMissing);
        return nullptr;
    }
    std::string name = GetValue("name", node);
    std::string supported = GetValue("supported", node);
    if (name.empty()) {
        SF_LOGE("%s", nameMissing);
        return nullptr;
    }
    // Only exactly "0" withdraws the scanner; any other text, even an empty one, offers it.
    if (supported == "0") {
        SF_LOGI("%s", notSupported);
        return nullptr;
    }
    SupportedScanner* record = NewRecord();
    record->SetScannerName(name);
    record->SetScannerIndex(std::stoi(GetValue("index", node)));
    record->SetScannerModel(GetValue("model", node));
    return ReleaseRecord();
}

SupportedScanner* XMLParserUtil::GetInBuiltScannerName(XMLElement* defaultNode, int scannerId) {
    XMLElement* node = defaultNode->FirstChildElement("builtin-scanner");
    if (node == nullptr) {
        SF_LOGD(
            "[XMLParserUtil::GetInBuiltScannerName] builtin-scanner tag is not present in "
            "scannerMap XML");
        return nullptr;
    }
    for (; node != nullptr; node = node->NextSiblingElement("builtin-scanner")) {
        std::string id = GetValue("id", node);
        std::string supported = GetValue("supported", node);
        if (id.empty()) {
            SF_LOGE("[XMLParserUtil::GetInBuiltScannerName] Scanner ID is empty");
            continue;
        }
        if (std::stoi(id) == scannerId && supported != "0") {
            std::string name = GetValue("name", node);
            if (name.empty()) {
                // A later entry with the same ID may still name the imager.
                SF_LOGE(
                    "[XMLParserUtil::GetInBuiltScannerName] Scanner name does not exist "
                    "under builtin-scanner tag");
                continue;
            }
            SupportedScanner* record = NewRecord();
            record->SetScannerName(name);
            record->SetScannerIndex(std::stoi(GetValue("index", node)));
            record->SetScannerModel(GetValue("model", node));
            return ReleaseRecord();
        }
        SF_LOGD("[XMLParserUtil::GetInBuiltScannerName] Scanner ID (%s) is not supported",
                id.c_str());
    }
    return nullptr;
}

void XMLParserUtil::GetDefaultExternalScanners(XMLElement* defaultNode,
                                               std::map<int, SupportedScanner>& list) {
    XMLElement* node = defaultNode->FirstChildElement("external-scanner");
    if (node == nullptr) {
        SF_LOGD(
            "[XMLParserUtil::GetDefaultExternalScanners] external-scanner Tag does not exist "
            "in ScannerList.XML");
        return;
    }
    for (; node != nullptr; node = node->NextSiblingElement("external-scanner")) {
        std::string name = GetValue("name", node);
        std::string supported = GetValue("supported", node);
        if (name.empty()) {
            SF_LOGE("[XMLParserUtil::GetDefaultExternalScanners] Scanner name is empty");
            continue;
        }
        if (supported == "0") {
            SF_LOGE(
                "[XMLParserUtil::GetDefaultExternalScanners] External scanner(%s) is not "
                "supported",
                name.c_str());
            continue;
        }
        SupportedScanner* record = NewRecord();
        record->SetScannerName(name);
        record->SetScannerIndex(std::stoi(GetValue("index", node)));
        record->SetScannerModel(GetValue("model", node));
        InsertAndFree(list, ReleaseRecord());
    }
}

void XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners(
    XMLElement* platformNode, std::map<int, SupportedScanner>& list, char* platformName,
    char* productModel) {
    XMLElement* platformElement = platformNode->FirstChildElement(platformName);
    if (platformElement == nullptr) {
        SF_LOGD(
            "[XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] platform Tag "
            "does not exist in ScannerList.XML");
        return;
    }
    XMLElement* product = platformElement->FirstChildElement(productModel);
    if (product == nullptr) {
        SF_LOGD(
            "[XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] product Tag "
            "does not exist in ScannerList.XML");
        return;
    }

    for (XMLElement* node = product->FirstChildElement("external-scanner"); node != nullptr;
         node = node->NextSiblingElement("external-scanner")) {
        std::string name = GetValue("name", node);
        if (name.empty()) {
            SF_LOGE(
                "[XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] External "
                "scanner name does not exist under external-scanner tag");
            continue;
        }
        int supported = std::stoi(GetValue("supported", node));
        int index = std::stoi(GetValue("index", node));
        std::string model = GetValue("model", node);
        if (supported == 0) {
            // Removal goes by index alone: a product can withdraw any default scanner.
            list.erase(index);
        } else if (supported == 1) {
            SupportedScanner record;
            record.SetScannerName(name);
            record.SetScannerIndex(index);
            record.SetScannerModel(model);
            list.insert(std::make_pair(index, record));
        }
    }

    XMLElement* builtin = product->FirstChildElement("builtin-scanner");
    if (builtin == nullptr) {
        SF_LOGE(
            "[XMLParserUtil::UpDateScannerListWithPlatformSupportedScanners] builtin scanner "
            "name does not exist under Product tag");
        return;
    }
    for (; builtin != nullptr; builtin = builtin->NextSiblingElement("builtin-scanner")) {
        std::string model = GetValue("model", builtin);
        int index = std::stoi(GetValue("index", builtin));
        auto entry = list.find(index);
        // A product entry only amends the built-in scanner it names by index and model.
        if (model.empty() || entry == list.end() || entry->second.GetScannerModel() != model) {
            continue;
        }
        SupportedScanner replacement;
        replacement.SetScannerModel(model);
        replacement.SetScannerIndex(index);
        replacement.SetScannerName(GetValue("name", builtin));
        replacement.SetScannerOrientation(std::stoi(GetValue("orientation", builtin)));
        list.erase(entry);
        list.insert(std::make_pair(index, replacement));
    }
}

std::map<int, SupportedScanner> XMLParserUtil::GetUpdatedScannerMapWithIndexes(
    std::map<int, SupportedScanner> list) {
    std::map<int, SupportedScanner> renumbered;
    int position = 0;
    for (auto& entry : list) {
        entry.second.SetScannerIndex(position);
        renumbered.insert(std::make_pair(position, entry.second));
        ++position;
    }
    return renumbered;
}
