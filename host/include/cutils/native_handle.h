/*
 * libcutils' native handles, for Linux hosts: a set of file descriptors followed by integers,
 * allocated in one block.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#define NATIVE_HANDLE_MAX_FDS 1024
#define NATIVE_HANDLE_MAX_INTS 1024

typedef struct native_handle {
    int version; /* sizeof(native_handle_t) */
    int numFds;
    int numInts;
    int data[0]; /* numFds descriptors, then numInts integers */
} native_handle_t;

/* A new handle with room for the given counts, every slot zero; null when the counts are out of
 * range or memory runs out. */
native_handle_t* native_handle_create(int numFds, int numInts);

/* Closes the handle's descriptors; 0, or -EINVAL for a null or malformed handle. */
int native_handle_close(const native_handle_t* h);

/* Frees the handle without closing its descriptors; 0, or -EINVAL. */
int native_handle_delete(native_handle_t* h);

/* A new handle with duplicates of the descriptors and a copy of the integers; null on failure. */
native_handle_t* native_handle_clone(const native_handle_t* handle);

#ifdef __cplusplus
}
#endif
