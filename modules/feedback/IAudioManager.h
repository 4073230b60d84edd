// The client side of the platform's audio service ("audio"), written by hand so that the
// library reaches stream volumes without Android's application framework.
#pragma once

#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <utils/String16.h>
#include <utils/String8.h>

class IAudioManager : public android::IInterface {
  public:
    // "android.media.IAudioService": the token every request starts with.
    static const android::String16 descriptor;

    // Null for a null binder; the local object when the binder implements this interface in
    // this process; otherwise a new proxy on the binder.
    static android::sp<IAudioManager> asInterface(const android::sp<android::IBinder>& obj);

    // The usual meta-interface hook; nothing in the library installs one.
    static bool setDefaultImpl(android::sp<IAudioManager> impl);
    static const android::sp<IAudioManager>& getDefaultImpl();

    IAudioManager();
    ~IAudioManager() override;

    virtual void setStreamVolume(int streamType, int index, int flags,
                                 android::String8& callingPackage) = 0;
    virtual int getStreamVolume(int streamType) = 0;
    virtual int getStreamMaxVolume(int streamType) = 0;
    virtual const android::String16& getInterfaceDescriptor() const;

  private:
    static android::sp<IAudioManager> default_impl;
};
