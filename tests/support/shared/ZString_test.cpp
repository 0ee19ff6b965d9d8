#include "shr/ZString.h"

#include <gtest/gtest.h>

#include <random>
#include <unordered_set>

namespace shr {
namespace {

TEST(ZString, IsEmptyByDefaultAndFromNullPointers) {
    EXPECT_TRUE(ZString().IsEmpty());
    EXPECT_TRUE(ZString(static_cast<const wchar_t*>(nullptr)).IsEmpty());
    EXPECT_TRUE(ZString(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_EQ(ZString().Length(), 0u);
    EXPECT_EQ(ZString().Last(), L'\0');
    EXPECT_STREQ(ZString().c_str(), L"");
}

TEST(ZString, HoldsItsOwnCopyOfTheText) {
    std::wstring source = L"tile";
    const ZString text(source);
    ZString copy = text;
    source[0] = L'p';
    copy += L's';
    EXPECT_EQ(text, ZString(L"tile"));
    EXPECT_EQ(copy, ZString(L"tiles"));
}

TEST(ZString, KeepsZeroesInside) {
    const ZString text(std::wstring_view(L"a\0b", 3));
    EXPECT_EQ(text.Length(), 3u);
    EXPECT_EQ(ZString::FromUtf8(text.ToUtf8()), text);
    EXPECT_NE(text, ZString(L"a"));
}

TEST(ZString, GivesItsUnits) {
    const ZString text = L"row";
    EXPECT_EQ(text.Length(), 3u);
    EXPECT_EQ(text[0], L'r');
    EXPECT_EQ(text[2], L'w');
    EXPECT_EQ(text.Last(), L'w');
    EXPECT_EQ(text.Wide(), L"row");
    EXPECT_STREQ(text.c_str(), L"row");
}

TEST(ZString, ClearsToEmpty) {
    ZString text = L"row";
    text.Clear();
    EXPECT_TRUE(text.IsEmpty());
}

TEST(ZString, Joins) {
    EXPECT_EQ(ZString(L"a") + L"bc" + ZString("d"), ZString(L"abcd"));
    ZString text = L"a";
    text += L'b';
    text += L"cd";
    text += text;
    EXPECT_EQ(text, ZString(L"abcdabcd"));
}

TEST(ZString, OrdersByUnits) {
    EXPECT_LT(ZString(L"a"), ZString(L"b"));
    EXPECT_LT(ZString(L"a"), ZString(L"aa"));
    EXPECT_LT(ZString(L"B"), ZString(L"a"));
    EXPECT_GE(ZString(L"b"), ZString(L"b"));
    EXPECT_EQ(ZString(L"b") <=> ZString(L"b"), std::strong_ordering::equal);
}

TEST(ZString, KnowsItsEnds) {
    const ZString text = L"picture.zbm";
    EXPECT_TRUE(text.StartsWith(L"pic"));
    EXPECT_TRUE(text.StartsWith(text));
    EXPECT_TRUE(text.StartsWith(L""));
    EXPECT_FALSE(text.StartsWith(L"ic"));
    EXPECT_FALSE(text.StartsWith(L"picture.zbm2"));
    EXPECT_TRUE(text.EndsWith(L".zbm"));
    EXPECT_TRUE(text.EndsWith(text));
    EXPECT_FALSE(text.EndsWith(L".zb"));
    EXPECT_FALSE(ZString().EndsWith(L"m"));
}

TEST(ZString, GivesPartsWithinItsLength) {
    const ZString text = L"abcdef";
    EXPECT_EQ(text.Part(2, 3), ZString(L"cde"));
    EXPECT_EQ(text.Part(4), ZString(L"ef"));
    EXPECT_EQ(text.Part(4, 99), ZString(L"ef"));
    EXPECT_TRUE(text.Part(6).IsEmpty());
    EXPECT_TRUE(text.Part(99, 1).IsEmpty());
    EXPECT_TRUE(text.Part(1, 0).IsEmpty());
}

TEST(ZString, IsAKeyOfHashedContainers) {
    std::unordered_set<ZString> names{L"a", L"b", L"a"};
    EXPECT_EQ(names.size(), 2u);
    EXPECT_TRUE(names.contains(ZString("b")));
    EXPECT_EQ(std::hash<ZString>{}(ZString(L"name")), std::hash<ZString>{}(ZString("name")));
}

// --- UTF-8 ---

/// The table of well-formed sequences: the length of the one at the start of `bytes`, or 0.
std::size_t WellFormedLength(std::string_view bytes) {
    const auto in = [&](std::size_t i, unsigned low, unsigned high) {
        return i < bytes.size() && static_cast<unsigned char>(bytes[i]) >= low &&
               static_cast<unsigned char>(bytes[i]) <= high;
    };
    const auto tail = [&](std::size_t i) { return in(i, 0x80, 0xBF); };
    if (in(0, 0x00, 0x7F)) return 1;
    if (in(0, 0xC2, 0xDF) && tail(1)) return 2;
    if (in(0, 0xE0, 0xE0) && in(1, 0xA0, 0xBF) && tail(2)) return 3;
    if (in(0, 0xE1, 0xEC) && tail(1) && tail(2)) return 3;
    if (in(0, 0xED, 0xED) && in(1, 0x80, 0x9F) && tail(2)) return 3;
    if (in(0, 0xEE, 0xEF) && tail(1) && tail(2)) return 3;
    if (in(0, 0xF0, 0xF0) && in(1, 0x90, 0xBF) && tail(2) && tail(3)) return 4;
    if (in(0, 0xF1, 0xF3) && tail(1) && tail(2) && tail(3)) return 4;
    if (in(0, 0xF4, 0xF4) && in(1, 0x80, 0x8F) && tail(2) && tail(3)) return 4;
    return 0;
}

/// Where the bytes are well-formed a code point of one or two units stands for each sequence, elsewhere U+DCxx for each
/// byte.
void ExpectKeepsEveryByte(std::string_view bytes) {
    const ZString text = ZString::FromUtf8(bytes);
    std::size_t unit = 0;
    for (std::size_t i = 0; i < bytes.size();) {
        const std::size_t length = WellFormedLength(bytes.substr(i));
        ASSERT_LT(unit, text.Length());
        const auto value = static_cast<unsigned>(text[unit++]);
        if (length == 0) {
            ASSERT_EQ(value, 0xDC00u + static_cast<unsigned char>(bytes[i]));
        } else if (length == 1) {
            ASSERT_EQ(value, static_cast<unsigned char>(bytes[i]));
        } else {
            ASSERT_TRUE(value < 0xDC80 || value > 0xDCFF);
            if (length == 4 && sizeof(wchar_t) == 2) ++unit;
        }
        i += length == 0 ? 1 : length;
    }
    ASSERT_EQ(unit, text.Length());
    ASSERT_EQ(text.ToUtf8(), bytes);
}

TEST(ZStringUtf8, KeepsEveryStringOfUpToTwoBytes) {
    ExpectKeepsEveryByte("");
    for (int first = 0; first < 256; ++first) {
        ExpectKeepsEveryByte(std::string(1, static_cast<char>(first)));
        for (int second = 0; second < 256; ++second)
            ASSERT_NO_FATAL_FAILURE(
                ExpectKeepsEveryByte(std::string{static_cast<char>(first), static_cast<char>(second)}));
    }
}

TEST(ZStringUtf8, KeepsRandomBytes) {
    std::mt19937 random(1);
    for (int round = 0; round < 20'000; ++round) {
        std::string bytes(random() % 40, '\0');
        for (char& byte : bytes) byte = static_cast<char>(random());
        ASSERT_NO_FATAL_FAILURE(ExpectKeepsEveryByte(bytes));
    }
}

TEST(ZStringUtf8, KeepsRandomPiecesOfSequences) {
    // Bytes that begin, continue and end sequences, and the bounds between valid and invalid ones.
    const std::string alphabet =
        "A\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";
    std::mt19937 random(2);
    for (int round = 0; round < 100'000; ++round) {
        std::string bytes(1 + random() % 8, '\0');
        for (char& byte : bytes) byte = alphabet[random() % alphabet.size()];
        ASSERT_NO_FATAL_FAILURE(ExpectKeepsEveryByte(bytes));
    }
}

TEST(ZStringUtf8, MeetsKnownTexts) {
    EXPECT_EQ(ZString("\xC3\xA9"), ZString(L"\u00E9"));
    EXPECT_EQ(ZString("\xE2\x82\xAC"), ZString(L"\u20AC"));
    EXPECT_EQ(ZString("\xF0\x9F\x98\x80"), ZString(L"\U0001F600"));
    EXPECT_EQ(ZString("\xF4\x8F\xBF\xBF"), ZString(L"\U0010FFFF"));
    EXPECT_EQ(ZString(L"z\u00E9\u20AC\U0001F600").ToUtf8(), "z\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(ZStringUtf8, TakesCharactersOutsideTheBasicPlaneAsTheSystemWritesThem) {
    EXPECT_EQ(ZString("\xF0\x90\x80\x80").Length(), sizeof(wchar_t) == 2 ? 2u : 1u);
}

struct ForeignCase {
    const char* name;
    const char* bytes;
    std::wstring wide;
};

class ForeignBytes : public testing::TestWithParam<ForeignCase> {};

TEST_P(ForeignBytes, AreKeptOneByOne) {
    EXPECT_EQ(ZString(GetParam().bytes).Wide(), GetParam().wide);
    EXPECT_EQ(ZString(GetParam().bytes).ToUtf8(), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Known, ForeignBytes,
                         testing::Values(ForeignCase{"Latin1", "caf\xE9", {L'c', L'a', L'f', 0xDCE9}},
                                         ForeignCase{"LoneTail",
                                                     "\x80"
                                                     "A",
                                                     {0xDC80, L'A'}},
                                         ForeignCase{"CutShort", "\xE2\x82", {0xDCE2, 0xDC82}},
                                         ForeignCase{"CutShortThenText",
                                                     "\xE2\x82"
                                                     "A",
                                                     {0xDCE2, 0xDC82, L'A'}},
                                         ForeignCase{"Overlong2", "\xC0\xAF", {0xDCC0, 0xDCAF}},
                                         ForeignCase{"Overlong3", "\xE0\x80\xAF", {0xDCE0, 0xDC80, 0xDCAF}},
                                         ForeignCase{"Overlong4", "\xF0\x82\x82\xAC", {0xDCF0, 0xDC82, 0xDC82, 0xDCAC}},
                                         ForeignCase{"Surrogate", "\xED\xA0\x80", {0xDCED, 0xDCA0, 0xDC80}},
                                         ForeignCase{"ItsOwnEscape", "\xED\xB2\x80", {0xDCED, 0xDCB2, 0xDC80}},
                                         ForeignCase{
                                             "BeyondUnicode", "\xF4\x90\x80\x80", {0xDCF4, 0xDC90, 0xDC80, 0xDC80}},
                                         ForeignCase{"NoLead", "\xFF", {0xDCFF}}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(ZStringUtf8, ReplacesLoneSurrogatesOnTheWayOut) {
    const std::string replacement = "\xEF\xBF\xBD";
    for (const wchar_t unit :
         {wchar_t{0xD800}, wchar_t{0xDBFF}, wchar_t{0xDC00}, wchar_t{0xDC7F}, wchar_t{0xDD00}, wchar_t{0xDFFF}}) {
        const ZString text = ZString(L"a") + ZString(std::wstring(1, unit)) + L"b";
        EXPECT_EQ(text.ToUtf8(), "a" + replacement + "b");
        EXPECT_EQ(ZString(std::wstring(1, unit)).ToUtf8(), replacement);
    }
}

TEST(ZStringUtf8, ReplacesWhatIsNoCodePoint) {
    if constexpr (sizeof(wchar_t) == 4) {
        for (const long value : {0x110000L, 0x7FFFFFFFL, -1L})
            EXPECT_EQ(ZString(std::wstring(1, static_cast<wchar_t>(value))).ToUtf8(), "\xEF\xBF\xBD");
    } else {
        EXPECT_EQ(ZString(std::wstring(1, static_cast<wchar_t>(0xFFFF))).ToUtf8(), "\xEF\xBF\xBF");
    }
}

}  // namespace
}  // namespace shr
