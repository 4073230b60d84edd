/*
 * The camera NDK's camera manager, for Linux hosts: listing cameras and reading their static
 * characteristics from the simulated camera service (<orvex/camera_service.h>).
 */
#pragma once

#include "NdkCameraError.h"
#include "NdkCameraMetadata.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ACameraManager ACameraManager;

typedef struct ACameraIdList {
    int numCameras;
    const char** cameraIds;
} ACameraIdList;

/* A new manager owned by the caller. As on a device, creating one does not need the camera
 * service; the calls below fail with ACAMERA_ERROR_CAMERA_DISCONNECTED while there is none. */
ACameraManager* ACameraManager_create(void);

/* Frees a manager; null is ignored. */
void ACameraManager_delete(ACameraManager* manager);

/* The ids of the cameras present now, in the service's order. The list belongs to the caller
 * and is freed with ACameraManager_deleteCameraIdList. */
camera_status_t ACameraManager_getCameraIdList(ACameraManager* manager,
                                               ACameraIdList** cameraIdList);

/* Frees a list from ACameraManager_getCameraIdList; null is ignored. */
void ACameraManager_deleteCameraIdList(ACameraIdList* cameraIdList);

/* The static characteristics of one camera, freed with ACameraMetadata_free.
 * ACAMERA_ERROR_INVALID_PARAMETER for a null argument or an unknown id. */
camera_status_t ACameraManager_getCameraCharacteristics(ACameraManager* manager,
                                                        const char* cameraId,
                                                        ACameraMetadata** characteristics);

#ifdef __cplusplus
}
#endif
