#include "Json.h"

namespace orvexctl {

std::string Document(const Json& doc) {
    Json out = {{"schema_version", kSchemaVersion}};
    for (auto it = doc.begin(); it != doc.end(); ++it) out[it.key()] = it.value();
    try {
        return out.dump();
    } catch (const Json::type_error&) {
        out["invalid_utf8_replaced"] = true;
        return out.dump(-1, ' ', false, Json::error_handler_t::replace);
    }
}

}  // namespace orvexctl
