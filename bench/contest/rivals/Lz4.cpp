// lz4.
#include <lz4.h>

#include <stdexcept>

#include "operations/Codec.h"

namespace contest {

namespace {

const char* Chars(const std::uint8_t* bytes) { return reinterpret_cast<const char*>(bytes); }
char* Chars(std::uint8_t* bytes) { return reinterpret_cast<char*>(bytes); }

std::size_t Store(const Pixels& piece, Pixels& block) {
    return static_cast<std::size_t>(LZ4_compress_default(
        Chars(piece.data()), Chars(block.data()), static_cast<int>(piece.size()), static_cast<int>(block.size())));
}

void Load(const std::uint8_t* block, std::size_t bytes, Pixels& piece) {
    const auto size = static_cast<int>(piece.size());
    if (LZ4_decompress_safe(Chars(block), Chars(piece.data()), static_cast<int>(bytes), size) != size)
        throw std::runtime_error("lz4: damaged block");
}

std::size_t Bound(std::size_t bytes) { return static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(bytes))); }

[[maybe_unused]] const bool kAdded = Add({"lz4", [] {
                                              return RowsOf({{"lz4", Codec::Pieces::tiles, Bound, Store, Load}});
                                          }});

}  // namespace

}  // namespace contest
