// --cpu and --threads reach the engine: 'quillon info' and the JSON summary
// report them, and the output bytes do not depend on them.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ToolRunner.h"
#include "engine/Engine.h"

namespace quillon::test {
namespace {

std::vector<char> Bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(Execution, InfoReportsTheLevelAndThreadsInForce) {
    const ToolResult r = RunQuillon({"--cpu", "scalar", "--threads", "1", "info"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string text = r.outText();
    EXPECT_NE(text.find("quillon "), std::string::npos);
    EXPECT_NE(text.find("cpu level: scalar (machine: "), std::string::npos) << text;
    EXPECT_NE(text.find("threads: 1\n"), std::string::npos) << text;
    EXPECT_NE(RunQuillon({"--cpu", "avx3", "info"}).exitCode, 0);
    EXPECT_NE(RunQuillon({"--threads", "0", "info"}).exitCode, 0);
}

TEST(Execution, LevelAndThreadsChangeNoByteAndAreInTheSummary) {
    TempDir dir;
    const std::string in = Asset("pier_320x180_16bit.png");
    const ToolResult plain =
        RunQuillon({"--cpu", "scalar", "--threads", "1", "upscale", in, dir / "plain.png", "--size",
                    "701x395", "--filter", "best", "-q"});
    ASSERT_EQ(plain.exitCode, 0) << plain.err;
    // The options may also follow the sub-command.
    const ToolResult fast =
        RunQuillon({"upscale", in, dir / "fast.png", "--size", "701x395", "--filter", "best",
                    "--cpu", "sse2", "--threads", "3", "--json", "-q"});
    ASSERT_EQ(fast.exitCode, 0) << fast.err;
    const std::string json = fast.outText();
    const std::string level = GetMachineCpuLevel() >= ENGINE_CPU_SSE2 ? "sse2" : "scalar";
    EXPECT_NE(json.find("\"cpu_level\":\"" + level + "\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"threads\":3"), std::string::npos) << json;
    EXPECT_EQ(Bytes(dir / "plain.png"), Bytes(dir / "fast.png"));
}

}  // namespace
}  // namespace quillon::test
