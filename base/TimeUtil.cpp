#include "base/TimeUtil.h"

#include <ctime>

namespace ca {

uint32_t RealTimeMs() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000u +
                                 static_cast<uint64_t>(now.tv_nsec) / 1000000u);
}

}  // namespace ca
