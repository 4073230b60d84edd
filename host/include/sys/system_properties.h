/*
 * bionic's system property reader API, for Linux hosts. The store is loaded on first use from
 * $ORVEX_DEVICE_ROOT/system/build.prop; <orvex/properties.h> changes it for tests and the
 * simulator.
 */
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct prop_info prop_info;

#define PROP_VALUE_MAX 92

/* The property called name, or null when it does not exist. The pointer stays valid. */
const prop_info* __system_property_find(const char* name);

/* Calls callback with the property's name, its current value and its serial. */
void __system_property_read_callback(const prop_info* pi,
                                     void (*callback)(void* cookie, const char* name,
                                                      const char* value, uint32_t serial),
                                     void* cookie);

/* Copies the value (at most PROP_VALUE_MAX bytes with the NUL) and returns its length, 0 when
 * the property does not exist. */
int __system_property_get(const char* name, char* value);

#ifdef __cplusplus
}
#endif
