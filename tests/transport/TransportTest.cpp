#include "TransportTest.h"

#include <stdlib.h>

#include "TestSupport.h"

// The level is read while the library's objects are constructed, before main: point the device
// root at the suites' LogLevel.xml before any of them runs.
__attribute__((constructor(101))) static void UseSuiteDeviceRoot() {
    setenv("ORVEX_DEVICE_ROOT", TRANSPORT_DEVICE_ROOT, 1);
}

namespace transport_test {

std::string DeadServiceRegex() {
    return orvex::test::LiteralRegex(
        " F HidlStatus: Attempted to retrieve value from failed HIDL call: "
        "Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '");
}

}  // namespace transport_test
