#pragma once
// From a long list of steps that fails to a short one: what can be left out while it still fails, is.
#include <algorithm>
#include <vector>

namespace testkit {

/// `fails` is asked about shorter and shorter lists; the result fails, and no step of it can be left out. Half of the
/// list is tried first, single steps last.
template <class Step, class Fails>
std::vector<Step> Shrunk(std::vector<Step> steps, const Fails& fails) {
    for (std::size_t piece = std::max<std::size_t>(steps.size() / 2, 1); piece > 0;) {
        bool isShorter = false;
        for (std::size_t first = 0; first < steps.size();) {
            std::vector<Step> rest = steps;
            const auto from = rest.begin() + static_cast<std::ptrdiff_t>(first);
            rest.erase(from, from + static_cast<std::ptrdiff_t>(std::min(piece, steps.size() - first)));
            if (fails(rest)) {
                steps = std::move(rest);
                isShorter = true;
            } else {
                first += piece;
            }
        }
        if (piece > 1 || !isShorter) piece /= 2;
    }
    return steps;
}

}  // namespace testkit
