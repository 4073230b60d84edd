// libutils' UTF-8 string, for Linux hosts.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <string.h>
#include <utils/Errors.h>

#include <string>

namespace android {

class String16;

// Bytes, usually UTF-8, always null-terminated; they may hold further '\0' bytes, which
// comparisons (C-string comparisons, as libutils') do not see.
class String8 {
public:
    String8() = default;
    explicit String8(const char* s) : mString(s ? s : "") {}
    explicit String8(const char* s, size_t n) : mString(s ? std::string(s, n) : std::string()) {}
    // From UTF-16 or UTF-32: code units that encode no character (a lone surrogate, a value past
    // U+10FFFF) are dropped.
    explicit String8(const String16& s);
    explicit String8(const char16_t* s);
    explicit String8(const char16_t* s, size_t n);
    explicit String8(const char32_t* s);
    explicit String8(const char32_t* s, size_t n);

    static String8 format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
    static String8 formatV(const char* fmt, va_list args);

    const char* c_str() const { return mString.c_str(); }
    const char* string() const { return mString.c_str(); }
    size_t size() const { return mString.size(); }
    size_t length() const { return mString.size(); }
    size_t bytes() const { return mString.size(); }
    bool isEmpty() const { return mString.empty(); }
    void clear() { mString.clear(); }

    // OK, or NO_MEMORY (the string unchanged) when the result could not be held.
    void setTo(const String8& other) { mString = other.mString; }
    status_t setTo(const char* s);
    status_t setTo(const char* s, size_t n);
    status_t setTo(const char16_t* s, size_t n);
    status_t setTo(const char32_t* s, size_t n);
    status_t append(const String8& other) { return append(other.c_str(), other.size()); }
    status_t append(const char* s) { return s ? append(s, strlen(s)) : OK; }
    status_t append(const char* s, size_t n);
    // OK, or a negative errno when the format cannot be applied.
    status_t appendFormat(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
    status_t appendFormatV(const char* fmt, va_list args);

    String8& operator=(const char* s) {
        setTo(s);
        return *this;
    }
    String8& operator+=(const String8& other) {
        append(other);
        return *this;
    }
    String8& operator+=(const char* s) {
        append(s);
        return *this;
    }
    String8 operator+(const String8& other) const {
        String8 out(*this);
        out += other;
        return out;
    }
    String8 operator+(const char* s) const {
        String8 out(*this);
        out += s;
        return out;
    }

    int compare(const String8& o) const { return strcmp(c_str(), o.c_str()); }
#define ORVEX_STRING8_OPERATOR(OP)                                                         \
    bool operator OP(const String8& o) const { return strcmp(c_str(), o.c_str()) OP 0; } \
    bool operator OP(const char* o) const { return strcmp(c_str(), o) OP 0; }
    ORVEX_STRING8_OPERATOR(==)
    ORVEX_STRING8_OPERATOR(!=)
    ORVEX_STRING8_OPERATOR(<)
    ORVEX_STRING8_OPERATOR(<=)
    ORVEX_STRING8_OPERATOR(>)
    ORVEX_STRING8_OPERATOR(>=)
#undef ORVEX_STRING8_OPERATOR

    operator const char*() const { return mString.c_str(); }

private:
    std::string mString;
};

}  // namespace android
