#include "DependencyFile.h"

#include <string.h>
#include <sys/stat.h>
#include <tinyxml2.h>
#include <unistd.h>

#include "XmlText.h"

namespace orvexctl {

namespace {

using tinyxml2::XMLElement;

std::string Where(const char* group, int entry) {
    return std::string(group) + " entry " + std::to_string(entry);
}

// Mirrors the carry-over buffers of the library's reader: name and absolutepath are not reset
// between entries.
struct Carry {
    std::string name;
    std::string absolutePath;
    bool anyName = false;
};

void CheckFits(DependencyFile& out, const std::string& where, const std::string& what,
               const std::string& text, size_t size) {
    if (text.size() < size) return;
    out.overflows.push_back(where + ": " + what + " is " + std::to_string(text.size()) +
                            " bytes; the library's buffer holds at most " +
                            std::to_string(size - 1) + ", so the library stops reading the file");
}

void Keep(DependencyFile& out, const std::string& name, const DependencyOrigin& origin,
          const std::string& where) {
    if (out.origins.count(name) != 0) {
        const DependencyOrigin& first = out.origins[name];
        out.warnings.push_back(where + ": \"" + name + "\" is dropped, " + first.group + " entry " +
                               std::to_string(first.entry) + " defines it first");
        return;
    }
    out.origins[name] = origin;
}

void ReadPathGroup(const XMLElement* group, const char* groupName, const char* entryName,
                   const char* valueName, Carry& carry, DependencyFile& out,
                   const std::string& prefix, const std::string& abi) {
    int index = 0;
    for (const XMLElement* entry = group->FirstChildElement(); entry;
         entry = entry->NextSiblingElement()) {
        if (!Is(entry, entryName)) {
            out.warnings.push_back(std::string(groupName) + ": unknown element <" + entry->Name() +
                                   "> is ignored");
            continue;
        }
        ++index;
        const std::string where = Where(groupName, index);
        bool ownName = false, ownAbsolute = false, ownValue = false;
        for (const XMLElement* child = entry->FirstChildElement(); child;
             child = child->NextSiblingElement()) {
            if (Is(child, "name")) {
                carry.name = TextOf(child);
                CheckFits(out, where, "<name>", carry.name, kDependencyTextSize);
                ownName = true;
            } else if (Is(child, "absolutepath")) {
                carry.absolutePath = TextOf(child);
                CheckFits(out, where + " \"" + carry.name + "\"", "<absolutepath>",
                          carry.absolutePath, kDependencyTextSize);
                ownAbsolute = true;
            } else if (Is(child, valueName)) {
                const bool absolute = carry.absolutePath == "true";
                const bool file = strcmp(valueName, "path") == 0;
                const std::string lib = abi == "armeabi-v7a" || abi == "x86"       ? "lib"
                                        : abi == "arm64-v8a" || abi == "x86_64" ? "lib64"
                                                                                : "";
                const std::string path =
                    file ? (absolute ? "" : prefix) + TextOf(child)
                         : absolute ? "/system/" + lib + "/" + TextOf(child)
                                    : prefix + "/system/libs/" + abi + "/" + TextOf(child);
                CheckFits(out, where + " \"" + carry.name + "\"", "the resolved path \"" + path + "\"",
                          path, kDependencyPathSize);
                out.paths.emplace(carry.name, path);
                if (!ownAbsolute) {
                    out.warnings.push_back(where + ": <" + valueName +
                                           "> is read with the absolutepath \"" +
                                           carry.absolutePath + "\" " +
                                           (index == 1 && carry.absolutePath.empty()
                                                ? "(none given)"
                                                : "inherited from an earlier entry"));
                }
                ownValue = true;
            } else {
                out.warnings.push_back(where + ": unknown element <" + child->Name() +
                                       "> is ignored");
            }
        }
        if (!ownName) {
            out.warnings.push_back(where + ": no <name>; the entry repeats the previous name \"" +
                                   carry.name + "\"");
        }
        if (!ownValue) {
            out.warnings.push_back(where + ": no <" + valueName +
                                   ">; the entry stores the previous entry's text");
        }
        Keep(out, carry.name, DependencyOrigin{groupName, index, false}, where);
    }
}

void ReadProperties(const XMLElement* group, Carry& carry,
                    const std::map<std::string, std::string>& properties, DependencyFile& out) {
    int index = 0;
    for (const XMLElement* entry = group->FirstChildElement(); entry;
         entry = entry->NextSiblingElement()) {
        if (!Is(entry, "property")) {
            out.warnings.push_back(std::string("properties: unknown element <") + entry->Name() +
                                   "> is ignored");
            continue;
        }
        ++index;
        const std::string where = Where("properties", index);
        bool ownName = false, stored = false;
        for (const XMLElement* child = entry->FirstChildElement(); child;
             child = child->NextSiblingElement()) {
            if (Is(child, "name")) {
                carry.name = TextOf(child);
                CheckFits(out, where, "<name>", carry.name, kDependencyTextSize);
                ownName = true;
            } else if (Is(child, "value")) {
                auto given = properties.find(carry.name);
                if (given != properties.end() && !given->second.empty()) {
                    CheckFits(out, where + " \"" + carry.name + "\"",
                              "its value in /system/build.prop", given->second, kDependencyTextSize);
                } else {
                    CheckFits(out, where + " \"" + carry.name + "\"", "its <value>",
                              TextOf(child), kDependencyTextSize);
                }
                if (!ownName) {
                    out.warnings.push_back(where +
                                           ": <value> comes before any <name> of the entry; "
                                           "it is stored under \"" +
                                           carry.name + "\"");
                }
                auto it = properties.find(carry.name);
                bool set = it != properties.end() && !it->second.empty();
                Keep(out, carry.name, DependencyOrigin{"properties", index, set}, where);
                stored = true;
            } else {
                out.warnings.push_back(where + ": unknown element <" + child->Name() +
                                       "> is ignored");
            }
        }
        if (!stored) out.warnings.push_back(where + ": no <value>; nothing is stored");
    }
}

}  // namespace

DependencyFile ReadDependencyFile(const std::string& deviceRoot, const std::string& processName,
                                  const std::map<std::string, std::string>& properties) {
    DependencyFile out;
    std::string name = processName.substr(0, processName.find(':'));
    std::string dcfiles =
        "/data/user_de/" + std::to_string(getuid() / 100000) + "/" + name + "/files/dcfiles";
    struct stat st;
    std::string prefix = stat((deviceRoot + dcfiles).c_str(), &st) == 0 ? dcfiles : "";
    out.devicePath = prefix + "/system/etc/scanner/ExternalDependencies.xml";

    tinyxml2::XMLDocument doc(true, tinyxml2::PRESERVE_WHITESPACE);
    if (doc.LoadFile((deviceRoot + out.devicePath).c_str()) != tinyxml2::XML_SUCCESS) {
        out.loadError = doc.ErrorStr() != nullptr ? doc.ErrorStr() : "cannot load";
        return out;
    }
    const XMLElement* root = doc.RootElement();
    if (root == nullptr) {
        out.loadError = "no root element";
        return out;
    }
    out.loaded = true;
    Carry carry;
    const XMLElement* files = root->FirstChildElement("files");
    const XMLElement* binaries = root->FirstChildElement("binaries");
    const XMLElement* props = root->FirstChildElement("properties");
    auto abi = properties.find("ro.product.cpu.abi");
    const std::string abiText = abi != properties.end() ? abi->second : "";
    if (files) ReadPathGroup(files, "files", "file", "path", carry, out, prefix, abiText);
    if (binaries) ReadPathGroup(binaries, "binaries", "binary", "libname", carry, out, prefix, abiText);
    if (props) ReadProperties(props, carry, properties, out);
    for (const XMLElement* e = root->FirstChildElement(); e; e = e->NextSiblingElement()) {
        if (!Is(e, "files") && !Is(e, "binaries") && !Is(e, "properties")) {
            out.warnings.push_back(std::string("unknown element <") + e->Name() +
                                   "> under the root is ignored");
        }
    }
    return out;
}

}  // namespace orvexctl
