// libutils' UTF-16 string, for Linux hosts.
#pragma once

#include <stddef.h>

#include <string>

namespace android {

class String8;

class String16 {
  public:
    String16() = default;
    String16(const char16_t* s) : mString(s ? s : u"") {}
    String16(const char16_t* s, size_t n) : mString(s, n) {}
    // Decodes UTF-8; malformed bytes become U+FFFD.
    String16(const char* utf8);
    String16(const char* utf8, size_t n);
    explicit String16(const String8& s);

    const char16_t* c_str() const { return mString.c_str(); }
    const char16_t* string() const { return mString.c_str(); }
    size_t size() const { return mString.size(); }
    size_t length() const { return mString.size(); }

    bool operator==(const String16& o) const { return mString == o.mString; }
    bool operator!=(const String16& o) const { return mString != o.mString; }
    bool operator<(const String16& o) const { return mString < o.mString; }

    // No UTF-8 accessor here: Android's String16 has none, so code that needs the text goes
    // through String8(String16), as it must on a device.

  private:
    std::u16string mString;
};

}  // namespace android
