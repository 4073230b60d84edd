// The library's single source of facts about the handheld it runs on: properties (through the
// external-dependency resolver), cameras (camera NDK, then properties), the volume-control
// library, the imager client library and the hardware-info module.
//
// Created once by odk::DeviceInfoBuilder and never destroyed. The getters take no lock: the
// caches hold values that do not change, so concurrent first calls at worst both fill a cache
// with the same text. Callers outside the library bind to the order of the virtual operations.
#pragma once

#include <camera/NdkCameraManager.h>

#include <string>

#include "IPlatformModule.h"
#include "PlatformExport.h"

class PLATFORM_EXPORT DeviceInfo {
public:
    // Opens the volume-control library (optional) and the hardware-info module.
    DeviceInfo();

    // Cameras: the camera service first, then the properties. The spelling is the interface's.
    virtual bool IsRearCameraAvaialable();
    virtual bool IsFrontCameraAvaialable();
    // Properties read once and cached; an empty value ends the process.
    virtual std::string GetPlatformName();
    virtual std::string GetProductName();
    virtual std::string GetProductModel();
    virtual std::string GetProductSKU();
    virtual std::string GetManufacturerName();
    virtual std::string GetAndroidVersion();
    virtual std::string GetABI();
    // The volume-control library's answers; -1 when it lacks the function.
    virtual int GetScannerBeepVolume();
    virtual int GetScannerAudioAPI();
    // Must not be called on a device without the volume-control library.
    virtual int CheckExternalHeadset();
    // Always "".
    virtual std::string GetConfigPath(std::string name);
    // The built-in imager's scanner ID; 0 when there is none.
    virtual int GetScanner();
    // Read afresh at every call; "" when unset.
    virtual std::string GetDeviceDecryptionStatus();
    virtual int GetImagerInterfaceType();
    // The platform library's version; -1 when the library could not be loaded.
    virtual int GetPlatformVersion();
    // Asked of the hardware-info module; false when it is not loaded.
    virtual bool isDeviceFederalSKU1();
    virtual bool isDeviceFederalSKU2();
    // Closes the volume-control library only.
    virtual ~DeviceInfo();

private:
    typedef int (*IntFunc)();
    typedef const char* (*TextFunc)();
    typedef IPlatformModule* (*GetAbstractedPlatformModuleFunc)(PlatformModuleTag tag);

    bool LoadPlatformHWInfoRetrieverModule();
    bool IsRearCameraAvaialableCheckUsingNDK(ACameraManager* manager);
    bool IsFrontCameraAvaialableCheckUsingNDK(ACameraManager* manager);
    bool IsRearCameraAvaialableCheckUsingProperty(const char* property);
    bool IsFrontCameraAvaialableCheckUsingProperty(const char* property);

    std::string m_PlatformName;
    std::string m_ProductName;
    std::string m_ProductModel;
    std::string m_ProductSKU;
    std::string m_ManufacturerName;
    std::string m_AndroidVersion;
    std::string m_DecryptionStatus;
    std::string m_ABI;
    ACameraManager* p_CameraManager;
    IntFunc p_GetScannerVolume;
    IntFunc p_GetBeepAudioApiValue;
    TextFunc p_GetAudioAccessoryStatus;
    void* p_VolumeLibraryHandle;
    void* p_PlatformLibraryHandle;
    IPlatformModule* p_PlatformHWInfoRetriever;
    IntFunc p_GetPlatformVersion;
};
