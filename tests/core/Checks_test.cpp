// The lines by which callers know errors, written out by hand, and docs/errors.md, which lists them all.
#include "core/Checks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "core/checks/BasicMemBitmapChecks.h"
#include "core/checks/BitmapCFileStoreChecks.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/CachedBitmapChecks.h"
#include "core/checks/ColorFormatChecks.h"
#include "core/checks/ColorTableMatcherChecks.h"
#include "core/checks/DummyBitmapChecks.h"
#include "core/checks/FileBitmapChecks.h"
#include "core/checks/IndexedColorsChecks.h"
#include "core/checks/MemBitmapChecks.h"
#include "core/checks/POTCFileBitmapChecks.h"
#include "core/checks/PixFilterPipelineChecks.h"
#include "core/checks/PixelRectChecks.h"
#include "core/checks/RunFiltersChecks.h"
#include "core/checks/ScanRectChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "zbm/ZBasicMemBitmap.h"

namespace zbm {
namespace {

constexpr int kFirstOwnLine = 9000;

const CheckList* const kAllLists[] = {
    &ListOf(BasicMemBitmapCheck{}),     &ListOf(BitmapCheck{}),         &ListOf(ColorFormatCheck{}),
    &ListOf(ColorTableMatcherCheck{}),  &ListOf(MemBitmapCheck{}),      &ListOf(PixFilterPipelineCheck{}),
    &ListOf(PixelRectCheck{}),          &ListOf(ScanRectCheck{}),       &ListOf(DummyBitmapCheck{}),
    &ListOf(RunFiltersCheck{}),         &ListOf(FileBitmapCheck{}),     &ListOf(BitmapCFileStoreCheck{}),
    &ListOf(ScanRectFileBitmapCheck{}), &ListOf(POTCFileBitmapCheck{}), &ListOf(CachedBitmapCheck{}),
    &ListOf(IndexedColorsCheck{}),
};

struct Promised {
    Check check;
    const char* source;
    int line;
    Raises raises = Raises::internalError;
};
const Promised kPromised[] = {
    {BitmapCheck::formatIsSetOnce, "zbmbitmap", 120},
    {BitmapCheck::formatRange, "zbmbitmap", 122},
    {BitmapCheck::colorCount, "zbmbitmap", 156},
    {BitmapCheck::colorTable, "zbmbitmap", 186},
    {BitmapCheck::colorIndex, "zbmbitmap", 190},
    {BitmapCheck::dibCorners, "zbmbitmap", 220},
    {BitmapCheck::dibWidth, "zbmbitmap", 222},
    {BitmapCheck::dibHeight, "zbmbitmap", 223},
    {BitmapCheck::dibFormat, "zbmbitmap", 491},
    {BitmapCheck::fetchedCorners, "zbmbitmap", 519},
    {BitmapCheck::fetchedWidth, "zbmbitmap", 521},
    {BitmapCheck::fetchedHeight, "zbmbitmap", 522},
    {BitmapCheck::fetchedPart, "zbmbitmap", 558},
    {BitmapCheck::storedPart, "zbmbitmap", 644},
    {BitmapCheck::alphaFetchedPart, "zbmbitmap", 723},
    {BitmapCheck::alphaStoredPart, "zbmbitmap", 814},
    {BitmapCheck::pixelSize, "zbmbitmap", 878},
    {BitmapCheck::tileSize, "zbmbitmap", 879},
    {BitmapCheck::brightnessRange, "zbmbitmap", 1111},
    {BitmapCheck::contrastRange, "zbmbitmap", 1140},
    {BitmapCheck::saturationRange, "zbmbitmap", 1169},
    {BitmapCheck::sharpeningRange, "zbmbitmap", 1337},
    {BitmapCheck::quantMethod, "zbmbitmap", 1430},
    {BitmapCheck::legacyWhenStoring, "zbmbitmap", 1463},
    {BitmapCheck::formatInfoVersion, "zbmbitmap", 1496, Raises::readArchive},
    {ScanRectCheck::dibWidth, "ZBMScanRect", 67},
    {ScanRectCheck::dibHeight, "ZBMScanRect", 68},
    {ScanRectCheck::dibDepth, "ZBMScanRect", 333},
    {ScanRectCheck::size, "ZBMScanRect", 342},
    {ScanRectCheck::formatRange, "ZBMScanRect", 343},
    {ScanRectCheck::recordVersion, "ZBMScanRect", 512, Raises::readArchive},
    {ScanRectCheck::contentsFormat, "ZBMScanRect", 813},
    {BasicMemBitmapCheck::size, "ZBMBasicMemBitmap", 60},
    {BasicMemBitmapCheck::tileSize, "ZBMBasicMemBitmap", 61},
    {BasicMemBitmapCheck::dibHeader, "ZBMBasicMemBitmap", 196},
    {BasicMemBitmapCheck::dibCreation, "ZBMBasicMemBitmap", 198},
    {BasicMemBitmapCheck::convertedSelf, "ZBMBasicMemBitmap", 401},
    {BasicMemBitmapCheck::convertedFormat, "ZBMBasicMemBitmap", 402},
    {BasicMemBitmapCheck::resizedSelf, "ZBMBasicMemBitmap", 477},
    {BasicMemBitmapCheck::resizedLeft, "ZBMBasicMemBitmap", 479},
    {BasicMemBitmapCheck::resizedRight, "ZBMBasicMemBitmap", 480},
    {BasicMemBitmapCheck::resizedTop, "ZBMBasicMemBitmap", 481},
    {BasicMemBitmapCheck::resizedBottom, "ZBMBasicMemBitmap", 482},
    {BasicMemBitmapCheck::resizedWidth, "ZBMBasicMemBitmap", 484},
    {BasicMemBitmapCheck::resizedHeight, "ZBMBasicMemBitmap", 485},
    {BasicMemBitmapCheck::resizeMethod, "ZBMBasicMemBitmap", 633},
    {BasicMemBitmapCheck::legacy, "ZBMBasicMemBitmap", 770},
    {BasicMemBitmapCheck::recordVersion, "ZBMBasicMemBitmap", 818, Raises::readArchive},
    {BasicMemBitmapCheck::firstInputRow, "ZBMBasicMemBitmap", 949},
    {BasicMemBitmapCheck::inputRow, "ZBMBasicMemBitmap", 1237},
    {BasicMemBitmapCheck::outputRow, "ZBMBasicMemBitmap", 1299},
    {MemBitmapCheck::legacy, "ZBMMemBitmap", 323},
    {MemBitmapCheck::recordVersion, "ZBMMemBitmap", 364, Raises::readArchive},
    {PixelRectCheck::fetchedBitmap, "ZBMPixelRect", 160},
    {PixelRectCheck::fetchedTable, "ZBMPixelRect", 161},
    {PixelRectCheck::committedBitmap, "ZBMPixelRect", 200},
    {PixelRectCheck::committedColors, "ZBMPixelRect", 221},
    {PixelRectCheck::formatRange, "ZBMPixelRect", 270},
    {PixelRectCheck::colorIndex, "ZBMPixelRect", 310},
    {PixelRectCheck::regionLeft, "ZBMPixelRect", 393},
    {PixelRectCheck::regionRight, "ZBMPixelRect", 394},
    {PixelRectCheck::regionTop, "ZBMPixelRect", 395},
    {PixelRectCheck::regionBottom, "ZBMPixelRect", 396},
    {PixelRectCheck::regionWidth, "ZBMPixelRect", 398},
    {PixelRectCheck::regionHeight, "ZBMPixelRect", 399},
    {PixFilterPipelineCheck::filter, "ZBMPixFilterPipeline", 76},
    {PixFilterPipelineCheck::function, "ZBMPixFilterPipeline", 77},
    {PixFilterPipelineCheck::bitmap, "ZBMPixFilterPipeline", 78},
    {PixFilterPipelineCheck::filterType, "ZBMPixFilterPipeline", 139},
    {PixFilterPipelineCheck::stages, "ZBMPixFilterPipeline", 165},
    {PixFilterPipelineCheck::filterStart, "ZBMPixFilterPipeline", 218, Raises::memoryShort},
    {ColorFormatCheck::colorTable, "ZBMColorFormat", 43},
    {BitmapCFileStoreCheck::baseOffset, "ZBMBitmapCFileStore", 317},
    {BitmapCFileStoreCheck::blankStore, "ZBMBitmapCFileStore", 322},
    {BitmapCFileStoreCheck::badFile, "ZBMBitmapCFileStore", 353, Raises::badFile},
    {BitmapCFileStoreCheck::dibHeader, "ZBMBitmapCFileStore", 506},
    {BitmapCFileStoreCheck::dibBits, "ZBMBitmapCFileStore", 508},
    {BitmapCFileStoreCheck::dibIntoReadOnly, "ZBMBitmapCFileStore", 509},
    {BitmapCFileStoreCheck::dibColors, "ZBMBitmapCFileStore", 571},
    {BitmapCFileStoreCheck::skeletonOfReadOnly, "ZBMBitmapCFileStore", 754},
    {BitmapCFileStoreCheck::headerOfReadOnly, "ZBMBitmapCFileStore", 829},
    {BitmapCFileStoreCheck::tableOfReadOnly, "ZBMBitmapCFileStore", 841},
    {BitmapCFileStoreCheck::colorCount, "ZBMBitmapCFileStore", 872},
    {BitmapCFileStoreCheck::colorTable, "ZBMBitmapCFileStore", 906},
    {BitmapCFileStoreCheck::colorIndex, "ZBMBitmapCFileStore", 910},
    {BitmapCFileStoreCheck::formatRange, "ZBMBitmapCFileStore", 920},
    {BitmapCFileStoreCheck::readBlank, "ZBMBitmapCFileStore", 978},
    {BitmapCFileStoreCheck::writable, "ZBMBitmapCFileStore", 1010},
    {BitmapCFileStoreCheck::legacy, "ZBMBitmapCFileStore", 1047},
    {BitmapCFileStoreCheck::recordVersion, "ZBMBitmapCFileStore", 1143, Raises::readArchive},
    {FileBitmapCheck::newTempFolder, "ZBMFileBitmap", 49, Raises::fileFind},
    {FileBitmapCheck::tempFolder, "ZBMFileBitmap", 62, Raises::fileFind},
    {FileBitmapCheck::lockClosed, "ZBMFileBitmap", 236},
    {FileBitmapCheck::lockLocked, "ZBMFileBitmap", 252},
    {FileBitmapCheck::unlockClosed, "ZBMFileBitmap", 291},
    {FileBitmapCheck::unlockUnlocked, "ZBMFileBitmap", 305},
    {FileBitmapCheck::commitClosed, "ZBMFileBitmap", 320},
    {FileBitmapCheck::commitUnlocked, "ZBMFileBitmap", 334},
    {FileBitmapCheck::commitReadOnly, "ZBMFileBitmap", 341, Raises::fileReadOnly},
    {FileBitmapCheck::firstInputRow, "ZBMFileBitmap", 413},
    {FileBitmapCheck::inputRow, "ZBMFileBitmap", 727},
    {FileBitmapCheck::outputRow, "ZBMFileBitmap", 816},
    {ScanRectFileBitmapCheck::tempFile, "ZBMScanRectFileBitmap", 175, Raises::tempFileCreate},
    {ScanRectFileBitmapCheck::openedFile, "ZBMScanRectFileBitmap", 210, Raises::fileOpen},
    {ScanRectFileBitmapCheck::badFile, "ZBMScanRectFileBitmap", 228, Raises::badFile},
    {ScanRectFileBitmapCheck::openedLevelCount, "ZBMScanRectFileBitmap", 247},
    {ScanRectFileBitmapCheck::createdSize, "ZBMScanRectFileBitmap", 328},
    {ScanRectFileBitmapCheck::createdLevelCount, "ZBMScanRectFileBitmap", 351},
    {ScanRectFileBitmapCheck::dibHeader, "ZBMScanRectFileBitmap", 398},
    {ScanRectFileBitmapCheck::dibBits, "ZBMScanRectFileBitmap", 400},
    {ScanRectFileBitmapCheck::dibLevelCount, "ZBMScanRectFileBitmap", 431},
    {ScanRectFileBitmapCheck::copied, "ZBMScanRectFileBitmap", 490},
    {ScanRectFileBitmapCheck::convertedSelf, "ZBMScanRectFileBitmap", 516},
    {ScanRectFileBitmapCheck::convertedFormat, "ZBMScanRectFileBitmap", 517},
    {ScanRectFileBitmapCheck::convertedLevelCount, "ZBMScanRectFileBitmap", 581},
    {ScanRectFileBitmapCheck::resizedSelf, "ZBMScanRectFileBitmap", 608},
    {ScanRectFileBitmapCheck::resizedLeft, "ZBMScanRectFileBitmap", 610},
    {ScanRectFileBitmapCheck::resizedRight, "ZBMScanRectFileBitmap", 611},
    {ScanRectFileBitmapCheck::resizedTop, "ZBMScanRectFileBitmap", 612},
    {ScanRectFileBitmapCheck::resizedBottom, "ZBMScanRectFileBitmap", 613},
    {ScanRectFileBitmapCheck::resizedWidth, "ZBMScanRectFileBitmap", 615},
    {ScanRectFileBitmapCheck::resizedHeight, "ZBMScanRectFileBitmap", 616},
    {ScanRectFileBitmapCheck::resizeMethod, "ZBMScanRectFileBitmap", 764},
    {ScanRectFileBitmapCheck::emptySize, "ZBMScanRectFileBitmap", 805},
    {ScanRectFileBitmapCheck::createdFile, "ZBMScanRectFileBitmap", 869, Raises::fileCreate},
    {ScanRectFileBitmapCheck::deletedFile, "ZBMScanRectFileBitmap", 950, Raises::fileDelete},
    {ScanRectFileBitmapCheck::closedFile, "ZBMScanRectFileBitmap", 990},
    {ScanRectFileBitmapCheck::builtLevelCount, "ZBMScanRectFileBitmap", 1070},
    {ScanRectFileBitmapCheck::nextSlot, "ZBMScanRectFileBitmap", 1131},
    {ScanRectFileBitmapCheck::mostLevels, "ZBMScanRectFileBitmap", 1143},
    {ScanRectFileBitmapCheck::legacy, "ZBMScanRectFileBitmap", 1261},
    {ScanRectFileBitmapCheck::recordVersion, "ZBMScanRectFileBitmap", 1314, Raises::readArchive},
    {ScanRectFileBitmapCheck::infoTableWritable, "ZBMScanRectFileBitmap", 1438},
    {ScanRectFileBitmapCheck::resolutionClosed, "ZBMScanRectFileBitmap", 1483},
    {ScanRectFileBitmapCheck::resolutionReadOnly, "ZBMScanRectFileBitmap", 1484},
    {ScanRectFileBitmapCheck::readClosed, "ZBMScanRectFileBitmap", 1524},
    {ScanRectFileBitmapCheck::writeClosed, "ZBMScanRectFileBitmap", 1536},
    {POTCFileBitmapCheck::open, "ZBMPOTCFileBitmap", 99},
    {POTCFileBitmapCheck::createPlain, "ZBMPOTCFileBitmap", 112},
    {POTCFileBitmapCheck::createFromPackedDib, "ZBMPOTCFileBitmap", 124},
    {POTCFileBitmapCheck::createFromDib, "ZBMPOTCFileBitmap", 137},
    {POTCFileBitmapCheck::createCopy, "ZBMPOTCFileBitmap", 149},
    {POTCFileBitmapCheck::createdSelf, "ZBMPOTCFileBitmap", 162},
    {POTCFileBitmapCheck::createdName, "ZBMPOTCFileBitmap", 163},
    {CachedBitmapCheck::legacy, "ZBMCachedBitmap", 241},
    {POTCFileBitmapCheck::legacy, "ZBMPOTCFileBitmap", 204},
    {POTCFileBitmapCheck::recordVersion, "ZBMPOTCFileBitmap", 224, Raises::readArchive},
    {POTCFileBitmapCheck::reduction, "ZBMPOTCFileBitmap", 264},
    {POTCFileBitmapCheck::filledSelf, "ZBMPOTCFileBitmap", 275},
    {POTCFileBitmapCheck::filledLeft, "ZBMPOTCFileBitmap", 277},
    {POTCFileBitmapCheck::filledRight, "ZBMPOTCFileBitmap", 278},
    {POTCFileBitmapCheck::filledTop, "ZBMPOTCFileBitmap", 279},
    {POTCFileBitmapCheck::filledBottom, "ZBMPOTCFileBitmap", 280},
    {POTCFileBitmapCheck::filledWidth, "ZBMPOTCFileBitmap", 282},
    {POTCFileBitmapCheck::filledHeight, "ZBMPOTCFileBitmap", 283},
    {POTCFileBitmapCheck::resizeMethod, "ZBMPOTCFileBitmap", 415},
    {POTCFileBitmapCheck::xResolution, "ZBMPOTCFileBitmap", 520},
    {POTCFileBitmapCheck::yResolution, "ZBMPOTCFileBitmap", 533},
    {POTCFileBitmapCheck::readClosed, "ZBMPOTCFileBitmap", 549},
    {POTCFileBitmapCheck::writeClosed, "ZBMPOTCFileBitmap", 559},
};

TEST(Checks, StandAtTheLinesThatCallersKnow) {
    for (const Promised& promised : kPromised) {
        EXPECT_STREQ(promised.check.Source(), promised.source) << promised.line;
        EXPECT_EQ(promised.check.Line(), promised.line) << promised.source;
        EXPECT_EQ(promised.check.Row().raises, promised.raises) << promised.source << ' ' << promised.line;
    }
}

TEST(Checks, CountFrom9000WhereCallersWereNotPromisedALine) {
    for (const CheckList* list : kAllLists) {
        int next = kFirstOwnLine;
        for (const CheckRow& row : list->rows) {
            const bool isPromised = std::ranges::any_of(kPromised, [&](const Promised& promised) {
                return promised.line == row.line && std::string(promised.source) == list->source;
            });
            if (!isPromised) { EXPECT_EQ(row.line, next++) << list->source; }
        }
    }
}

// A row without text, or one whose line another has, does not compile.
constexpr CheckRow kWithoutText[] = {{7, Raises::internalError, "a"}, {8, Raises::internalError, ""}};
constexpr CheckRow kTwice[] = {{7, Raises::internalError, "a"}, {7, Raises::internalError, "b"}};
static_assert(!IsInOrder(kWithoutText) && !IsInOrder(kTwice));

TEST(Checks, SayWhatMustHoldAndWhere) {
    try {
        const bool done = ZBasicMemBitmap(1, 1, shr::BGRA_32).ChangeBrightness(7, nullptr);
        FAIL() << "it answers " << done;
    } catch (const shr::InternalError& error) {
        EXPECT_STREQ(error.what(), "brightness must be from -1 to 1 (zbmbitmap, line 1111)");
        EXPECT_TRUE(error.GetMessageText().IsEmpty());
        EXPECT_EQ(error.GetModule(), L"ZBMLib2");
    }
}

// ---- docs/errors.md

const std::filesystem::path kRoot = std::filesystem::path(ZBM_TEST_DATA).parent_path().parent_path();

const char* NameOf(Raises raises) {
    switch (raises) {
        case Raises::internalError: return "internal error";
        case Raises::readArchive: return "`Throw_ERR_ZBM_READ_ARCHIVE`";
        case Raises::writeArchive: return "`Throw_ERR_ZBM_WRITE_ARCHIVE`";
        case Raises::unsupportedDib: return "`Throw_ERR_ZBM_UNSUPPORTED_DIB_FORMAT`";
        case Raises::memoryShort: return "`Throw_ERR_SHR_NOGLOBALMEM`";
        case Raises::badFile: return "`Throw_ERR_SHR_BADFILE`";
        case Raises::fileFind: return "`Throw_ERR_SHR_FILE_FIND`";
        case Raises::fileReadOnly: return "`Throw_ERR_SHR_FILE_READ_ONLY`";
        case Raises::fileOpen: return "`Throw_ERR_SHR_FILE_OPEN`";
        case Raises::fileCreate: return "`Throw_ERR_SHR_FILE_CREATE`";
        case Raises::fileDelete: return "`Throw_ERR_SHR_FILE_DELETE`";
        case Raises::tempFileCreate: return "`Throw_ERR_SHR_TEMPFILE_CREATE`";
    }
    return "";
}

using Lines = std::multiset<std::string>;

/// The rows of the document's tables, each with the source under whose heading it stands.
Lines DocumentedChecks() {
    std::ifstream file(kRoot / "docs" / "errors.md");
    Lines rows;
    std::string line, source;
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.starts_with("## ")) source = line.substr(3);
        if (line.starts_with("| ") && line[2] >= '0' && line[2] <= '9') rows.insert(source + ' ' + line);
    }
    return rows;
}

Lines ListedChecks() {
    Lines rows;
    for (const CheckList* list : kAllLists)
        for (const CheckRow& row : list->rows) {
            std::ostringstream line;
            line << '`' << list->source << "` | " << row.line << " | " << NameOf(row.raises) << " | " << row.text
                 << " |";
            rows.insert(line.str());
        }
    return rows;
}

TEST(Checks, AreAllInTheDocumentAndNoOthers) {
    const Lines documented = DocumentedChecks(), listed = ListedChecks();
    for (const std::string& row : listed) EXPECT_TRUE(documented.contains(row)) << "docs/errors.md lacks " << row;
    for (const std::string& row : documented) EXPECT_TRUE(listed.contains(row)) << "no check is " << row;
    EXPECT_EQ(documented.size(), listed.size());
}

TEST(Checks, OfEverySourceAreKnownHere) {
    std::size_t headers = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kRoot / "src" / "core" / "checks"))
        if (entry.path().extension() == ".h") ++headers;
    EXPECT_EQ(std::size(kAllLists), headers);
}

}  // namespace
}  // namespace zbm
