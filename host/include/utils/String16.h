// libutils' UTF-16 string, for Linux hosts.
#pragma once

#include <stddef.h>
#include <utils/Errors.h>

#include <string>
#include <string_view>

namespace android {

class String8;

class String16 {
  public:
    String16() = default;
    explicit String16(const char16_t* s) : mString(s ? s : u"") {}
    explicit String16(const char16_t* s, size_t n) : mString(s, n) {}
    // `len` units of `o` from `begin` (as many as there are).
    String16(const String16& o, size_t len, size_t begin = 0);
    // Decodes UTF-8 as libutils does: each sequence's length comes from its first byte alone,
    // and text whose last sequence is cut short gives an empty string.
    explicit String16(const char* utf8);
    explicit String16(const char* utf8, size_t n);
    explicit String16(const String8& s);

    const char16_t* c_str() const { return mString.c_str(); }
    const char16_t* string() const { return mString.c_str(); }
    size_t size() const { return mString.size(); }
    size_t length() const { return mString.size(); }
    operator const char16_t*() const { return mString.c_str(); }

    // OK, or NO_MEMORY (the string unchanged) when the result could not be held.
    void setTo(const String16& other) { mString = other.mString; }
    status_t setTo(const char16_t* other);
    status_t setTo(const char16_t* other, size_t len);
    status_t setTo(const String16& other, size_t len, size_t begin = 0);
    status_t append(const String16& other);
    status_t append(const char16_t* other, size_t len);
    // At `pos`, or at the end when `pos` is past it.
    status_t insert(size_t pos, const char16_t* chrs);
    status_t insert(size_t pos, const char16_t* chrs, size_t len);
    status_t replaceAll(char16_t replaceThis, char16_t withThis);

    bool operator==(const String16& o) const { return mString == o.mString; }
    bool operator!=(const String16& o) const { return mString != o.mString; }
    bool operator<(const String16& o) const { return mString < o.mString; }
    bool operator<=(const String16& o) const { return mString <= o.mString; }
    bool operator>(const String16& o) const { return mString > o.mString; }
    bool operator>=(const String16& o) const { return mString >= o.mString; }
    // Against a C string: compared up to the first '\0' of each.
#define ORVEX_STRING16_OPERATOR(OP) \
    bool operator OP(const char16_t* o) const { return compare(o) OP 0; }
    ORVEX_STRING16_OPERATOR(==)
    ORVEX_STRING16_OPERATOR(!=)
    ORVEX_STRING16_OPERATOR(<)
    ORVEX_STRING16_OPERATOR(<=)
    ORVEX_STRING16_OPERATOR(>)
    ORVEX_STRING16_OPERATOR(>=)
#undef ORVEX_STRING16_OPERATOR

    // No UTF-8 accessor here: Android's String16 has none, so code that needs the text goes
    // through String8(String16), as it must on a device.

  private:
    int compare(const char16_t* o) const {
        return std::u16string_view(mString.c_str()).compare(o != nullptr ? o : u"");
    }

    std::u16string mString;
};

}  // namespace android
