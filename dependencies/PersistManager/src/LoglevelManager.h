// The scanner log level: read once while the library loads, never changed afterwards.
#pragma once

#include <stdint.h>

#include "PlatformExport.h"

class PLATFORM_EXPORT LoglevelManager {
public:
    // Reads the level from the settings store when the library loads.
    class PLATFORM_EXPORT InitLogLevel {
    public:
        InitLogLevel();
        uint32_t GetScannerLogPriority();

    private:
        uint32_t m_LogLevel;
    };

    // The level; 0 until the load-time reader has run (so everything logged before it is
    // written), then 1 to 8.
    static int GetScannerLogLevel();

    static InitLogLevel initLogLevel;
};
