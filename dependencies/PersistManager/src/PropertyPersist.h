// An in-memory settings store that starts empty.
#pragma once

#include "IPersistInfo.h"

class PLATFORM_EXPORT PropertyPersist : public IPersistInfo {
public:
    void LoadInfo() override;
};
