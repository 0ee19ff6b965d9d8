// The user cancels at every report, and progress targets fail, while a bitmap is stored or loaded.
#include <gtest/gtest.h>

#include <stdexcept>

#include "faults/FaultyArchives.h"
#include "shr/Logger.h"
#include "support_code/TestProgress.h"

namespace faults {
namespace {

template <class Bitmap>
class CancelledArchive : public testing::Test {};
using Kinds = testing::Types<ZBasicMemBitmap, ReducedBitmap>;
struct KindNames {
    template <class Bitmap>
    static std::string GetName(int) {
        return std::is_same_v<Bitmap, ReducedBitmap> ? "WithReductions" : "Basic";
    }
};
TYPED_TEST_SUITE(CancelledArchive, Kinds, KindNames);

/// Four rows of tiles, and reductions where the kind holds such.
template <class Bitmap>
Bitmap MakeTallPicture() {
    Bitmap bitmap(5, 7, shr::INDEXED_4, 4, 2);
    testkit::FillByFormula(bitmap);
    AddReductions(bitmap);
    return bitmap;
}

bool IsStaleOrPlain(const ZBasicMemBitmap&) { return true; }
bool IsStaleOrPlain(const ReducedBitmap& bitmap) { return bitmap.IsStale(); }

TYPED_TEST(CancelledArchive, WhileStoringGivesFalseAndAPartialArchiveAtEveryReport) {
    TypeParam picture = MakeTallPicture<TypeParam>();
    const Bytes whole = Stored(picture, zcdl::CodecMethod::balanced);
    std::size_t lastSize = 0;
    int report = 1;
    for (;; ++report) {
        shr::MemoryArchive archive;
        zbm::SerializeIO io(archive, true);
        testkit::TestProgress progress(report);
        const bool done = picture.Serialize(io, &progress, nullptr);
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_TRUE(IsSamePicture(picture, MakeTallPicture<TypeParam>()));
        const Bytes& bytes = archive.Bytes();
        if (done) {
            EXPECT_EQ(bytes, whole);
            break;
        }
        EXPECT_EQ(static_cast<int>(progress.fractions.size()), report);
        EXPECT_GT(bytes.size(), lastSize);
        ASSERT_LE(bytes.size(), whole.size());
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), whole.begin()));
        lastSize = bytes.size();
    }
    // Four rows of the picture; of the reductions, one row each.
    EXPECT_EQ(report - 1, ReductionsOf(picture) == 0 ? 4 : 6);
}

TYPED_TEST(CancelledArchive, WhileLoadingGivesFalseAndABitmapOfOnePixelAtEveryReport) {
    TypeParam picture = MakeTallPicture<TypeParam>();
    const Bytes whole = Stored(picture, zcdl::CodecMethod::balanced);
    int report = 1;
    for (;; ++report) {
        SCOPED_TRACE(report);
        TypeParam bitmap = MakeOtherPicture<TypeParam>();
        shr::MemoryArchive archive(whole);
        testkit::TestProgress progress(report);
        const bool done = Load(bitmap, archive, &progress);
        EXPECT_EQ(progress.openTasks, 0);
        if (done) {
            EXPECT_TRUE(IsSamePicture(bitmap, picture));
            break;
        }
        EXPECT_TRUE(IsOnePixel(bitmap));
        EXPECT_EQ(ReductionsOf(bitmap), 0u);
        EXPECT_TRUE(IsStaleOrPlain(bitmap));
        EXPECT_TRUE(IsUsable(bitmap));
    }
    EXPECT_EQ(report - 1, ReductionsOf(picture) == 0 ? 4 : 6);
}

/// Throws what is no cancelling, at the n-th call of the kind to try.
class FailingProgress : public shr::IProgress {
public:
    enum class Call { start, end, report };
    FailingProgress(Call call, int number) : failing(call), left(number) {}

    void StartTask(const shr::ZString&, int, int) override {
        FailAt(Call::start);
        ++openTasks;
    }
    void EndTask() override {
        --openTasks;
        FailAt(Call::end);
    }
    void SetProgress(double) override { FailAt(Call::report); }

    int openTasks = 0;
    bool hasFailed = false;

private:
    void FailAt(Call call) {
        if (call != failing || --left != 0) return;
        hasFailed = true;
        throw std::range_error("the progress bar fell off");
    }
    Call failing;
    int left;
};

template <class Act>
bool PassesTheErrorOn(Act act) {
    try {
        act();
    } catch (const std::range_error& error) { return std::string(error.what()) == "the progress bar fell off"; }
    return false;
}

TYPED_TEST(CancelledArchive, ByAProgressTargetThatFailsPassesTheErrorOn) {
    TypeParam picture = MakeTallPicture<TypeParam>();
    const Bytes whole = Stored(picture, zcdl::CodecMethod::fast);
    for (const auto call : {FailingProgress::Call::start, FailingProgress::Call::report})
        for (int number = 1;; ++number) {
            SCOPED_TRACE(number);
            FailingProgress whileStoring(call, number), whileLoading(call, number);
            shr::MemoryArchive stored, loaded(whole);
            zbm::SerializeIO io(stored, true, zcdl::CodecMethod::fast);
            const bool storing = PassesTheErrorOn([&] { return picture.Serialize(io, &whileStoring, nullptr); });
            EXPECT_EQ(storing, whileStoring.hasFailed);
            EXPECT_EQ(whileStoring.openTasks, 0);
            EXPECT_TRUE(IsSamePicture(picture, MakeTallPicture<TypeParam>()));

            TypeParam bitmap = MakeOtherPicture<TypeParam>();
            const bool loading = PassesTheErrorOn([&] { Load(bitmap, loaded, &whileLoading); });
            EXPECT_EQ(loading, whileLoading.hasFailed);
            EXPECT_EQ(whileLoading.openTasks, 0);
            if (!loading) {
                EXPECT_TRUE(IsSamePicture(bitmap, picture));
                EXPECT_GT(number, 1);
                break;
            }
            EXPECT_TRUE(IsEmpty(bitmap));
            EXPECT_EQ(ReductionsOf(bitmap), 0u);
            EXPECT_TRUE(IsUsable(bitmap));
            if (this->HasFailure()) break;
        }
}

TYPED_TEST(CancelledArchive, ByNoMeansWhenOnlyTheEndOfATaskFails) {
    TypeParam picture = MakeTallPicture<TypeParam>();
    const Bytes whole = Stored(picture, zcdl::CodecMethod::fast);
    int lines = 0;
    auto sinkBefore = shr::g_Logger.SetSink([&](int level, const shr::ZString&) { lines += level == 4 ? 1 : 0; });
    FailingProgress progress(FailingProgress::Call::end, 1);
    TypeParam bitmap = MakeOtherPicture<TypeParam>();
    shr::MemoryArchive archive(whole);
    EXPECT_TRUE(Load(bitmap, archive, &progress));
    shr::g_Logger.SetSink(std::move(sinkBefore));
    EXPECT_TRUE(progress.hasFailed);
    EXPECT_EQ(lines, 1);
    EXPECT_TRUE(IsSamePicture(bitmap, picture));
}

}  // namespace
}  // namespace faults
