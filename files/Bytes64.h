#pragma once

#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Talmo
{

/// Sixty-four bytes that are all looked at together. Each answer has a bit for every byte; the bit
/// of the first byte is the lowest.
class Bytes64
{
public:
    using Bits = std::uint64_t;

    /// Takes the 64 bytes from \a bytes on, which must stay where they are.
    explicit Bytes64(const char *bytes);

    /// Which bytes are one of \a characters.
    template <typename... Characters>
    Bits anyOf(Characters... characters) const;

    /// Which bytes are decimal digits.
    Bits digits() const;

private:
#ifdef __SSE2__
    template <typename Predicate>
    Bits collect(Predicate predicate) const
    {
        const auto bits = [&](int part) {
            return Bits(static_cast<unsigned>(_mm_movemask_epi8(predicate(parts[part]))));
        };
        return bits(0) | bits(1) << 16 | bits(2) << 32 | bits(3) << 48;
    }

    __m128i parts[4];
#else
    template <typename Predicate>
    Bits collect(Predicate predicate) const
    {
        Bits bits = 0;
        for (int index = 0; index < 64; ++index)
            bits |= Bits(predicate(parts[index])) << index;
        return bits;
    }

    const char *parts;
#endif
};

#ifdef __SSE2__ // every x86-64 processor has it

inline Bytes64::Bytes64(const char *bytes)
{
    const auto *const from = reinterpret_cast<const __m128i *>(bytes);
    for (int part = 0; part < 4; ++part)
        parts[part] = _mm_loadu_si128(from + part);
}

template <typename... Characters>
Bytes64::Bits Bytes64::anyOf(Characters... characters) const
{
    return collect(
        [=](__m128i part) { return (... | _mm_cmpeq_epi8(part, _mm_set1_epi8(characters))); });
}

inline Bytes64::Bits Bytes64::digits() const
{
    return collect([](__m128i part) {
        const __m128i fromZero = _mm_sub_epi8(part, _mm_set1_epi8('0'));
        return _mm_cmpeq_epi8(_mm_min_epu8(fromZero, _mm_set1_epi8(9)), fromZero);
    });
}

#else

inline Bytes64::Bytes64(const char *bytes)
    : parts(bytes)
{
}

template <typename... Characters>
Bytes64::Bits Bytes64::anyOf(Characters... characters) const
{
    return collect([=](char byte) { return (... || (byte == characters)); });
}

inline Bytes64::Bits Bytes64::digits() const
{
    return collect([](char byte) { return byte >= '0' && byte <= '9'; });
}

#endif

} // namespace Talmo
