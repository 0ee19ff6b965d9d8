#pragma once
#include <string>

#include "shr/ZString.h"

namespace shr {

/// A pattern for names of files: * stands for any text, the empty one too, and ? for exactly one character. Case counts
/// where it does in the system's file names.
class Wildcard {
public:
    explicit Wildcard(const ZString& text);
    bool Matches(const ZString& name) const;

private:
    std::wstring pattern;
};

/// `name` in the form in which names that mean the same file are equal.
std::wstring FoldFileNameCase(const ZString& name);

}  // namespace shr
