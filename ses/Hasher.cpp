#include "ses/Hasher.h"

#include "ses/crc64.h"

void Crc64Hash::Compute(const unsigned char* data, unsigned int length) {
    if (length != 0) {
        state = crc64(data, length, state);
    }
    text = std::to_string(state);
}
