// Chooses and owns the one settings store of the process.
#pragma once

#include "IPersistInfo.h"
#include "PlatformExport.h"

class PLATFORM_EXPORT PersistManager {
public:
    enum { kXMLFileStore = 1, kPropertyStore = 2 };

    // The store, created (and, for the file store, loaded) on the first call; null when
    // implementationType names no store, in which case every call tries again. No lock: the
    // first call happens while the library loads.
    static IPersistInfo* GetInstance();

    static IPersistInfo* pInterface;
    static int implementationType;
};
