// libbinder's base of structured values that travel in a parcel, for Linux hosts.
#pragma once

#include <utils/Errors.h>

namespace android {

class Parcel;

class Parcelable {
  public:
    virtual ~Parcelable() = default;

    // Writes the value at the parcel's position; a failure leaves the parcel unusable.
    virtual status_t writeToParcel(Parcel* parcel) const = 0;
    // Reads a value written by writeToParcel; fails on a short or malformed parcel.
    virtual status_t readFromParcel(const Parcel* parcel) = 0;
};

}  // namespace android
