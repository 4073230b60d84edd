// libbinder's parcel, for Linux hosts: a flat buffer of 4-byte aligned values with a read/write
// position. Reads past the end fail (the value forms give 0), which is what a caller sees in the
// reply of a failed transaction. Binder objects and file descriptors do not travel in it.
#pragma once

#include <binder/Parcelable.h>
#include <stddef.h>
#include <stdint.h>
#include <utils/Errors.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <vector>

namespace android {

class IBinder;

class Parcel {
  public:
    Parcel();
    ~Parcel();

    const uint8_t* data() const;
    size_t dataSize() const;
    size_t dataAvail() const;
    size_t dataPosition() const;
    size_t dataCapacity() const;

    // Moves the position used by the next read or write; the data keeps its size.
    void setDataPosition(size_t pos) const;
    status_t setDataSize(size_t size);
    // Replaces the contents with a copy of `buffer` and rewinds.
    status_t setData(const uint8_t* buffer, size_t len);
    void freeData();

    // Starts a request to an interface: a small call header, then the descriptor.
    status_t writeInterfaceToken(const String16& interface);
    status_t writeInterfaceToken(const char16_t* str, size_t len);
    // Reads a token written by writeInterfaceToken; true when it names `interface`.
    bool enforceInterface(const String16& interface) const;
    bool enforceInterface(const char16_t* interface, size_t len) const;

    status_t write(const void* data, size_t len);
    void* writeInplace(size_t len);
    status_t writeInt32(int32_t val);
    status_t writeUint32(uint32_t val);
    status_t writeInt64(int64_t val);
    status_t writeUint64(uint64_t val);
    status_t writeFloat(float val);
    status_t writeDouble(double val);
    status_t writeBool(bool val);
    // A byte takes a whole 4-byte slot, as every small value does.
    status_t writeByte(int8_t val);
    status_t writeCString(const char* str);
    // Length, then the bytes and a NUL.
    status_t writeString8(const String8& str);
    status_t writeString8(const char* str, size_t len);
    // Length in UTF-16 units (-1 for null), then the units and a NUL unit.
    status_t writeString16(const String16& str);
    status_t writeString16(const char16_t* str, size_t len);
    // The reply header of a call that raised no exception.
    status_t writeNoException();

    // A non-null marker, then the value.
    status_t writeParcelable(const Parcelable& parcelable);
    template <typename T>
    status_t writeParcelableVector(const std::vector<T>& val);

    status_t read(void* outData, size_t len) const;
    const void* readInplace(size_t len) const;
    int32_t readInt32() const;
    status_t readInt32(int32_t* pArg) const;
    uint32_t readUint32() const;
    status_t readUint32(uint32_t* pArg) const;
    int64_t readInt64() const;
    status_t readInt64(int64_t* pArg) const;
    uint64_t readUint64() const;
    status_t readUint64(uint64_t* pArg) const;
    float readFloat() const;
    status_t readFloat(float* pArg) const;
    double readDouble() const;
    status_t readDouble(double* pArg) const;
    bool readBool() const;
    status_t readBool(bool* pArg) const;
    int8_t readByte() const;
    status_t readByte(int8_t* pArg) const;
    const char* readCString() const;
    String8 readString8() const;
    status_t readString8(String8* pArg) const;
    String16 readString16() const;
    status_t readString16(String16* pArg) const;
    const char16_t* readString16Inplace(size_t* outLen) const;
    // The exception word of a reply (0 when the call raised none).
    int32_t readExceptionCode() const;

    status_t readParcelable(Parcelable* parcelable) const;
    template <typename T>
    status_t readParcelableVector(std::vector<T>* val) const;

  private:
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    template <typename T>
    status_t writeAligned(T val);
    template <typename T>
    status_t readAligned(T* pArg) const;
    template <typename T>
    T readAligned() const;

    std::vector<uint8_t> mData;
    mutable size_t mDataPos;
};

template <typename T>
status_t Parcel::writeParcelableVector(const std::vector<T>& val) {
    if (val.size() > static_cast<size_t>(INT32_MAX)) return BAD_VALUE;
    status_t status = writeInt32(static_cast<int32_t>(val.size()));
    for (const T& item : val) {
        if (status != OK) break;
        status = writeParcelable(item);
    }
    return status;
}

template <typename T>
status_t Parcel::readParcelableVector(std::vector<T>* val) const {
    int32_t size = 0;
    status_t status = readInt32(&size);
    if (status != OK) return status;
    if (size < 0) return UNEXPECTED_NULL;
    // Each element takes at least its marker word: a larger count cannot be genuine.
    if (static_cast<size_t>(size) > dataAvail() / sizeof(int32_t)) return BAD_VALUE;
    std::vector<T> out(static_cast<size_t>(size));
    for (T& item : out) {
        status = readParcelable(&item);
        if (status != OK) return status;
    }
    *val = std::move(out);
    return OK;
}

}  // namespace android
