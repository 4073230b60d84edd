#include "SimulatedDevice.h"

#include "orvex/camera_service.h"

namespace orvex {
namespace sim {

SimulatedDevice::SimulatedDevice() : mHardwareManager(new HardwareManagerSim(false)) {}

SimulatedDevice::~SimulatedDevice() = default;

void SimulatedDevice::Start() {
    camera::LoadProfileCameras();
    mHardwareManager->Start();
}

}  // namespace sim
}  // namespace orvex
