#pragma once
// Subclasses that lay the protected parts of the library's classes open to tests, and write down which virtual
// operations are called.
#include <memory>
#include <string>
#include <vector>

#include "zbm/ZBasicMemBitmap.h"
#include "zbm/ZBitmap.h"
#include "zbm/ZMemBitmap.h"
#include "zbm/ZScanRect.h"

namespace testkit {

class OpenScanRect : public zbm::ZScanRect {
public:
    using ZScanRect::Copy;
    using ZScanRect::Create;
    using ZScanRect::Free;
    using ZScanRect::SetAlphaToMax;
    using ZScanRect::UpdateRowPtrs;
    using ZScanRect::ZScanRect;
};

/// The least that makes a ZBitmap: tiles in memory, and a list of the calls.
class OpenBitmap : public zbm::ZBitmap {
public:
    using Row = ZScanRectRow;

    OpenBitmap() = default;
    OpenBitmap(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight) {
        Init(height, width, format, tileHeight, tileWidth);
        MakeTiles();
        calls.clear();
    }

    void MakeTiles() {
        for (Row& row : scanRectRows)
            for (std::size_t col = 0; col < row.boxes.size(); ++col) {
                const RECT& box = row.boxes[col];
                row.tiles[col] =
                    std::make_unique<zbm::ZScanRect>(box.right - box.left, box.bottom - box.top, GetColorFormat());
            }
    }

    void FillColorTable(const shr::Color4b* colors, unsigned count) override {
        calls.push_back("FillColorTable " + std::string(colors == nullptr ? "null " : "") + std::to_string(count));
        ZBitmap::FillColorTable(colors, count);
    }
    void SetXResolution(int value) override {
        calls.push_back("SetXResolution " + std::to_string(value));
        ZBitmap::SetXResolution(value);
    }
    void SetYResolution(int value) override {
        calls.push_back("SetYResolution " + std::to_string(value));
        ZBitmap::SetYResolution(value);
    }
    zbm::ZScanRect& LockScanRect(int row, int col) const override {
        Note("Lock", row, col);
        return *scanRectRows.at(static_cast<std::size_t>(row)).tiles.at(static_cast<std::size_t>(col));
    }
    void UnlockScanRect(int row, int col) const override { Note("Unlock", row, col); }
    void CommitScanRect(int row, int col) override {
        Note("Commit", row, col);
        if (failAtCommit) throw std::runtime_error("the commit fails");
    }
    bool CommitAll(shr::IProgress*) override { return true; }
    ZBitmap* GetPtrToPOTReduction(unsigned) override { return nullptr; }
    bool Serialize(zbm::SerializeIO&, shr::IProgress*, zbm::ISerializeLegacyGCS*) override { return false; }
    bool FilterScanLines(zpixf::ZPixFilterBase&, shr::IProgress*) override { return false; }

    using ZBitmap::Copy;
    using ZBitmap::CopyColorTable;
    using ZBitmap::CreateScanRectLayout;
    using ZBitmap::Free;
    using ZBitmap::Init;
    using ZBitmap::SerializeFormatInfo;
    using ZBitmap::SetColorFormat;
    using ZBitmap::SetPixelHeight;
    using ZBitmap::SetPixelWidth;
    using ZBitmap::SetScanRectHeight;
    using ZBitmap::SetScanRectRowInfo;
    using ZBitmap::SetScanRectWidth;

    using ZBitmap::colorFormat;
    using ZBitmap::colorTable;
    using ZBitmap::numColorTableItems;
    using ZBitmap::pixelHeight;
    using ZBitmap::pixelWidth;
    using ZBitmap::scanRectHeight;
    using ZBitmap::scanRectRows;
    using ZBitmap::scanRectWidth;
    using ZBitmap::xResolution;
    using ZBitmap::yResolution;

    mutable std::vector<std::string> calls;
    bool failAtCommit = false;

private:
    void Note(const char* call, int row, int col) const {
        calls.push_back(std::string(call) + " " + std::to_string(row) + "," + std::to_string(col));
    }
};

class OpenBasicMemBitmap : public zbm::ZBasicMemBitmap {
public:
    using ZBasicMemBitmap::ZBasicMemBitmap;

    void FillColorTable(const shr::Color4b* colors, unsigned count) override {
        calls.push_back("FillColorTable " + std::to_string(count));
        ZBasicMemBitmap::FillColorTable(colors, count);
    }
    void SetXResolution(int value) override {
        calls.push_back("SetXResolution " + std::to_string(value));
        ZBasicMemBitmap::SetXResolution(value);
    }
    void SetYResolution(int value) override {
        calls.push_back("SetYResolution " + std::to_string(value));
        ZBasicMemBitmap::SetYResolution(value);
    }
    zbm::ZScanRect& LockScanRect(int row, int col) const override {
        Note("Lock", row, col);
        return ZBasicMemBitmap::LockScanRect(row, col);
    }
    void UnlockScanRect(int row, int col) const override { Note("Unlock", row, col); }
    void CommitScanRect(int row, int col) override { Note("Commit", row, col); }

    using ZBasicMemBitmap::AllocateScanRects;
    using ZBasicMemBitmap::CopyAll;
    using ZBasicMemBitmap::CreateCleanup;
    using ZBasicMemBitmap::FilterScanLines;
    using ZBasicMemBitmap::GetInputBitmapScanLine;
    using ZBasicMemBitmap::Init;
    using ZBasicMemBitmap::SetBitmapScanLine;

    using ZBasicMemBitmap::filterState;
    using ZBitmap::scanRectRows;

    mutable std::vector<std::string> calls;

private:
    void Note(const char* call, int row, int col) const {
        calls.push_back(std::string(call) + " " + std::to_string(row) + "," + std::to_string(col));
    }
};

/// Reductions are put into the list by hand, so that what is done with them can be seen without building any.
class OpenMemBitmap : public zbm::ZMemBitmap {
public:
    using ZMemBitmap::ZMemBitmap;

    void AddReduction(const zbm::ZBasicMemBitmap& level) {
        reductions.push_back(std::make_unique<zbm::ZBasicMemBitmap>(level));
    }

    using ZMemBitmap::CopyPOTReductions;
    using ZMemBitmap::CreatePOTReductions;
    using ZMemBitmap::FreeAllPOTReductions;
    using ZMemBitmap::needsRebuild;
    using ZMemBitmap::reductions;
};

}  // namespace testkit
