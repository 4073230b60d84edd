// One scanner the device offers: a record of the scanner list, copied by value into and out of
// the list maps.
#pragma once

#include <string>

#include "PlatformExport.h"

class PLATFORM_EXPORT SupportedScanner {
public:
    SupportedScanner();
    virtual ~SupportedScanner();

    std::string GetScannerName();
    void SetScannerName(std::string name);
    // The position in the list; after renumbering equal to the record's key.
    int GetScannerIndex();
    void SetScannerIndex(int index);
    std::string GetScannerModel();
    void SetScannerModel(std::string model);
    // Non-zero: the imager is mounted so that its image is mirrored and flipped.
    int GetScannerOrientation();
    void SetScannerOrientation(int orientation);

private:
    std::string m_ScannerName;
    int m_ScannerIndex;
    std::string m_ScannerModel;
    int m_ScannerOrientation;
};
