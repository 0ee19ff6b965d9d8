// Operations whose places in the interface are kept, and which do nothing yet: they say so by an internal error instead
// of pretending.
#include <gtest/gtest.h>

#include "core/checks/BitmapChecks.h"
#include "shr/Dib.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "zbm/ZBasicMemBitmap.h"

namespace {

using testkit::RaisesInternalError;
using zbm::BitmapCheck;

TEST(LaterOperations, FetchDibIsRefused) {
    const zbm::ZBasicMemBitmap bitmap = testkit::FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    shr::CDib dib;
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchDib(dib, RECT{0, 0, 5, 5}); }, BitmapCheck::deviceOutput));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchDib(dib, 0, 0, 5, 5); }, BitmapCheck::deviceOutput));
    EXPECT_TRUE(dib.IsEmpty());
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
}

}  // namespace
