// The operations of every module family, in the order callers reach them through the table of
// virtual functions. Nothing may be inserted or reordered: callers are built against this order.
#pragma once

#include <stdint.h>

#include <string>

#include "IPlatformModule.h"
#include "PlatformCallbacks.h"

namespace odk {
class ITriggerInfo;
template <typename T>
class List;
}  // namespace odk

// Values the serial transport passes to the service unchanged.
enum TransportIOControlCodes : int32_t {};

// The caller's scanner type, passed to the pluggable-device service unchanged.
enum ScannerType : int32_t {};

// Preview geometry of the imager adapter, passed by value.
struct __preview_size__ {
    uint32_t width;
    uint32_t height;
    uint32_t bitsPerPixel;
    bool flag1;
    bool flag2;
};

// HWBeep, LEDNotification and IExternalHapticFeedack.
class IFeedbackModule : public ISupportedPlatformModule {
public:
    virtual bool PrepareFeedbackForTrigger() = 0;
    virtual bool TriggerFeedback() = 0;
    virtual bool ResetFeedback() = 0;
    virtual void ReleaseResources() = 0;
    virtual bool InitializeFeedback() = 0;
    virtual bool ReinitializeFeedback() = 0;
    virtual char const* GetParameter(char const* name) = 0;
    virtual void SetParameter(char const* name, char const* value) = 0;
    virtual bool CheckExternalHeadset() = 0;
    virtual bool ReadSubmit() = 0;
    virtual void SetCallback(ICallback* callback) = 0;
};

// Triggers: the device's scan trigger keys.
class ITriggersModule : public ISupportedPlatformModule {
public:
    virtual bool Init() = 0;
    virtual bool Deinit() = 0;
    virtual odk::List<odk::ITriggerInfo*>* GetTriggerInfo() = 0;
};

// HWTrigger: trigger key events from the hardware manager.
class IHWTriggerModule : public ISupportedPlatformModule {
public:
    virtual bool Initialize(ITriggerKeyEventWrapperCallBack* callback) = 0;
    virtual bool AcquireHWTrigger() = 0;
    virtual bool ReleaseHWTrigger() = 0;
    virtual bool StartTrigger() = 0;
    virtual bool StopTrigger() = 0;
    virtual bool SimulateTrigger(uint32_t first, uint32_t second) = 0;
    virtual int GetPressedTrigger() = 0;
    virtual bool ResetPressedTrigger() = 0;
};

// SerialPort: the scanner transport and the firmware-update port.
class ISerialPortModule : public ISupportedPlatformModule {
public:
    virtual bool Initialize(ISerialDataCallBack* callback) = 0;
    virtual bool AcquireSerialInterface() = 0;
    virtual bool ReleaseSerialInterface() = 0;
    virtual int StartTransport(std::string portName, int baudRate, bool flowControl) = 0;
    virtual int StopTransport() = 0;
    virtual int IoControl(TransportIOControlCodes code, int value) = 0;
    virtual int ProcessRequest(char* data, unsigned long length) = 0;
    virtual bool AcquireFWSerialInterface() = 0;
    virtual int FWOpenSerialPort(std::string portName) = 0;
    virtual int FWCloseSerialPort() = 0;
    virtual int FWIoCtl(int request, int value, unsigned char flag) = 0;
    virtual int FWPoll() = 0;
    virtual int FWWritePort(int length, unsigned char* data) = 0;
    virtual std::string FWReadPort() = 0;
};

// PlugableDeviceNotifier: pluggable scanner connections.
class IPlugableDeviceModule : public ISupportedPlatformModule {
public:
    virtual bool AcquirePlugableDeviceNotifier() = 0;
    virtual bool ReleasePlugableDeviceNotifier() = 0;
    virtual bool InitializeSSI(IPlugableHALCallBack* callback, ScannerType type) = 0;
    virtual std::string GetPortName() = 0;
};

// BatterySwapModule.
class IBatterySwapModule : public ISupportedPlatformModule {
public:
    virtual bool Init() = 0;
    virtual bool EnterBatterySwap() = 0;
    virtual bool ExitBatterySwap() = 0;
};

// PlatformHWInfoRetriever: hardware SKU facts.
class IHWInfoModule : public ISupportedPlatformModule {
public:
    virtual bool isDeviceFederalSku1() = 0;
    virtual bool isDeviceFederalSku2() = 0;
};

// CameraModule: camera vendor tag identifiers.
class ICameraModule : public ISupportedPlatformModule {
public:
    virtual bool Init() = 0;
    virtual bool DeInit() = 0;
    virtual int32_t GetCameraVendorTagID(std::string name) = 0;
};

// The imager control companion handed out by the imager proxy (not a module).
class IImagerControlProxy {
public:
    virtual ~IImagerControlProxy() {}
    virtual uint32_t sendCommand(unsigned char* command, unsigned int commandLength,
                                 unsigned char* reply, unsigned int replySize,
                                 unsigned int arg5, unsigned int arg6) = 0;
    virtual bool configureSettleCount(unsigned int settleCount) = 0;
};

// The V4L2 imager adapter handed out by the imager proxy (not a module).
class IImagerAdapterProxy {
public:
    virtual ~IImagerAdapterProxy() {}
    virtual uint8_t InitAdapter(char const* adapterClassName, __preview_size__ previewSize) = 0;
    virtual uint8_t DeinitAdapter() = 0;
    virtual uint8_t Enable(IImageCallback* callback) = 0;
    virtual uint8_t StartStreaming() = 0;
    virtual uint8_t StopStreaming(bool halt, int stopFlag) = 0;
    virtual uint8_t Disable() = 0;
    virtual char const* GetParameter(std::string name) = 0;
    virtual uint8_t SetParameter(std::string name, std::string value) = 0;
    virtual void SetPreviewSize(__preview_size__ previewSize) = 0;
    virtual bool IsStreaming() = 0;
};

class ImagerControlHIDLProxy;
class V4L2ImagerAdapterHIDLProxy;

// ImagerHIDLProxy: no IsSupported or GetModuleName; it is never handed out by tag alone.
class IImagerModule : public IPlatformModule {
public:
    virtual int8_t openImager() = 0;
    virtual int8_t closeImager() = 0;
    virtual ImagerControlHIDLProxy* getImagerControlHIDLProxy() = 0;
    virtual V4L2ImagerAdapterHIDLProxy* getImagerAdapterHIDLProxy() = 0;
    virtual int8_t getImagerInterfaceType() = 0;
    virtual std::string getEngineID() = 0;
    virtual void deInit() = 0;
};
