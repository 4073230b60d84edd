// One trigger key of the device as the trigger configuration module lists it. Callers reach it
// through its table of virtual functions: the two destructor entries, then the operations in
// this order.
#pragma once

namespace odk {

class ITriggerInfo {
  public:
    virtual ~ITriggerInfo() {}
    // The key's scan code as the input system reports it; -1 until set.
    virtual int GetScanCode() = 0;
    // The stored texts; valid until the next setter call or the object's deletion.
    virtual const char* GetFriendlyName() = 0;
    virtual const char* GetScannerResource() = 0;
    virtual bool IsMultiScannerSupported() = 0;
    virtual void SetScanCode(int scanCode) = 0;
    // The setters copy the text.
    virtual void SetFriendlyName(const char* friendlyName) = 0;
    virtual void SetScannerResource(const char* scannerResource) = 0;
    virtual void SetMultiScannerSupport(bool multiScanner) = 0;
};

}  // namespace odk
