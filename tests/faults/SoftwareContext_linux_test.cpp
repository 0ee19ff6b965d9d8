// Every request for memory fails in the device context that systems without one get: functions answer that they failed.
#include <vector>

#include "faults/FaultInjection.h"
#include "support/gdi/Section.h"

namespace faults {
namespace {

TEST(SoftwareContextRequests, FailingMakeNoContextAndNoSection) {
    if (!ReachesLibraries()) GTEST_SKIP() << "the library has an operator new of its own";
    struct Made {
        HDC plain = nullptr, surface = nullptr;
        HBITMAP section = nullptr;
        std::uint32_t pixel = 0;
        ~Made() {
            for (const HDC dc : {plain, surface})
                if (dc != nullptr) { EXPECT_TRUE(DeleteDC(dc)); }
            if (section != nullptr) { EXPECT_TRUE(DeleteObject(section)); }
        }
    };
    unsigned complete = 0;
    const unsigned failed =
        FailEveryRequest([] { return std::make_unique<Made>(); },
                         [](const auto& made) {
                             made->plain = CreateCompatibleDC(nullptr);
                             made->surface = gdi::CreateSurfaceDC(&made->pixel, 1, 1, 4);
                             BITMAPINFO info{};
                             info.bmiHeader = {sizeof(BITMAPINFOHEADER), 4, 4, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
                             made->section = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, nullptr, nullptr, 0);
                         },
                         [&](const auto& made, Outcome outcome) {
                             EXPECT_EQ(outcome, Outcome::done) << "nothing is thrown through these functions";
                             if (made->plain != nullptr && made->surface != nullptr && made->section != nullptr)
                                 ++complete;
                         });
    EXPECT_GE(failed, 6u);
    EXPECT_LE(complete, 4u) << "where a request failed, something is missing";
}

TEST(SoftwareContextRequests, FailingWhileSavingAndDrawingAnswerZero) {
    if (!ReachesLibraries()) GTEST_SKIP() << "the library has an operator new of its own";
    const testkit::PlacesDib dib(4, 4);
    const unsigned failed = FailEveryRequest(
        [] { return std::make_unique<testkit::Section>(4, 4); },
        [&](const auto& section) {
            const int saved = SaveDC(section->dc);
            const int drawn =
                StretchDIBits(section->dc, 0, 0, 4, 4, 0, 0, 4, 4, dib.bits.data(), &dib.info, 0, SRCCOPY);
            if (saved == 0 || drawn == 0) throw std::bad_alloc();
        },
        [](const auto& section, Outcome) {
            const bool none = testkit::IsUntouched(*section), all = testkit::Rows(*section, 0) == "3210";
            EXPECT_TRUE(none || all) << "all of it or nothing";
        });
    EXPECT_GE(failed, 3u);
}

}  // namespace
}  // namespace faults
