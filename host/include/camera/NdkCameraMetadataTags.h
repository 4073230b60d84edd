/*
 * The camera NDK's metadata tags, for Linux hosts: the sections and tags the host camera
 * service fills. Values are those of the Android NDK.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum acamera_metadata_section {
    ACAMERA_COLOR_CORRECTION,
    ACAMERA_CONTROL,
    ACAMERA_DEMOSAIC,
    ACAMERA_EDGE,
    ACAMERA_FLASH,
    ACAMERA_FLASH_INFO,
    ACAMERA_HOT_PIXEL,
    ACAMERA_JPEG,
    ACAMERA_LENS,
    ACAMERA_LENS_INFO,
    ACAMERA_SECTION_COUNT_PLACEHOLDER_
} acamera_metadata_section_t;

typedef enum acamera_metadata_section_start {
    ACAMERA_LENS_START = ACAMERA_LENS << 16,
} acamera_metadata_section_start_t;

typedef enum acamera_metadata_tag {
    ACAMERA_LENS_APERTURE = ACAMERA_LENS_START,
    ACAMERA_LENS_FILTER_DENSITY = ACAMERA_LENS_START + 1,
    ACAMERA_LENS_FOCAL_LENGTH = ACAMERA_LENS_START + 2,
    ACAMERA_LENS_FOCUS_DISTANCE = ACAMERA_LENS_START + 3,
    ACAMERA_LENS_OPTICAL_STABILIZATION_MODE = ACAMERA_LENS_START + 4,
    /* byte (acamera_metadata_enum_android_lens_facing_t) */
    ACAMERA_LENS_FACING = ACAMERA_LENS_START + 5,
} acamera_metadata_tag_t;

typedef enum acamera_metadata_enum_acamera_lens_facing {
    ACAMERA_LENS_FACING_FRONT = 0,
    ACAMERA_LENS_FACING_BACK = 1,
    ACAMERA_LENS_FACING_EXTERNAL = 2,
} acamera_metadata_enum_android_lens_facing_t;

#ifdef __cplusplus
}
#endif
