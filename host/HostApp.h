// Which host is calling: the application id stored at global setup, the
// first-call application-id record, and the host tests built on them.
#ifndef QUILLON_HOST_HOSTAPP_H
#define QUILLON_HOST_HOSTAPP_H

#include <cstdint>

#include "host/ae/PluginTypes.h"

namespace quillon::host {

inline constexpr int kApplicationIdRecordSize = 5;

// Fills a five-byte record from an application id: '!' and the id's four
// bytes, most significant first, then the shifted character test (each byte
// is replaced unless the byte after it is alphanumeric: 'I', 'C', 'H', 'D').
void FillApplicationIdRecord(unsigned char record[kApplicationIdRecordSize], int32_t applId);

// Fills the process-wide record on the first call that carries in_data.
void CaptureApplicationId(const PF_InData* in_data);
const unsigned char* ApplicationIdRecord();
void ClearApplicationIdRecord();

// The application id stored at global setup.
void StoreApplicationId(int32_t applId);
int32_t StoredApplicationId();

bool IsAfterEffectsHost();
bool IsPremiereHost();
// Tests the current call: Premiere Pro 13 or later.
bool IsModernPremiere(const PF_InData* in_data);

}  // namespace quillon::host

#endif  // QUILLON_HOST_HOSTAPP_H
