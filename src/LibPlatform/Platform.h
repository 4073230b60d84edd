// The library's entry functions: callers obtain and release modules only through these.
#pragma once

#include "IPlatformModule.h"
#include "PlatformExport.h"

extern "C" {

// Always 1.
PLATFORM_EXPORT int getPlatformVersion();

// A new module registered under the name in the tag, or null. Not asked whether it is supported.
PLATFORM_EXPORT IPlatformModule* GetPlatformModule(PlatformModuleTag tag, const char* name);

// A new module of the tag's usual name, only if it reports itself supported; otherwise null.
PLATFORM_EXPORT IPlatformModule* GetAbstractedPlatformModule(PlatformModuleTag tag);

// Destroys a module obtained above; null is ignored.
PLATFORM_EXPORT void DeletePlatformModule(IPlatformModule* module);

// The number of modules registered under the tag.
PLATFORM_EXPORT int GetNumberOfPlatformModulesForTag(PlatformModuleTag tag);
}
