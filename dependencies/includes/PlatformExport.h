// Symbols callers reach directly; everything else in the library is hidden.
#pragma once

#define PLATFORM_EXPORT __attribute__((visibility("default")))
