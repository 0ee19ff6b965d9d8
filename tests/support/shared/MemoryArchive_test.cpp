#include <gtest/gtest.h>

#include "shr/Archive.h"
#include "shr/Exception.h"

namespace shr {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(MemoryArchive, AppendsJustTheBytesThatAreWritten) {
    MemoryArchive archive;
    EXPECT_TRUE(archive.IsStoring());
    archive.Write("ab", 2);
    archive.Write(nullptr, 0);
    archive.Write("cde", 3);
    EXPECT_EQ(archive.Bytes(), (Bytes{'a', 'b', 'c', 'd', 'e'}));
    EXPECT_EQ(archive.RemainingBytes(), 0u);
}

TEST(MemoryArchive, ReadsInOrderAndTellsWhatIsLeft) {
    MemoryArchive archive(Bytes{1, 2, 3, 4, 5});
    EXPECT_FALSE(archive.IsStoring());
    EXPECT_EQ(archive.RemainingBytes(), 5u);
    Bytes read(4, 0xEE);
    archive.Read(read.data(), 3);
    EXPECT_EQ(read, (Bytes{1, 2, 3, 0xEE}));
    EXPECT_EQ(archive.Position(), 3u);
    EXPECT_EQ(archive.RemainingBytes(), 2u);
    archive.Read(nullptr, 0);
    archive.Read(read.data(), 2);
    EXPECT_EQ(read, (Bytes{4, 5, 3, 0xEE}));
    EXPECT_EQ(archive.RemainingBytes(), 0u);
}

TEST(MemoryArchive, ReadsNothingWhenItCannotReadAll) {
    MemoryArchive archive(Bytes{1, 2, 3});
    Bytes read(8, 0xEE);
    archive.Read(read.data(), 1);
    for (const unsigned tooMany : {3u, 8u, 0xFFFFFFFFu}) {
        EXPECT_THROW(archive.Read(read.data() + 1, tooMany), Exception);
        EXPECT_EQ(archive.Position(), 1u);
    }
    EXPECT_EQ(read, (Bytes{1, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    archive.Read(read.data() + 1, 2);
    EXPECT_EQ(read[2], 3);
}

TEST(MemoryArchive, SaysWhyItCannotRead) {
    MemoryArchive archive{Bytes()};
    std::uint8_t byte = 0;
    try {
        archive.Read(&byte, 1);
        FAIL();
    } catch (const Exception& error) {
        EXPECT_EQ(error.GetMessageText(),
                  ZString(L"Cannot read from the file \"archive in memory\": Unexpected end of data"));
        EXPECT_EQ(error.GetModule(), ZString(L"Shared"));
        EXPECT_EQ(error.GetSourceFile(), ZString(L"MemoryArchive"));
    }
}

TEST(MemoryArchive, RefusesTheOtherDirection) {
    std::uint8_t byte = 0;
    MemoryArchive storing, loading(Bytes{1});
    EXPECT_THROW(storing.Read(&byte, 1), InternalError);
    EXPECT_THROW(loading.Write(&byte, 1), InternalError);
    EXPECT_EQ(loading.Bytes(), Bytes{1});
}

TEST(MemoryArchive, IsItsOwnExtent) {
    MemoryArchive archive(Bytes{1, 2});
    ISerializeExtent& extent = archive;
    EXPECT_EQ(extent.RemainingBytes(), 2u);
}

}  // namespace
}  // namespace shr
