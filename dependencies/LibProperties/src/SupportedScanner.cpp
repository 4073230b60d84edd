#include "SupportedScanner.h"

#include <utility>

SupportedScanner::SupportedScanner() : m_ScannerIndex(0), m_ScannerOrientation(0) {}

SupportedScanner::~SupportedScanner() {}

std::string SupportedScanner::GetScannerName() { return m_ScannerName; }

void SupportedScanner::SetScannerName(std::string name) { m_ScannerName = std::move(name); }

int SupportedScanner::GetScannerIndex() { return m_ScannerIndex; }

void SupportedScanner::SetScannerIndex(int index) { m_ScannerIndex = index; }

std::string SupportedScanner::GetScannerModel() { return m_ScannerModel; }

void SupportedScanner::SetScannerModel(std::string model) { m_ScannerModel = std::move(model); }

int SupportedScanner::GetScannerOrientation() { return m_ScannerOrientation; }

void SupportedScanner::SetScannerOrientation(int orientation) {
    m_ScannerOrientation = orientation;
}
