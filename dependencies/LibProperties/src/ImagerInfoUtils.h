// The built-in imager's identifier and interface type, read once from the imager client
// library, which is loaded for the query and unloaded again.
#pragma once

#include <stdint.h>

#include <string>

#include "ImagerClientInterfaces.h"
#include "PlatformExport.h"

class PLATFORM_EXPORT ImagerInfoUtils {
public:
    // The instance, built (and the library queried) on the first call; never freed. No lock:
    // callers reach it under odk::DeviceInfoBuilder's scanner-info mutex, which serialises the
    // first use.
    static ImagerInfoUtils* getImagerInfoInstance();

    // The imager's identifier (the scanner ID as text); empty when loading failed.
    virtual std::string GetImagerID();
    // The imager's interface type; 0 when loading failed.
    virtual int GetImagerInterfaceType();
    virtual ~ImagerInfoUtils();

    // Loads the library and fills `info` with its entry point. Ends the process when the
    // library or its entry point is missing.
    bool LoadImagerLibrary(_imager_module_info* info);
    // Loads the library and obtains the provider and its imager; false when either is missing,
    // in which case whatever was obtained stays loaded.
    IMAGER_CLIENT_CALLS bool LoadImagerModules();
    // Deletes the provider and closes the library; the result of the close.
    IMAGER_CLIENT_CALLS int UnloadImagerModules();

private:
    IMAGER_CLIENT_CALLS ImagerInfoUtils();

    std::string m_ImagerID;
    _imager_module_info m_ModuleInfo;
    void* m_LibraryHandle;
    IImagerClientProvider* m_ImagerProvider;
    IImagerClientImager* m_Imager;
    int32_t m_InterfaceType;

    static ImagerInfoUtils* m_Instance;
};
