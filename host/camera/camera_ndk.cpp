// The camera NDK for Linux hosts, over the simulated camera service of <orvex/camera_service.h>.
// Every call is recorded; the service state is guarded by one mutex, so the NDK may be used
// from any thread while the simulator changes the camera list.

#include <camera/NdkCameraManager.h>
#include <camera/NdkCameraMetadata.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "orvex/camera_service.h"
#include "orvex/device_root.h"

struct ACameraManager {
    int unused = 0;
};

struct ACameraMetadata {
    bool hasLensFacing = false;
    uint8_t lensFacing = 0;
};

namespace orvex {
namespace camera {

namespace {

struct Service {
    std::mutex mutex;
    bool present = false;              // guarded by mutex
    std::vector<SimCamera> cameras;    // guarded by mutex
    std::vector<std::string> calls;    // guarded by mutex
    std::set<ACameraIdList*> idLists;  // guarded by mutex
};

Service& TheService() {
    static Service* service = new Service;  // never destroyed: callers may use it during exit
    return *service;
}

void Record(const std::string& call) {
    Service& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    service.calls.push_back(call);
}

std::string Trim(const std::string& text) {
    size_t begin = text.find_first_not_of(" \t\r");
    if (begin == std::string::npos) return "";
    size_t end = text.find_last_not_of(" \t\r");
    return text.substr(begin, end - begin + 1);
}

bool ParseFacing(const std::string& text, SimCamera* camera) {
    if (text == "back") {
        camera->lensFacing = ACAMERA_LENS_FACING_BACK;
    } else if (text == "front") {
        camera->lensFacing = ACAMERA_LENS_FACING_FRONT;
    } else if (text == "external") {
        camera->lensFacing = ACAMERA_LENS_FACING_EXTERNAL;
    } else if (text == "none") {
        camera->lensFacing = kNoLensFacing;
    } else if (text == "unavailable") {
        camera->characteristicsAvailable = false;
    } else {
        char* end = nullptr;
        long value = strtol(text.c_str(), &end, 10);
        if (text.empty() || *end != '\0' || value < 0 || value > 255) return false;
        camera->lensFacing = static_cast<int>(value);
    }
    return true;
}

}  // namespace

void SetCameras(const std::vector<SimCamera>& cameras) {
    Service& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    service.present = true;
    service.cameras = cameras;
}

void RemoveService() {
    Service& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    service.present = false;
    service.cameras.clear();
}

bool HasService() {
    Service& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    return service.present;
}

bool ParseCameraList(const std::string& text, std::vector<SimCamera>* cameras, std::string* error) {
    std::vector<SimCamera> parsed;
    std::istringstream lines(text);
    std::string line;
    int number = 0;
    while (std::getline(lines, line)) {
        ++number;
        line = Trim(line);
        if (line.empty() || line[0] == '#') continue;
        size_t eq = line.find('=');
        SimCamera camera;
        if (eq != std::string::npos) camera.id = Trim(line.substr(0, eq));
        if (eq == std::string::npos || camera.id.empty() ||
            !ParseFacing(Trim(line.substr(eq + 1)), &camera)) {
            if (error != nullptr) *error = "line " + std::to_string(number) + ": " + line;
            return false;
        }
        parsed.push_back(camera);
    }
    *cameras = parsed;
    return true;
}

bool LoadProfileCameras() {
    std::ifstream in(DevicePath(kProfileCameraList), std::ios::binary);
    if (!in) return false;
    std::stringstream text;
    text << in.rdbuf();
    std::vector<SimCamera> cameras;
    std::string error;
    if (!ParseCameraList(text.str(), &cameras, &error)) {
        fprintf(stderr, "%s: %s\n", kProfileCameraList, error.c_str());
        return false;
    }
    SetCameras(cameras);
    return true;
}

std::vector<std::string> Calls() {
    Service& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    return service.calls;
}

void ClearCalls() {
    Service& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    service.calls.clear();
}

int OutstandingIdLists() {
    Service& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    return static_cast<int>(service.idLists.size());
}

}  // namespace camera
}  // namespace orvex

using orvex::camera::Record;
using orvex::camera::TheService;

extern "C" {

ACameraManager* ACameraManager_create(void) {
    Record("ACameraManager_create");
    return new ACameraManager();
}

void ACameraManager_delete(ACameraManager* manager) {
    Record("ACameraManager_delete");
    delete manager;
}

camera_status_t ACameraManager_getCameraIdList(ACameraManager* manager,
                                               ACameraIdList** cameraIdList) {
    Record("ACameraManager_getCameraIdList");
    if (manager == nullptr || cameraIdList == nullptr) return ACAMERA_ERROR_INVALID_PARAMETER;
    auto& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    if (!service.present) return ACAMERA_ERROR_CAMERA_DISCONNECTED;
    auto* list = new ACameraIdList;
    list->numCameras = static_cast<int>(service.cameras.size());
    list->cameraIds = new const char*[service.cameras.size() + 1];
    for (size_t i = 0; i < service.cameras.size(); ++i) {
        list->cameraIds[i] = strdup(service.cameras[i].id.c_str());
    }
    list->cameraIds[service.cameras.size()] = nullptr;
    service.idLists.insert(list);
    *cameraIdList = list;
    return ACAMERA_OK;
}

void ACameraManager_deleteCameraIdList(ACameraIdList* cameraIdList) {
    Record("ACameraManager_deleteCameraIdList");
    if (cameraIdList == nullptr) return;
    {
        auto& service = TheService();
        std::lock_guard<std::mutex> lock(service.mutex);
        service.idLists.erase(cameraIdList);
    }
    for (int i = 0; i < cameraIdList->numCameras; ++i) {
        free(const_cast<char*>(cameraIdList->cameraIds[i]));
    }
    delete[] cameraIdList->cameraIds;
    delete cameraIdList;
}

camera_status_t ACameraManager_getCameraCharacteristics(ACameraManager* manager,
                                                        const char* cameraId,
                                                        ACameraMetadata** characteristics) {
    Record(std::string("ACameraManager_getCameraCharacteristics ") +
           (cameraId != nullptr ? cameraId : "(null)"));
    if (manager == nullptr || cameraId == nullptr || characteristics == nullptr) {
        return ACAMERA_ERROR_INVALID_PARAMETER;
    }
    auto& service = TheService();
    std::lock_guard<std::mutex> lock(service.mutex);
    if (!service.present) return ACAMERA_ERROR_CAMERA_DISCONNECTED;
    for (const orvex::camera::SimCamera& camera : service.cameras) {
        if (camera.id != cameraId) continue;
        if (!camera.characteristicsAvailable) return ACAMERA_ERROR_INVALID_PARAMETER;
        auto* metadata = new ACameraMetadata;
        metadata->hasLensFacing = camera.lensFacing != orvex::camera::kNoLensFacing;
        metadata->lensFacing = static_cast<uint8_t>(camera.lensFacing);
        *characteristics = metadata;
        return ACAMERA_OK;
    }
    return ACAMERA_ERROR_INVALID_PARAMETER;
}

camera_status_t ACameraMetadata_getConstEntry(const ACameraMetadata* metadata, uint32_t tag,
                                              ACameraMetadata_const_entry* entry) {
    char call[64];
    snprintf(call, sizeof call, "ACameraMetadata_getConstEntry 0x%x", tag);
    Record(call);
    if (metadata == nullptr || entry == nullptr) return ACAMERA_ERROR_INVALID_PARAMETER;
    if (tag != ACAMERA_LENS_FACING || !metadata->hasLensFacing) {
        return ACAMERA_ERROR_METADATA_NOT_FOUND;
    }
    entry->tag = tag;
    entry->type = ACAMERA_TYPE_BYTE;
    entry->count = 1;
    entry->data.u8 = &metadata->lensFacing;
    return ACAMERA_OK;
}

ACameraMetadata* ACameraMetadata_copy(const ACameraMetadata* src) {
    Record("ACameraMetadata_copy");
    return src != nullptr ? new ACameraMetadata(*src) : nullptr;
}

void ACameraMetadata_free(ACameraMetadata* metadata) {
    Record("ACameraMetadata_free");
    delete metadata;
}

}  // extern "C"
