// The registry of module factories: one per process, filled while the library loads and only
// read afterwards, so lookups take no lock.
#pragma once

#include <stdint.h>

#include <map>
#include <string>

#include "IPlatformModule.h"

class ComponentIndex {
public:
    static constexpr int kTagCount = 14;

    // The instance, created on the first call (during load-time construction, on the loading
    // thread) and never destroyed.
    static ComponentIndex* Instance();

    // Registers a factory under a name within one tag. A second registration of the same name
    // under the same tag is a build defect and ends the process.
    void AddPlatformModule(PlatformModuleFactory factory, PlatformModuleTag tag, std::string name);

    // A new module from the factory registered under the name in this tag only, or null.
    IPlatformModule* CreateModule(PlatformModuleTag tag, std::string name);

    // The number of names registered under the tag (of any family, despite the name).
    uint32_t GetNumberOfFeedbackModules(PlatformModuleTag tag);

    ~ComponentIndex();

private:
    ComponentIndex() = default;

    static bool IsValidTag(PlatformModuleTag tag) { return tag >= 0 && tag < kTagCount; }

    std::map<std::string, PlatformModuleFactory> m_Modules[kTagCount];

    static ComponentIndex* p_ComponentIndex;
};
