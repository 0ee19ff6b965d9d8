#include "file/Replacement.h"

#include "shr/Path.h"

namespace zbm {

Replacement::Replacement(const shr::ZString& target) : place(shr::FollowLinks(target)) {}

bool Replacement::HoldFormer() noexcept {
    return !shr::PathExists(place) ||
           former.OpenNoThrow(place, shr::FileAccess::readWrite, shr::FileMode::openExisting, shr::FileSharing::none);
}

bool Replacement::Make() {
    beside.emplace(shr::CPath(place).GetFolder());
    return beside->HasFile();
}

bool Replacement::TakePlace() {
    if (former.IsOpen()) shr::TakePermissions(beside->Name(), place);
    former.Discard();  // nothing was written; and no file that is open can be replaced on every system
    return beside->Rename(place);
}

}  // namespace zbm
