#include "Json.h"

#include <stdio.h>

namespace orvexctl {

std::string JsonString(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char buf[8];
                    snprintf(buf, sizeof buf, "\\u%04x", c);
                    out += buf;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

void JsonWriter::BeforeValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (!first_.empty()) {
        if (!first_.back()) out_ += ',';
        first_.back() = false;
    }
}

JsonWriter& JsonWriter::BeginObject() {
    BeforeValue();
    out_ += '{';
    first_.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::EndObject() {
    out_ += '}';
    first_.pop_back();
    return *this;
}

JsonWriter& JsonWriter::BeginArray() {
    BeforeValue();
    out_ += '[';
    first_.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::EndArray() {
    out_ += ']';
    first_.pop_back();
    return *this;
}

JsonWriter& JsonWriter::Key(const std::string& key) {
    BeforeValue();
    out_ += JsonString(key);
    out_ += ':';
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::String(const std::string& value) {
    BeforeValue();
    out_ += JsonString(value);
    return *this;
}

JsonWriter& JsonWriter::Int(int64_t value) {
    BeforeValue();
    out_ += std::to_string(value);
    return *this;
}

JsonWriter& JsonWriter::Double(double value) {
    BeforeValue();
    char buf[32];
    snprintf(buf, sizeof buf, "%.3f", value);
    out_ += buf;
    return *this;
}

JsonWriter& JsonWriter::Bool(bool value) {
    BeforeValue();
    out_ += value ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::Null() {
    BeforeValue();
    out_ += "null";
    return *this;
}

JsonWriter& JsonWriter::Raw(const std::string& json) {
    BeforeValue();
    out_ += json;
    return *this;
}

}  // namespace orvexctl
