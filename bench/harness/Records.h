#pragma once
// The figures of a run for other programs: a JSON array of flat records.
#include <fstream>
#include <string>
#include <vector>

namespace bench {

/// A key with its value as JSON writes it. Texts are names of our own, and hold nothing that would have to be escaped.
struct Field {
    Field(std::string name, double number);
    Field(std::string name, const std::string& text) : key(std::move(name)), value('"' + text + '"') {}

    std::string key, value;
};

class Records {
public:
    /// An empty name keeps none. Raises std::runtime_error if the file cannot be made.
    explicit Records(const std::string& jsonFile);
    ~Records();
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;

    void Add(const std::vector<Field>& fields);

private:
    std::ofstream json;
    bool isFirst = true;
};

}  // namespace bench
