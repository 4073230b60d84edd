// A small JSON reader for tests that check documents the tool prints.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orvex {
namespace test {

class Json {
public:
    enum Kind { kNull, kBool, kNumber, kString, kArray, kObject };

    // Parses a whole document; on a syntax error returns a null value and sets `error`.
    static Json Parse(const std::string& text, std::string* error);

    Kind kind() const { return kind_; }
    bool IsNull() const { return kind_ == kNull; }
    bool Bool() const { return boolean_; }
    double Number() const { return number_; }
    int Int() const { return static_cast<int>(number_); }
    const std::string& String() const { return string_; }
    const std::vector<Json>& Array() const { return array_; }
    size_t size() const { return kind_ == kArray ? array_.size() : object_.size(); }
    bool Has(const std::string& key) const { return object_.count(key) != 0; }
    // A member, or a null value when absent.
    const Json& operator[](const std::string& key) const;
    const Json& operator[](size_t index) const { return array_.at(index); }

private:
    friend class JsonParser;
    Kind kind_ = kNull;
    bool boolean_ = false;
    double number_ = 0;
    std::string string_;
    std::vector<Json> array_;
    std::map<std::string, Json> object_;
};

}  // namespace test
}  // namespace orvex
