// Block compression of pictures: how much smaller, how fast stored, how fast loaded. What is loaded must be the
// picture.
#include "operations/Codec.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <stdexcept>

#include "zcdl/Codec.h"

namespace contest {

namespace {

constexpr int kTile = bench::kTileSide;
constexpr std::size_t kTileRowBytes = std::size_t{4} * kTile;

/// Gives `use` each row of each tile: its number, and where it lies in the tile and in the picture.
template <class Use>
void ForEachTileRow(int side, const Use& use) {
    std::size_t tile = 0;
    for (int top = 0; top < side; top += kTile)
        for (int left = 0; left < side; left += kTile, ++tile)
            for (int y = 0; y < kTile; ++y)
                use(tile, static_cast<std::size_t>(kTile - 1 - y) * kTileRowBytes,
                    std::size_t{4} * static_cast<unsigned>((top + y) * side + left));
}

std::vector<Pixels> Cut(const Square& picture, Codec::Pieces pieces) {
    if (pieces == Codec::Pieces::whole) return {picture.pixels};
    const std::size_t tileBytes = kTileRowBytes * kTile;
    std::vector<Pixels> tiles(picture.pixels.size() / tileBytes, Pixels(tileBytes));
    ForEachTileRow(picture.side, [&](std::size_t tile, std::size_t inTile, std::size_t inPicture) {
        std::memcpy(&tiles[tile][inTile], &picture.pixels[inPicture], kTileRowBytes);
    });
    return tiles;
}

/// A codec at work on a picture. The buffers are kept from run to run, so that no run pays for fresh memory.
class Work {
public:
    Work(Codec chosen, const Scene& where) : codec(std::move(chosen)), scene(where) {
        pieces = Cut(scene.source, codec.pieces);
        for (const Pixels& piece : pieces) blocks.emplace_back(codec.bound(piece.size()));
        bytes.resize(pieces.size());
    }
    void Store() {
        for (std::size_t i = 0; i < pieces.size(); ++i) bytes[i] = codec.store(pieces[i], blocks[i]);
        scene.storedBytes = std::accumulate(bytes.begin(), bytes.end(), std::size_t{0});
    }
    void Load() {
        for (std::size_t i = 0; i < pieces.size(); ++i) codec.load(blocks[i].data(), bytes[i], pieces[i]);
    }
    void Forget() {
        for (Pixels& piece : pieces) std::fill(piece.begin(), piece.end(), std::uint8_t{0});
    }
    /// The pieces to the result.
    void PutTogether() const {
        if (codec.pieces == Codec::Pieces::whole) {
            scene.result.pixels = pieces.front();
            return;
        }
        ForEachTileRow(scene.result.side, [&](std::size_t tile, std::size_t inTile, std::size_t inPicture) {
            std::memcpy(&scene.result.pixels[inPicture], &pieces[tile][inTile], kTileRowBytes);
        });
    }

private:
    Codec codec;
    Scene scene;
    std::vector<Pixels> pieces, blocks;
    std::vector<std::size_t> bytes;
};

// The copies stand for the archive that a block is written to and read from.
Codec Ours(const char* name, zcdl::CodecMethod method) {
    const auto encoder = std::make_shared<zcdl::CEncode>(method);
    const auto decoder = std::make_shared<zcdl::CDecode>();
    return {name, Codec::Pieces::tiles, [](std::size_t bytes) -> std::size_t { return zcdl::MaxEncodedSize(bytes); },
            [encoder](const Pixels& piece, Pixels& block) {
                encoder->Encode(piece.data(), piece.size());
                std::memcpy(block.data(), encoder->GetEncodedBytes(), encoder->GetNumEncodedBytes());
                return std::size_t{encoder->GetNumEncodedBytes()};
            },
            [decoder](const std::uint8_t* block, std::size_t bytes, Pixels& piece) {
                decoder->SetEncodeBufferSize(static_cast<std::uint32_t>(bytes));
                std::memcpy(decoder->GetEncodeBuffer(), block, bytes);
                if (!decoder->Decode(piece.data(), piece.size())) throw std::runtime_error("ZCodecu: damaged block");
            }};
}

Verdict HowSmall(const Entrant&, const Scene& scene) {
    const auto bytes = static_cast<double>(scene.storedBytes);
    return {{{"ratio", static_cast<double>(scene.source.pixels.size()) / bytes}, {"bytes", bytes, Beside::quotient}}};
}

Verdict WhetherSame(const Entrant&, const Scene& scene) { return {{}, scene.result.pixels == scene.source.pixels}; }

}  // namespace

Entrant Storing(const Codec& codec, Role role) {
    return {.name = codec.name,
            .enter = [=](const Scene& scene) -> Entry {
                return Doing([work = std::make_shared<Work>(codec, scene)] { work->Store(); });
            },
            .role = role};
}

Entrant Loading(const Codec& codec, Role role) {
    return {.name = codec.name,
            .enter = [=](const Scene& scene) -> Entry {
                const auto work = std::make_shared<Work>(codec, scene);
                work->Store();
                work->Forget();
                return {bench::Timed([work] { work->Load(); }), [work] { work->PutTogether(); }};
            },
            .role = role};
}

Rows RowsOf(const std::vector<Codec>& codecs) {
    Rows rows;
    for (const Codec& codec : codecs) {
        rows.push_back({kStore, Storing(codec)});
        rows.push_back({kLoad, Loading(codec)});
    }
    return rows;
}

std::vector<Operation> Compressions(int side) {
    Operation store{"codec", kStore, side, side, {}, [](const Scene&) { return HowSmall; }};
    Operation load{"codec", kLoad, side, side, {}, [](const Scene&) { return WhetherSame; }};
    for (const Codec& codec :
         {Ours("zcodec fast", zcdl::CodecMethod::fast), Ours("zcodec balanced", zcdl::CodecMethod::balanced),
          Ours("zcodec small", zcdl::CodecMethod::small)}) {
        store.ours.push_back(Storing(codec, Role::ours));
        load.ours.push_back(Loading(codec, Role::ours));
    }
    return {store, load};
}

}  // namespace contest
