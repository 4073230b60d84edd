// Interfaces that callers implement and hand to modules. Called through their tables of virtual
// functions: two destructor entries, then the operations in this order.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>

// Handed to the feedback modules by SetCallback; only the LED module keeps it.
class ICallback {
public:
    virtual ~ICallback() {}
    virtual bool IsLEDAccessible() = 0;
};

// Trigger key events from the hardware trigger module's reader thread.
class ITriggerKeyEventWrapperCallBack {
public:
    virtual ~ITriggerKeyEventWrapperCallBack() {}
    virtual void OnKeyEvent(unsigned int type, unsigned int value) = 0;
    virtual void OnPreKeyEvent(unsigned int type, unsigned int value) = 0;
};

// Bytes received on the serial transport, on a service thread.
class ISerialDataCallBack {
public:
    virtual ~ISerialDataCallBack() {}
    virtual void OnSerialDataReceived(const uint8_t* data, size_t size) = 0;
};

// Pluggable scanner connection changes, on a service thread.
class IPlugableHALCallBack {
public:
    virtual ~IPlugableHALCallBack() {}
    virtual void OnPlugableDeviceChanged(bool connected, const std::string& portName,
                                         int scannerType) = 0;
};

// Imager frames, on a service thread; the frame is mapped only for the duration of the call.
class IImageCallback {
public:
    virtual ~IImageCallback() {}
    virtual bool OnReceiveFrame(void* frame) = 0;
};
