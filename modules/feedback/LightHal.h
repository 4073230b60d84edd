// The process's light object, shared by every LED module: HIDL lights first, AIDL second.
// Unsynchronised: callers use one LED module at a time.
#pragma once

#include "LightInterface.h"

class LightHal {
  public:
    // The held light object, or a new one on the first service that answers; null when neither
    // does. Every failure clears b_LightInit, so the next call tries both services again.
    static LightInterface* associate();

    static LightInterface* lighthal;
    static bool b_LightInit;
};
