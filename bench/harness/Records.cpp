#include "Records.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace contest {

namespace {

std::string AsJson(double number) {
    if (!std::isfinite(number)) return "null";
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", number);
    return text;
}

}  // namespace

Field::Field(const char* name, double number) : key(name), value(AsJson(number)) {}
Field::Field(const char* name, bool answer) : key(name), value(answer ? "true" : "false") {}
Field::Field(const char* name, const std::string& text) : key(name), value('"' + text + '"') {}
Field::Field(const char* name, const char* text) : Field(name, std::string(text)) {}

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

}  // namespace contest
