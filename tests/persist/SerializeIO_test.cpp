#include "zbm/SerializeIO.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "shr/Archive.h"
#include "support_code/ArchiveBytes.h"

namespace {

using testkit::ArchiveFailure;
using testkit::ArchiveReader;
using testkit::ArchiveWriter;
using testkit::Bytes;
using testkit::PlainArchive;
using zbm::SerializeIO;
using zcdl::CodecMethod;

constexpr CodecMethod kMethods[] = {CodecMethod::stored, CodecMethod::fast, CodecMethod::balanced, CodecMethod::small};

Bytes SomeBytes(std::size_t size, unsigned seed = 1) {
    Bytes bytes;
    for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(seed * i + i / 50));
    return bytes;
}

void Write(SerializeIO& io, const Bytes& data) { io.WriteCompressed(data.data(), static_cast<unsigned>(data.size())); }

Bytes Read(SerializeIO& io, std::size_t size) {
    Bytes data(size, 0xCC);
    io.ReadCompressed(data.data(), static_cast<unsigned>(size));
    return data;
}

TEST(SerializeIO, AnswersForItsArchiveAndItsOption) {
    PlainArchive storing, loading{Bytes{}};
    SerializeIO out(storing, true, CodecMethod::fast), in(loading, false, CodecMethod::fast);
    EXPECT_TRUE(out.IsStoring());
    EXPECT_FALSE(in.IsStoring());
    EXPECT_TRUE(out.StoringPOTReductions());
    EXPECT_FALSE(in.StoringPOTReductions());
    EXPECT_EQ(&out.GetInterface(), &storing);
    EXPECT_EQ(&in.GetInterface(), &loading);
}

TEST(SerializeIO, MovesVersionsAsTwoBytesWithTheLowOneFirst) {
    PlainArchive storing;
    SerializeIO out(storing, false);
    out.WriteObjVersion(1);
    out.WriteObjVersion(0x1234);
    out.WriteObjVersion(0xFFFF);
    EXPECT_EQ(storing.bytes, (Bytes{1, 0, 0x34, 0x12, 0xFF, 0xFF}));

    PlainArchive loading(storing.bytes);
    SerializeIO in(loading, false);
    EXPECT_EQ(in.ReadObjVersion(), 1u);
    EXPECT_EQ(loading.position, 2u);
    EXPECT_EQ(in.ReadObjVersion(), 0x1234u);
    EXPECT_EQ(in.ReadObjVersion(), 0xFFFFu);
    EXPECT_EQ(loading.sizes, (std::vector<unsigned>{2, 2, 2}));
}

TEST(SerializeIO, AddsNothingToRawBytes) {
    PlainArchive storing;
    SerializeIO out(storing, false);
    const Bytes data = {9, 8, 7, 6};
    out.Write(data.data(), 4);
    EXPECT_EQ(storing.bytes, data);

    PlainArchive loading(Bytes{1, 2, 3, 4, 5});
    SerializeIO in(loading, false);
    Bytes back(4);
    in.Read(back.data(), 4);
    EXPECT_EQ(back, (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(loading.position, 4u);
}

TEST(CompressedBlock, IsItsEncodedLengthAndThatManyBytes) {
    const Bytes data = SomeBytes(3000, 3);
    for (const CodecMethod method : kMethods) {
        PlainArchive storing;
        SerializeIO out(storing, false, method);
        Write(out, data);
        EXPECT_EQ(storing.bytes, ArchiveWriter().Block(data, method).Take());
        ArchiveReader reader(storing.bytes);
        EXPECT_EQ(reader.Block(3000), data);
        EXPECT_TRUE(reader.AtEnd());
    }
}

TEST(CompressedBlock, IsReadAsALengthAndThatManyBytes) {
    const Bytes data = SomeBytes(3000, 3), encoded = testkit::Encode(data, CodecMethod::balanced);
    PlainArchive loading(ArchiveWriter().Framed(encoded).Take());
    SerializeIO in(loading, false);
    EXPECT_EQ(Read(in, 3000), data);
    EXPECT_EQ(loading.sizes, (std::vector<unsigned>{4, static_cast<unsigned>(encoded.size())}));
}

TEST(CompressedBlock, OfEveryMethodIsReadByEveryStream) {
    for (const std::size_t size : {1u, 2u, 3u, 4u, 63u, 64u, 65u, 1000u, 70000u})
        for (const CodecMethod written : kMethods)
            for (const CodecMethod read : kMethods) {
                const Bytes data = SomeBytes(size, 7);
                PlainArchive storing;
                SerializeIO out(storing, false, written);
                Write(out, data);
                PlainArchive loading(storing.bytes);
                SerializeIO in(loading, false, read);
                ASSERT_EQ(Read(in, size), data);
                ASSERT_EQ(loading.position, loading.bytes.size());
            }
}

TEST(CompressedBlock, OfNoBytesIsFramedToo) {
    for (const CodecMethod method : kMethods) {
        PlainArchive storing;
        SerializeIO out(storing, false, method);
        out.WriteCompressed(nullptr, 0);
        ASSERT_GE(storing.bytes.size(), 4u);
        EXPECT_EQ(ArchiveReader(storing.bytes).U32(), storing.bytes.size() - 4);
        PlainArchive loading(storing.bytes);
        SerializeIO in(loading, false);
        std::uint8_t untouched = 0xCC;
        in.ReadCompressed(&untouched, 0);
        EXPECT_EQ(loading.position, loading.bytes.size());
        EXPECT_EQ(untouched, 0xCC);
    }
}

TEST(CompressedBlock, StandsForItself) {
    const Bytes first = SomeBytes(500, 3), second = SomeBytes(900, 11);
    PlainArchive storing;
    SerializeIO out(storing, false);
    Write(out, first);
    const std::size_t split = storing.bytes.size();
    Write(out, second);
    Write(out, first);
    // The same bytes give the same block whatever came before.
    EXPECT_EQ(Bytes(storing.bytes.end() - static_cast<std::ptrdiff_t>(split), storing.bytes.end()),
              Bytes(storing.bytes.begin(), storing.bytes.begin() + static_cast<std::ptrdiff_t>(split)));
    PlainArchive loading(storing.bytes);
    SerializeIO in(loading, false);
    EXPECT_EQ(Read(in, 500), first);
    EXPECT_EQ(Read(in, 900), second);
    EXPECT_EQ(Read(in, 500), first);
}

TEST(CompressedBlock, ThatIsDamagedIsNotReportedAndTheNextOneIsRead) {
    const Bytes data = SomeBytes(400, 5), encoded = testkit::Encode(data, CodecMethod::balanced);
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        Bytes damaged = encoded;
        damaged[i] ^= 0x55;
        PlainArchive loading(ArchiveWriter().Framed(damaged).Block(data).Take());
        SerializeIO in(loading, false);
        ASSERT_NO_THROW(Read(in, 400));
        ASSERT_EQ(Read(in, 400), data);
    }
}

TEST(CompressedBlock, OfAnotherSizeLeavesNothingOfTheBufferAndStaysInStep) {
    const Bytes data(400, 0x11);
    for (const CodecMethod method : kMethods)
        for (const std::size_t size : {1u, 399u, 401u, 5000u}) {
            PlainArchive loading(ArchiveWriter().Block(data, method).U16(77).Take());
            SerializeIO in(loading, false);
            const Bytes read = Read(in, size);
            ASSERT_TRUE(std::all_of(read.begin(), read.end(), [](auto byte) { return byte == 0x11 || byte == 0; }));
            ASSERT_EQ(in.ReadObjVersion(), 77u);
        }
}

TEST(CompressedBlock, OfNoEncodedBytesReadsAsZeroes) {
    PlainArchive loading(ArchiveWriter().U32(0).U16(77).Take());
    SerializeIO in(loading, false);
    EXPECT_EQ(Read(in, 100), Bytes(100, 0));
    EXPECT_EQ(in.ReadObjVersion(), 77u);
}

TEST(CompressedBlock, LongerThanAnyEncoderMakesItIsDrainedAndReadsAsZeroes) {
    const auto bound = static_cast<std::size_t>(zcdl::MaxEncodedSize(100));
    for (const std::size_t tooLong : {bound + 1, bound + 1000, std::size_t{300'000}}) {
        PlainArchive loading(ArchiveWriter().Framed(Bytes(tooLong, 0xEE)).Block(SomeBytes(100)).Take());
        SerializeIO in(loading, false);
        EXPECT_EQ(Read(in, 100), Bytes(100, 0));
        EXPECT_EQ(Read(in, 100), SomeBytes(100)) << "the next block is in step";
        for (const unsigned size : loading.sizes) EXPECT_LE(size, 65536u) << "in small pieces";
    }
}

constexpr unsigned kPiece = 4 << 20;  // the room that a claim alone gets

TEST(CompressedBlock, ThatIsLongComesInPiecesWhereTheArchiveDoesNotTellItsLength) {
    for (const std::size_t size : {kPiece - 5u, kPiece - 4u, 3 * kPiece, 9 * kPiece + 1}) {
        const Bytes data = SomeBytes(size, 3);
        PlainArchive loading(ArchiveWriter().Block(data).U16(77).Take());
        SerializeIO in(loading, false);
        ASSERT_TRUE(Read(in, size) == data) << size;
        EXPECT_EQ(in.DamagedBlocks(), 0u);
        EXPECT_EQ(in.ReadObjVersion(), 77u);
        unsigned come = 0;
        for (std::size_t i = 1; i + 1 < loading.sizes.size(); come += loading.sizes[i++])
            EXPECT_LE(loading.sizes[i], std::max(come, kPiece)) << "no more than has come";
        EXPECT_EQ(come, size + 5);
    }
}

TEST(CompressedBlock, ThatIsLongIsReadAtOnceWhereTheArchiveHoldsIt) {
    const Bytes data = SomeBytes(3 * kPiece, 3);
    PlainArchive loading(ArchiveWriter().Block(data).Take());
    struct Rest : shr::ISerializeExtent {
        std::uint64_t RemainingBytes() override { return 3 * kPiece + 5; }
    } rest;
    SerializeIO in(loading, false);
    in.SetExtent(&rest);
    EXPECT_TRUE(Read(in, data.size()) == data);
    EXPECT_EQ(loading.sizes, (std::vector<unsigned>{4, 3 * kPiece + 5}));
}

TEST(CompressedBlock, ThatClaimsFourGigabytesEndsWithTheArchivesError) {
    PlainArchive loading(ArchiveWriter().U32(0xFFFFFFFF).Raw(Bytes(5000, 1)).Take());
    SerializeIO in(loading, false);
    EXPECT_THROW(Read(in, 100), ArchiveFailure);
    for (const unsigned size : loading.sizes) EXPECT_LE(size, 65536u);
}

TEST(SerializeIO, PassesOnTheArchivesErrors) {
    const Bytes data(10);
    PlainArchive storing;
    storing.failAtAccess = 1;
    SerializeIO out(storing, false);
    EXPECT_THROW(out.WriteObjVersion(1), ArchiveFailure);
    for (const std::size_t access : {1u, 2u}) {
        PlainArchive failing;
        failing.failAtAccess = access;
        SerializeIO io(failing, false);
        EXPECT_THROW(Write(io, data), ArchiveFailure);
    }
    PlainArchive loading{Bytes{}};
    SerializeIO in(loading, false);
    std::uint8_t byte;
    EXPECT_THROW(in.ReadObjVersion(), ArchiveFailure);
    EXPECT_THROW(in.Read(&byte, 1), ArchiveFailure);
    EXPECT_THROW(in.ReadCompressed(&byte, 1), ArchiveFailure);
    PlainArchive cut(ArchiveWriter().U32(5).Raw(Bytes(4)).Take());
    SerializeIO cutIn(cut, false);
    EXPECT_THROW(Read(cutIn, 5), ArchiveFailure);
}

TEST(SerializeIO, TellsWhatIsLeftWhereTheArchiveDoes) {
    PlainArchive plain(Bytes(10));
    SerializeIO without(plain, false);
    EXPECT_EQ(without.RemainingBytes(), std::nullopt);
    shr::MemoryArchive memory(Bytes(10));
    SerializeIO with(memory, false);
    EXPECT_EQ(with.RemainingBytes(), 10u);
    with.ReadObjVersion();
    EXPECT_EQ(with.RemainingBytes(), 8u);
}

TEST(SerializeIO, AsksNobodyForTheExtentOfAnArchiveThatIsOnlyKnownByItsInterfaceUntilItIsTold) {
    shr::MemoryArchive memory(Bytes(10));
    shr::ISerialize& asHostsHandItOn = memory;
    SerializeIO io(asHostsHandItOn, false);
    EXPECT_EQ(io.RemainingBytes(), std::nullopt);
    io.SetExtent(&memory);
    EXPECT_EQ(io.RemainingBytes(), 10u);
    io.SetExtent(nullptr);
    EXPECT_EQ(io.RemainingBytes(), std::nullopt);
}

TEST(SerializeIO, CountsTheDamagedBlocksAmongThoseThatItReads) {
    const Bytes data = SomeBytes(400), encoded = testkit::Encode(data, CodecMethod::balanced);
    Bytes damaged = encoded;
    damaged[encoded.size() / 2] ^= 0x55;
    const auto tooLong = static_cast<std::size_t>(zcdl::MaxEncodedSize(400)) + 1;
    PlainArchive loading(ArchiveWriter()
                             .Framed(encoded)
                             .Framed(damaged)
                             .Framed(encoded)
                             .U32(0)
                             .Framed(Bytes(tooLong, 0xEE))
                             .Block(SomeBytes(399))
                             .Framed(encoded)
                             .Take());
    SerializeIO in(loading, false);
    std::vector<std::uint64_t> counts{in.DamagedBlocks()};
    for (int block = 0; block < 7; ++block) {
        Read(in, 400);
        counts.push_back(in.DamagedBlocks());
    }
    EXPECT_EQ(counts, (std::vector<std::uint64_t>{0, 0, 1, 1, 2, 3, 4, 4}));
}

TEST(SerializeIO, CountsNoDamagedBlocksWhileItWrites) {
    PlainArchive storing;
    SerializeIO out(storing, false);
    Write(out, SomeBytes(400));
    EXPECT_EQ(out.DamagedBlocks(), 0u);
}

TEST(SerializeIO, GivesTheSameBytesWhetherBuffersAreFreshOrUsed) {
    PlainArchive one;
    SerializeIO out(one, false);
    Bytes separate;
    for (unsigned i = 0; i < 200; ++i) {
        const Bytes data = SomeBytes(1 + 37 * i % 2000, i);
        Write(out, data);
        PlainArchive single;
        SerializeIO fresh(single, false);
        Write(fresh, data);
        separate.insert(separate.end(), single.bytes.begin(), single.bytes.end());
    }
    EXPECT_EQ(one.bytes, separate);
    PlainArchive loading(one.bytes);
    SerializeIO in(loading, false);
    for (unsigned i = 0; i < 200; ++i) ASSERT_EQ(Read(in, 1 + 37 * i % 2000), SomeBytes(1 + 37 * i % 2000, i));
}

}  // namespace
