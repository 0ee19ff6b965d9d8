// The host's archive fails at every call and after every byte.
#include <gtest/gtest.h>

#include "faults/FaultyArchives.h"
#include "faults/HeapMeter.h"

namespace faults {
namespace {

template <class Bitmap>
class FailingArchiveTest : public testing::Test {};
using Kinds = testing::Types<ZBasicMemBitmap, ReducedBitmap>;
struct KindNames {
    template <class Bitmap>
    static std::string GetName(int) {
        return std::is_same_v<Bitmap, ReducedBitmap> ? "WithReductions" : "Basic";
    }
};
TYPED_TEST_SUITE(FailingArchiveTest, Kinds, KindNames);

enum class Work { done, failed };

/// Serializes, and says whether the archive's own error came out, unchanged.
Work Serialize(ZBasicMemBitmap& bitmap, FailingArchive& archive) {
    try {
        zbm::SerializeIO io(archive, true, zcdl::CodecMethod::stored);
        EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    } catch (const HostError& error) {
        EXPECT_EQ(error.number, FailingArchive::kNumber);
        return Work::failed;
    }
    return Work::done;
}

template <class Bitmap>
Work StoreInto(FailingArchive archive, Bitmap& picture, const Bytes& whole) {
    const Work work = Serialize(picture, archive);
    EXPECT_TRUE(IsSamePicture(picture, MakePicture<Bitmap>(picture.GetColorFormat())));
    EXPECT_LE(archive.Written().size(), whole.size());
    EXPECT_TRUE(std::equal(archive.Written().begin(), archive.Written().end(), whole.begin()));
    return work;
}

template <class Bitmap>
Work LoadFrom(FailingArchive archive, const Bitmap& picture) {
    const std::int64_t before = LiveBlocks();
    Work work;
    {
        Bitmap bitmap = MakeOtherPicture<Bitmap>();
        work = Serialize(bitmap, archive);
        if (work == Work::done) {
            EXPECT_TRUE(IsSamePicture(bitmap, picture));
        } else {
            EXPECT_TRUE(IsEmpty(bitmap));
            EXPECT_EQ(ReductionsOf(bitmap), 0u);
            EXPECT_TRUE(IsUsable(bitmap));
        }
    }
    const std::int64_t after = LiveBlocks();
    if (!testing::Test::HasFailure()) { EXPECT_EQ(after, before) << "leaked blocks"; }
    return work;
}

TYPED_TEST(FailingArchiveTest, AtAnyCallWhileStoringPassesItsErrorOnAndLeavesTheBitmapWhole) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        TypeParam picture = MakePicture<TypeParam>(format);
        const Bytes whole = Stored(picture, zcdl::CodecMethod::stored);
        std::size_t call = 1;
        while (StoreInto(FailingArchive::Storing().AtCall(call), picture, whole) == Work::failed) ++call;
        EXPECT_GE(call, 20u);
    }
}

TYPED_TEST(FailingArchiveTest, AfterAnyByteWhileStoringPassesItsErrorOnAndLeavesTheBitmapWhole) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        TypeParam picture = MakePicture<TypeParam>(format);
        const Bytes whole = Stored(picture, zcdl::CodecMethod::stored);
        for (std::size_t count = 0; count < whole.size(); ++count)
            EXPECT_EQ(StoreInto(FailingArchive::Storing().AfterBytes(count), picture, whole), Work::failed) << count;
        EXPECT_EQ(StoreInto(FailingArchive::Storing().AfterBytes(whole.size()), picture, whole), Work::done);
    }
}

TYPED_TEST(FailingArchiveTest, AtAnyCallWhileLoadingPassesItsErrorOnAndLeavesTheBitmapEmpty) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        TypeParam picture = MakePicture<TypeParam>(format);
        const Bytes whole = Stored(picture, zcdl::CodecMethod::stored);
        std::size_t call = 1;
        while (LoadFrom(FailingArchive::Loading(whole).AtCall(call), picture) == Work::failed && !this->HasFailure())
            ++call;
        EXPECT_GE(call, 20u);
    }
}

TYPED_TEST(FailingArchiveTest, AfterAnyByteWhileLoadingPassesItsErrorOnAndLeavesTheBitmapEmpty) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        TypeParam picture = MakePicture<TypeParam>(format);
        const Bytes whole = Stored(picture, zcdl::CodecMethod::stored);
        for (std::size_t count = 0; count < whole.size() && !this->HasFailure(); ++count)
            EXPECT_EQ(LoadFrom(FailingArchive::Loading(whole).AfterBytes(count), picture), Work::failed) << count;
        EXPECT_EQ(LoadFrom(FailingArchive::Loading(whole).AfterBytes(whole.size()), picture), Work::done);
    }
}

// Until the archive has told its direction, nothing of the bitmap may change.
TYPED_TEST(FailingArchiveTest, AskedForItsDirectionPassesItsErrorOnAndLeavesTheBitmapWholeOrEmpty) {
    TypeParam picture = MakePicture<TypeParam>(shr::INDEXED_4);
    const Bytes whole = Stored(picture, zcdl::CodecMethod::stored);
    for (std::size_t call = 1;; ++call) {
        TypeParam bitmap = MakeOtherPicture<TypeParam>();
        FailingArchive archive = FailingArchive::Loading(whole).CountingQuestions().AtCall(call);
        if (Serialize(bitmap, archive) == Work::done) break;
        if (bitmap.GetColorFormat() != shr::FORMAT_NONE) {
            // Before anything was read there is the old picture; before a reduction, the new one without reductions.
            EXPECT_TRUE(testkit::AreEqual(bitmap, MakeOtherPicture<TypeParam>()) || testkit::AreEqual(bitmap, picture))
                << "failing call " << call;
        } else {
            EXPECT_TRUE(IsEmpty(bitmap)) << "failing call " << call;
        }
        EXPECT_TRUE(IsUsable(bitmap));
        if (this->HasFailure()) break;
    }
}

}  // namespace
}  // namespace faults
