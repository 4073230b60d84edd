#include "Json.h"

#include <stdlib.h>

namespace orvex {
namespace test {

class JsonParser {
public:
    explicit JsonParser(const std::string& text) : s_(text) {}

    bool Document(Json* out) {
        if (!Value(out)) return false;
        Space();
        return i_ == s_.size() || Fail("trailing text");
    }
    std::string error;

private:
    bool Fail(const std::string& why) {
        if (error.empty()) error = why + " at " + std::to_string(i_);
        return false;
    }
    void Space() {
        while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\n' || s_[i_] == '\t' || s_[i_] == '\r')) ++i_;
    }
    bool Literal(const char* word) {
        std::string w(word);
        if (s_.compare(i_, w.size(), w) != 0) return Fail("bad literal");
        i_ += w.size();
        return true;
    }
    bool StringValue(std::string* out) {
        if (s_[i_] != '"') return Fail("string expected");
        ++i_;
        while (i_ < s_.size() && s_[i_] != '"') {
            char c = s_[i_++];
            if (static_cast<unsigned char>(c) < 0x20) return Fail("control character in string");
            if (c != '\\') {
                *out += c;
                continue;
            }
            if (i_ >= s_.size()) return Fail("bad escape");
            char e = s_[i_++];
            switch (e) {
                case '"': case '\\': case '/': *out += e; break;
                case 'n': *out += '\n'; break;
                case 't': *out += '\t'; break;
                case 'r': *out += '\r'; break;
                case 'b': *out += '\b'; break;
                case 'f': *out += '\f'; break;
                case 'u': {
                    if (i_ + 4 > s_.size()) return Fail("bad \\u");
                    unsigned code = static_cast<unsigned>(strtoul(s_.substr(i_, 4).c_str(), nullptr, 16));
                    i_ += 4;
                    if (code < 0x80) {
                        *out += static_cast<char>(code);
                    } else if (code < 0x800) {
                        *out += static_cast<char>(0xC0 | (code >> 6));
                        *out += static_cast<char>(0x80 | (code & 0x3F));
                    } else {
                        *out += static_cast<char>(0xE0 | (code >> 12));
                        *out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
                        *out += static_cast<char>(0x80 | (code & 0x3F));
                    }
                    break;
                }
                default: return Fail("bad escape");
            }
        }
        if (i_ >= s_.size()) return Fail("unterminated string");
        ++i_;
        return true;
    }
    bool Value(Json* out) {
        Space();
        if (i_ >= s_.size()) return Fail("value expected");
        char c = s_[i_];
        if (c == '{') {
            out->kind_ = Json::kObject;
            ++i_;
            Space();
            if (i_ < s_.size() && s_[i_] == '}') return ++i_, true;
            while (true) {
                Space();
                std::string key;
                if (!StringValue(&key)) return false;
                Space();
                if (i_ >= s_.size() || s_[i_] != ':') return Fail("':' expected");
                ++i_;
                Json member;
                if (!Value(&member)) return false;
                out->object_[key] = member;
                Space();
                if (i_ < s_.size() && s_[i_] == ',') { ++i_; continue; }
                if (i_ < s_.size() && s_[i_] == '}') return ++i_, true;
                return Fail("',' or '}' expected");
            }
        }
        if (c == '[') {
            out->kind_ = Json::kArray;
            ++i_;
            Space();
            if (i_ < s_.size() && s_[i_] == ']') return ++i_, true;
            while (true) {
                Json element;
                if (!Value(&element)) return false;
                out->array_.push_back(element);
                Space();
                if (i_ < s_.size() && s_[i_] == ',') { ++i_; continue; }
                if (i_ < s_.size() && s_[i_] == ']') return ++i_, true;
                return Fail("',' or ']' expected");
            }
        }
        if (c == '"') {
            out->kind_ = Json::kString;
            return StringValue(&out->string_);
        }
        if (c == 't') { out->kind_ = Json::kBool; out->boolean_ = true; return Literal("true"); }
        if (c == 'f') { out->kind_ = Json::kBool; return Literal("false"); }
        if (c == 'n') return Literal("null");
        const char* start = s_.c_str() + i_;
        char* end = nullptr;
        out->number_ = strtod(start, &end);
        if (end == start) return Fail("value expected");
        out->kind_ = Json::kNumber;
        i_ += static_cast<size_t>(end - start);
        return true;
    }

    const std::string& s_;
    size_t i_ = 0;
};

Json Json::Parse(const std::string& text, std::string* error) {
    JsonParser parser(text);
    Json out;
    if (!parser.Document(&out)) {
        if (error) *error = parser.error;
        return Json();
    }
    return out;
}

const Json& Json::operator[](const std::string& key) const {
    static const Json kNullValue;
    auto it = object_.find(key);
    return it == object_.end() ? kNullValue : it->second;
}

}  // namespace test
}  // namespace orvex
