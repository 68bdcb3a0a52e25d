#include "translation/MD5Calc.h"

#include <bit>
#include <cstring>
#include <ostream>

namespace vexil3::js {

namespace {

constexpr std::uint32_t kInitialState[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

// The four step functions. F and G are written with as few dependent operations as they allow.
struct F {
    static constexpr std::uint32_t of(std::uint32_t x, std::uint32_t y, std::uint32_t z) { return z ^ (x & (y ^ z)); }
};
struct G {
    // The two halves share no bit, so adding them one by one lets the first go ahead of x.
    static constexpr std::uint32_t of(std::uint32_t x, std::uint32_t y, std::uint32_t z) { return (x & z) + (y & ~z); }
};
struct H {
    static constexpr std::uint32_t of(std::uint32_t x, std::uint32_t y, std::uint32_t z) { return x ^ y ^ z; }
};
struct I {
    static constexpr std::uint32_t of(std::uint32_t x, std::uint32_t y, std::uint32_t z) { return y ^ (x | ~z); }
};

template <class Function, int Shift>
[[gnu::always_inline]] inline void step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d,
                                        std::uint32_t word, std::uint32_t constant) {
    a = std::rotl(a + word + constant + Function::of(b, c, d), Shift) + b;
}

// Four steps, after which every chaining word has moved once. First, Stride: which words they take.
template <class Function, int S1, int S2, int S3, int S4, int First, int Stride>
[[gnu::always_inline]] inline void steps(std::uint32_t (&s)[4], const std::uint32_t* x, const std::uint32_t (&k)[4]) {
    step<Function, S1>(s[0], s[1], s[2], s[3], x[First % 16], k[0]);
    step<Function, S2>(s[3], s[0], s[1], s[2], x[(First + Stride) % 16], k[1]);
    step<Function, S3>(s[2], s[3], s[0], s[1], x[(First + 2 * Stride) % 16], k[2]);
    step<Function, S4>(s[1], s[2], s[3], s[0], x[(First + 3 * Stride) % 16], k[3]);
}

// floor(2^32 * abs(sin(i + 1))), in rows of four steps.
constexpr std::uint32_t kSines[16][4] = {
    {0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee}, {0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501},
    {0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be}, {0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821},
    {0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa}, {0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8},
    {0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed}, {0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a},
    {0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c}, {0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70},
    {0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05}, {0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665},
    {0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039}, {0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1},
    {0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1}, {0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391}};

}  // namespace

MD5Calc::MD5Calc() { init(); }

MD5Calc::MD5Calc(const std::string& text) {
    init();
    update(text.c_str(), static_cast<unsigned int>(text.length()));
    finalize();
}

void MD5Calc::init() {
    finalized = false;
    count[0] = count[1] = 0;
    std::memcpy(state, kInitialState, sizeof state);
}

void MD5Calc::update(const unsigned char* input, unsigned int length) {
    const unsigned int index = (count[0] >> 3) % 64;
    count[0] += length << 3;
    if (count[0] < length << 3) ++count[1];
    count[1] += length >> 29;

    unsigned int done = 0;
    if (length >= 64 - index) {
        done = 64 - index;
        if (index) {
            std::memcpy(buffer + index, input, done);
            transform(buffer);
        } else {
            done = 0;
        }
        for (; length - done >= 64; done += 64) transform(input + done);
        if (length > done) std::memcpy(buffer, input + done, length - done);
    } else if (length) {
        std::memcpy(buffer + index, input, length);
    }
}

void MD5Calc::update(const char* input, unsigned int length) {
    update(reinterpret_cast<const unsigned char*>(input), length);
}

void MD5Calc::transform(const unsigned char* block) {
    unsigned int x[16];
    decode(x, block, 64);
    std::uint32_t s[4] = {state[0], state[1], state[2], state[3]};

    steps<F, 7, 12, 17, 22, 0, 1>(s, x, kSines[0]);
    steps<F, 7, 12, 17, 22, 4, 1>(s, x, kSines[1]);
    steps<F, 7, 12, 17, 22, 8, 1>(s, x, kSines[2]);
    steps<F, 7, 12, 17, 22, 12, 1>(s, x, kSines[3]);

    steps<G, 5, 9, 14, 20, 1, 5>(s, x, kSines[4]);
    steps<G, 5, 9, 14, 20, 5, 5>(s, x, kSines[5]);
    steps<G, 5, 9, 14, 20, 9, 5>(s, x, kSines[6]);
    steps<G, 5, 9, 14, 20, 13, 5>(s, x, kSines[7]);

    steps<H, 4, 11, 16, 23, 5, 3>(s, x, kSines[8]);
    steps<H, 4, 11, 16, 23, 1, 3>(s, x, kSines[9]);
    steps<H, 4, 11, 16, 23, 13, 3>(s, x, kSines[10]);
    steps<H, 4, 11, 16, 23, 9, 3>(s, x, kSines[11]);

    steps<I, 6, 10, 15, 21, 0, 7>(s, x, kSines[12]);
    steps<I, 6, 10, 15, 21, 12, 7>(s, x, kSines[13]);
    steps<I, 6, 10, 15, 21, 8, 7>(s, x, kSines[14]);
    steps<I, 6, 10, 15, 21, 4, 7>(s, x, kSines[15]);

    for (int i = 0; i < 4; ++i) state[i] += s[i];
    RtlSecureZeroMemory(x, sizeof x);
}

void MD5Calc::finalize() {
    if (finalized) return;
    static constexpr unsigned char padding[64] = {0x80};
    unsigned char bits[8];
    encode(bits, count, 8);
    const unsigned int index = (count[0] >> 3) % 64;
    update(padding, index < 56 ? 56 - index : 120 - index);
    update(bits, 8);
    encode(digest, state, 16);
    std::memset(buffer, 0, sizeof buffer);
    count[0] = count[1] = 0;
    finalized = true;
}

std::string MD5Calc::hexdigest() const {
    if (!finalized) return "";
    static constexpr char digits[] = "0123456789abcdef";
    std::string text(32, '0');
    for (std::size_t i = 0; i < 16; ++i) {
        text[2 * i] = digits[digest[i] >> 4];
        text[2 * i + 1] = digits[digest[i] & 15];
    }
    return text;
}

void MD5Calc::decode(unsigned int* output, const unsigned char* input, unsigned int length) {
    static_assert(std::endian::native == std::endian::little, "words are stored as the message holds them");
    std::memcpy(output, input, length);
}

void MD5Calc::encode(unsigned char* output, const unsigned int* input, unsigned int length) {
    std::memcpy(output, input, length);
}

std::ostream& operator<<(std::ostream& stream, MD5Calc digest) { return stream << digest.hexdigest(); }

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers pass what they no longer need
std::string md5(std::string text) { return MD5Calc(text).hexdigest(); }

void* RtlSecureZeroMemory(void* start, unsigned long length) {
    if (length) std::memset(start, 0, length);
    // The memory counts as read from here on, so the zeros must be there.
    asm volatile("" : : "r"(start) : "memory");
    return start;
}

}  // namespace vexil3::js
