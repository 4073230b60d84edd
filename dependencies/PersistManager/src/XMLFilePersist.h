// The settings store backed by the scanner settings file.
#pragma once

#include "IPersistInfo.h"

class PLATFORM_EXPORT XMLFilePersist : public IPersistInfo {
public:
    static constexpr const char* kSettingsFile = "/enterprise/device/settings/scanner/LogLevel.xml";

    // Reads every child element of the root as a key/value pair; a missing or unparsable file
    // leaves the store empty.
    void LoadInfo() override;
};
