// Transport status texts and the fatal checks of Return, as libhidl words them.

#include <android/log.h>
#include <hidl/Status.h>
#include <stdlib.h>
#include <string.h>

#include <ostream>

namespace android {
namespace hardware {

namespace {

const char* kStatusTag = "HidlStatus";

std::string statusToString(status_t s) {
    switch (s) {
        case OK:
            return "OK";
        case UNKNOWN_ERROR:
            return "UNKNOWN_ERROR";
        case NO_MEMORY:
            return "NO_MEMORY";
        case INVALID_OPERATION:
            return "INVALID_OPERATION";
        case BAD_VALUE:
            return "BAD_VALUE";
        case BAD_TYPE:
            return "BAD_TYPE";
        case NAME_NOT_FOUND:
            return "NAME_NOT_FOUND";
        case PERMISSION_DENIED:
            return "PERMISSION_DENIED";
        case NO_INIT:
            return "NO_INIT";
        case ALREADY_EXISTS:
            return "ALREADY_EXISTS";
        case DEAD_OBJECT:
            return "DEAD_OBJECT";
        case FAILED_TRANSACTION:
            return "FAILED_TRANSACTION";
        case BAD_INDEX:
            return "BAD_INDEX";
        case NOT_ENOUGH_DATA:
            return "NOT_ENOUGH_DATA";
        case WOULD_BLOCK:
            return "WOULD_BLOCK";
        case TIMED_OUT:
            return "TIMED_OUT";
        case UNKNOWN_TRANSACTION:
            return "UNKNOWN_TRANSACTION";
        case FDS_NOT_ALLOWED:
            return "FDS_NOT_ALLOWED";
        case UNEXPECTED_NULL:
            return "UNEXPECTED_NULL";
    }
    std::string text = std::to_string(s);
    text.append(1, ' ').append(strerror(-s));
    return text;
}

std::string exceptionToString(int32_t ex) {
    switch (ex) {
        case Status::EX_NONE:
            return "EX_NONE";
        case Status::EX_SECURITY:
            return "EX_SECURITY";
        case Status::EX_BAD_PARCELABLE:
            return "EX_BAD_PARCELABLE";
        case Status::EX_ILLEGAL_ARGUMENT:
            return "EX_ILLEGAL_ARGUMENT";
        case Status::EX_NULL_POINTER:
            return "EX_NULL_POINTER";
        case Status::EX_ILLEGAL_STATE:
            return "EX_ILLEGAL_STATE";
        case Status::EX_NETWORK_MAIN_THREAD:
            return "EX_NETWORK_MAIN_THREAD";
        case Status::EX_UNSUPPORTED_OPERATION:
            return "EX_UNSUPPORTED_OPERATION";
        case Status::EX_HAS_REPLY_HEADER:
            return "EX_HAS_REPLY_HEADER";
        case Status::EX_TRANSACTION_FAILED:
            return "EX_TRANSACTION_FAILED";
    }
    return std::to_string(ex);
}

[[noreturn]] void fatal(const std::string& message) {
    __android_log_write(ANDROID_LOG_FATAL, kStatusTag, message.c_str());
    abort();
}

}  // namespace

Status Status::fromExceptionCode(int32_t exceptionCode) {
    return Status(exceptionCode, exceptionCode == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK);
}

Status Status::fromExceptionCode(int32_t exceptionCode, const char* message) {
    return Status(exceptionCode, exceptionCode == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK,
                  message != nullptr ? message : "");
}

Status Status::fromStatusT(status_t status) {
    return status == OK ? Status() : Status(EX_TRANSACTION_FAILED, status);
}

std::string Status::description() const {
    if (mException == EX_NONE) return "No error";
    std::string text = "Status(" + exceptionToString(mException) + "): '";
    if (mException == EX_TRANSACTION_FAILED) text += statusToString(mErrorCode) + ": ";
    return text + mMessage + "'";
}

std::ostream& operator<<(std::ostream& stream, const Status& s) {
    return stream << s.description();
}

namespace details {

return_status& return_status::operator=(return_status&& other) noexcept {
    if (!mCheckedStatus) assertOk();
    std::swap(mStatus, other.mStatus);
    std::swap(mCheckedStatus, other.mCheckedStatus);
    return *this;
}

return_status::~return_status() {
    if (!mCheckedStatus) assertOk();
}

void return_status::onValueRetrieval() const {
    if (!isOk()) fatal("Attempted to retrieve value from failed HIDL call: " + description());
}

void return_status::assertOk() const {
    if (!isOk()) {
        fatal("Failed HIDL return status not checked: " + description());
    }
}

}  // namespace details
}  // namespace hardware
}  // namespace android
