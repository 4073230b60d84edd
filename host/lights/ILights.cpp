#include <android/hardware/light/BnLights.h>
#include <android/hardware/light/BpLights.h>
#include <android/hardware/light/ILights.h>
#include <binder/Parcel.h>

namespace android {
namespace hardware {
namespace light {

IMPLEMENT_META_INTERFACE(Lights, "android.hardware.light.ILights")

::android::binder::Status ILightsDefault::setLightState(int32_t, const HwLightState&) {
    return ::android::binder::Status::fromStatusT(UNKNOWN_TRANSACTION);
}

::android::binder::Status ILightsDefault::getLights(std::vector<HwLight>*) {
    return ::android::binder::Status::fromStatusT(UNKNOWN_TRANSACTION);
}

BpLights::BpLights(const sp<IBinder>& _aidl_impl) : BpInterface<ILights>(_aidl_impl) {}

::android::binder::Status BpLights::setLightState(int32_t id, const HwLightState& state) {
    Parcel data;
    Parcel reply;
    status_t err = data.writeInterfaceToken(getInterfaceDescriptor());
    if (err == OK) err = data.writeInt32(id);
    if (err == OK) err = data.writeParcelable(state);
    if (err == OK) err = remote()->transact(BnLights::TRANSACTION_setLightState, data, &reply, 0);
    if (err == UNKNOWN_TRANSACTION && ILights::getDefaultImpl()) {
        return ILights::getDefaultImpl()->setLightState(id, state);
    }
    if (err != OK) return ::android::binder::Status::fromStatusT(err);
    ::android::binder::Status status;
    err = status.readFromParcel(reply);
    if (err != OK) return ::android::binder::Status::fromStatusT(err);
    return status;
}

::android::binder::Status BpLights::getLights(std::vector<HwLight>* _aidl_return) {
    Parcel data;
    Parcel reply;
    status_t err = data.writeInterfaceToken(getInterfaceDescriptor());
    if (err == OK) err = remote()->transact(BnLights::TRANSACTION_getLights, data, &reply, 0);
    if (err == UNKNOWN_TRANSACTION && ILights::getDefaultImpl()) {
        return ILights::getDefaultImpl()->getLights(_aidl_return);
    }
    if (err != OK) return ::android::binder::Status::fromStatusT(err);
    ::android::binder::Status status;
    err = status.readFromParcel(reply);
    if (err != OK) return ::android::binder::Status::fromStatusT(err);
    if (!status.isOk()) return status;
    err = reply.readParcelableVector(_aidl_return);
    if (err != OK) return ::android::binder::Status::fromStatusT(err);
    return status;
}

BnLights::BnLights() {}

status_t BnLights::onTransact(uint32_t _aidl_code, const Parcel& _aidl_data, Parcel* _aidl_reply,
                              uint32_t _aidl_flags) {
    switch (_aidl_code) {
        case TRANSACTION_setLightState: {
            if (!_aidl_data.enforceInterface(ILights::descriptor)) return BAD_TYPE;
            int32_t id = 0;
            HwLightState state;
            status_t err = _aidl_data.readInt32(&id);
            if (err == OK) err = _aidl_data.readParcelable(&state);
            if (err != OK) return err;
            return setLightState(id, state).writeToParcel(_aidl_reply);
        }
        case TRANSACTION_getLights: {
            if (!_aidl_data.enforceInterface(ILights::descriptor)) return BAD_TYPE;
            std::vector<HwLight> lights;
            ::android::binder::Status status = getLights(&lights);
            status_t err = status.writeToParcel(_aidl_reply);
            if (err != OK || !status.isOk()) return err;
            return _aidl_reply->writeParcelableVector(lights);
        }
        default:
            return BBinder::onTransact(_aidl_code, _aidl_data, _aidl_reply, _aidl_flags);
    }
}

}  // namespace light
}  // namespace hardware
}  // namespace android
