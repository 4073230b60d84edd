// The light parcelables: each is written as its total size in bytes (the size word included)
// followed by its fields, so a reader built against fewer fields skips what it does not know.

#include <android/hardware/light/BrightnessMode.h>
#include <android/hardware/light/FlashMode.h>
#include <android/hardware/light/HwLight.h>
#include <android/hardware/light/HwLightState.h>
#include <android/hardware/light/LightType.h>
#include <stdint.h>

namespace android {
namespace hardware {
namespace light {

namespace {

// Reserves the size word and fills it in once the fields are written.
class SizedWriter {
  public:
    explicit SizedWriter(Parcel* parcel) : mParcel(parcel), mStart(parcel->dataPosition()) {
        mStatus = parcel->writeInt32(0);
    }
    status_t status() const { return mStatus; }
    void update(status_t status) {
        if (mStatus == OK) mStatus = status;
    }
    status_t finish() {
        if (mStatus != OK) return mStatus;
        const size_t end = mParcel->dataPosition();
        mParcel->setDataPosition(mStart);
        mStatus = mParcel->writeInt32(static_cast<int32_t>(end - mStart));
        mParcel->setDataPosition(end);
        return mStatus;
    }

  private:
    Parcel* const mParcel;
    const size_t mStart;
    status_t mStatus;
};

// Reads fields while the declared size has room for them, then moves past the whole value.
class SizedReader {
  public:
    explicit SizedReader(const Parcel* parcel) : mParcel(parcel), mStart(parcel->dataPosition()) {
        int32_t size = 0;
        mStatus = parcel->readInt32(&size);
        if (mStatus == OK && (size < static_cast<int32_t>(sizeof(int32_t)) ||
                              static_cast<size_t>(size) > parcel->dataSize() - mStart)) {
            mStatus = BAD_VALUE;
        }
        mSize = mStatus == OK ? static_cast<size_t>(size) : 0;
    }
    bool more() const { return mStatus == OK && mParcel->dataPosition() - mStart < mSize; }
    template <typename T>
    void readByteEnum(T* out) {
        int8_t value = 0;
        mStatus = mParcel->readByte(&value);
        if (mStatus == OK) *out = static_cast<T>(value);
    }
    void readInt32(int32_t* out) { mStatus = mParcel->readInt32(out); }
    status_t finish() {
        if (mStatus == OK) mParcel->setDataPosition(mStart + mSize);
        return mStatus;
    }

  private:
    const Parcel* const mParcel;
    const size_t mStart;
    size_t mSize = 0;
    status_t mStatus;
};

template <typename E>
std::string EnumName(E val, std::initializer_list<const char*> names) {
    const int index = static_cast<int>(val);
    if (index >= 0 && static_cast<size_t>(index) < names.size()) return names.begin()[index];
    return std::to_string(index);
}

}  // namespace

std::string toString(LightType val) {
    return EnumName(val, {"BACKLIGHT", "KEYBOARD", "BUTTONS", "BATTERY", "NOTIFICATIONS",
                          "ATTENTION", "BLUETOOTH", "WIFI"});
}

std::string toString(FlashMode val) { return EnumName(val, {"NONE", "TIMED", "HARDWARE"}); }

std::string toString(BrightnessMode val) {
    return EnumName(val, {"USER", "SENSOR", "LOW_PERSISTENCE"});
}

status_t HwLight::writeToParcel(Parcel* parcel) const {
    SizedWriter writer(parcel);
    writer.update(parcel->writeInt32(id));
    writer.update(parcel->writeInt32(ordinal));
    writer.update(parcel->writeByte(static_cast<int8_t>(type)));
    return writer.finish();
}

status_t HwLight::readFromParcel(const Parcel* parcel) {
    SizedReader reader(parcel);
    if (reader.more()) reader.readInt32(&id);
    if (reader.more()) reader.readInt32(&ordinal);
    if (reader.more()) reader.readByteEnum(&type);
    return reader.finish();
}

std::string HwLight::toString() const {
    return "HwLight{id: " + std::to_string(id) + ", ordinal: " + std::to_string(ordinal) +
           ", type: " + light::toString(type) + "}";
}

status_t HwLightState::writeToParcel(Parcel* parcel) const {
    SizedWriter writer(parcel);
    writer.update(parcel->writeInt32(color));
    writer.update(parcel->writeByte(static_cast<int8_t>(flashMode)));
    writer.update(parcel->writeInt32(flashOnMs));
    writer.update(parcel->writeInt32(flashOffMs));
    writer.update(parcel->writeByte(static_cast<int8_t>(brightnessMode)));
    return writer.finish();
}

status_t HwLightState::readFromParcel(const Parcel* parcel) {
    SizedReader reader(parcel);
    if (reader.more()) reader.readInt32(&color);
    if (reader.more()) reader.readByteEnum(&flashMode);
    if (reader.more()) reader.readInt32(&flashOnMs);
    if (reader.more()) reader.readInt32(&flashOffMs);
    if (reader.more()) reader.readByteEnum(&brightnessMode);
    return reader.finish();
}

std::string HwLightState::toString() const {
    return "HwLightState{color: " + std::to_string(color) +
           ", flashMode: " + light::toString(flashMode) +
           ", flashOnMs: " + std::to_string(flashOnMs) +
           ", flashOffMs: " + std::to_string(flashOffMs) +
           ", brightnessMode: " + light::toString(brightnessMode) + "}";
}

}  // namespace light
}  // namespace hardware
}  // namespace android
