#include "ImagerInfoUtils.h"

#include <dlfcn.h>

#include "FrameworkAssert.h"
#include "ScannerLog.h"

namespace {

constexpr const char* kSourcePath =
    "device/common/platform_bundle/dependencies/LibProperties/src/ImagerInfoUtils";
constexpr const char* kLibrary = "libimagerclient.so";

}  // namespace

ImagerInfoUtils* ImagerInfoUtils::m_Instance = nullptr;

ImagerInfoUtils* ImagerInfoUtils::getImagerInfoInstance() {
    if (m_Instance == nullptr) m_Instance = new ImagerInfoUtils();
    return m_Instance;
}

ImagerInfoUtils::ImagerInfoUtils()
    : m_ModuleInfo{nullptr},
      m_LibraryHandle(nullptr),
      m_ImagerProvider(nullptr),
      m_Imager(nullptr),
      m_InterfaceType(0) {
    if (!LoadImagerModules()) {
        // Nothing is released after a failure: the library and any provider stay loaded for
        // the life of the process, and callers see an empty identifier.
        SF_LOGE("ImagerInfoUtils::%s] Load Imager Modules Unsuccessful!\n", "ImagerInfoUtils");
        return;
    }
    SF_LOGD("ImagerInfoUtils::%s] Loaded Imager Modules!\n", "ImagerInfoUtils");
    m_ImagerID = m_Imager->GetImagerID();
    SF_LOGD("ImagerInfoUtils::%s] m_ImagerID = %s\n", "ImagerInfoUtils", m_ImagerID.c_str());
    m_InterfaceType = m_Imager->GetInterfaceType();
    SF_LOGD("ImagerInfoUtils::%s] Interface ID = %d\n", "ImagerInfoUtils", m_InterfaceType);
    // Both answers are frozen now; the library is not needed for the rest of the process.
    UnloadImagerModules();
}

ImagerInfoUtils::~ImagerInfoUtils() {}

std::string ImagerInfoUtils::GetImagerID() { return m_ImagerID; }

int ImagerInfoUtils::GetImagerInterfaceType() { return m_InterfaceType; }

bool ImagerInfoUtils::LoadImagerLibrary(_imager_module_info* info) {
    m_LibraryHandle = dlopen(kLibrary, RTLD_LAZY);
    if (m_LibraryHandle == nullptr) {
        SF_LOGE("[ImagerInfoUtils::LoadImagerLibrary] Unable to load library, Error '%s'",
                dlerror());
        platform::AssertFramework(
            kSourcePath, 56,
            "[ImagerContext::LoadImagerLibrary] Unable to load libimagerclient.so");
    }
    SF_LOGI("ImagerInfoUtils::%s] Loaded libimagerclient.so!!\n", "LoadImagerLibrary");
    info->GetImagerModule =
        reinterpret_cast<GetImagerModuleFunc>(dlsym(m_LibraryHandle, "GetImagerModule"));
    if (info->GetImagerModule == nullptr) {
        dlclose(m_LibraryHandle);
        m_LibraryHandle = nullptr;
        platform::AssertFrameworkF(kSourcePath, 62, "Unable to load function %s\n",
                                   "GetImagerModule");
    }
    return true;
}

bool ImagerInfoUtils::LoadImagerModules() {
    LoadImagerLibrary(&m_ModuleInfo);
    m_ImagerProvider =
        static_cast<IImagerClientProvider*>(m_ModuleInfo.GetImagerModule(1, "ImagerProvider"));
    if (m_ImagerProvider == nullptr) {
        SF_LOGE("[ImagerInfoUtils::LoadImagerModules] m_ImagerProvider is NULL");
        return false;
    }
    m_Imager = m_ImagerProvider->GetImager();
    if (m_Imager == nullptr) {
        SF_LOGE("[ImagerInfoUtils::%s] m_Imager is NULL\n", "LoadImagerModules");
        return false;
    }
    SF_LOGI("[ImagerInfoUtils::%s] m_Imager not NULL\n", "LoadImagerModules");
    return true;
}

int ImagerInfoUtils::UnloadImagerModules() {
    delete m_ImagerProvider;
    m_ImagerProvider = nullptr;
    m_Imager = nullptr;
    // A device's loader answers a null handle with -1; glibc's would crash, so a host build
    // answers for it.
    int result = m_LibraryHandle != nullptr ? dlclose(m_LibraryHandle) : -1;
    m_LibraryHandle = nullptr;
    return result;
}
