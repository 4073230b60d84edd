// libimagerclient.so for the simulated device: GetImagerModule(1, "ImagerProvider") hands out a
// provider whose imager reports the identifier and interface type of the profile file
// /sim/libimagerclient.prop:
//
//   provider=1|0        whether GetImagerModule returns a provider (default 1)
//   imager=1|0          whether the provider has an imager (default 1)
//   imager_id=TEXT      the imager's identifier, the scanner ID as text (default empty)
//   interface_type=N    the imager's interface type (default 0)
//
// The objects keep the closed library's shape: callers reach them by vtable position only.
// Loading, unloading and every call are logged under "sim.libimagerclient"; an operation that a
// caller should never reach logs an error, so a call through the wrong slot shows.

#include <android/log.h>
#include <string.h>

#include <string>

#include "SubstituteProfile.h"

namespace {

constexpr const char* kTag = "sim.libimagerclient";
constexpr const char* kProfile = "/sim/libimagerclient.prop";

int Unexpected(const char* operation) {
    __android_log_print(ANDROID_LOG_ERROR, kTag, "unexpected call %s", operation);
    return -1;
}

// The imager: the identifier is its sixteenth virtual operation, the interface type its
// fifteenth; the destructor takes the first two slots.
class SimImager {
public:
    SimImager(std::string id, int interfaceType)
        : id_(std::move(id)), interfaceType_(interfaceType) {}
    virtual ~SimImager() { __android_log_print(ANDROID_LOG_DEBUG, kTag, "imager destroyed"); }
    virtual int Open() { return Unexpected("Open"); }
    virtual int Close() { return Unexpected("Close"); }
    virtual int StartStreaming() { return Unexpected("StartStreaming"); }
    virtual int StopStreaming() { return Unexpected("StopStreaming"); }
    virtual int SetExposure(int) { return Unexpected("SetExposure"); }
    virtual int GetExposure() { return Unexpected("GetExposure"); }
    virtual int SetIllumination(int) { return Unexpected("SetIllumination"); }
    virtual int SetAimer(int) { return Unexpected("SetAimer"); }
    virtual int GetFrame() { return Unexpected("GetFrame"); }
    virtual int ReleaseFrame() { return Unexpected("ReleaseFrame"); }
    virtual std::string GetFirmwareVersion() {
        Unexpected("GetFirmwareVersion");
        return "";
    }
    virtual std::string GetSerialNumber() {
        Unexpected("GetSerialNumber");
        return "";
    }
    virtual int GetInterfaceType() {
        __android_log_print(ANDROID_LOG_DEBUG, kTag, "GetInterfaceType() = %d", interfaceType_);
        return interfaceType_;
    }
    virtual std::string GetImagerId() {
        __android_log_print(ANDROID_LOG_DEBUG, kTag, "GetImagerId() = %s", id_.c_str());
        return id_;
    }

private:
    std::string id_;
    int interfaceType_;
};

// The provider owns its imager; callers delete the provider through its deleting destructor
// (second slot) and get the imager from the third.
class SimImagerProvider {
public:
    explicit SimImagerProvider(SimImager* imager) : imager_(imager) {}
    virtual ~SimImagerProvider() {
        delete imager_;
        __android_log_print(ANDROID_LOG_DEBUG, kTag, "provider destroyed");
    }
    virtual SimImager* GetImager() {
        __android_log_print(ANDROID_LOG_DEBUG, kTag, "GetImager() = %s",
                            imager_ != nullptr ? "imager" : "null");
        return imager_;
    }

private:
    SimImager* imager_;
};

__attribute__((constructor)) void OnLoad() {
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "libimagerclient.so loaded");
}

__attribute__((destructor)) void OnUnload() {
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "libimagerclient.so unloaded");
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void* GetImagerModule(int kind,
                                                                        const char* name) {
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "GetImagerModule(%d, %s)", kind,
                        name != nullptr ? name : "(null)");
    if (kind != 1 || name == nullptr || strcmp(name, "ImagerProvider") != 0) return nullptr;
    orvex::sim::SubstituteProfile profile(kProfile);
    if (!profile.GetBool("provider", true)) return nullptr;
    SimImager* imager = nullptr;
    if (profile.GetBool("imager", true)) {
        imager = new SimImager(profile.Get("imager_id", ""), profile.GetInt("interface_type", 0));
    }
    return new SimImagerProvider(imager);
}
