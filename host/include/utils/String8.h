// libutils' UTF-8 string, for Linux hosts.
#pragma once

#include <stdarg.h>
#include <stddef.h>

#include <string>

namespace android {

class String16;

class String8 {
public:
    String8() = default;
    String8(const char* s) : mString(s ? s : "") {}
    String8(const char* s, size_t n) : mString(s ? std::string(s, n) : std::string()) {}
    explicit String8(const String16& s);

    static String8 format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

    const char* c_str() const { return mString.c_str(); }
    const char* string() const { return mString.c_str(); }
    size_t size() const { return mString.size(); }
    size_t length() const { return mString.size(); }
    size_t bytes() const { return mString.size(); }
    bool isEmpty() const { return mString.empty(); }
    void clear() { mString.clear(); }
    void setTo(const char* s) { mString = s ? s : ""; }

    String8& append(const String8& other) {
        mString += other.mString;
        return *this;
    }
    String8& append(const char* s) {
        mString += s ? s : "";
        return *this;
    }
    String8& append(const char* s, size_t n) {
        mString.append(s, n);
        return *this;
    }
    // Returns 0, or a negative errno when the format cannot be applied.
    int appendFormat(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
    int appendFormatV(const char* fmt, va_list args);

    String8& operator+=(const String8& other) { return append(other); }
    String8& operator+=(const char* s) { return append(s); }

    bool operator==(const String8& o) const { return mString == o.mString; }
    bool operator!=(const String8& o) const { return mString != o.mString; }
    bool operator<(const String8& o) const { return mString < o.mString; }
    bool operator==(const char* o) const { return mString == (o ? o : ""); }
    bool operator!=(const char* o) const { return !(*this == o); }

    operator const char*() const { return mString.c_str(); }

private:
    std::string mString;
};

}  // namespace android
