// A key/value store of text settings.
#pragma once

#include <map>
#include <string>

#include "PlatformExport.h"

class PLATFORM_EXPORT IPersistInfo {
public:
    IPersistInfo() = default;

    // A copy of the value, or "" when the key is absent.
    virtual std::string GetInfo(std::string key);
    // Inserts the pair or replaces the value; never written back to any file.
    virtual void SetInfo(std::string key, std::string value);
    virtual void LoadInfo() = 0;
    virtual ~IPersistInfo();

protected:
    // Not locked: callers keep concurrent SetInfo calls apart.
    std::map<std::string, std::string> m_Settings;
};
