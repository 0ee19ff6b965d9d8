#include "harness/Records.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace bench {

Field::Field(std::string name, double number) : key(std::move(name)), value("null") {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", number);
    if (std::isfinite(number)) value = text;
}

Records::Records(const std::string& jsonFile) {
    if (jsonFile.empty()) return;
    json.open(jsonFile);
    if (!json) throw std::runtime_error("cannot write " + jsonFile);
    json << "[";
}

Records::~Records() {
    if (json.is_open()) json << "\n]\n";
}

void Records::Add(const std::vector<Field>& fields) {
    if (!json.is_open()) return;
    json << (isFirst ? "\n" : ",\n") << " {";
    isFirst = false;
    const char* separator = "";
    for (const Field& field : fields) {
        json << separator << '"' << field.key << "\": " << field.value;
        separator = ", ";
    }
    json << "}" << std::flush;
}

}  // namespace bench
