// The serial port module: a serial transport to an attached scanner, or the firmware-update
// port of that scanner, through the hardware manager's ISerial. One instance serves one of the
// two at a time: acquiring either while the other is held fails, by design, and a release makes
// the instance free for either again.
//
// Threads: every operation runs on the caller's thread and the module takes no lock of its own;
// the instance belongs to one caller thread at a time. Received bytes arrive in
// SerialCallback::onSerialData on a HIDL runtime thread and go straight to the caller's data
// callback on that thread, until the release (or the destructor) returns: the callback object
// the service still holds then passes nothing on.
#pragma once

#include <hidl/HidlSupport.h>
#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerial.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerialCallback.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerialFWUpdate.h>

#include <string>

#include "CallGate.h"
#include "ComponentIndex.h"
#include "PlatformCallbacks.h"
#include "PlatformModuleInterfaces.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace implementation {

// The module's receiver of serial data, registered with the service. Holds the caller's data
// callback, which it does not own, until the module lets go of this object.
class SerialCallback : public V1_0::ISerialCallback {
  public:
    SerialCallback();
    ~SerialCallback() override;

    // Keeps `callback` only when it is non-null; returns whether it was.
    bool setSerialDataCallback(ISerialDataCallBack* callback);
    // Data that reaches this object from now on goes nowhere; returns once no call to the data
    // callback is running on another thread.
    void clearSerialDataCallback();

    // On a HIDL runtime thread: hands non-empty data to the data callback on this thread.
    android::hardware::Return<void> onSerialData(
        const android::hardware::hidl_vec<uint8_t>& data) override;

  private:
    CallGate<ISerialDataCallBack> m_SerialDataCallback;
};

}  // namespace implementation
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor

template <AndroidVersion T>
class SerialPort : public ISerialPortModule {
  public:
    // Status codes the module answers by itself when no service interface is held: 9 for a
    // start or open, 4 for a stop, close or firmware ioctl, 1 for a transport ioctl, 8 for a
    // write.
    static constexpr int kStartFailed = 9;
    static constexpr int kStopFailed = 4;
    static constexpr int kIoControlFailed = 1;
    static constexpr int kWriteFailed = 8;

    SerialPort();
    // Drops the references only: neither the transport nor the firmware port is closed. Nothing
    // reaches the data callback once it returns.
    ~SerialPort() override;

    bool IsSupported() override;
    char const* GetModuleName() override;
    bool Initialize(ISerialDataCallBack* callback) override;
    bool AcquireSerialInterface() override;
    bool ReleaseSerialInterface() override;
    int StartTransport(std::string portName, int baudRate, bool flowControl) override;
    int StopTransport() override;
    int IoControl(TransportIOControlCodes code, int value) override;
    // The service reads the caller's buffer in place: it is neither copied nor freed.
    int ProcessRequest(char* data, unsigned long length) override;
    bool AcquireFWSerialInterface() override;
    int FWOpenSerialPort(std::string portName) override;
    int FWCloseSerialPort() override;
    int FWIoCtl(int request, int value, unsigned char flag) override;
    // Needs the firmware-update port: callers acquire it first.
    int FWPoll() override;
    int FWWritePort(int length, unsigned char* data) override;
    std::string FWReadPort() override;

    // "0x12" for each byte, then "0x00" for the terminating zero that readers of the text
    // expect as its last group.
    static std::string convertToHex(char* bytes, int length);

    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(
                &Constructor<SerialPort<T>>, PLATFORM_MODULE_SERIAL_PORT, "SerialPort");
        }
    };
    static _thread_register Obj;

  private:
    using SerialCallback = vendor::tevrin::hardware::dchwmanager::implementation::SerialCallback;

    bool associateSerial();
    bool associateSerialFWUpdate();
    void disassociate();
    void closeSerialCallback();

    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager> sp_IDCHWManager;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::ISerial> sp_SerialHal;
    android::sp<SerialCallback> sp_SerialCallback;
    ISerialDataCallBack* m_pSerialDataCallback;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::ISerialFWUpdate> sp_SerialFWHal;
    bool b_SerialInit;
    bool b_SerialFWInit;
    bool b_Stopped;
};
