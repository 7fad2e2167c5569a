// The per-instance record kept in the host's sequence-data handle. The host
// saves its bytes verbatim in projects, so the layout is a persisted format.
#ifndef QUILLON_HOST_SEQUENCEDATA_H
#define QUILLON_HOST_SEQUENCEDATA_H

#include <cstddef>
#include <cstdint>

#include "effect/EffectSettings.h"
#include "host/ae/PluginTypes.h"

namespace quillon::host {

struct SequenceData {
    uint32_t reserved;     // 2 when created, 1 when migrated
    uint32_t targetWidth;  // full-resolution target size
    uint32_t targetHeight;
    uint32_t outputWidth;     // after downsampling
    int32_t outputHeight;     // halved around field rendering
    uint32_t kernelSelector;  // 8-bit kernel variant for the engine
    uint32_t reserved24;
    uint8_t flags[4];
    uint8_t reserved32[512];
    double proportionRatio;  // width / height for Constrain Proportions
};

static_assert(sizeof(SequenceData) == 552);
static_assert(offsetof(SequenceData, outputHeight) == 16);
static_assert(offsetof(SequenceData, kernelSelector) == 20);
static_assert(offsetof(SequenceData, reserved24) == 24);
static_assert(offsetof(SequenceData, flags) == 28);
static_assert(offsetof(SequenceData, reserved32) == 32);
static_assert(offsetof(SequenceData, proportionRatio) == 544);

// Size of the older layout, which lacks the leading word and the ratio.
inline constexpr uint64_t kLegacySequenceDataSize = 540;

inline constexpr uint32_t kSequenceCreated = 2;
inline constexpr uint32_t kSequenceMigrated = 1;
inline constexpr uint32_t kDefaultKernelSelector = kDefaultKernelVariant8;
inline constexpr double kDefaultProportionRatio = 972.0 / 720.0;

// Writes the creation values with the given reserved word.
void InitSequenceData(SequenceData& data, uint32_t reservedWord);

// Fills a current record from the bytes of an older 540-byte record.
void MigrateLegacySequenceData(const uint8_t* legacy, SequenceData& data);

// The sequence data of in_data, locked for the life of the object. It is
// missing (null) when the handle is null, cannot be locked or is smaller
// than the current layout.
class SequenceDataAccess {
public:
    explicit SequenceDataAccess(const PF_InData* in_data);
    ~SequenceDataAccess();
    SequenceDataAccess(const SequenceDataAccess&) = delete;
    SequenceDataAccess& operator=(const SequenceDataAccess&) = delete;

    SequenceData* get() const { return data_; }

private:
    PF_UtilCallbacks* utils_ = nullptr;
    PF_Handle handle_ = nullptr;
    SequenceData* data_ = nullptr;
};

}  // namespace quillon::host

#endif  // QUILLON_HOST_SEQUENCEDATA_H
