/*
 * The camera NDK's read-only metadata access, for Linux hosts.
 */
#pragma once

#include <stdint.h>

#include "NdkCameraError.h"
#include "NdkCameraMetadataTags.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ACameraMetadata ACameraMetadata;

enum {
    ACAMERA_TYPE_BYTE = 0,
    ACAMERA_TYPE_INT32 = 1,
    ACAMERA_TYPE_FLOAT = 2,
    ACAMERA_TYPE_INT64 = 3,
    ACAMERA_TYPE_DOUBLE = 4,
    ACAMERA_TYPE_RATIONAL = 5,
    ACAMERA_NUM_TYPES
};

typedef struct ACameraMetadata_rational {
    int32_t numerator;
    int32_t denominator;
} ACameraMetadata_rational;

typedef struct ACameraMetadata_const_entry {
    uint32_t tag;
    uint8_t type;
    uint32_t count;
    union {
        const uint8_t* u8;
        const int32_t* i32;
        const float* f;
        const int64_t* i64;
        const double* d;
        const ACameraMetadata_rational* r;
    } data;
} ACameraMetadata_const_entry;

/* The entry of `tag`; ACAMERA_ERROR_METADATA_NOT_FOUND when the metadata does not hold it,
 * ACAMERA_ERROR_INVALID_PARAMETER for a null argument. The data stays valid until the
 * metadata is freed. */
camera_status_t ACameraMetadata_getConstEntry(const ACameraMetadata* metadata, uint32_t tag,
                                              ACameraMetadata_const_entry* entry);

/* A copy owned by the caller, or null for a null argument. */
ACameraMetadata* ACameraMetadata_copy(const ACameraMetadata* src);

/* Frees metadata obtained from the NDK; null is ignored. */
void ACameraMetadata_free(ACameraMetadata* metadata);

#ifdef __cplusplus
}
#endif
