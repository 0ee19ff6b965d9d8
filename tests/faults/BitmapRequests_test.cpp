// Every request for memory fails once, and for good, in all that creates, copies, stores and loads a bitmap.
#include <cstring>

#include "faults/FaultInjection.h"
#include "faults/FaultyBitmaps.h"
#include "support_code/ScratchFolder.h"

namespace faults {
namespace {

template <class Bitmap>
class BitmapRequests : public testing::Test {};
using Kinds = testing::Types<ZBasicMemBitmap, ReducedBitmap>;

struct KindNames {
    template <class Bitmap>
    static std::string GetName(int) {
        return std::is_same_v<Bitmap, ReducedBitmap> ? "WithReductions" : "Basic";
    }
};
TYPED_TEST_SUITE(BitmapRequests, Kinds, KindNames);

/// A picture to read from and a bitmap that holds another one.
template <class Bitmap>
struct SourceAndTarget {
    Bitmap source, target;
    explicit SourceAndTarget(ColorFormat format)
        : source(MakePicture<Bitmap>(format)), target(MakeOtherPicture<Bitmap>()) {}
};

/// Empty without reductions and usable, or the whole picture.
template <class Bitmap>
void ExpectEmptyOrPicture(Bitmap& target, ColorFormat format, Outcome outcome) {
    if (outcome == Outcome::done) {
        EXPECT_TRUE(IsSamePicture(target, MakePicture<Bitmap>(format)));
        return;
    }
    EXPECT_TRUE(IsEmpty(target));
    EXPECT_EQ(ReductionsOf(target), 0u);
    EXPECT_TRUE(IsUsable(target));
}

TYPED_TEST(BitmapRequests, FailingInAConstructorLeaveNothing) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        const unsigned failed = FailEveryRequest(
            [] { return std::unique_ptr<TypeParam>(); },
            [&](auto& bitmap) {
                bitmap = std::make_unique<TypeParam>(kWidth, kHeight, format, kTileWidth, kTileHeight);
            },
            [](auto& bitmap, Outcome outcome) { EXPECT_EQ(bitmap != nullptr, outcome == Outcome::done); });
        EXPECT_GE(failed, 8u);  // at least the pixels of four tiles, both ways of failing
    }
}

TYPED_TEST(BitmapRequests, FailingInCreateLeaveTheBitmapEmptyAndUsable) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        const unsigned failed = FailEveryRequest(
            [] { return MakeOtherPicture<TypeParam>(); },
            [&](TypeParam& bitmap) { bitmap.Create(kWidth, kHeight, format, kTileWidth, kTileHeight); },
            [&](TypeParam& bitmap, Outcome outcome) {
                EXPECT_TRUE(outcome == Outcome::done ? HasAllTiles(bitmap) : IsEmpty(bitmap));
                EXPECT_TRUE(IsUsable(bitmap));
            });
        EXPECT_GE(failed, 8u);
    }
}

TYPED_TEST(BitmapRequests, FailingInACopyConstructorLeaveTheSourceAndNothingElse) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        struct SourceAndCopy {
            TypeParam source;
            std::unique_ptr<TypeParam> copy;
        };
        const unsigned failed = FailEveryRequest(
            [&] {
                return SourceAndCopy{MakePicture<TypeParam>(format), nullptr};
            },
            [](SourceAndCopy& both) { both.copy = std::make_unique<TypeParam>(both.source); },
            [&](SourceAndCopy& both, Outcome outcome) {
                EXPECT_TRUE(IsSamePicture(both.source, MakePicture<TypeParam>(format)));
                ASSERT_EQ(both.copy != nullptr, outcome == Outcome::done);
                if (both.copy) { EXPECT_TRUE(IsSamePicture(*both.copy, both.source)); }
            });
        EXPECT_GE(failed, 8u);
    }
}

TYPED_TEST(BitmapRequests, FailingInAnAssignmentLeaveTheTargetEmptyAndTheSourceWhole) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        const unsigned failed = FailEveryRequest([&] { return SourceAndTarget<TypeParam>(format); },
                                                 [](auto& both) { both.target = both.source; },
                                                 [&](auto& both, Outcome outcome) {
                                                     ExpectEmptyOrPicture(both.target, format, outcome);
                                                     ExpectEmptyOrPicture(both.source, format, Outcome::done);
                                                 });
        EXPECT_GE(failed, 8u);
    }
}

TYPED_TEST(BitmapRequests, FailingInCreateFromABitmapLeaveTheTargetEmptyAndTheSourceWhole) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        const unsigned failed = FailEveryRequest([&] { return SourceAndTarget<TypeParam>(format); },
                                                 [](auto& both) { both.target.Create(both.source); },
                                                 [&](auto& both, Outcome outcome) {
                                                     ExpectEmptyOrPicture(both.target, format, outcome);
                                                     ExpectEmptyOrPicture(both.source, format, Outcome::done);
                                                 });
        EXPECT_GE(failed, 8u);
    }
}

// Taking over needs no pixels, only layouts; these requests are the libraries' own.
TYPED_TEST(BitmapRequests, FailingInChangeFromLeaveTheTargetEmptyAndLoseNoPicture) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        const unsigned failed = FailEveryRequest([&] { return SourceAndTarget<TypeParam>(format); },
                                                 [](auto& both) { both.target.ChangeFrom(both.source); },
                                                 [&](auto& both, Outcome outcome) {
                                                     ExpectEmptyOrPicture(both.target, format, outcome);
                                                     if (outcome == Outcome::failed)
                                                         ExpectEmptyOrPicture(both.source, format, Outcome::done);
                                                     EXPECT_TRUE(IsUsable(both.source));
                                                 });
        EXPECT_GE(failed, ReachesLibraries() ? 2u : 0u);
    }
}

TYPED_TEST(BitmapRequests, FailingWhileStoringLeaveTheBitmapWhole) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        for (const auto method : {zcdl::CodecMethod::stored, zcdl::CodecMethod::balanced}) {
            TypeParam picture = MakePicture<TypeParam>(format);
            const Bytes whole = Stored(picture, method);
            const unsigned failed =
                FailEveryRequest([] { return std::make_unique<shr::MemoryArchive>(); },
                                 [&](auto& archive) {
                                     zbm::SerializeIO io(*archive, true, method);
                                     EXPECT_TRUE(picture.Serialize(io, nullptr, nullptr));
                                 },
                                 [&](auto& archive, Outcome outcome) {
                                     EXPECT_TRUE(IsSamePicture(picture, MakePicture<TypeParam>(format)));
                                     const Bytes& bytes = archive->Bytes();
                                     ASSERT_LE(bytes.size(), whole.size());
                                     EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), whole.begin()));
                                     if (outcome == Outcome::done) { EXPECT_EQ(bytes, whole); }
                                 });
            EXPECT_GE(failed, ReachesLibraries() ? 2u : 0u);
        }
    }
}

TYPED_TEST(BitmapRequests, FailingWhileLoadingLeaveTheBitmapEmptyAndUsable) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        for (const auto method : {zcdl::CodecMethod::stored, zcdl::CodecMethod::balanced}) {
            TypeParam picture = MakePicture<TypeParam>(format);
            const Bytes bytes = Stored(picture, method);
            struct Reading {
                TypeParam bitmap;
                shr::MemoryArchive archive;
                zbm::SerializeIO io;
                explicit Reading(const Bytes& stored)
                    : bitmap(MakeOtherPicture<TypeParam>()), archive(stored), io(archive, true) {}
            };
            const unsigned failed = FailEveryRequest(
                [&] { return std::make_unique<Reading>(bytes); },
                [](auto& reading) { EXPECT_TRUE(reading->bitmap.Serialize(reading->io, nullptr, nullptr)); },
                [&](auto& reading, Outcome outcome) { ExpectEmptyOrPicture(reading->bitmap, format, outcome); });
            EXPECT_GE(failed, 8u);
        }
    }
}

/// Cancels at the first report.
TYPED_TEST(BitmapRequests, FailingWhileACancelledLoadIsClearedLeaveTheBitmapEmptyAndUsable) {
    struct Canceller : shr::IProgress {
        void StartTask(const shr::ZString&, int, int) override {}
        void EndTask() override {}
        void SetProgress(double) override { throw shr::AbortException(); }
    } canceller;
    TypeParam picture = MakePicture<TypeParam>(shr::INDEXED_4);
    const Bytes bytes = Stored(picture, zcdl::CodecMethod::stored);
    struct Reading {
        TypeParam bitmap;
        shr::MemoryArchive archive;
        zbm::SerializeIO io;
        explicit Reading(const Bytes& stored)
            : bitmap(MakeOtherPicture<TypeParam>()), archive(stored), io(archive, true) {}
    };
    const unsigned failed = FailEveryRequest(
        [&] { return std::make_unique<Reading>(bytes); },
        [&](auto& reading) { EXPECT_FALSE(reading->bitmap.Serialize(reading->io, &canceller, nullptr)); },
        [](auto& reading, Outcome outcome) {
            EXPECT_TRUE(outcome == Outcome::done ? IsOnePixel(reading->bitmap) : IsEmpty(reading->bitmap));
            EXPECT_TRUE(IsUsable(reading->bitmap));
        });
    EXPECT_GE(failed, 4u);
}

}  // namespace
}  // namespace faults
