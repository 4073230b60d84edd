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
void WriteDeviceFile(const std::string& devicePath, const std::string& text);

// For LLVMFuzzerInitialize of targets whose code puts the process name into a fixed-size path
// (the resolver's per-user directory): a binary started by a long path re-executes itself under
// `shortName`, so that inputs are not all refused for the caller's path. Returns only when the
// name is short already.
void UseShortProcessName(char** argv, const char* shortName);

}  // namespace fuzz
}  // namespace orvex
