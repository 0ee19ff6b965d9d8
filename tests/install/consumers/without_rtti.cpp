// The program of a host that is compiled without run-time types, with an archive and a progress of its own.
#include <cstring>
#include <vector>

#include "shr/IProgress.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

namespace {

class Document : public shr::ISerialize {
public:
    bool IsStoring() override { return storing; }
    void Read(void* dst, unsigned int byteCount) override {
        if (byteCount > bytes.size() - position) throw 1;
        std::memcpy(dst, bytes.data() + position, byteCount);
        position += byteCount;
    }
    void Write(const void* src, unsigned int byteCount) override {
        const auto* first = static_cast<const unsigned char*>(src);
        bytes.insert(bytes.end(), first, first + byteCount);
    }

    bool storing = true;
    std::vector<unsigned char> bytes;
    std::size_t position = 0;
};

class DocumentOfKnownLength : public Document, public shr::ISerializeExtent {
public:
    std::uint64_t RemainingBytes() override { return bytes.size() - position; }
};

class Reports : public shr::IProgress {
public:
    void StartTask(const shr::ZString&, int, int) override {}
    void EndTask() override {}
    void SetProgress(double) override { ++count; }
    int count = 0;
};

template <class Archive>
bool ComesBackThrough(zbm::ZBitmap& picture, Reports& reports) {
    Archive document;
    zbm::SerializeIO out(document, true);
    if (!picture.Serialize(out, &reports, nullptr)) return false;

    document.storing = false;
    zbm::SerializeIO in(document, true);
    zbm::ZMemBitmap loaded(1, 1, shr::BGRA_32);
    if (!loaded.Serialize(in, &reports, nullptr)) return false;
    unsigned char pixel[4] = {};
    loaded.FetchRegion(pixel, 4, 100, 50, 1, 1);
    return in.DamagedBlocks() == 0 && pixel[0] == 9 && loaded.GetPtrToPOTReduction(1) != nullptr;
}

/// What the libraries raise is caught by its type all the same.
bool IsRefused(Document& document) {
    try {
        zbm::SerializeIO in(document, false);
        return !zbm::ZBasicMemBitmap(1, 1, shr::BGRA_32).Serialize(in, nullptr, nullptr);
    } catch (const shr::Exception&) { return true; }
}

}  // namespace

int main() {
    zbm::ZMemBitmap picture(160, 120, shr::BGRA_32, 64, 64);
    const unsigned char pixel[4] = {9, 8, 7, 255};
    picture.StoreRegion(pixel, 4, 100, 50, 1, 1);
    Reports reports;
    if (!picture.CommitAll(&reports)) return 1;
    if (!ComesBackThrough<Document>(picture, reports)) return 2;
    if (!ComesBackThrough<DocumentOfKnownLength>(picture, reports)) return 3;
    Document foreign;
    foreign.storing = false;
    foreign.bytes.assign(100, 0xEE);
    if (!IsRefused(foreign)) return 4;
    return reports.count > 0 ? 0 : 5;
}
