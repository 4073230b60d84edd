// Small scanner list files for tests, written element by element.
#pragma once

#include <string>

namespace orvex {
namespace test {
namespace xml {

inline std::string Element(const std::string& name, const std::string& text) {
    return "<" + name + ">" + text + "</" + name + ">";
}

inline std::string Camera(const std::string& name, const std::string& supported,
                          const std::string& index, const std::string& model,
                          const std::string& element = "camera-scanner") {
    return Element(element, Element("name", name) + Element("supported", supported) +
                                Element("index", index) + Element("model", model));
}

inline std::string FrontCamera(const std::string& name, const std::string& index,
                               const std::string& model) {
    return Camera(name, "1", index, model, "front-camera-scanner");
}

inline std::string External(const std::string& name, const std::string& supported,
                            const std::string& index, const std::string& model) {
    return Camera(name, supported, index, model, "external-scanner");
}

inline std::string Builtin(const std::string& id, const std::string& supported,
                           const std::string& name, const std::string& index,
                           const std::string& model) {
    return Element("builtin-scanner", Element("id", id) + Element("supported", supported) +
                                          Element("name", name) + Element("index", index) +
                                          Element("model", model));
}

// A product's amendment of the built-in scanner.
inline std::string ProductBuiltin(const std::string& index, const std::string& model,
                                  const std::string& name, const std::string& orientation) {
    return Element("builtin-scanner", Element("index", index) + Element("model", model) +
                                          Element("name", name) +
                                          Element("orientation", orientation));
}

inline std::string Product(const std::string& platform, const std::string& model,
                           const std::string& body) {
    return Element(platform, Element(model, body));
}

// One release element; List() is a whole file with one release.
inline std::string Release(const std::string& defaults, const std::string& platforms = "",
                           const std::string& release = "Android_13") {
    return Element(release, Element("default", defaults) + Element("platform", platforms));
}

inline std::string List(const std::string& defaults, const std::string& platforms = "",
                        const std::string& release = "Android_13") {
    return "<?xml version=\"1.0\"?>\n<ScannerList>" + Release(defaults, platforms, release) +
           "</ScannerList>\n";
}

}  // namespace xml
}  // namespace test
}  // namespace orvex
