#include "shr/FileFind.h"

#include "FolderReader.h"
#include "PathSystem.h"
#include "Wildcard.h"

namespace shr {
namespace {

bool IsTheFolderItself(const ZString& name) { return name == L"." || name == L".."; }

}  // namespace

struct CFileFind::State {
    ZString folder;
    Wildcard wildcard;
    FolderReader reader;
    // The current entry; the name is empty where there is none.
    ZString name;
    FolderReader::Facts facts{};

    explicit State(const ZString& pattern)
        : folder(pattern.Part(0, FolderLength(pattern.Wide()))),
          wildcard(pattern.Part(folder.Length())),
          reader(folder) {}

    bool Advance() {
        while (reader.Next()) {
            name = reader.GetName();
            if (IsTheFolderItself(name) || !wildcard.Matches(name)) continue;
            const std::optional<FolderReader::Facts> found = reader.GetFacts();
            if (!found) continue;
            facts = *found;
            return true;
        }
        name.Clear();
        facts = {};
        return false;
    }
};

CFileFind::CFileFind(const ZString& pattern) : state(std::make_unique<State>(pattern)) {}

CFileFind::~CFileFind() = default;

bool CFileFind::FindNextFileW() { return state->Advance(); }

bool CFileFind::MatchesMask(std::uint32_t mask) const noexcept { return (state->facts.attributes & mask) != 0; }

std::uint32_t CFileFind::GetAttributes() const noexcept { return state->facts.attributes; }

std::int64_t CFileFind::GetLength() const noexcept { return state->facts.length; }

ZString CFileFind::GetFileName() const { return state->name; }

ZString CFileFind::GetFilePath() const { return state->name.IsEmpty() ? ZString() : state->folder + state->name; }

}  // namespace shr
