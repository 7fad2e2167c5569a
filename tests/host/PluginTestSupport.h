// Loads the built plug-in into a host simulator for each test.
#ifndef QUILLON_TESTS_HOST_PLUGINTESTSUPPORT_H
#define QUILLON_TESTS_HOST_PLUGINTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "tools/hostsim/HostSimulator.h"

namespace quillon::test {

using hostsim::Callback;
using hostsim::HostIdentity;
using hostsim::HostSimulator;

class PluginTest : public ::testing::Test {
protected:
    // Creates the simulator as the given host and loads the plug-in.
    void Start(HostIdentity identity = HostIdentity::AfterEffects) {
        host_.reset();
        host_ = std::make_unique<HostSimulator>(identity);
        std::string error;
        ASSERT_TRUE(host_->LoadPlugin(QUILLON_PLUGIN_PATH, &error)) << error;
    }

    // Start, then global, parameters and sequence setup.
    void StartInstance(HostIdentity identity = HostIdentity::AfterEffects) {
        Start(identity);
        ASSERT_EQ(host_->SetUpInstance(), PF_Err_NONE);
        ASSERT_EQ(host_->paramCount(), 13);
    }

    HostSimulator& host() { return *host_; }

    template <typename T>
    T ReadAt(PF_Handle handle, std::size_t offset) {
        T value{};
        std::memcpy(&value, static_cast<const uint8_t*>(host_->HandleData(handle)) + offset,
                    sizeof(T));
        return value;
    }

    template <typename T>
    void WriteAt(PF_Handle handle, std::size_t offset, T value) {
        std::memcpy(static_cast<uint8_t*>(host_->HandleData(handle)) + offset, &value, sizeof(T));
    }

    std::unique_ptr<HostSimulator> host_;
};

// SequenceData offsets of the persisted layout.
inline constexpr std::size_t kSeqReserved = 0;
inline constexpr std::size_t kSeqTargetWidth = 4;
inline constexpr std::size_t kSeqOutputWidth = 12;
inline constexpr std::size_t kSeqOutputHeight = 16;
inline constexpr std::size_t kSeqRatio = 544;

}  // namespace quillon::test

#endif  // QUILLON_TESTS_HOST_PLUGINTESTSUPPORT_H
