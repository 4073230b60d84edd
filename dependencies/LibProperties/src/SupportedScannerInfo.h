// The scanners this device offers, in offering order, and how the built-in imager is mounted.
// Built once by odk::DeviceInfoBuilder from the device facts and the scanner list file, then
// read-only: the queries take no lock and may run on any thread.
//
// Callers bind to the order of the virtual operations, the destructor included.
#pragma once

#include <map>
#include <string>

#include "PlatformExport.h"
#include "SupportedScanner.h"

class PLATFORM_EXPORT SupportedScannerInfo {
public:
    // The device facts: rear camera present, built-in imager's scanner ID (0: none), board
    // platform, product model, release key ("Android_13"), front camera present. Reads the
    // file named by "scannerlistxml"; see XMLParserUtil for what ends the process or throws.
    SupportedScannerInfo(bool rearCamera, int scannerId, char* platformName, char* productModel,
                         char* androidVersion, bool frontCamera);

    // Exact, case-sensitive match of a scanner name.
    virtual bool IsScannerAvailable(std::string name);
    // The name at a position; "" past the end or for a negative position. Ends the process on
    // an empty list: ask IsScannerListAvailable() first.
    virtual std::string GetScannerNameAt(int index);
    virtual int GetNumberOfSupportedScanners();
    // The built-in imager's model: position 0, or position 1 when position 0 is a camera
    // scanner (model containing "CAMERA"). Ends the process on an empty list.
    virtual std::string GetInBuiltScannerModel();
    // As GetScannerNameAt, for the model.
    virtual std::string GetScannerModelNameAt(int index);
    // The built-in imager's orientation as the file gives it; 0 when unknown.
    virtual int IsMirroredAndFlipped();
    virtual ~SupportedScannerInfo();
    virtual bool IsScannerListAvailable();

private:
    std::map<int, SupportedScanner> masterScannerMap;
};
