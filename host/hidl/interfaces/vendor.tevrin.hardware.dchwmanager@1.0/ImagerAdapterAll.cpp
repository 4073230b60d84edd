// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::IImagerAdapter and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IImagerAdapter.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwImagerAdapter : public ::android::hardware::details::BpHw<IImagerAdapter> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<int8_t> Init(
        const ::android::hardware::hidl_string& adapterClass,
        const ::vendor::tevrin::hardware::dchwmanager::V1_0::PreviewSize& previewSize) override {
        return call(&IImagerAdapter::Init, adapterClass, previewSize);
    }
    ::android::hardware::Return<int8_t> Deinit() override { return call(&IImagerAdapter::Deinit); }
    ::android::hardware::Return<int8_t> StartStreaming() override {
        return call(&IImagerAdapter::StartStreaming);
    }
    ::android::hardware::Return<int8_t> StopStreaming() override {
        return call(&IImagerAdapter::StopStreaming);
    }
    ::android::hardware::Return<int8_t> PrepAcquisition() override {
        return call(&IImagerAdapter::PrepAcquisition);
    }
    ::android::hardware::Return<int8_t> PostAcquisition() override {
        return call(&IImagerAdapter::PostAcquisition);
    }
    ::android::hardware::Return<int8_t> HaltAcquisition(bool halt, int32_t flag) override {
        return call(&IImagerAdapter::HaltAcquisition, halt, flag);
    }
    ::android::hardware::Return<void> GetParameter(const ::android::hardware::hidl_string& name,
                                                   GetParameter_cb _hidl_cb) override {
        return call(&IImagerAdapter::GetParameter, name, _hidl_cb);
    }
    ::android::hardware::Return<int8_t> SetParameter(
        const ::android::hardware::hidl_string& name,
        const ::android::hardware::hidl_string& value) override {
        return call(&IImagerAdapter::SetParameter, name, value);
    }
    ::android::hardware::Return<int8_t> SetPreviewSize(
        const ::vendor::tevrin::hardware::dchwmanager::V1_0::PreviewSize& previewSize) override {
        return call(&IImagerAdapter::SetPreviewSize, previewSize);
    }
    ::android::hardware::Return<int8_t> RegisterFrameCallback(
        const ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IFrameCallback>&
            callback) override {
        return call(&IImagerAdapter::RegisterFrameCallback, callback);
    }
    ::android::hardware::Return<bool> IsStreaming() override {
        return call(&IImagerAdapter::IsStreaming);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IImagerAdapter,
                             "vendor.tevrin.hardware.dchwmanager@1.0::IImagerAdapter",
                             BpHwImagerAdapter)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
