// Parameter definitions: popup item strings built from the preset tables.
#ifndef QUILLON_HOST_PARAMETERS_H
#define QUILLON_HOST_PARAMETERS_H

#include <cstdint>

#include "effect/SizePresets.h"

namespace quillon::host {

inline constexpr int kPopupItemsCapacity = 4096;

// Default custom size when a table marks no row.
inline constexpr uint32_t kFallbackCustomWidth = 972;
inline constexpr uint32_t kFallbackCustomHeight = 720;

struct PopupItems {
    char text[kPopupItemsCapacity];  // items joined by '|', the '!' mark removed
    int32_t count;                   // rows in the table
    int32_t defaultPosition;         // 1-based position of the marked row, 0 for none
    uint32_t defaultWidth;           // the marked row's size, or the fallback size
    uint32_t defaultHeight;
};

// Builds the item string of a size popup. Items that would overflow the
// buffer are cut off; the count still reflects every row.
void BuildPopupItems(const SizePreset* table, PopupItems& items);

}  // namespace quillon::host

#endif  // QUILLON_HOST_PARAMETERS_H
