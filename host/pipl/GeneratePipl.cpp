// Build-time generator: writes the binary property list and its resource
// script from the table in host/PluginInfo.h.
//   quillon_pipl_gen <binary output> <resource script output>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/PiplEncoder.h"
#include "host/PluginInfo.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s <pipl.bin> <pipl.rc>\n", argc > 0 ? argv[0] : "gen");
        return 2;
    }
    std::vector<uint8_t> bytes;
    if (!quillon::plugin::EncodePipl(quillon::plugin::kPiplProperties,
                                     std::size(quillon::plugin::kPiplProperties), bytes)) {
        std::fprintf(stderr, "property table cannot be encoded\n");
        return 1;
    }
    std::ofstream binary(argv[1], std::ios::binary | std::ios::trunc);
    binary.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
    std::ofstream script(argv[2], std::ios::trunc);
    script << quillon::plugin::MakePiplResourceScript(bytes, quillon::plugin::kPiplResourceId);
    if (!binary || !script) {
        std::fprintf(stderr, "cannot write the outputs\n");
        return 1;
    }
    return 0;
}
