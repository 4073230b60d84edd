#include "ComponentIndex.h"

#include "FrameworkAssert.h"
#include "ScannerLog.h"

ComponentIndex* ComponentIndex::p_ComponentIndex = nullptr;

ComponentIndex* ComponentIndex::Instance() {
    if (p_ComponentIndex == nullptr) p_ComponentIndex = new ComponentIndex();
    return p_ComponentIndex;
}

ComponentIndex::~ComponentIndex() {}

void ComponentIndex::AddPlatformModule(PlatformModuleFactory factory, PlatformModuleTag tag,
                                       std::string name) {
    if (!IsValidTag(tag)) {
        SF_LOGE("[ComponentIndex::AddPlatformModule] Invalid tag %d for module %s\n",
                static_cast<int>(tag), name.c_str());
        return;
    }
    std::map<std::string, PlatformModuleFactory>& modules = m_Modules[tag];
    if (modules.find(name) != modules.end()) {
        SF_LOGE("[ComponentIndex::AddPlatformModule] A Module with the same name is also registered");
        platform::AssertFramework(
            "device/common/platform_bundle/src/SFPlatform/src/LibPlatform/ComponentIndex", 39,
            "[ComponentIndex::AddPlatformModule] A Module with the same name is also registered");
    }
    SF_LOGI("[ComponentIndex::AddPlatformModule] Adding platform module '%s' with Tag '%d'\n",
            name.c_str(), static_cast<int>(tag));
    modules.emplace(name, factory);
}

IPlatformModule* ComponentIndex::CreateModule(PlatformModuleTag tag, std::string name) {
    // Callers must pass a valid tag; one out of range is answered as an unknown module rather
    // than read past the table.
    if (IsValidTag(tag)) {
        auto it = m_Modules[tag].find(name);
        if (it != m_Modules[tag].end()) return it->second();
    }
    SF_LOGE("[ComponentIndex::CreateModule] Unable to find module %s\n", name.c_str());
    return nullptr;
}

uint32_t ComponentIndex::GetNumberOfFeedbackModules(PlatformModuleTag tag) {
    return IsValidTag(tag) ? static_cast<uint32_t>(m_Modules[tag].size()) : 0;
}
