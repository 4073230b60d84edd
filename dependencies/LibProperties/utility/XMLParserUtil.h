// Reads the scanner list file: which scanners a device of one Android release, platform and
// product offers, in which order. Used once per process by SupportedScannerInfo, on the thread
// that builds it under odk::DeviceInfoBuilder's scanner-info mutex; an object is never shared.
#pragma once

#include <map>
#include <string>

#include "SupportedScanner.h"

namespace tinyxml2 {
class XMLElement;
}

class XMLParserUtil {
public:
    XMLParserUtil();
    ~XMLParserUtil();
    XMLParserUtil(const XMLParserUtil&) = delete;
    XMLParserUtil& operator=(const XMLParserUtil&) = delete;

    // The scanners for these device facts, keyed and indexed 0..n-1 in offering order. Empty
    // when a text argument is null. A missing or unreadable file, or a missing root, release,
    // "default" or "platform" element, ends the process. A number that does not parse throws
    // std::invalid_argument (or std::out_of_range) to the caller.
    std::map<int, SupportedScanner> GetSupportedScannerListFromXML(
        const char* path, bool rearCamera, int scannerId, char* platformName, char* productModel,
        char* androidVersion, bool frontCamera);

    // The offered rear-camera scanner of "default", or null. The caller frees the record.
    SupportedScanner* GetCameraScannerName(tinyxml2::XMLElement* defaultNode);
    // The offered front-camera scanner of "default", or null. The caller frees the record.
    SupportedScanner* GetFrontCameraScannerName(tinyxml2::XMLElement* defaultNode);
    // The first offered built-in scanner of "default" with this scanner ID, or null. The caller
    // frees the record.
    SupportedScanner* GetInBuiltScannerName(tinyxml2::XMLElement* defaultNode, int scannerId);
    // Adds the offered external scanners of "default" to `list`, never replacing an entry.
    void GetDefaultExternalScanners(tinyxml2::XMLElement* defaultNode,
                                    std::map<int, SupportedScanner>& list);
    // Applies the additions, removals and built-in renames of this platform and product.
    void UpDateScannerListWithPlatformSupportedScanners(tinyxml2::XMLElement* platformNode,
                                                        std::map<int, SupportedScanner>& list,
                                                        char* platformName, char* productModel);
    // The same records in the same order, renumbered 0..n-1 (key and index alike).
    std::map<int, SupportedScanner> GetUpdatedScannerMapWithIndexes(
        std::map<int, SupportedScanner> list);
    // The text of the first child called `childName`; empty when an argument is null, the
    // child is absent or it holds no text.
    std::string GetValue(const char* childName, tinyxml2::XMLElement* parent);

private:
    // A fresh working record, held here until the caller takes it, so that a record whose
    // number fails to parse is still freed.
    SupportedScanner* NewRecord();
    // Hands the working record over to the caller.
    SupportedScanner* ReleaseRecord();
    // The rear- or front-camera scanner of "default", with the texts that tell them apart.
    SupportedScanner* GetCameraScanner(tinyxml2::XMLElement* defaultNode, const char* element,
                                       const char* tagMissing, const char* nameMissing,
                                       const char* notSupported);
    // Copies a record into `list` unless its index is taken, then frees it.
    static void InsertAndFree(std::map<int, SupportedScanner>& list, SupportedScanner* record);

    SupportedScanner* m_pSupportedScanner;
};
