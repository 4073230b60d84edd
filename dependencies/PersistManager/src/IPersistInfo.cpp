#include "IPersistInfo.h"

std::string IPersistInfo::GetInfo(std::string key) {
    auto it = m_Settings.find(key);
    return it == m_Settings.end() ? std::string() : it->second;
}

void IPersistInfo::SetInfo(std::string key, std::string value) {
    m_Settings[key] = value;
}

IPersistInfo::~IPersistInfo() {}
