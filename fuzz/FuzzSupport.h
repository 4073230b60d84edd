// Shared pieces of the fuzz targets: the library's assertions become an expected, catchable
// outcome instead of an abort, and inputs land in a private device root.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace orvex {
namespace fuzz {

// Thrown by the assertion handler; the target catches it and the input counts as one that the
// library refuses by design.
struct ExpectedAssertion {};

// Installs the handler (once) and makes ORVEX_DEVICE_ROOT a private temporary directory whose
// path it returns. The log goes nowhere unless ORVEX_LOG is already set.
const std::string& Setup();

// Writes the input to a device path under the root.
void WriteDeviceFile(const std::string& devicePath, const uint8_t* data, size_t size);

}  // namespace fuzz
}  // namespace orvex
