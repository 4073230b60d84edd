#include <binder/Status.h>
#include <utils/String16.h>

namespace android {
namespace binder {

Status Status::ok() { return Status(); }

Status Status::fromExceptionCode(int32_t exceptionCode) {
    if (exceptionCode == EX_TRANSACTION_FAILED) return Status(exceptionCode, FAILED_TRANSACTION);
    return Status(exceptionCode, OK);
}

Status Status::fromExceptionCode(int32_t exceptionCode, const String8& message) {
    if (exceptionCode == EX_TRANSACTION_FAILED) {
        return Status(exceptionCode, FAILED_TRANSACTION, message);
    }
    return Status(exceptionCode, OK, message);
}

Status Status::fromServiceSpecificError(int32_t serviceSpecificErrorCode) {
    return Status(EX_SERVICE_SPECIFIC, serviceSpecificErrorCode);
}

Status Status::fromServiceSpecificError(int32_t serviceSpecificErrorCode, const String8& message) {
    return Status(EX_SERVICE_SPECIFIC, serviceSpecificErrorCode, message);
}

Status Status::fromStatusT(status_t status) {
    if (status == OK) return Status();
    return Status(EX_TRANSACTION_FAILED, status);
}

Status::Status(int32_t exceptionCode, int32_t errorCode)
    : mException(exceptionCode), mErrorCode(errorCode) {}

Status::Status(int32_t exceptionCode, int32_t errorCode, const String8& message)
    : mException(exceptionCode), mErrorCode(errorCode), mMessage(message) {}

status_t Status::readFromParcel(const Parcel& parcel) {
    status_t status = parcel.readInt32(&mException);
    if (status != OK) {
        *this = fromStatusT(status);
        return status;
    }
    // A reply header of the given size may precede the result; it carries nothing for us.
    if (mException == EX_HAS_REPLY_HEADER) {
        const size_t headerStart = parcel.dataPosition();
        const int32_t headerSize = parcel.readInt32();
        if (headerSize < 0 || static_cast<size_t>(headerSize) > parcel.dataSize() - headerStart) {
            *this = fromStatusT(BAD_VALUE);
            return BAD_VALUE;
        }
        parcel.setDataPosition(headerStart + static_cast<size_t>(headerSize));
        mException = EX_NONE;
    }
    if (mException == EX_NONE) {
        *this = ok();
        return status;
    }

    String16 message;
    status = parcel.readString16(&message);
    if (status != OK) {
        *this = fromStatusT(status);
        return status;
    }
    mMessage = String8(message);

    // The remote stack trace: a size, then that many bytes we skip.
    const size_t traceStart = parcel.dataPosition();
    const int32_t traceSize = parcel.readInt32();
    if (traceSize < 0 || static_cast<size_t>(traceSize) > parcel.dataSize() - traceStart) {
        *this = fromStatusT(BAD_VALUE);
        return BAD_VALUE;
    }
    if (traceSize > 0) parcel.setDataPosition(traceStart + static_cast<size_t>(traceSize));

    if (mException == EX_SERVICE_SPECIFIC) {
        status = parcel.readInt32(&mErrorCode);
    } else if (mException == EX_PARCELABLE) {
        // A parcelable exception: a size, then its body, skipped.
        const size_t start = parcel.dataPosition();
        const int32_t size = parcel.readInt32();
        if (size < 0 || static_cast<size_t>(size) > parcel.dataSize() - start) {
            status = BAD_VALUE;
        } else {
            parcel.setDataPosition(start + static_cast<size_t>(size));
        }
    }
    if (status != OK) *this = fromStatusT(status);
    return status;
}

status_t Status::writeToParcel(Parcel* parcel) const {
    if (mException == EX_TRANSACTION_FAILED) return mErrorCode;

    status_t status = parcel->writeInt32(mException);
    if (status != OK || mException == EX_NONE) return status;
    status = parcel->writeString16(String16(mMessage));
    if (status != OK) return status;
    status = parcel->writeInt32(0);  // no remote stack trace
    if (status != OK) return status;
    if (mException == EX_SERVICE_SPECIFIC) {
        status = parcel->writeInt32(mErrorCode);
    } else if (mException == EX_PARCELABLE) {
        status = parcel->writeInt32(0);
    }
    return status;
}

String8 Status::toString8() const {
    if (mException == EX_NONE) return String8("No error");
    String8 ret = String8::format("Status(%d): '", mException);
    if (mException == EX_SERVICE_SPECIFIC || mException == EX_TRANSACTION_FAILED) {
        ret.appendFormat("%d: ", mErrorCode);
    }
    ret.append(mMessage);
    ret.append("'");
    return ret;
}

}  // namespace binder
}  // namespace android
