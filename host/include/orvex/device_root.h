// Where the simulated device's files live on the host.
#pragma once

#include <string>

extern "C" {
// $ORVEX_DEVICE_ROOT, read at every call; null when unset or empty.
const char* orvex_device_root(void);
}

namespace orvex {

// The host path of a device path: absolute device paths are taken under ORVEX_DEVICE_ROOT,
// relative paths and every path without a root are returned unchanged.
std::string DevicePath(const std::string& device_path);

}  // namespace orvex
