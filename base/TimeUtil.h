#pragma once

#include <cstdint>
#include <functional>

namespace ca {

// RealTimeMs reads the real-time clock as seconds * 1000 + nanoseconds / 1000000, truncated to
// 32 bits: the time stamps of client contexts and stream ids wrap, and differences are modulo 2^32.
uint32_t RealTimeMs();

// Clock is a replaceable source of those time stamps (tests inject their own).
using Clock = std::function<uint32_t()>;

}  // namespace ca
