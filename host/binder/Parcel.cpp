#include <binder/IBinder.h>
#include <binder/Parcel.h>
#include <binder/Status.h>
#include <string.h>

namespace android {

namespace {

constexpr size_t PadSize(size_t len) { return (len + 3) & ~static_cast<size_t>(3); }

// The call header that precedes the descriptor of every request: the strict-mode policy with
// its "gather penalties" bit, the unset work-source uid and a marker of system parcels.
constexpr int32_t kStrictModePenaltyGather = static_cast<int32_t>(1u << 31);
constexpr int32_t kUnsetWorkSource = -1;
constexpr int32_t kHeader = B_PACK_CHARS('S', 'Y', 'S', 'T');

}  // namespace

Parcel::Parcel() : mDataPos(0) {}
Parcel::~Parcel() {}

const uint8_t* Parcel::data() const { return mData.data(); }
size_t Parcel::dataSize() const { return mData.size(); }
size_t Parcel::dataAvail() const { return mDataPos < mData.size() ? mData.size() - mDataPos : 0; }
size_t Parcel::dataPosition() const { return mDataPos; }
size_t Parcel::dataCapacity() const { return mData.capacity(); }

void Parcel::setDataPosition(size_t pos) const { mDataPos = pos; }

status_t Parcel::setDataSize(size_t size) {
    mData.resize(size);
    if (mDataPos > size) mDataPos = size;
    return NO_ERROR;
}

status_t Parcel::setData(const uint8_t* buffer, size_t len) {
    mData.assign(buffer, buffer + len);
    mDataPos = 0;
    return NO_ERROR;
}

void Parcel::freeData() {
    mData.clear();
    mData.shrink_to_fit();
    mDataPos = 0;
}

status_t Parcel::writeInterfaceToken(const String16& interface) {
    return writeInterfaceToken(interface.c_str(), interface.size());
}

status_t Parcel::writeInterfaceToken(const char16_t* str, size_t len) {
    writeInt32(kStrictModePenaltyGather);
    writeInt32(kUnsetWorkSource);
    writeInt32(kHeader);
    return writeString16(str, len);
}

bool Parcel::enforceInterface(const String16& interface) const {
    return enforceInterface(interface.c_str(), interface.size());
}

bool Parcel::enforceInterface(const char16_t* interface, size_t len) const {
    readInt32();  // strict-mode policy
    readInt32();  // work source
    if (readInt32() != kHeader) return false;
    size_t parcelLen = 0;
    const char16_t* parcelInterface = readString16Inplace(&parcelLen);
    return parcelInterface != nullptr && parcelLen == len &&
           memcmp(parcelInterface, interface, len * sizeof(char16_t)) == 0;
}

void* Parcel::writeInplace(size_t len) {
    if (len > INT32_MAX) return nullptr;
    const size_t padded = PadSize(len);
    if (mDataPos + padded > mData.size()) mData.resize(mDataPos + padded);
    uint8_t* out = mData.data() + mDataPos;
    // The padding is zeroed so that equal values give equal bytes.
    if (padded > len) memset(out + len, 0, padded - len);
    mDataPos += padded;
    return out;
}

status_t Parcel::write(const void* data, size_t len) {
    void* out = writeInplace(len);
    if (out == nullptr) return BAD_VALUE;
    if (len > 0) memcpy(out, data, len);
    return NO_ERROR;
}

template <typename T>
status_t Parcel::writeAligned(T val) {
    static_assert(PadSize(sizeof(T)) == sizeof(T), "values are written in whole slots");
    return write(&val, sizeof(T));
}

status_t Parcel::writeInt32(int32_t val) { return writeAligned(val); }
status_t Parcel::writeUint32(uint32_t val) { return writeAligned(val); }
status_t Parcel::writeInt64(int64_t val) { return writeAligned(val); }
status_t Parcel::writeUint64(uint64_t val) { return writeAligned(val); }
status_t Parcel::writeFloat(float val) { return writeAligned(val); }
status_t Parcel::writeDouble(double val) { return writeAligned(val); }
status_t Parcel::writeBool(bool val) { return writeInt32(val ? 1 : 0); }
status_t Parcel::writeByte(int8_t val) { return writeInt32(val); }

status_t Parcel::writeCString(const char* str) { return write(str, strlen(str) + 1); }

status_t Parcel::writeString8(const String8& str) { return writeString8(str.c_str(), str.size()); }

status_t Parcel::writeString8(const char* str, size_t len) {
    if (str == nullptr) return writeInt32(-1);
    if (len > INT32_MAX - 1) return BAD_VALUE;
    status_t err = writeInt32(static_cast<int32_t>(len));
    if (err != NO_ERROR) return err;
    uint8_t* out = static_cast<uint8_t*>(writeInplace(len + 1));
    if (out == nullptr) return BAD_VALUE;
    if (len > 0) memcpy(out, str, len);
    out[len] = 0;
    return NO_ERROR;
}

status_t Parcel::writeString16(const String16& str) {
    return writeString16(str.c_str(), str.size());
}

status_t Parcel::writeString16(const char16_t* str, size_t len) {
    if (str == nullptr) return writeInt32(-1);
    if (len > (INT32_MAX / sizeof(char16_t)) - 1) return BAD_VALUE;
    status_t err = writeInt32(static_cast<int32_t>(len));
    if (err != NO_ERROR) return err;
    const size_t bytes = len * sizeof(char16_t);
    uint8_t* out = static_cast<uint8_t*>(writeInplace(bytes + sizeof(char16_t)));
    if (out == nullptr) return BAD_VALUE;
    if (bytes > 0) memcpy(out, str, bytes);
    memset(out + bytes, 0, sizeof(char16_t));
    return NO_ERROR;
}

status_t Parcel::writeNoException() { return writeInt32(0); }

status_t Parcel::writeParcelable(const Parcelable& parcelable) {
    status_t err = writeInt32(1);
    if (err != NO_ERROR) return err;
    return parcelable.writeToParcel(this);
}

const void* Parcel::readInplace(size_t len) const {
    if (len > INT32_MAX) return nullptr;
    const size_t padded = PadSize(len);
    if (mDataPos > mData.size() || padded > mData.size() - mDataPos) return nullptr;
    const void* in = mData.data() + mDataPos;
    mDataPos += padded;
    return in;
}

status_t Parcel::read(void* outData, size_t len) const {
    const void* in = readInplace(len);
    if (in == nullptr) return NOT_ENOUGH_DATA;
    if (len > 0) memcpy(outData, in, len);
    return NO_ERROR;
}

template <typename T>
status_t Parcel::readAligned(T* pArg) const {
    return read(pArg, sizeof(T));
}

template <typename T>
T Parcel::readAligned() const {
    T result{};
    if (readAligned(&result) != NO_ERROR) return T{};
    return result;
}

int32_t Parcel::readInt32() const { return readAligned<int32_t>(); }
status_t Parcel::readInt32(int32_t* pArg) const { return readAligned(pArg); }
uint32_t Parcel::readUint32() const { return readAligned<uint32_t>(); }
status_t Parcel::readUint32(uint32_t* pArg) const { return readAligned(pArg); }
int64_t Parcel::readInt64() const { return readAligned<int64_t>(); }
status_t Parcel::readInt64(int64_t* pArg) const { return readAligned(pArg); }
uint64_t Parcel::readUint64() const { return readAligned<uint64_t>(); }
status_t Parcel::readUint64(uint64_t* pArg) const { return readAligned(pArg); }
float Parcel::readFloat() const { return readAligned<float>(); }
status_t Parcel::readFloat(float* pArg) const { return readAligned(pArg); }
double Parcel::readDouble() const { return readAligned<double>(); }
status_t Parcel::readDouble(double* pArg) const { return readAligned(pArg); }
bool Parcel::readBool() const { return readInt32() != 0; }

status_t Parcel::readBool(bool* pArg) const {
    int32_t value = 0;
    status_t err = readInt32(&value);
    if (err == NO_ERROR) *pArg = value != 0;
    return err;
}

int8_t Parcel::readByte() const { return static_cast<int8_t>(readInt32()); }

status_t Parcel::readByte(int8_t* pArg) const {
    int32_t value = 0;
    status_t err = readInt32(&value);
    if (err == NO_ERROR) *pArg = static_cast<int8_t>(value);
    return err;
}

const char* Parcel::readCString() const {
    if (mDataPos >= mData.size()) return nullptr;
    const char* start = reinterpret_cast<const char*>(mData.data() + mDataPos);
    const size_t avail = mData.size() - mDataPos;
    const void* nul = memchr(start, 0, avail);
    if (nul == nullptr) return nullptr;
    const size_t len = static_cast<const char*>(nul) - start;
    return static_cast<const char*>(readInplace(len + 1));
}

String8 Parcel::readString8() const {
    String8 result;
    readString8(&result);
    return result;
}

status_t Parcel::readString8(String8* pArg) const {
    const size_t start = mDataPos;
    int32_t size = 0;
    status_t err = readInt32(&size);
    if (err != NO_ERROR) return err;
    if (size < 0) {
        *pArg = String8();
        return UNEXPECTED_NULL;
    }
    const char* str = static_cast<const char*>(readInplace(static_cast<size_t>(size) + 1));
    if (str == nullptr || str[size] != 0) {
        mDataPos = start;
        return BAD_VALUE;
    }
    *pArg = String8(str, static_cast<size_t>(size));
    return NO_ERROR;
}

String16 Parcel::readString16() const {
    size_t len = 0;
    const char16_t* str = readString16Inplace(&len);
    return str != nullptr ? String16(str, len) : String16();
}

status_t Parcel::readString16(String16* pArg) const {
    const size_t start = mDataPos;
    int32_t size = 0;
    if (readInt32(&size) == NO_ERROR && size < 0) {
        *pArg = String16();
        return UNEXPECTED_NULL;
    }
    mDataPos = start;
    size_t len = 0;
    const char16_t* str = readString16Inplace(&len);
    if (str == nullptr) return BAD_VALUE;
    *pArg = String16(str, len);
    return NO_ERROR;
}

const char16_t* Parcel::readString16Inplace(size_t* outLen) const {
    const size_t start = mDataPos;
    *outLen = 0;
    int32_t size = 0;
    if (readInt32(&size) != NO_ERROR || size < 0 ||
        static_cast<size_t>(size) >= INT32_MAX / sizeof(char16_t)) {
        mDataPos = start;
        return nullptr;
    }
    const size_t bytes = (static_cast<size_t>(size) + 1) * sizeof(char16_t);
    const uint8_t* in = static_cast<const uint8_t*>(readInplace(bytes));
    if (in == nullptr) {
        mDataPos = start;
        return nullptr;
    }
    // The bytes sit at a 4-byte aligned offset of a vector's heap block, so they may be read
    // as char16_t in place.
    const char16_t* str = reinterpret_cast<const char16_t*>(in);
    if (str[size] != 0) {
        mDataPos = start;
        return nullptr;
    }
    *outLen = static_cast<size_t>(size);
    return str;
}

int32_t Parcel::readExceptionCode() const {
    binder::Status status;
    status.readFromParcel(*this);
    return status.exceptionCode();
}

status_t Parcel::readParcelable(Parcelable* parcelable) const {
    int32_t present = 0;
    status_t err = readInt32(&present);
    if (err != NO_ERROR) return err;
    if (present == 0) return UNEXPECTED_NULL;
    return parcelable->readFromParcel(this);
}

}  // namespace android
