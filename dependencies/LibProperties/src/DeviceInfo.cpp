#include "DeviceInfo.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <stdexcept>

#include "ConfigInfo.h"
#include "Constants.h"
#include "FrameworkAssert.h"
#include "HostHooks.h"
#include "ImagerInfoUtils.h"
#include "PlatformModuleInterfaces.h"
#include "ScannerLog.h"

namespace {

constexpr const char* kSourcePath =
    "device/common/platform_bundle/dependencies/LibProperties/src/DeviceInfo";
constexpr const char* kVolumeLibrary = "libovc.so";

// Opens a library by the path the resolver gave. An empty path names no library; glibc would
// answer it with the main program, a device's loader with a failure, which is what callers
// expect.
void* OpenLibrary(const std::string& path, std::string* error) {
    void* handle = path.empty()
                       ? nullptr
                       : dlopen(platform::host::DevicePath(path.c_str()).c_str(), RTLD_LAZY);
    if (handle == nullptr) {
        const char* text = dlerror();
        *error = text != nullptr ? text : "library \"\" not found";
    }
    return handle;
}

}  // namespace

DeviceInfo::DeviceInfo()
    : p_CameraManager(nullptr),
      p_GetScannerVolume(nullptr),
      p_GetBeepAudioApiValue(nullptr),
      p_GetAudioAccessoryStatus(nullptr),
      p_VolumeLibraryHandle(nullptr),
      p_PlatformLibraryHandle(nullptr),
      p_PlatformHWInfoRetriever(nullptr),
      p_GetPlatformVersion(nullptr) {
    // The volume library is optional: a device without it answers -1 for its facts.
    p_VolumeLibraryHandle = dlopen(kVolumeLibrary, RTLD_LAZY);
    if (p_VolumeLibraryHandle != nullptr) {
        p_GetScannerVolume =
            reinterpret_cast<IntFunc>(dlsym(p_VolumeLibraryHandle, "GetScannerVolume"));
        p_GetBeepAudioApiValue =
            reinterpret_cast<IntFunc>(dlsym(p_VolumeLibraryHandle, "getBeepAudioApiValue"));
        p_GetAudioAccessoryStatus =
            reinterpret_cast<TextFunc>(dlsym(p_VolumeLibraryHandle, "getAudioAccessoryStatus"));
    }
    LoadPlatformHWInfoRetrieverModule();
}

DeviceInfo::~DeviceInfo() {
    // The platform library and the module stay: other objects may still use them.
    if (p_VolumeLibraryHandle != nullptr) dlclose(p_VolumeLibraryHandle);
}

bool DeviceInfo::LoadPlatformHWInfoRetrieverModule() {
    std::string path = ConfigInfo::ResolveConfigDependency("libplatformso");
    SF_LOGD("[DeviceInfo::LoadPlatformHWInfoRetrieverModule] E");

    std::string error;
    p_PlatformLibraryHandle = OpenLibrary(path, &error);
    if (p_PlatformLibraryHandle == nullptr) {
        SF_LOGE(
            "[DeviceInfo::LoadPlatformHWINfoRetrieverModule]  Unable to load platform library "
            "'%s error %s'\n",
            path.c_str(), error.c_str());
        return false;
    }

    // The module comes through the library's exported entry points, as any caller gets it.
    auto getModule = reinterpret_cast<GetAbstractedPlatformModuleFunc>(
        dlsym(p_PlatformLibraryHandle, "GetAbstractedPlatformModule"));
    if (getModule == nullptr) {
        dlclose(p_PlatformLibraryHandle);
        platform::AssertFrameworkF(kSourcePath, 66, "Unable to load function %s\n",
                                   "GetAbstractedPlatformModule");
    }
    if (dlsym(p_PlatformLibraryHandle, "DeletePlatformModule") == nullptr) {
        dlclose(p_PlatformLibraryHandle);
        platform::AssertFrameworkF(kSourcePath, 69, "Unable to load function %s\n",
                                   "DeletePlatformModule");
    }
    p_GetPlatformVersion =
        reinterpret_cast<IntFunc>(dlsym(p_PlatformLibraryHandle, "getPlatformVersion"));

    p_PlatformHWInfoRetriever = getModule(PLATFORM_MODULE_HW_INFO);
    if (p_PlatformHWInfoRetriever != nullptr) {
        SF_LOGD(
            "[DeviceInfo::LoadPlatformHWINfoRetrieverModule] PlatformHWInfoRetriever module "
            "loaded");
        SF_LOGD("[DeviceInfo::LoadPlatformHWINfoRetrieverModule] GetModuleName %s",
                static_cast<ISupportedPlatformModule*>(p_PlatformHWInfoRetriever)->GetModuleName());
        return true;
    }
    SF_LOGE(
        "[DeviceInfo::LoadPlatformHWINfoRetrieverModule] PlatformHWInfoRetriever module is "
        "not supported");
    // The close that belongs here has always been given the (null) module instead of the
    // library, so the library stays open and getPlatformVersion keeps answering. A device's
    // loader refuses a null handle; glibc's would crash, so nothing is closed.
    return false;
}

namespace {

// Every property fact is read once through the resolver and cached; an empty answer means the
// device cannot run the scanning stack, and each getter reports it at its own line. A free
// function, so that it stays out of the exported class.
const std::string& ReadFact(std::string& cache, const char* name, int line, const char* failure,
                            const char* label) {
    if (cache.empty()) {
        cache = ConfigInfo::ResolveConfigDependency(name);
        if (cache.empty()) platform::AssertFramework(kSourcePath, line, failure);
        SF_LOGD("%s%s", label, cache.c_str());
    }
    return cache;
}

}  // namespace

std::string DeviceInfo::GetPlatformName() {
    return ReadFact(m_PlatformName, Constants::PLATFORM_STRING, 118, "GetPlatformName Failed",
                    "[DeviceInfo::GetPlatformName] Platform Name ");
}

std::string DeviceInfo::GetProductName() {
    return ReadFact(m_ProductName, Constants::PRODUCT_STRING, 129, "GetProductName Failed",
                    "[DeviceInfo::GetProductName] Product Name ");
}

std::string DeviceInfo::GetProductModel() {
    return ReadFact(m_ProductModel, Constants::MODEL_STRING, 140, "GetProductModel Failed",
                    "[DeviceInfo::GetProductModel] ProductModel Name ");
}

std::string DeviceInfo::GetProductSKU() {
    return ReadFact(m_ProductSKU, Constants::SKU_STRING, 151, "GetProductSKU Failed",
                    "[DeviceInfo::GetProductSKU] ProductSKU Name ");
}

std::string DeviceInfo::GetManufacturerName() {
    return ReadFact(m_ManufacturerName, Constants::MANUFACTURER_STRING, 162,
                    "GetManufacturerName Failed",
                    "[DeviceInfo::GetManufacturerName] Manufacturer Name ");
}

std::string DeviceInfo::GetAndroidVersion() {
    return ReadFact(m_AndroidVersion, Constants::RELEASE_STRING, 173, "GetAndroidVersion Failed",
                    "[DeviceInfo::GetAndroidVersion] Android Version ");
}

std::string DeviceInfo::GetABI() {
    return ReadFact(m_ABI, Constants::ABI_STRING, 184, "GetABI Failed", "[DeviceInfo::GetABI] ABI ");
}

std::string DeviceInfo::GetDeviceDecryptionStatus() {
    // Changes while the device boots, so it is never cached.
    m_DecryptionStatus = ConfigInfo::ResolveConfigDependency(Constants::DECRYPTION_STATUS_STRING);
    SF_LOGD("[DeviceInfo::GetDeviceDecryptionStatus] Device Decryption status %s",
            m_DecryptionStatus.c_str());
    return m_DecryptionStatus;
}

int DeviceInfo::GetScannerBeepVolume() {
    int volume = p_GetScannerVolume != nullptr ? p_GetScannerVolume() : -1;
    SF_LOGD("[DeviceInfo::GetScannerBeepVolume] Scanner Beep Volume %d", volume);
    return volume;
}

int DeviceInfo::GetScannerAudioAPI() {
    int api = p_GetBeepAudioApiValue != nullptr ? p_GetBeepAudioApiValue() : -1;
    SF_LOGD("[DeviceInfo::GetScannerAudioAPI] Scanner Audio API %d", api);
    return api;
}

int DeviceInfo::CheckExternalHeadset() {
    // No presence check: callers only ask on devices that have the volume library.
    int status = atoi(p_GetAudioAccessoryStatus());
    SF_LOGD("[DeviceInfo::CheckExternalHeadset] CheckExternalHeadset %d", status);
    return status;
}

std::string DeviceInfo::GetConfigPath(std::string /*name*/) { return ""; }

int DeviceInfo::GetScanner() {
    std::string scannerId = ImagerInfoUtils::getImagerInfoInstance()->GetImagerID();
    SF_LOGD("[DeviceInfo::GetScanner] scanner ID = %s\n", scannerId.c_str());
    if (scannerId.empty()) {
        SF_LOGD("[DeviceInfo::GetScanner] Setting scannerID = 0\n");
        scannerId = "0";
    }
    try {
        return std::stoi(scannerId, nullptr, 10);
    } catch (const std::invalid_argument& e) {
        SF_LOGE("[DeviceInfo::GetScanner] Exception. %s", e.what());
    } catch (const std::out_of_range& e) {
        SF_LOGE("[DeviceInfo::GetScanner] Exception. %s", e.what());
    }
    return 0;
}

int DeviceInfo::GetImagerInterfaceType() {
    int type = ImagerInfoUtils::getImagerInfoInstance()->GetImagerInterfaceType();
    SF_LOGD("[DeviceInfo::GetImagerInterfaceType] Imager Interface type= %d\n", type);
    return type;
}

int DeviceInfo::GetPlatformVersion() {
    int version = p_GetPlatformVersion != nullptr ? p_GetPlatformVersion() : -1;
    // The line names GetImagerInterfaceType; log readers match it as it is.
    SF_LOGD("[DeviceInfo::GetImagerInterfaceType] Platform Version type= %d\n", version);
    return version;
}

bool DeviceInfo::isDeviceFederalSKU1() {
    if (p_PlatformHWInfoRetriever == nullptr) {
        SF_LOGE("[DeviceInfo::isDeviceFederalSKU1] PlatformHWInfoRetriever module is not loaded");
        return false;
    }
    auto* module = static_cast<IHWInfoModule*>(p_PlatformHWInfoRetriever);
    // The logged answer is a query of its own, made only when the line is written.
    SF_LOGD(
        "[DeviceInfo::isDeviceFederalSKU1] pPlatforHWInfoRetreiver->isDeviceFederalSKU1 "
        "returns %s",
        module->isDeviceFederalSku1() ? "true" : "false");
    return module->isDeviceFederalSku1();
}

bool DeviceInfo::isDeviceFederalSKU2() {
    if (p_PlatformHWInfoRetriever == nullptr) {
        SF_LOGE("[DeviceInfo::isDeviceFederalSKU2] PlatformHWInfoRetriever module is not loaded");
        return false;
    }
    auto* module = static_cast<IHWInfoModule*>(p_PlatformHWInfoRetriever);
    SF_LOGD(
        "[DeviceInfo::isDeviceFederalSKU2] pPlatforHWInfoRetreiver->isDeviceFederalSKU2 "
        "returns %s",
        module->isDeviceFederalSku2() ? "true" : "false");
    return module->isDeviceFederalSku2();
}

bool DeviceInfo::IsRearCameraAvaialable() {
    bool found = false;
    p_CameraManager = ACameraManager_create();
    if (p_CameraManager != nullptr) {
        found = IsRearCameraAvaialableCheckUsingNDK(p_CameraManager);
        ACameraManager_delete(p_CameraManager);
        p_CameraManager = nullptr;
    }
    if (found) return true;
    // Devices whose camera service is not up yet still announce the camera in properties.
    if (IsRearCameraAvaialableCheckUsingProperty(Constants::CAMERA_STRING_1)) return true;
    return IsRearCameraAvaialableCheckUsingProperty(Constants::CAMERA_STRING);
}

bool DeviceInfo::IsFrontCameraAvaialable() {
    bool found = false;
    p_CameraManager = ACameraManager_create();
    if (p_CameraManager != nullptr) {
        found = IsFrontCameraAvaialableCheckUsingNDK(p_CameraManager);
        ACameraManager_delete(p_CameraManager);
        p_CameraManager = nullptr;
    }
    if (found) return true;
    if (IsFrontCameraAvaialableCheckUsingProperty(Constants::FRONT_CAMERA_STRING)) return true;
    // The same property once more, as the device build has always read it.
    return IsFrontCameraAvaialableCheckUsingProperty(Constants::FRONT_CAMERA_STRING);
}

bool DeviceInfo::IsRearCameraAvaialableCheckUsingNDK(ACameraManager* manager) {
    ACameraIdList* ids = nullptr;
    if (ACameraManager_getCameraIdList(manager, &ids) != ACAMERA_OK || ids == nullptr ||
        ids->numCameras < 1) {
        return false;
    }
    for (int i = 0; i < ids->numCameras; ++i) {
        ACameraMetadata* characteristics = nullptr;
        if (ACameraManager_getCameraCharacteristics(manager, ids->cameraIds[i], &characteristics) !=
            ACAMERA_OK) {
            return false;
        }
        ACameraMetadata_const_entry entry = {};
        if (ACameraMetadata_getConstEntry(characteristics, ACAMERA_LENS_FACING, &entry) !=
            ACAMERA_OK) {
            ACameraMetadata_free(characteristics);
            return false;
        }
        uint8_t facing = entry.data.u8[0];
        ACameraMetadata_free(characteristics);
        if (facing == ACAMERA_LENS_FACING_BACK) return true;
    }
    return false;
}

bool DeviceInfo::IsFrontCameraAvaialableCheckUsingNDK(ACameraManager* manager) {
    ACameraIdList* ids = nullptr;
    if (ACameraManager_getCameraIdList(manager, &ids) != ACAMERA_OK || ids == nullptr ||
        ids->numCameras < 1) {
        return false;
    }
    for (int i = 0; i < ids->numCameras; ++i) {
        ACameraMetadata* characteristics = nullptr;
        if (ACameraManager_getCameraCharacteristics(manager, ids->cameraIds[i], &characteristics) !=
            ACAMERA_OK) {
            return false;
        }
        ACameraMetadata_const_entry entry = {};
        if (ACameraMetadata_getConstEntry(characteristics, ACAMERA_LENS_FACING, &entry) !=
            ACAMERA_OK) {
            ACameraMetadata_free(characteristics);
            return false;
        }
        uint8_t facing = entry.data.u8[0];
        ACameraMetadata_free(characteristics);
        // Error priority so that field logs at the default level show every camera seen.
        SF_LOGE("[DeviceInfo::IsFrontCameraAvaialableCheckUsingNDK] cam facing %d", facing);
        if (facing == ACAMERA_LENS_FACING_FRONT) return true;
    }
    return false;
}

bool DeviceInfo::IsRearCameraAvaialableCheckUsingProperty(const char* property) {
    std::string value = ConfigInfo::ResolveConfigDependency(property);
    if (value.empty()) return false;
    try {
        return std::stoi(value, nullptr, 10) >= 1;
    } catch (const std::invalid_argument& e) {
        SF_LOGE("[DeviceInfo::IsRearCameraAvaialable] Exception. %s", e.what());
    } catch (const std::out_of_range& e) {
        SF_LOGE("[DeviceInfo::IsRearCameraAvaialable] Exception. %s", e.what());
    }
    return false;
}

bool DeviceInfo::IsFrontCameraAvaialableCheckUsingProperty(const char* property) {
    std::string value = ConfigInfo::ResolveConfigDependency(property);
    if (value.empty()) return false;
    try {
        return std::stoi(value, nullptr, 10) >= 1;
    } catch (const std::invalid_argument& e) {
        SF_LOGE("[DeviceInfo::IsFrontCameraAvaialable] Exception. %s", e.what());
    } catch (const std::out_of_range& e) {
        SF_LOGE("[DeviceInfo::IsFrontCameraAvaialable] Exception. %s", e.what());
    }
    return false;
}
