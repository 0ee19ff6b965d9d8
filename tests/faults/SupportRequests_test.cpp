// Every request for memory fails once, and for good, in the support libraries: strings, errors, archives, device-
// independent bitmaps and the codec.
#include <cstring>
#include <optional>

#include "faults/FaultInjection.h"
#include "faults/FaultyBitmaps.h"
#include "shr/Dib.h"
#include "shr/Exception.h"
#include "shr/Logger.h"
#include "shr/Path.h"
#include "shr/TempFile.h"
#include "support_code/ScratchFolder.h"
#include "zbm/ZBMLib2.h"

namespace faults {
namespace {

using shr::ZString;

/// How many requests must fail at least (once and for good are two) where new of the libraries is reached.
unsigned AtLeast(unsigned requests) { return ReachesLibraries() ? 2 * requests : 0; }

const ZString kLong(L"a text that is too long to be kept inside the object itself");

TEST(StringRequests, FailingInAConversionLeaveTheStringAsItWas) {
    const std::string utf8 = kLong.ToUtf8();
    const unsigned failed =
        FailEveryRequest([] { return kLong + L" and more"; }, [&](ZString& text) { text = ZString::FromUtf8(utf8); },
                         [&](ZString& text, Outcome outcome) {
                             EXPECT_EQ(text, outcome == Outcome::done ? kLong : kLong + L" and more");
                         });
    EXPECT_GE(failed, AtLeast(1));
    EXPECT_GE(FailEveryRequest(
                  [] { return std::string("old"); }, [](std::string& out) { out = kLong.ToUtf8(); },
                  [&](std::string& out, Outcome outcome) { EXPECT_EQ(out, outcome == Outcome::done ? utf8 : "old"); }),
              AtLeast(1));
}

TEST(StringRequests, FailingInCopiesPartsAndSumsLeaveTheStringAsItWas) {
    const unsigned failed = FailEveryRequest(
        [] { return ZString(L"old"); },
        [](ZString& text) {
            ZString sum = kLong + kLong.Part(2, 40);
            sum += kLong;
            sum += L'!';
            text = sum;
        },
        [](ZString& text, Outcome outcome) {
            EXPECT_EQ(text, outcome == Outcome::done ? kLong + kLong.Part(2, 40) + kLong + L"!" : ZString(L"old"));
        });
    EXPECT_GE(failed, AtLeast(3));
}

TEST(ErrorRequests, FailingInTheMakingOfAnErrorGiveBadAllocInstead) {
    const unsigned failed =
        FailEveryRequest([] { return std::optional<shr::Exception>(); },
                         [](auto& error) { error.emplace(L"Module of an error", L"SourceFile", 12, kLong, true); },
                         [](auto& error, Outcome outcome) {
                             ASSERT_EQ(error.has_value(), outcome == Outcome::done);
                             if (!error) return;
                             EXPECT_EQ(error->GetMessageText(), kLong);
                             EXPECT_EQ(error->GetLine(), 12);
                             EXPECT_NE(std::strstr(error->what(), "too long to be kept"), nullptr);
                         });
    EXPECT_GE(failed, AtLeast(3));
}

TEST(ErrorRequests, FailingInAThrowGiveBadAllocOrTheStatedError) {
    const unsigned failed =
        FailEveryRequest([] { return false; },
                         [](bool& raised) {
                             try {
                                 zbm::Throw_ERR_ZBM_READ_ARCHIVE(zbm::ModuleName(), L"a source file", 7);
                             } catch (const shr::Exception& error) { raised = error.GetLine() == 7; }
                         },
                         [](bool& raised, Outcome outcome) { EXPECT_EQ(raised, outcome == Outcome::done); });
    EXPECT_GE(failed, AtLeast(1));
}

TEST(ErrorRequests, FailingInALogLineAreSwallowed) {
    FailEveryRequest([] { return shr::g_Logger.SetSink([](int, const ZString&) {}); },
                     [](auto&) { shr::g_Logger.SendVA(4, L"%s and %d", kLong.c_str(), 5); },
                     [](auto& sinkBefore, Outcome outcome) {
                         EXPECT_EQ(outcome, Outcome::done);
                         shr::g_Logger.SetSink(std::move(sinkBefore));
                     });
}

TEST(ArchiveRequests, FailingInAWriteLeaveWhatWasWrittenBefore) {
    const Bytes piece(100, 0x5A);
    const unsigned failed = FailEveryRequest([] { return std::make_unique<shr::MemoryArchive>(); },
                                             [&](auto& archive) {
                                                 for (int i = 0; i < 20; ++i) archive->Write(piece.data(), 100);
                                             },
                                             [](auto& archive, Outcome outcome) {
                                                 EXPECT_EQ(archive->Bytes().size() % 100, 0u);
                                                 EXPECT_EQ(archive->Bytes().size() == 2000, outcome == Outcome::done);
                                             });
    EXPECT_GE(failed, AtLeast(2));
}

TEST(ArchiveRequests, FailingInARefusedReadGiveBadAllocOrTheStatedErrorAndReadNothing) {
    const unsigned failed = FailEveryRequest([] { return std::make_unique<shr::MemoryArchive>(Bytes(3, 1)); },
                                             [](auto& archive) {
                                                 std::uint32_t value = 0;
                                                 try {
                                                     archive->Read(&value, sizeof value);
                                                     ADD_FAILURE() << "read past the end";
                                                 } catch (const shr::Exception&) {}
                                             },
                                             [](auto& archive, Outcome) {
                                                 EXPECT_EQ(archive->Position(), 0u);
                                                 EXPECT_EQ(archive->RemainingBytes(), 3u);
                                             });
    EXPECT_GE(failed, AtLeast(1));
}

Bytes SomeBytes(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i * i / 7 + i);
    return bytes;
}

class CodecRequests : public testing::TestWithParam<zcdl::CodecMethod> {};

std::string MethodName(const testing::TestParamInfo<zcdl::CodecMethod>& tested) {
    constexpr const char* kNames[] = {"Stored", "Fast", "Balanced", "Small"};
    return kNames[static_cast<int>(tested.param)];
}
INSTANTIATE_TEST_SUITE_P(Methods, CodecRequests,
                         testing::Values(zcdl::CodecMethod::stored, zcdl::CodecMethod::fast,
                                         zcdl::CodecMethod::balanced, zcdl::CodecMethod::small),
                         MethodName);

TEST_P(CodecRequests, FailingWhileEncodingLeaveAnEmptyResultAndAnEncoderThatWorks) {
    const Bytes source = SomeBytes(5000);
    zcdl::CEncode judge(GetParam());
    judge.Encode(source.data(), source.size());
    const Bytes block(judge.GetEncodedBytes(), judge.GetEncodedBytes() + judge.GetNumEncodedBytes());
    const auto result = [](const zcdl::CEncode& encoder) {
        return Bytes(encoder.GetEncodedBytes(), encoder.GetEncodedBytes() + encoder.GetNumEncodedBytes());
    };
    const unsigned failed = FailEveryRequest([&] { return std::make_unique<zcdl::CEncode>(GetParam()); },
                                             [&](auto& encoder) { encoder->Encode(source.data(), source.size()); },
                                             [&](auto& encoder, Outcome outcome) {
                                                 if (outcome == Outcome::failed) {
                                                     EXPECT_EQ(encoder->GetNumEncodedBytes(), 0u);
                                                 }
                                                 if (outcome == Outcome::failed)
                                                     encoder->Encode(source.data(), source.size());
                                                 EXPECT_EQ(result(*encoder), block);
                                             });
    EXPECT_GE(failed, AtLeast(1));
}

TEST_P(CodecRequests, FailingInConstructorsLeaveNothing) {
    struct Both {
        zcdl::CEncode encoder;
        zcdl::CDecode decoder;
        explicit Both(zcdl::CodecMethod method) : encoder(method) {}
    };
    const unsigned failed = FailEveryRequest(
        [] { return std::unique_ptr<Both>(); }, [&](auto& both) { both = std::make_unique<Both>(GetParam()); },
        [](auto& both, Outcome outcome) { EXPECT_EQ(both != nullptr, outcome == Outcome::done); });
    EXPECT_GE(failed, 2u);
}

// Decode answers with false alone, which says that the block is damaged; it must not say so for want of memory.
TEST_P(CodecRequests, FailingWhileDecodingNeverPassForADamagedBlock) {
    const Bytes source = SomeBytes(5000);
    zcdl::CEncode encoder(GetParam());
    encoder.Encode(source.data(), source.size());
    struct Decoding {
        zcdl::CDecode decoder;
        Bytes out = Bytes(5000, 0xEE);
        bool tried = false, good = false;
    };
    const unsigned failed = FailEveryRequest(
        [] { return std::make_unique<Decoding>(); },
        [&](auto& decoding) {
            decoding->decoder.SetEncodeBufferSize(encoder.GetNumEncodedBytes());
            std::memcpy(decoding->decoder.GetEncodeBuffer(), encoder.GetEncodedBytes(), encoder.GetNumEncodedBytes());
            decoding->tried = true;
            decoding->good = decoding->decoder.Decode(decoding->out.data(), decoding->out.size());
        },
        [&](auto& decoding, Outcome outcome) {
            if (outcome == Outcome::failed) {
                EXPECT_EQ(decoding->out, Bytes(5000, decoding->tried ? 0 : 0xEE));
                return;
            }
            EXPECT_TRUE(decoding->good);
            EXPECT_EQ(decoding->out, source);
        });
    EXPECT_GE(failed, AtLeast(1));
}

std::size_t FilesIn(const testkit::ScratchFolder& folder) {
    const std::filesystem::directory_iterator entries(std::filesystem::path(folder.File("").Wide()));
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

TEST(PathRequests, FailingInATemporaryFileLeaveNone) {
    const testkit::ScratchFolder folder;
    const ZString place = folder.File("");
    const unsigned failed =
        FailEveryRequest([] { return ZString(); }, [&](ZString& name) { name = shr::CPath::GetTempFilename(place); },
                         [&](ZString& name, Outcome) {
                             EXPECT_EQ(FilesIn(folder), name.IsEmpty() ? 0u : 1u);
                             if (!name.IsEmpty()) shr::RemoveFile(name);
                         });
    EXPECT_GE(failed, AtLeast(3));
}

TEST(PathRequests, FailingInAFileToBeRenamedLeaveNoneBesideTheOld) {
    const testkit::ScratchFolder folder;
    const ZString place = folder.File(""), name = folder.File("a name that is too long to be kept inside the object");
    const unsigned failed =
        FailEveryRequest([] { return false; },
                         [&](bool& isRenamed) {
                             shr::TempFile file(place, L".a name that is too long to be kept inside the object.");
                             isRenamed = file.Rename(name);
                         },
                         [&](bool& isRenamed, Outcome) {
                             EXPECT_EQ(FilesIn(folder), isRenamed ? 1u : 0u);
                             shr::RemoveFile(name);
                         });
    EXPECT_GE(failed, AtLeast(5));
}

TEST(CodecBuffers, MakeRoomForMoreOnceABlockIsALittleLongerThanTheOneBefore) {
    const Bytes content(11000);
    zcdl::CEncode encoder(zcdl::CodecMethod::stored);
    zcdl::CDecode decoder;
    const auto use = [&](unsigned byteCount) {
        encoder.Encode(content.data(), byteCount);
        decoder.SetEncodeBufferSize(byteCount);
    };
    use(10000);
    use(10001);
    const ScopedFault fault(1, Failing::once);
    for (unsigned byteCount = 10002; byteCount <= 11000; byteCount += 100) use(byteCount);
    EXPECT_FALSE(fault.WasMet());
}

shr::CDib MakeDib(int width, int height, int bitCount) {
    shr::CDib dib;
    dib.Create(width, height, bitCount, 0, nullptr, nullptr, 2000, 3000);
    const auto byteCount = static_cast<std::size_t>(dib.GetStride()) * static_cast<std::size_t>(height);
    for (std::size_t i = 0; i < byteCount; ++i) dib.GetWritableBits()[i] = static_cast<std::uint8_t>(3 * i + 1);
    return dib;
}

testing::AssertionResult IsSameDib(const shr::CDib& a, const shr::CDib& b) {
    const auto shape = [](const shr::CDib& dib) {
        return std::vector<int>{dib.GetWidth(), dib.GetHeight(), dib.GetBitCount(), dib.GetStride()};
    };
    if (shape(a) != shape(b)) return testing::AssertionFailure() << "their shapes differ";
    const auto byteCount = static_cast<std::size_t>(a.GetStride()) * static_cast<std::size_t>(a.GetHeight());
    if (byteCount != 0 && std::memcmp(a.GetBits(), b.GetBits(), byteCount) != 0)
        return testing::AssertionFailure() << "their bits differ";
    return testing::AssertionSuccess();
}

TEST(DibRequests, FailingInCreateAndCopiesLeaveTheDibAsItWas) {
    for (const int bitCount : {1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bitCount);
        const shr::CDib old = MakeDib(2, 2, 24), picture = MakeDib(9, 5, bitCount);
        const auto inspect = [&](shr::CDib& dib, Outcome outcome) {
            EXPECT_TRUE(IsSameDib(dib, outcome == Outcome::done ? picture : old));
        };
        const auto startWithOld = [&] { return shr::CDib(old); };
        EXPECT_GE(FailEveryRequest(
                      startWithOld,
                      [&](shr::CDib& dib) {
                          dib.Create(picture.GetDib()->bmiHeader, picture.GetColors(), picture.GetBits());
                      },
                      inspect),
                  2u);
        EXPECT_GE(FailEveryRequest(
                      startWithOld, [&](shr::CDib& dib) { dib = picture; }, inspect),
                  2u);
        EXPECT_GE(FailEveryRequest(
                      startWithOld, [&](shr::CDib& dib) { dib = shr::CDib(picture); }, inspect),
                  2u);
    }
}

TEST(DibRequests, FailingInLoadLeaveTheDibAsItWas) {
    const testkit::ScratchFolder folder;
    for (const int bitCount : {1, 8, 16, 32}) {
        SCOPED_TRACE(bitCount);
        const shr::CDib old = MakeDib(2, 2, 24), picture = MakeDib(9, 5, bitCount);
        const ZString name = folder.File("picture.bmp");
        picture.Save(name);
        const unsigned failed = FailEveryRequest(
            [&] { return shr::CDib(old); }, [&](shr::CDib& dib) { OrBadAlloc([&] { dib.Load(name); }); },
            [&](shr::CDib& dib, Outcome outcome) {
                EXPECT_TRUE(IsSameDib(dib, outcome == Outcome::done ? picture : old));
            });
        EXPECT_GE(failed, 2u);
    }
}

TEST(DibRequests, FailingInSaveLeaveTheOldFileAndNothingBesideIt) {
    const testkit::ScratchFolder folder;
    const ZString name = folder.File("picture.bmp");
    const shr::CDib old = MakeDib(2, 2, 24), picture = MakeDib(9, 5, 32);
    FailEveryRequest(
        [&] {
            old.Save(name);
            return shr::CDib(picture);
        },
        [&](shr::CDib& dib) { OrBadAlloc([&] { dib.Save(name); }); },
        [&](shr::CDib&, Outcome outcome) {
            shr::CDib inFile;
            inFile.Load(name);
            EXPECT_TRUE(IsSameDib(inFile, outcome == Outcome::done ? picture : old));
            EXPECT_EQ(FilesIn(folder), 1u);
        });
}

}  // namespace
}  // namespace faults
