// The whole simulated device behind one object, for the tool and end-to-end tests: every fake
// service the device's profile calls for, started from the device root in ORVEX_DEVICE_ROOT.
// Tests of one module drive the individual fakes instead.
#pragma once

#include <memory>

#include "HardwareManagerSim.h"

namespace orvex {
namespace sim {

class SimulatedDevice {
public:
    SimulatedDevice();
    ~SimulatedDevice();
    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;

    // Starts the services: the camera service from the profile's camera list, the hardware
    // manager with its sub-interfaces.
    void Start();

    HardwareManagerSim& hardwareManager() { return *mHardwareManager; }

private:
    std::unique_ptr<HardwareManagerSim> mHardwareManager;
};

}  // namespace sim
}  // namespace orvex
