// libhidl's transport status and method results, for Linux hosts.
//
// Every HIDL method returns a Return<T>: the value, and whether the transport delivered it.
// As on a device, reading the value of a failed Return ends the process with a fatal log line,
// and so does destroying a failed Return whose status nobody looked at (isOk()).
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>

namespace android {
namespace hardware {

class Status final {
  public:
    enum Exception {
        EX_NONE = 0,
        EX_SECURITY = -1,
        EX_BAD_PARCELABLE = -2,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        EX_ILLEGAL_STATE = -5,
        EX_NETWORK_MAIN_THREAD = -6,
        EX_UNSUPPORTED_OPERATION = -7,
        EX_HAS_REPLY_HEADER = -128,
        EX_TRANSACTION_FAILED = -129,
    };

    static Status ok() { return Status(); }
    static Status fromExceptionCode(int32_t exceptionCode);
    static Status fromExceptionCode(int32_t exceptionCode, const char* message);
    // OK gives a successful status; anything else a transaction failure carrying the code.
    static Status fromStatusT(status_t status);

    Status() = default;

    bool isOk() const { return mException == EX_NONE; }
    int32_t exceptionCode() const { return mException; }
    status_t transactionError() const {
        return mException == EX_TRANSACTION_FAILED ? mErrorCode : OK;
    }
    const std::string& exceptionMessage() const { return mMessage; }
    // "No error", or for example "Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '".
    std::string description() const;

  private:
    Status(int32_t exception, int32_t errorCode, const char* message = "")
        : mException(exception), mErrorCode(errorCode), mMessage(message) {}

    int32_t mException = EX_NONE;
    int32_t mErrorCode = 0;
    std::string mMessage;
};

// Writes description().
std::ostream& operator<<(std::ostream& stream, const Status& s);

namespace details {

struct ReturnAccess;

// The status part of every Return: move-only, and checked when it goes.
class return_status {
  public:
    return_status() = default;
    return_status(const Status& s) : mStatus(s) {}
    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;
    return_status(return_status&& other) noexcept { *this = std::move(other); }
    return_status& operator=(return_status&& other) noexcept;
    ~return_status();

    // Marks the status as looked at, so a failure is no longer fatal when the Return goes.
    bool isOk() const {
        mCheckedStatus = true;
        return mStatus.isOk();
    }
    bool isDeadObject() const {
        return mStatus.exceptionCode() == Status::EX_TRANSACTION_FAILED &&
               mStatus.transactionError() == DEAD_OBJECT;
    }
    std::string description() const { return mStatus.description(); }

  protected:
    // Ends the process when the call failed: a value read from a failed call does not exist.
    void onValueRetrieval() const;

  private:
    friend struct ReturnAccess;
    void assertOk() const;

    Status mStatus;
    mutable bool mCheckedStatus = false;
};

}  // namespace details

template <typename T>
class Return : public details::return_status {
  public:
    template <typename U = T, typename = std::enable_if_t<std::is_default_constructible<U>::value>>
    Return(T value) : details::return_status(), mVal(std::move(value)) {}
    Return(const Status& s) : details::return_status(s) {}
    Return(Return&&) = default;
    Return& operator=(Return&&) = default;

    // The value; ends the process when the transport failed.
    operator T() const {
        onValueRetrieval();
        return mVal;
    }
    T withDefault(T t) const { return isOk() ? mVal : t; }

  private:
    T mVal{};
};

// Interface results also take references of derived types and null.
template <typename T>
class Return<sp<T>> : public details::return_status {
  public:
    Return(sp<T> value) : details::return_status(), mVal(std::move(value)) {}
    Return(std::nullptr_t) : details::return_status() {}
    Return(T* value) : details::return_status(), mVal(value) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    Return(const sp<U>& value) : details::return_status(), mVal(value) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    Return(U* value) : details::return_status(), mVal(value) {}
    Return(const Status& s) : details::return_status(s) {}
    Return(Return&&) = default;
    Return& operator=(Return&&) = default;

    operator sp<T>() const {
        onValueRetrieval();
        return mVal;
    }
    sp<T> withDefault(sp<T> t) const { return isOk() ? mVal : t; }

  private:
    sp<T> mVal;
};

template <>
class Return<void> : public details::return_status {
  public:
    Return() : details::return_status() {}
    Return(const Status& s) : details::return_status(s) {}
    Return(Return&&) = default;
    Return& operator=(Return&&) = default;
};

inline Return<void> Void() { return Return<void>(); }

}  // namespace hardware
}  // namespace android
