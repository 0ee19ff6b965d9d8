#pragma once
#include "shr/ISerialize.h"
#include "zbm/Export.h"

namespace zbm {

/// Supplied by a host that reads archives of an older scheme, in which a coordinate-system record of the host's lies
/// inside the format information. Used for loading only.
class ZBM_API ISerializeLegacyGCS {
public:
    /// Reads that record, and no more, from the archive.
    virtual void SerializeGCS(shr::ISerialize& archive) = 0;

protected:
    ISerializeLegacyGCS() = default;
    ISerializeLegacyGCS(const ISerializeLegacyGCS&) = default;
    ISerializeLegacyGCS& operator=(const ISerializeLegacyGCS&) = default;
    ~ISerializeLegacyGCS() = default;
};

}  // namespace zbm
