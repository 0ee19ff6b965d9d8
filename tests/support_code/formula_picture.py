"""The picture that tests fill by a formula, for readers that share nothing with the library (FormulaPicture.h has it for
the library's tests), and what both kinds of files have in common."""

BITS = [0, 1, 4, 8, 16, 32, 1, 4, 8, 24, 32, 32, 32, 32]
COLORS = {6: 2, 7: 16, 8: 256}
WITH_ALPHA_CHANNEL = (10, 11, 13)
BGRA_32, BGRX_32, PBGRA_32 = 10, 12, 13


def row_bytes(width, bits):
    return (bits * width + 31) // 32 * 4


def formula_byte(x, y, k):
    return (7 * x + 13 * y + 61 * k + x * y) & 255


def formula_pixel(pixel_format, x, y):
    bits = BITS[pixel_format]
    if bits < 8:
        return formula_byte(x, y, 0) >> (8 - bits)
    values = [formula_byte(x, y, k) for k in range(bits // 8)]
    if pixel_format == BGRX_32:
        values[3] = 0
    if pixel_format == PBGRA_32:
        values[:3] = [(value * values[3] + 127) // 255 for value in values[:3]]
    return int.from_bytes(bytes(values), "little")


def formula_mask(x, y):
    return (5 * x + 3 * y + x * y) % 7 < 4


def formula_color(i):
    return bytes(value & 255 for value in (11 * i + 3, 7 * i + 5, 13 * i + 9, 255 - i))
