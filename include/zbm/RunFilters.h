#pragma once
#include <vector>

#include "shr/IProgress.h"
#include "zbm/Export.h"
#include "zpixf/ZPixFilterBase.h"

namespace zbm {

class ZBitmap;

/// Runs filters over a whole bitmap of any class, in place: each line goes through the first filter, then the second,
/// and so on. With it a bitmap class of one's own answers ZBitmap::FilterScanLines:
///
///     bool FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) override {
///         return zbm::RunFilters(*this, {&filter}, progress);
///     }
///
/// The tiles of a class that the library does not know are locked one by one: to be copied, before a line of their row
/// is filtered; to be overwritten and committed, when the row is done; and where masks stay as they are, to be read in
/// between. No tile is locked while filters work or progress is reported. In memory are one row of tiles as it was and
/// one as it becomes. The series of changes ends with the caller's CommitAll.
///
/// The filters are borrowed: at most 14, each only once (a pipeline has 16 stages; the choice of an indexed bitmap's
/// colours takes one, and a mask that filters change another). Their formats are set here, to true colours of the
/// bitmap's size. An indexed bitmap gets a new choice of colours (median cut), as many as its table had. Alpha, or the
/// mask, becomes what the filters make of it; those that leave alpha alone keep it.
///
/// False, with nothing changed, when the start of a filter was cancelled. Cancelling through `progress` (which may be
/// null) arrives as shr::AbortException, and a filter that fails as the shr::Exception that it describes; rows of tiles
/// that were written until then stay. Raises internal errors of source file "RunFilters" for a bitmap without rows
/// (line 9000) and for a filter that is given twice (line 9003), and those of CPixFilterPipeline for too many filters
/// and a null pointer.
[[nodiscard]] ZBM_API bool RunFilters(ZBitmap& bitmap, const std::vector<zpixf::ZPixFilterBase*>& filters,
                                      shr::IProgress* progress);

}  // namespace zbm
