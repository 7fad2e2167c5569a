#include "host/HostApp.h"

#include <cctype>
#include <cstring>

namespace quillon::host {
namespace {

unsigned char g_applicationIdRecord[kApplicationIdRecordSize] = {};
int32_t g_storedApplicationId = 0;

bool IsAlphanumeric(unsigned char c) {
    return std::isalnum(c) != 0;
}

}  // namespace

void FillApplicationIdRecord(unsigned char record[kApplicationIdRecordSize], int32_t applId) {
    const uint32_t id = static_cast<uint32_t>(applId);
    record[0] = '!';
    record[1] = static_cast<unsigned char>(id >> 24);
    record[2] = static_cast<unsigned char>(id >> 16);
    record[3] = static_cast<unsigned char>(id >> 8);
    record[4] = static_cast<unsigned char>(id);
    // Each test looks at the byte after the one it may replace.
    if (!IsAlphanumeric(record[1])) {
        record[0] = 'I';
    }
    if (!IsAlphanumeric(record[2])) {
        record[1] = 'C';
    }
    if (!IsAlphanumeric(record[3])) {
        record[2] = 'H';
    }
    if (!IsAlphanumeric(record[4])) {
        record[3] = 'D';
    }
}

void CaptureApplicationId(const PF_InData* in_data) {
    if (g_applicationIdRecord[0] == 0 && in_data != nullptr) {
        FillApplicationIdRecord(g_applicationIdRecord, in_data->appl_id);
    }
}

const unsigned char* ApplicationIdRecord() {
    return g_applicationIdRecord;
}

void ClearApplicationIdRecord() {
    std::memset(g_applicationIdRecord, 0, sizeof(g_applicationIdRecord));
}

void StoreApplicationId(int32_t applId) {
    g_storedApplicationId = applId;
}

int32_t StoredApplicationId() {
    return g_storedApplicationId;
}

bool IsAfterEffectsHost() {
    return g_storedApplicationId == PF_APPL_ID_AFTER_EFFECTS;
}

bool IsPremiereHost() {
    return g_storedApplicationId == PF_APPL_ID_PREMIERE;
}

bool IsModernPremiere(const PF_InData* in_data) {
    return in_data != nullptr && in_data->appl_id == PF_APPL_ID_PREMIERE &&
           in_data->version.major >= 13 && in_data->version.minor >= 0;
}

}  // namespace quillon::host
