// The trigger configuration module: which keys of the device are scan triggers, read from the
// device's trigger resource file ("scannerresourceconfig"), with a built-in table for devices
// whose entry lists no keys.
//
// Threads: one caller thread at a time runs every operation; nothing is locked.
#pragma once

#include "ComponentIndex.h"
#include "IPlatformModule.h"
#include "ITriggerInfo.h"
#include "OdkList.h"
#include "PlatformModuleInterfaces.h"

template <AndroidVersion T>
class Triggers : public ITriggersModule {
  public:
    Triggers();
    // Deletes the list's nodes, not the entries: Deinit must come first or they are lost.
    ~Triggers() override;

    // Always true: a device without a trigger file still has the built-in triggers.
    bool IsSupported() override;
    char const* GetModuleName() override;
    // Appends the device's triggers to the list (a second call without Deinit appends them
    // again). False when the file, its root or the device's element is missing; the list is
    // then left as it was.
    bool Init() override;
    // Deletes every entry and empties the list. Its result means nothing.
    bool Deinit() override;
    // The module's own list, valid until the module is deleted.
    odk::List<odk::ITriggerInfo*>* GetTriggerInfo() override;

    // Registers the module's factory while the library loads.
    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<Triggers<T>>,
                                                          PLATFORM_MODULE_TRIGGERS, "Triggers");
        }
    };
    static _thread_register Obj;

  private:
    odk::List<odk::ITriggerInfo*>* m_TriggerList;
};
