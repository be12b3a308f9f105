#include "ses/crc64.h"

uint64_t crc64(const unsigned char* data, unsigned long length, uint64_t crc) {
    for (unsigned long i = 0; i < length; ++i) {
        crc = (crc << 8) ^ crc64_tab[(data[i] ^ (crc >> 56)) & 0xFF];
    }
    return crc;
}
