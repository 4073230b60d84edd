#include "ConfigLint.h"

#include <ctype.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <tinyxml2.h>

#include <map>
#include <set>

#include "XmlText.h"

namespace orvexctl {

namespace {

using tinyxml2::XMLElement;

struct Linter {
    std::string file;
    std::vector<Finding>* out;
    void Warn(const std::string& text, const XMLElement* at = nullptr) {
        out->push_back(Finding{file, at != nullptr ? at->GetLineNum() : 0, text});
    }
    // Elements of one name under the same parent: the library takes the first.
    void Duplicates(const XMLElement* parent, const std::string& where) {
        std::map<std::string, int> first;
        for (const XMLElement* e = parent->FirstChildElement(); e; e = e->NextSiblingElement()) {
            auto it = first.emplace(e->Name(), e->GetLineNum()).first;
            if (it->second != e->GetLineNum()) {
                Warn(where + "<" + e->Name() + "> appears again; the library uses the first, at line " +
                         std::to_string(it->second),
                     e);
            }
        }
    }
};

// Children of one scanner entry: unknown ones, empty ones, and numbers with something after them.
void LintEntry(const XMLElement* entry, const std::string& where,
               const std::set<std::string>& known, const std::set<std::string>& numbers,
               bool supportedIsText, Linter& lint) {
    for (const XMLElement* c = entry->FirstChildElement(); c; c = c->NextSiblingElement()) {
        const std::string name = c->Name();
        if (known.count(name) == 0) {
            lint.Warn(where + ": unknown element <" + name + "> is ignored", c);
            continue;
        }
        if (c->GetText() == nullptr) {
            lint.Warn(where + ": <" + name + "> is empty; the library requires a text", c);
            continue;
        }
        const std::string text = TextOf(c);
        if (name == "supported" && supportedIsText) {
            if (text != "0" && text.find_first_not_of(" \t\r\n0") == std::string::npos) {
                lint.Warn(where + ": <supported> \"" + text +
                          "\" is not exactly \"0\", so the scanner is offered", c);
            } else if (text != "0" && text != "1" && (text.front() == ' ' || text.back() == ' ')) {
                lint.Warn(where + ": <supported> \"" + text + "\" has blanks", c);
            }
            continue;
        }
        if (numbers.count(name) == 0) continue;
        NumberText number = ReadNumber(text);
        if (!number.valid) {
            lint.Warn(where + ": <" + name + "> \"" + text +
                      "\" is not a number; reading the list throws and the list is refused", c);
        } else if (!number.clean) {
            lint.Warn(where + ": <" + name + "> \"" + text + "\" is read as " +
                      std::to_string(number.value) + "; the rest is ignored", c);
        }
    }
}

}  // namespace

NumberText ReadNumber(const std::string& text) {
    NumberText n;
    const char* start = text.c_str();
    char* end = nullptr;
    errno = 0;
    long value = strtol(start, &end, 10);
    if (end == start || errno == ERANGE || value < INT32_MIN || value > INT32_MAX) return n;
    n.valid = true;
    n.value = value;
    n.clean = *end == '\0' && !isspace(static_cast<unsigned char>(text[0]));
    return n;
}

void LintSettings(const std::string& deviceRoot, std::vector<Finding>* out) {
    Linter lint{"/enterprise/device/settings/scanner/LogLevel.xml", out};
    tinyxml2::XMLDocument doc(true, tinyxml2::PRESERVE_WHITESPACE);
    if (doc.LoadFile((deviceRoot + lint.file).c_str()) != tinyxml2::XML_SUCCESS) {
        lint.Warn(std::string("cannot be read (") + (doc.ErrorStr() ? doc.ErrorStr() : "") +
                  "); the log level is 5");
        return;
    }
    const XMLElement* root = doc.RootElement();
    if (root == nullptr) return;  // the settings step reports the assertion
    bool level = false;
    for (const XMLElement* c = root->FirstChildElement(); c; c = c->NextSiblingElement()) {
        if (!Is(c, "LogLevel")) {
            lint.Warn(std::string("setting <") + c->Name() + "> is not used by the library", c);
            continue;
        }
        level = true;
        const std::string text = TextOf(c);
        NumberText n = ReadNumber(text);
        if (!n.valid || n.value < 1 || n.value > 8) {
            lint.Warn("LogLevel \"" + text + "\" is not a level from 1 to 8; the level is 5", c);
        } else if (!n.clean) {
            lint.Warn("LogLevel \"" + text + "\" is read as " + std::to_string(n.value), c);
        }
    }
    if (!level) lint.Warn("no <LogLevel>; the level is 5");
}

void LintScannerList(const std::string& deviceRoot, const std::string& devicePath,
                     const std::string& androidVersionKey, std::vector<Finding>* out) {
    Linter lint{devicePath, out};
    tinyxml2::XMLDocument doc(true, tinyxml2::PRESERVE_WHITESPACE);
    if (doc.LoadFile((deviceRoot + devicePath).c_str()) != tinyxml2::XML_SUCCESS) return;
    const XMLElement* root = doc.RootElement();
    if (root == nullptr) return;
    const std::set<std::string> camera = {"name", "supported", "index", "model"};
    const std::set<std::string> builtin = {"id", "supported", "name", "index", "model"};
    const std::set<std::string> productBuiltin = {"index", "model", "name", "orientation"};
    lint.Duplicates(root, "");
    for (const XMLElement* version = root->FirstChildElement(); version;
         version = version->NextSiblingElement()) {
        const std::string key = version->Name();
        if (!androidVersionKey.empty() && key != androidVersionKey) continue;
        for (const XMLElement* section = version->FirstChildElement(); section;
             section = section->NextSiblingElement()) {
            if (Is(section, "default")) {
                int n = 0;
                for (const XMLElement* e = section->FirstChildElement(); e;
                     e = e->NextSiblingElement()) {
                    const std::string where =
                        key + "/default/" + e->Name() + " #" + std::to_string(++n);
                    if (Is(e, "camera-scanner") || Is(e, "front-camera-scanner") ||
                        Is(e, "external-scanner")) {
                        LintEntry(e, where, camera, {"index"}, true, lint);
                    } else if (Is(e, "builtin-scanner")) {
                        LintEntry(e, where, builtin, {"id", "index"}, true, lint);
                    } else {
                        lint.Warn(key + "/default: unknown element <" + e->Name() + "> is ignored", e);
                    }
                }
            } else if (Is(section, "platform")) {
                lint.Duplicates(section, key + "/platform: ");
                for (const XMLElement* platform = section->FirstChildElement(); platform;
                     platform = platform->NextSiblingElement()) {
                    lint.Duplicates(platform, key + "/platform/" + platform->Name() + ": ");
                for (const XMLElement* product = platform->FirstChildElement(); product;
                         product = product->NextSiblingElement()) {
                        const std::string base =
                            key + "/platform/" + platform->Name() + "/" + product->Name();
                        int n = 0;
                        for (const XMLElement* e = product->FirstChildElement(); e;
                             e = e->NextSiblingElement()) {
                            const std::string where =
                                base + "/" + e->Name() + " #" + std::to_string(++n);
                            if (Is(e, "external-scanner")) {
                                LintEntry(e, where, camera, {"index", "supported"}, false, lint);
                            } else if (Is(e, "builtin-scanner")) {
                                LintEntry(e, where, productBuiltin, {"index", "orientation"}, false,
                                          lint);
                            } else {
                                lint.Warn(base + ": unknown element <" + e->Name() +
                                              "> is ignored",
                                          e);
                            }
                        }
                    }
                }
            } else {
                lint.Warn(key + ": unknown element <" + section->Name() + "> is ignored", section);
            }
        }
    }
}

void LintTriggerFile(const std::string& deviceRoot, const std::string& devicePath,
                     std::vector<Finding>* out) {
    Linter lint{devicePath, out};
    tinyxml2::XMLDocument doc(true, tinyxml2::PRESERVE_WHITESPACE);
    if (doc.LoadFile((deviceRoot + devicePath).c_str()) != tinyxml2::XML_SUCCESS) return;
    const XMLElement* root = doc.RootElement();
    if (root == nullptr) return;
    auto lintKeys = [&](const XMLElement* device, const std::string& where) {
        int n = 0;
        for (const XMLElement* key = device->FirstChildElement(); key;
             key = key->NextSiblingElement()) {
            if (!Is(key, "Key")) {
                lint.Warn(where + ": <" + key->Name() + "> is not a <Key> and is skipped", key);
                continue;
            }
            const std::string at = where + "/Key #" + std::to_string(++n);
            bool code = false;
            for (const XMLElement* c = key->FirstChildElement(); c; c = c->NextSiblingElement()) {
                const std::string name = c->Name();
                const std::string text = TextOf(c);
                if (name == "KeyCode") {
                    code = true;
                    std::string digits = text;
                    if (digits.rfind("0x", 0) == 0 || digits.rfind("0X", 0) == 0)
                        digits = digits.substr(2);
                    if (digits.empty() ||
                        digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
                        lint.Warn(at + ": <KeyCode> \"" + text + "\" is not plain hexadecimal", c);
                    }
                } else if (name == "MultiScannerSupport") {
                    if (text != "1" && text != "0") {
                        lint.Warn(at + ": <MultiScannerSupport> \"" + text +
                                      "\" is not \"1\", so the key drives one scanner",
                                  c);
                    }
                } else if (name != "friendlyname" && name != "ScannerResource") {
                    lint.Warn(at + ": unknown element <" + name + "> is ignored", c);
                }
            }
            if (!code) lint.Warn(at + ": no <KeyCode>; the key's scan code stays -1", key);
        }
    };
    lint.Duplicates(root, "");
    for (const XMLElement* model = root->FirstChildElement(); model;
         model = model->NextSiblingElement()) {
        if (Is(model, "HX2105x")) {
            lint.Duplicates(model, "HX2105x: ");
            for (const XMLElement* sku = model->FirstChildElement(); sku;
                 sku = sku->NextSiblingElement()) {
                lintKeys(sku, std::string("HX2105x/") + sku->Name());
            }
        } else {
            lintKeys(model, model->Name());
        }
    }
}

void LintProperties(const std::map<std::string, std::string>& properties,
                    std::vector<Finding>* out) {
    // The facts the scanner list and the trigger file are matched against, text for text.
    for (const char* name : {"ro.board.platform", "ro.product.model", "ro.product.name",
                             "ro.product.device", "ro.build.version.release"}) {
        auto it = properties.find(name);
        if (it == properties.end() || it->second.empty()) continue;
        const std::string& v = it->second;
        if (v.front() == ' ' || v.front() == '\t' || v.back() == ' ' || v.back() == '\t' ||
            v.back() == '\r') {
            out->push_back(Finding{"/system/build.prop", 0,
                                   std::string(name) + " \"" + v +
                                       "\" has a blank at its start or end; the value is taken "
                                       "verbatim and compared exactly, so it matches no element "
                                       "written without it"});
        }
    }
}

}  // namespace orvexctl
