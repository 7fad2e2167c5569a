// Process-wide channel ceilings.
#include "core/EngineSettings.h"

namespace quillon {

std::atomic<int32_t> gMaxValue8{255};
std::atomic<int32_t> gMaxValue16{65535};

bool SetMaxValue8Checked(int32_t value) {
    if (value < 2 || value > 255) {
        return false;
    }
    gMaxValue8.store(value, std::memory_order_relaxed);
    return true;
}

bool SetMaxValue16Checked(int32_t value) {
    if (value < 2 || value > 65535) {
        return false;
    }
    gMaxValue16.store(value, std::memory_order_relaxed);
    return true;
}

}  // namespace quillon
