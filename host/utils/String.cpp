// String8 and String16, with libutils' conversions between UTF-8, UTF-16 and UTF-32: lenient
// where libutils is lenient (continuation bytes are not checked), dropping what encodes no
// character, and refusing UTF-8 whose last sequence is cut short.

#include <errno.h>
#include <stdio.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <new>

namespace android {

namespace {

// Bytes of the UTF-8 sequence that `lead` starts, by its top bits alone: 0xC0-0xDF two,
// 0xE0-0xEF three, 0xF0-0xFF four, anything else one.
size_t Utf8SequenceLength(unsigned char lead) {
    return lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// Empty when the last sequence runs past the end: libutils then yields an empty String16.
std::u16string Utf8ToUtf16(const char* s, size_t n) {
    std::u16string out;
    const unsigned char* in = reinterpret_cast<const unsigned char*>(s);
    for (size_t i = 0; i < n;) {
        const size_t len = Utf8SequenceLength(in[i]);
        if (i + len > n) return std::u16string();
        static const unsigned char kLeadMask[] = {0, 0xFF, 0x1F, 0x0F, 0x07};
        uint32_t cp = in[i] & kLeadMask[len];
        for (size_t k = 1; k < len; ++k) cp = (cp << 6) | (in[i + k] & 0x3F);
        i += len;
        if (cp <= 0xFFFF) {
            out += static_cast<char16_t>(cp);
        } else {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        }
    }
    return out;
}

// A surrogate or a value past U+10FFFF encodes no character and adds nothing.
void AppendUtf8(std::string& out, uint32_t cp) {
    if (cp < 0x80) {
        out += char(cp);
    } else if (cp < 0x800) {
        out += char(0xC0 | (cp >> 6));
        out += char(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        if (cp >= 0xD800 && cp <= 0xDFFF) return;
        out += char(0xE0 | (cp >> 12));
        out += char(0x80 | ((cp >> 6) & 0x3F));
        out += char(0x80 | (cp & 0x3F));
    } else if (cp <= 0x10FFFF) {
        out += char(0xF0 | (cp >> 18));
        out += char(0x80 | ((cp >> 12) & 0x3F));
        out += char(0x80 | ((cp >> 6) & 0x3F));
        out += char(0x80 | (cp & 0x3F));
    }
}

std::string Utf16ToUtf8(const char16_t* text, size_t n) {
    std::string out;
    for (size_t i = 0; i < n; ++i) {
        uint32_t c = text[i];
        if ((c & 0xFC00) == 0xD800 && i + 1 < n && (text[i + 1] & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        }
        AppendUtf8(out, c);
    }
    return out;
}

std::string Utf32ToUtf8(const char32_t* text, size_t n) {
    std::string out;
    for (size_t i = 0; i < n; ++i) AppendUtf8(out, text[i]);
    return out;
}

template <typename Char>
size_t Length(const Char* s) {
    return s == nullptr ? 0 : std::char_traits<Char>::length(s);
}

// Replaces `target` with `value` made by `make`, or reports NO_MEMORY and leaves it.
template <typename Text, typename Make>
status_t Assign(Text& target, Make make) {
    try {
        target = make();
        return OK;
    } catch (const std::exception&) {
        return NO_MEMORY;
    }
}

}  // namespace

String8::String8(const String16& s) : mString(Utf16ToUtf8(s.c_str(), s.size())) {}
String8::String8(const char16_t* s) : mString(Utf16ToUtf8(s, Length(s))) {}
String8::String8(const char16_t* s, size_t n) : mString(Utf16ToUtf8(s, n)) {}
String8::String8(const char32_t* s) : mString(Utf32ToUtf8(s, Length(s))) {}
String8::String8(const char32_t* s, size_t n) : mString(Utf32ToUtf8(s, n)) {}

status_t String8::setTo(const char* s) { return setTo(s, Length(s)); }

status_t String8::setTo(const char* s, size_t n) {
    if (n >= mString.max_size()) return NO_MEMORY;
    return Assign(mString, [&] { return std::string(s, n); });
}

status_t String8::setTo(const char16_t* s, size_t n) {
    return Assign(mString, [&] { return Utf16ToUtf8(s, n); });
}

status_t String8::setTo(const char32_t* s, size_t n) {
    return Assign(mString, [&] { return Utf32ToUtf8(s, n); });
}

status_t String8::append(const char* s, size_t n) {
    if (n == 0) return OK;
    if (n >= mString.max_size() - mString.size()) return NO_MEMORY;
    return Assign(mString, [&] { return mString + std::string(s, n); });
}

status_t String8::appendFormatV(const char* fmt, va_list args) {
    va_list copy;
    va_copy(copy, args);
    int n = vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (n < 0) return -EINVAL;
    size_t old = mString.size();
    mString.resize(old + static_cast<size_t>(n) + 1);
    vsnprintf(&mString[old], static_cast<size_t>(n) + 1, fmt, args);
    mString.resize(old + static_cast<size_t>(n));
    return OK;
}

status_t String8::appendFormat(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    status_t r = appendFormatV(fmt, args);
    va_end(args);
    return r;
}

String8 String8::formatV(const char* fmt, va_list args) {
    String8 out;
    out.appendFormatV(fmt, args);
    return out;
}

String8 String8::format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    String8 out = formatV(fmt, args);
    va_end(args);
    return out;
}

String16::String16(const String16& o, size_t len, size_t begin) { setTo(o, len, begin); }

String16::String16(const char* utf8) : mString(Utf8ToUtf16(utf8, Length(utf8))) {}

String16::String16(const char* utf8, size_t n) : mString(Utf8ToUtf16(utf8, n)) {}

String16::String16(const String8& s) : mString(Utf8ToUtf16(s.c_str(), s.size())) {}

status_t String16::setTo(const char16_t* other) { return setTo(other, Length(other)); }

status_t String16::setTo(const char16_t* other, size_t len) {
    if (len >= mString.max_size()) return NO_MEMORY;
    return Assign(mString, [&] { return std::u16string(other, len); });
}

status_t String16::setTo(const String16& other, size_t len, size_t begin) {
    if (begin >= other.size()) return setTo(u"", 0);
    if (len > other.size() - begin) len = other.size() - begin;
    return setTo(other.c_str() + begin, len);
}

status_t String16::append(const String16& other) { return append(other.c_str(), other.size()); }

status_t String16::append(const char16_t* other, size_t len) {
    return insert(mString.size(), other, len);
}

status_t String16::insert(size_t pos, const char16_t* chrs) {
    return insert(pos, chrs, Length(chrs));
}

status_t String16::insert(size_t pos, const char16_t* chrs, size_t len) {
    if (len == 0) return OK;
    if (len >= mString.max_size() - mString.size()) return NO_MEMORY;
    if (pos > mString.size()) pos = mString.size();
    return Assign(mString, [&] {
        std::u16string out(mString, 0, pos);
        out.append(chrs, len).append(mString, pos, std::u16string::npos);
        return out;
    });
}

status_t String16::replaceAll(char16_t replaceThis, char16_t withThis) {
    for (char16_t& c : mString) {
        if (c == replaceThis) c = withThis;
    }
    return OK;
}

}  // namespace android
