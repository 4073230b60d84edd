// One trigger key: scan code, friendly name, scanner resource and whether it may drive several
// scanners. Made by the trigger configuration module and deleted by its Deinit.
#pragma once

#include <string>

#include "ITriggerInfo.h"

class TriggerInfo : public odk::ITriggerInfo {
  public:
    // Scan code -1, empty texts, no multi-scanner support: an entry not yet read from the file.
    TriggerInfo();
    TriggerInfo(int scanCode, const char* friendlyName, const char* scannerResource,
                bool multiScanner);
    ~TriggerInfo() override;

    int GetScanCode() override;
    const char* GetFriendlyName() override;
    const char* GetScannerResource() override;
    bool IsMultiScannerSupported() override;
    void SetScanCode(int scanCode) override;
    // A null text is stored as an empty one.
    void SetFriendlyName(const char* friendlyName) override;
    void SetScannerResource(const char* scannerResource) override;
    void SetMultiScannerSupport(bool multiScanner) override;

  private:
    int m_ScanCode;
    std::string m_FriendlyName;
    std::string m_ScannerResource;
    bool m_MultiScannerSupport;
};
