#include "ses/crc64.h"

#ifdef SES_HAVE_ISAL
#include <isa-l/crc64.h>
#endif

uint64_t crc64_table(const unsigned char* data, unsigned long length, uint64_t crc) {
    for (unsigned long i = 0; i < length; ++i) {
        crc = (crc << 8) ^ crc64_tab[(data[i] ^ (crc >> 56)) & 0xFF];
    }
    return crc;
}

uint64_t crc64(const unsigned char* data, unsigned long length, uint64_t crc) {
#ifdef SES_HAVE_ISAL
    // ISA-L's "norm" variant is the same polynomial, unreflected, but inverts the register on the
    // way in and out; inverting around it gives the plain register, so chained calls resume.
    return ~crc64_ecma_norm(~crc, data, length);
#else
    return crc64_table(data, length, crc);
#endif
}
