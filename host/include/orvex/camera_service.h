// The simulated camera service behind the host camera NDK (<camera/NdkCameraManager.h>): the
// simulator sets which cameras exist; tests read back the NDK calls the process made.
#pragma once

#include <string>
#include <vector>

namespace orvex {
namespace camera {

struct SimCamera {
    std::string id;
    // ACAMERA_LENS_FACING_* value reported in the characteristics; kNoLensFacing leaves the
    // entry out, so reading it fails with ACAMERA_ERROR_METADATA_NOT_FOUND.
    int lensFacing = 1;
    // false: ACameraManager_getCameraCharacteristics fails for this camera, as for a camera
    // that went away between listing and query.
    bool characteristicsAvailable = true;
};

constexpr int kNoLensFacing = -1;

// Installs the service with these cameras, in list order (replaces any earlier list).
void SetCameras(const std::vector<SimCamera>& cameras);

// Takes the service away: the NDK then behaves as on a device without a camera service.
void RemoveService();

bool HasService();

// Parses a camera list file: one camera per line, "ID=FACING" with FACING one of back, front,
// external, none (no lens-facing entry), unavailable (characteristics fail) or a number; '#'
// starts a comment line, blank lines are skipped; the order of the lines is the list order.
// False, with `error` set, on a line it cannot read.
bool ParseCameraList(const std::string& text, std::vector<SimCamera>* cameras, std::string* error);

// The camera list file of a device profile, taken under ORVEX_DEVICE_ROOT.
constexpr const char* kProfileCameraList = "/sim/cameras.prop";

// Installs the service from the device root's camera list file when it exists and parses;
// otherwise leaves the service as it is and returns false.
bool LoadProfileCameras();

// The NDK calls made in this process since the last ClearCalls(), one text per call, e.g.
// "ACameraManager_getCameraCharacteristics 0" or "ACameraMetadata_getConstEntry 0x80005".
std::vector<std::string> Calls();
void ClearCalls();

// Id lists handed out by ACameraManager_getCameraIdList and not freed yet. They stay reachable
// so that a caller that never frees them is not reported as leaking.
int OutstandingIdLists();

}  // namespace camera
}  // namespace orvex
