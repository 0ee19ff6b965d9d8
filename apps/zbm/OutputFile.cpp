#include "OutputFile.h"

#include <array>
#include <string>
#include <string_view>

#include "Cancel.h"
#include "Console.h"
#include "Host.h"
#include "shr/Exception.h"
#include "shr/Path.h"

namespace tool {

namespace {

constexpr std::size_t kLongestFileName = 255;  // bytes, or units, on the file systems of today
constexpr std::size_t kLongestTempPart = 32;   // what a temporary name has beside its target's

void RefuseOtherThanFiles(const ZString& target) {
    switch (KindOf(target)) {
        case FileKind::folder: throw ToolError(target, "is a folder");
        case FileKind::danglingLink: throw ToolError(target, "is a link to a file that is not there");
        case FileKind::other: throw ToolError(target, "is no regular file, and only such are written");
        case FileKind::missing:
        case FileKind::regular: break;
    }
}

/// The first characters of the text, as many as fit.
ZString Shortened(const ZString& text, std::size_t mostBytes) {
    std::string utf8 = text.ToUtf8();
    if (utf8.size() <= mostBytes) return text;
    const auto continues = [&](std::size_t i) { return (utf8[i] & 0xC0) == 0x80; };
    std::size_t length = mostBytes;
    while (length > 0 && continues(length)) --length;
    return ZString::FromUtf8(utf8.substr(0, length));
}

/// The file that a result of that name is to replace.
ZString PlaceOf(const ZString& name) {
    RefuseOtherThanFiles(name);
    return shr::FollowLinks(name);
}

/// Beside the place, so that renaming moves no data.
ZString TemporaryFolder(const ZString& place) {
    return place.IsEmpty() ? shr::CPath().GetTempPathW(true) : shr::CPath(place).GetFolder();
}

/// What a kill leaves behind tells what it was to become. The dot hides it from lists.
ZString TemporaryStart(const ZString& place) {
    const ZString fileName = place.IsEmpty() ? "zbm" : shr::CPath(place).GetFileName();
    return L"." + Shortened(fileName, kLongestFileName - kLongestTempPart) + L".";
}

}  // namespace

/// Of ".NAME.zv", sixteen letters and digits, and ".tmp" the end.
bool OutputFile::IsTemporaryName(const ZString& path) {
    constexpr std::string_view kStart = ".zv", kEnd = ".tmp";
    constexpr std::size_t kRandomLetters = 16;
    const std::string name = shr::CPath(path).GetFileName().ToUtf8();
    const std::size_t place = name.rfind(kStart), letters = place + kStart.size();
    if (!name.starts_with('.') || place == std::string::npos || !name.ends_with(kEnd)) return false;
    constexpr auto kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
    return name.size() == letters + kRandomLetters + kEnd.size() &&
           name.find_first_not_of(kLetters, letters) == letters + kRandomLetters;
}

OutputFile::OutputFile(const ZString& name, std::ostream& standardOutput)
    : isStandardOutput(name == kStandardOutputName),
      stream(standardOutput),
      target(isStandardOutput ? "standard output" : name),
      place(isStandardOutput ? ZString() : PlaceOf(name)),
      temporary(TemporaryFolder(place), TemporaryStart(place)) {
    if (!temporary.HasFile()) {
        const ZString reason = shr::FormatSystemErrorMsg();
        throw ToolError(target, "no file can be made in its folder: " + reason.ToUtf8());
    }
    Open();
}

void OutputFile::Open() {
    if (file.OpenNoThrow(temporary.Name(), shr::FileAccess::readWrite, shr::FileMode::openExisting,
                         shr::FileSharing::none))
        return;
    const ZString reason = shr::FormatSystemErrorMsg();
    throw ToolError(target, "cannot be written: " + reason.ToUtf8());
}

void OutputFile::Release() { file.Close(); }

OutputFile::~OutputFile() {
    // What is still buffered would only be written to be deleted, and on a full device could only fail once more.
    try {
        file.Close();
    } catch (...) {  // NOLINT(bugprone-empty-catch): the error already on its way is the one to report
    }
}

void OutputFile::Commit() {
    if (!file.IsOpen()) Open();
    if (isStandardOutput)
        CopyToStandardOutput();
    else
        ReplaceTarget();
}

void OutputFile::ReplaceTarget() {
    file.FlushToDevice();
    file.Close();
    shr::TakePermissions(temporary.Name(), place);
    if (!temporary.Rename(place)) {
        const std::string reason = shr::FormatSystemErrorMsg().ToUtf8();
        const bool isInPlace = !shr::PathExists(temporary.Name());
        throw ToolError(target,
                        (isInPlace ? "is written, but may be gone after a crash: " : "cannot be replaced: ") + reason);
    }
}

void OutputFile::CopyToStandardOutput() {
    std::array<char, 65536> buffer;
    PrepareBinaryOutput();
    file.Seek(0);
    while (const std::size_t count = file.Read(buffer.data(), buffer.size())) {
        if (CancelRequested()) throw shr::AbortException();
        if (!stream.write(buffer.data(), static_cast<std::streamsize>(count))) break;
    }
    if (!stream.flush()) throw ToolError(target, "cannot be written");
}

}  // namespace tool
