// The scanner settings file, read by the settings store the log level comes from.

#include <stddef.h>
#include <stdint.h>

#include "FuzzSupport.h"
#include "XMLFilePersist.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    orvex::fuzz::Setup();
    orvex::fuzz::WriteDeviceFile(XMLFilePersist::kSettingsFile, data, size);
    XMLFilePersist store;
    try {
        store.LoadInfo();
    } catch (const orvex::fuzz::ExpectedAssertion&) {
        return 0;
    }
    // Whatever was read must be readable back.
    (void)store.GetInfo("LogLevel");
    return 0;
}
