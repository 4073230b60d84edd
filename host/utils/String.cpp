#include <errno.h>
#include <stdio.h>
#include <utils/String16.h>
#include <utils/String8.h>

namespace android {

namespace {

std::u16string Utf8ToUtf16(const char* s, size_t n) {
    std::u16string out;
    size_t i = 0;
    while (i < n) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        uint32_t cp;
        size_t len;
        if (c < 0x80) {
            cp = c;
            len = 1;
        } else if ((c & 0xE0) == 0xC0) {
            cp = c & 0x1F;
            len = 2;
        } else if ((c & 0xF0) == 0xE0) {
            cp = c & 0x0F;
            len = 3;
        } else if ((c & 0xF8) == 0xF0) {
            cp = c & 0x07;
            len = 4;
        } else {
            out += char16_t(0xFFFD);
            ++i;
            continue;
        }
        if (i + len > n) {
            out += char16_t(0xFFFD);
            break;
        }
        bool ok = true;
        for (size_t k = 1; k < len; ++k) {
            unsigned char cc = static_cast<unsigned char>(s[i + k]);
            if ((cc & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            cp = (cp << 6) | (cc & 0x3F);
        }
        if (!ok) {
            out += char16_t(0xFFFD);
            ++i;
            continue;
        }
        i += len;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += char16_t(0xD800 + (cp >> 10));
            out += char16_t(0xDC00 + (cp & 0x3FF));
        } else {
            out += char16_t(cp);
        }
    }
    return out;
}

void AppendUtf8(std::string& out, uint32_t cp) {
    if (cp < 0x80) {
        out += char(cp);
    } else if (cp < 0x800) {
        out += char(0xC0 | (cp >> 6));
        out += char(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += char(0xE0 | (cp >> 12));
        out += char(0x80 | ((cp >> 6) & 0x3F));
        out += char(0x80 | (cp & 0x3F));
    } else {
        out += char(0xF0 | (cp >> 18));
        out += char(0x80 | ((cp >> 12) & 0x3F));
        out += char(0x80 | ((cp >> 6) & 0x3F));
        out += char(0x80 | (cp & 0x3F));
    }
}

}  // namespace

String16::String16(const char* utf8)
    : mString(utf8 ? Utf8ToUtf16(utf8, std::char_traits<char>::length(utf8)) : u"") {}

String16::String16(const char* utf8, size_t n) : mString(Utf8ToUtf16(utf8, n)) {}

String16::String16(const String8& s) : mString(Utf8ToUtf16(s.c_str(), s.size())) {}

namespace {

std::string Utf16ToUtf8(const std::u16string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        }
        AppendUtf8(out, c);
    }
    return out;
}

}  // namespace

String8::String8(const String16& s) : mString(Utf16ToUtf8(std::u16string(s.c_str(), s.size()))) {}

int String8::appendFormatV(const char* fmt, va_list args) {
    va_list copy;
    va_copy(copy, args);
    int n = vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (n < 0) return -EINVAL;
    size_t old = mString.size();
    mString.resize(old + static_cast<size_t>(n) + 1);
    vsnprintf(&mString[old], static_cast<size_t>(n) + 1, fmt, args);
    mString.resize(old + static_cast<size_t>(n));
    return 0;
}

int String8::appendFormat(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    int r = appendFormatV(fmt, args);
    va_end(args);
    return r;
}

String8 String8::format(const char* fmt, ...) {
    String8 out;
    va_list args;
    va_start(args, fmt);
    out.appendFormatV(fmt, args);
    va_end(args);
    return out;
}

}  // namespace android
