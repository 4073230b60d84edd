// The host parcel and binder status: layouts that both ends of a transaction rely on.

#include <binder/Parcel.h>
#include <binder/Status.h>
#include <gtest/gtest.h>
#include <string.h>

#include <vector>

namespace {

using android::Parcel;
using android::String16;
using android::String8;
using android::binder::Status;

std::vector<int32_t> Words(const Parcel& p) {
    std::vector<int32_t> words(p.dataSize() / sizeof(int32_t));
    memcpy(words.data(), p.data(), words.size() * sizeof(int32_t));
    return words;
}

TEST(Parcel, ValuesReadBackInOrderInFourByteSlots) {
    Parcel p;
    p.writeInt32(-7);
    p.writeBool(true);
    p.writeByte(100);
    p.writeInt64(0x1122334455667788LL);
    p.writeString8(String8("abcd"));
    p.writeString16(String16("xyz"));
    p.writeInt32(42);
    // 4 + 4 + 4 + 8 + (4 + 8) + (4 + 8) + 4
    EXPECT_EQ(48u, p.dataSize());

    p.setDataPosition(0);
    EXPECT_EQ(-7, p.readInt32());
    EXPECT_TRUE(p.readBool());
    EXPECT_EQ(100, p.readByte());
    EXPECT_EQ(0x1122334455667788LL, p.readInt64());
    EXPECT_EQ(String8("abcd"), p.readString8());
    EXPECT_EQ(String16("xyz"), p.readString16());
    EXPECT_EQ(42, p.readInt32());
    EXPECT_EQ(0u, p.dataAvail());
}

TEST(Parcel, String8IsLengthBytesAndNulPadded) {
    Parcel p;
    p.writeString8(String8("audio"));
    const std::vector<uint8_t> expected = {5, 0, 0, 0, 'a', 'u', 'd', 'i', 'o', 0, 0, 0};
    EXPECT_EQ(expected, std::vector<uint8_t>(p.data(), p.data() + p.dataSize()));
}

TEST(Parcel, ReadsPastTheEndGiveZeroAndFail) {
    Parcel empty;
    EXPECT_EQ(0, empty.readInt32());
    EXPECT_EQ(0, empty.readInt32());
    int32_t value = 5;
    EXPECT_EQ(android::NOT_ENOUGH_DATA, empty.readInt32(&value));
    EXPECT_EQ(5, value);

    Parcel shortString;
    shortString.writeInt32(100);  // a length with no bytes behind it
    shortString.setDataPosition(0);
    String8 s;
    EXPECT_NE(android::OK, shortString.readString8(&s));
    EXPECT_EQ(0u, shortString.dataPosition());
}

TEST(Parcel, InterfaceTokenIsCheckedByDescriptor) {
    struct Case {
        const char* written;
        const char* enforced;
        bool accepted;
    } cases[] = {
        {"android.media.IAudioService", "android.media.IAudioService", true},
        {"android.media.IAudioService", "android.media.IAudioServicf", false},
        {"android.media.IAudioService", "android.media.IAudioService2", false},
        {"", "", true},
    };
    for (const Case& c : cases) {
        Parcel p;
        p.writeInterfaceToken(String16(c.written));
        p.writeInt32(3);
        p.setDataPosition(0);
        EXPECT_EQ(c.accepted, p.enforceInterface(String16(c.enforced))) << c.written;
        if (c.accepted) {
            EXPECT_EQ(3, p.readInt32());
        }
    }

    Parcel noToken;
    noToken.writeInt32(3);
    noToken.setDataPosition(0);
    EXPECT_FALSE(noToken.enforceInterface(String16("android.media.IAudioService")));
}

TEST(Parcel, SetDataCopiesAndRewinds) {
    Parcel a;
    a.writeInt32(1);
    a.writeInt32(2);
    Parcel b;
    b.setData(a.data(), a.dataSize());
    EXPECT_EQ(0u, b.dataPosition());
    EXPECT_EQ((std::vector<int32_t>{1, 2}), Words(b));
    b.freeData();
    EXPECT_EQ(0u, b.dataSize());
    EXPECT_EQ(0, b.readInt32());
}

TEST(BinderStatus, TravelsInAReplyAsJavaServicesWriteIt) {
    struct Case {
        Status status;
        int32_t firstWord;
    } cases[] = {
        {Status::ok(), 0},
        {Status::fromExceptionCode(Status::EX_ILLEGAL_ARGUMENT, String8("m")), -3},
        {Status::fromServiceSpecificError(17, String8("m")), -8},
    };
    for (const Case& c : cases) {
        Parcel p;
        ASSERT_EQ(android::OK, c.status.writeToParcel(&p));
        EXPECT_EQ(c.firstWord, Words(p)[0]);
        p.setDataPosition(0);
        Status read;
        ASSERT_EQ(android::OK, read.readFromParcel(p));
        EXPECT_EQ(c.status.exceptionCode(), read.exceptionCode());
        EXPECT_EQ(c.status.serviceSpecificErrorCode(), read.serviceSpecificErrorCode());
        EXPECT_EQ(c.status.exceptionMessage(), read.exceptionMessage());
        EXPECT_EQ(0u, p.dataAvail());
        p.setDataPosition(0);
        EXPECT_EQ(c.status.exceptionCode(), p.readExceptionCode());
    }

    Parcel p;
    EXPECT_EQ(android::DEAD_OBJECT, Status::fromStatusT(android::DEAD_OBJECT).writeToParcel(&p));
    EXPECT_EQ(0u, p.dataSize());
    Status fromEmpty;
    EXPECT_NE(android::OK, fromEmpty.readFromParcel(p));
    EXPECT_EQ(Status::EX_TRANSACTION_FAILED, fromEmpty.exceptionCode());
}

}  // namespace
