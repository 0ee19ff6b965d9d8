// zstd: tiles, and the picture at once.
#include <zstd.h>

#include <memory>
#include <stdexcept>

#include "operations/Codec.h"

namespace contest {

namespace {

Codec Zstd(const char* name, int level, Codec::Pieces pieces) {
    const std::shared_ptr<ZSTD_CCtx> encoder(ZSTD_createCCtx(), ZSTD_freeCCtx);
    const std::shared_ptr<ZSTD_DCtx> decoder(ZSTD_createDCtx(), ZSTD_freeDCtx);
    return {name, pieces, [](std::size_t bytes) { return ZSTD_compressBound(bytes); },
            [=](const Pixels& piece, Pixels& block) {
                return ZSTD_compressCCtx(encoder.get(), block.data(), block.size(), piece.data(), piece.size(), level);
            },
            [=](const std::uint8_t* block, std::size_t bytes, Pixels& piece) {
                if (ZSTD_decompressDCtx(decoder.get(), piece.data(), piece.size(), block, bytes) != piece.size())
                    throw std::runtime_error("zstd: damaged block");
            }};
}

[[maybe_unused]] const bool kAdded = Add({"zstd", [] {
                                              return RowsOf({Zstd("zstd 1 tiles", 1, Codec::Pieces::tiles),
                                                             Zstd("zstd 1 whole", 1, Codec::Pieces::whole),
                                                             Zstd("zstd 3 tiles", 3, Codec::Pieces::tiles)});
                                          }});

}  // namespace

}  // namespace contest
