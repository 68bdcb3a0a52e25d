// The MD5 message digest of RFC 1321.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include <vexil3/guid.h>

namespace vexil3::js {

// Open after construction or init, and takes input; finalize fixes the digest.
class VEXIL_API MD5Calc {
public:
    MD5Calc();
    // The finished digest of `text`.
    explicit MD5Calc(const std::string& text);

    void init();
    // Not after finalize.
    void update(const unsigned char* input, unsigned int length);
    void update(const char* input, unsigned int length);
    // A second call does nothing.
    void finalize();
    // 32 lowercase hexadecimal characters; "" before finalize.
    std::string hexdigest() const;

private:
    void transform(const unsigned char* block);
    static void decode(unsigned int* output, const unsigned char* input, unsigned int length);
    static void encode(unsigned char* output, const unsigned int* input, unsigned int length);

    bool finalized;
    unsigned char buffer[64];  // input that does not fill a block yet
    std::uint32_t count[2];    // input bits so far, low word first
    std::uint32_t state[4];
    unsigned char digest[16];
};

std::ostream& operator<<(std::ostream& stream, MD5Calc digest);

// The hexadecimal digest of `text`.
std::string md5(std::string text);

// Writes zeros in a way that is not optimised away; returns `start`.
void* RtlSecureZeroMemory(void* start, unsigned long length);

}  // namespace vexil3::js
