// Process-wide channel ceilings.
#include "engine/EngineSettings.h"

#include "engine/Engine.h"

namespace quillon {

std::atomic<int32_t> gMaxValue8{255};
std::atomic<int32_t> gMaxValue16{65535};

}  // namespace quillon

extern "C" int32_t SetMaxValue8(int32_t value) {
    if (value < 2 || value > 255) {
        return -1;
    }
    quillon::gMaxValue8.store(value, std::memory_order_relaxed);
    return 0;
}

extern "C" int32_t SetMaxValue16(int32_t value) {
    if (value < 2 || value > 65535) {
        return -1;
    }
    quillon::gMaxValue16.store(value, std::memory_order_relaxed);
    return 0;
}
