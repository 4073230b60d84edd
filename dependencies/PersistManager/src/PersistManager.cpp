#include "PersistManager.h"

#include "PropertyPersist.h"
#include "XMLFilePersist.h"

IPersistInfo* PersistManager::pInterface = nullptr;
int PersistManager::implementationType = PersistManager::kXMLFileStore;

IPersistInfo* PersistManager::GetInstance() {
    if (pInterface != nullptr) return pInterface;
    switch (implementationType) {
        case kPropertyStore:
            pInterface = new PropertyPersist();
            break;
        case kXMLFileStore:
            pInterface = new XMLFilePersist();
            pInterface->LoadInfo();
            break;
        default:
            return nullptr;
    }
    return pInterface;
}
