// A small JSON writer for orvexctl's documents: nesting and commas are tracked, strings are
// escaped, and the document is built in memory so a command can print it in one piece.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace orvexctl {

std::string JsonString(const std::string& text);

class JsonWriter {
public:
    JsonWriter& BeginObject();
    JsonWriter& EndObject();
    JsonWriter& BeginArray();
    JsonWriter& EndArray();
    // The key of the next value inside an object.
    JsonWriter& Key(const std::string& key);
    JsonWriter& String(const std::string& value);
    JsonWriter& Int(int64_t value);
    JsonWriter& Double(double value);
    JsonWriter& Bool(bool value);
    JsonWriter& Null();
    // An already-serialised JSON value.
    JsonWriter& Raw(const std::string& json);

    // Key + value shorthands.
    JsonWriter& Field(const std::string& key, const std::string& value) { return Key(key).String(value); }
    JsonWriter& Field(const std::string& key, const char* value) { return Key(key).String(value); }
    JsonWriter& Field(const std::string& key, int64_t value) { return Key(key).Int(value); }
    JsonWriter& Field(const std::string& key, int value) { return Key(key).Int(value); }
    JsonWriter& Field(const std::string& key, bool value) { return Key(key).Bool(value); }

    const std::string& str() const { return out_; }

private:
    void BeforeValue();
    std::string out_;
    std::vector<bool> first_;  // per open container: no element written yet
    bool afterKey_ = false;
};

}  // namespace orvexctl
