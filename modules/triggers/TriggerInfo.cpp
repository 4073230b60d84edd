#include "TriggerInfo.h"

namespace {

const char* TextOrEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

TriggerInfo::TriggerInfo() : m_ScanCode(-1), m_MultiScannerSupport(false) {}

TriggerInfo::TriggerInfo(int scanCode, const char* friendlyName, const char* scannerResource,
                         bool multiScanner)
    : m_ScanCode(scanCode),
      m_FriendlyName(TextOrEmpty(friendlyName)),
      m_ScannerResource(TextOrEmpty(scannerResource)),
      m_MultiScannerSupport(multiScanner) {}

TriggerInfo::~TriggerInfo() {}

int TriggerInfo::GetScanCode() { return m_ScanCode; }

const char* TriggerInfo::GetFriendlyName() { return m_FriendlyName.c_str(); }

const char* TriggerInfo::GetScannerResource() { return m_ScannerResource.c_str(); }

bool TriggerInfo::IsMultiScannerSupported() { return m_MultiScannerSupport; }

void TriggerInfo::SetScanCode(int scanCode) { m_ScanCode = scanCode; }

void TriggerInfo::SetFriendlyName(const char* friendlyName) {
    m_FriendlyName = TextOrEmpty(friendlyName);
}

void TriggerInfo::SetScannerResource(const char* scannerResource) {
    m_ScannerResource = TextOrEmpty(scannerResource);
}

void TriggerInfo::SetMultiScannerSupport(bool multiScanner) {
    m_MultiScannerSupport = multiScanner;
}
