// Detection on edge maps: grey image, classification, isolated cells, run
// trimming and pruning. Expected maps are worked out by hand from the rules.
#include <gtest/gtest.h>

#include "AntiAliasTestSupport.h"

namespace quillon::aatest {
namespace {

// (sum * 21844 + 32768) >> 16; at 16 bits on the high bytes only.
TEST(AntiAliasGrey, RoundsWithTheNarrowMultiplierOnHighBytes) {
    const uint8_t pixels[] = {255, 255, 255, 9,   // 765 -> 255
                              0,   0,   1,   9,   // 1 -> (21844 + 32768) >> 16 = 0
                              1,   1,   0,   9,   // 2 -> (43688 + 32768) >> 16 = 1
                              100, 50,  0,   9,   // 150 -> 3309368 >> 16 = 50
                              3,   0,   0,   0};  // 3 -> 98300 >> 16 = 1
    uint8_t grey[5] = {};
    aa::makeGrey8(pixels, grey, 5);
    EXPECT_EQ(std::vector<uint8_t>(grey, grey + 5), (std::vector<uint8_t>{255, 0, 1, 50, 1}));
    const uint16_t wide[] = {0xFFFF, 0xFF00, 0xFF7F, 0x1234,   // high bytes 255 -> 255
                             0x01FF, 0x00FF, 0x00FF, 0xFFFF};  // high bytes 1,0,0 -> 0
    aa::makeGrey16(wide, grey, 2);
    EXPECT_EQ(grey[0], 255);
    EXPECT_EQ(grey[1], 0);
}

TEST(AntiAliasClassify, ThresholdIsStrictlyAboveTwenty) {
    // Steps of exactly 20 are no edge, 21 is, in both directions and signs.
    const std::vector<uint8_t> g = {100, 120, 99,  78,    // right: +20, -21, -21
                                    121, 100, 120, 57,    // right: -21, +20, -63
                                    100, 200, 0,   100};  // last row: never classified
    std::vector<uint8_t> rows(12, 9);
    std::vector<uint8_t> cols(12, 9);
    aa::classifyEdges(g.data(), rows.data(), cols.data(), 4, 3);
    // Column map: the pixel to the right; the last column and row read 0.
    EXPECT_EQ(cols, (std::vector<uint8_t>{0, 2, 2, 0, 2, 0, 2, 0, 0, 0, 0, 0}));
    // Row map: the pixel below. Row 0 -> 1: +21, -20, +21, (-21 in the last
    // column, never classified). Row 1 -> 2: -21, +100, -120, (+43).
    EXPECT_EQ(rows, (std::vector<uint8_t>{1, 0, 1, 0, 2, 1, 2, 0, 0, 0, 0, 0}));
}

TEST(AntiAliasIsolated, RowsDropSingleCellRunsWhenTheyEnd) {
    // W = 10: cells 0..8 are scanned. Cell 0 ends (single) at the 0, cell 4
    // ends at the 0, cell 6 ends at the 1; the run 7..8 is still open at the
    // last scanned cell and cell 9 is never looked at. A single cell at the
    // last scanned column is kept; the last row is not scanned at all.
    for (const auto& [before, after] :
         {std::pair<Rows, Rows>{{"1.221.2111", ".1.2.1.2.."}, {"..22...111", ".1.2.1.2.."}},
          {{"..2.....1.", ".........."}, {"........1.", ".........."}}}) {
        TextMap m = TextMap::parse(before);
        aa::dropIsolatedInRows(m.cells.data(), m.width, m.height);
        EXPECT_EQ(m.text(), after);
    }
}

TEST(AntiAliasIsolated, ColumnsFollowTheFixedRowOrder) {
    // Column 0 of a 2-wide map (column 1 empty), before and after.
    const std::pair<const char*, const char*> cases[] = {
        // H = 8: row 0 vs 1; pairs (2,3) and (4,5); last row 6 vs 5. Row 0
        // differs from row 1: cleared. Row 1 is never examined, although it
        // differs from both neighbours. Row 6 differs from row 5.
        {"12112210", ".21122.."},
        // Row 4 differs from 5 and 3: cleared by the pair test; the last-row
        // test then compares row 6 with row 5 (equal).
        {"22112110", "2211.11."},
        // H = 5: only row 0 and the last-row test (row 3 against row 2).
        {"11210", "112.."},
        // H = 6: one pair (2, 3); the isolated row 2 goes.
        {"112110", "11.11."},
    };
    for (const auto& [before, after] : cases) {
        Rows rows;
        for (const char* c = before; *c != 0; ++c) {
            rows.push_back({*c, '.'});
        }
        TextMap m = TextMap::parse(rows);
        aa::dropIsolatedInColumns(m.cells.data(), m.width, m.height);
        std::string got;
        for (const std::string& row : m.text()) {
            got.push_back(row[0]);
        }
        EXPECT_EQ(got, after) << before;
    }
}

// W = 16, H = 6: only row 2 is scanned (trimming: x = 2 .. 12, pruning:
// x = 3 .. 13); rows 1 and 3 are its neighbours and stay as they are. Each
// case gives rows 1 to 3 and the expected row 2; the column form runs on the
// transposed map and, for pruning, clears an unattached run without the cell
// after it (`columns`, when that differs).
struct RowCase {
    const char* rule;
    const char* above;
    const char* row;
    const char* below;
    const char* expected;
    const char* columns = nullptr;
};

constexpr const char* kBlank = "................";

void expectRowTwo(void (*stage)(uint8_t*, int32_t, int32_t), const RowCase& c, bool transpose) {
    const char* expected = transpose && c.columns != nullptr ? c.columns : c.expected;
    TextMap m = TextMap::parse({kBlank, c.above, c.row, c.below, kBlank, kBlank});
    m = transpose ? m.transposed() : m;
    stage(m.cells.data(), m.width, m.height);
    m = transpose ? m.transposed() : m;
    EXPECT_EQ(m.text(), (Rows{kBlank, c.above, expected, c.below, kBlank, kBlank}))
        << c.rule << (transpose ? " (columns)" : "");
}

TEST(AntiAliasTrim, EachRuleOnRowTwo) {
    const RowCase cases[] = {
        {"carried on diagonally at both ends: survives", "...11...........", ".....1111.......",
         ".........11.....", ".....1111......."},
        // The start is marked, and the run goes with the following cell 9.
        {"start touching by one cell: run and cell after cleared", "....1...........",
         ".....11112......", ".........11.....", kBlank},
        {"unattached at both ends: cleared", kBlank, ".....11112......", kBlank, kBlank},
        {"attached at one end only: survives", kBlank, ".....1111.......", ".........11.....",
         ".....1111......."},
        {"single cell: cleared", ".....1..........", "......1.........", ".......1........",
         kBlank},
        {"two cells beside a parallel run: cleared", kBlank, ".....11.........", "..11111111......",
         kBlank},
        {"three cells beside a parallel run: survive", kBlank, ".....111........",
         "..11111111......", ".....111........"},
        {"two cells below a parallel run: cleared", "..11111111......", ".....11.........", kBlank,
         kBlank},
        // The run 0..2 is open where the scan begins; at x = 2 a start is
        // judged for the 0 anyway (len = 1), at x = 3 len drops to 0, so the
        // run 4..7 is counted from x = 4 with length 1 and cleared from
        // x - len + 1 = 5 up to 8: its first cell survives.
        {"run after a single-cell step counted one short", kBlank, "111.2222........", kBlank,
         "111.2..........."},
    };
    for (const RowCase& c : cases) {
        expectRowTwo(aa::trimRunsInRows, c, false);
        expectRowTwo(aa::trimRunsInColumns, c, true);
    }
}

TEST(AntiAliasPrune, EachRuleOnRowTwo) {
    const RowCase cases[] = {
        // The 2 left behind by the column form is a single cell and goes too.
        {"unattached: goes with the cell after it", kBlank, ".....1112.......", kBlank, kBlank},
        // Row 1 holds the code diagonally before the start; the single
        // code-2 cell is cleared when the code changes after it.
        {"attached at start: survives, single cell after goes", "....1...........",
         ".....1112.......", kBlank, ".....111........"},
        {"attached at end: survives", kBlank, ".....111........", "........1.......",
         ".....111........"},
        {"single cell: cleared even when attached", ".....1..........", "......1.........",
         ".......1........", kBlank},
        // The cleared run takes the first cell of the 2-run, which leaves the
        // rest a single cell that goes too; the column form leaves the 2-run
        // whole, and it is attached at its end.
        {"unattached run before an attached one", kBlank, ".....11122......", "..........2.....",
         kBlank, "........22......"},
    };
    for (const RowCase& c : cases) {
        expectRowTwo(aa::pruneRunsInRows, c, false);
        expectRowTwo(aa::pruneRunsInColumns, c, true);
    }
}

TEST(AntiAliasTrim, ColumnsAreTheTransposedRuleAndSmallMapsPassUnchanged) {
    for (uint32_t seed = 1; seed <= 40; ++seed) {
        const TextMap m = randomRunMap(9 + seed % 7, 8 + seed % 5, seed);
        TextMap rows = m;
        aa::trimRunsInRows(rows.cells.data(), rows.width, rows.height);
        TextMap cols = m.transposed();
        aa::trimRunsInColumns(cols.cells.data(), cols.width, cols.height);
        EXPECT_EQ(cols.transposed().cells, rows.cells) << "seed " << seed;
        // Five rows or columns or fewer: every stage leaves the map alone.
        for (auto [w, h] : {std::pair{5, 12}, std::pair{12, 5}, std::pair{4, 4}}) {
            TextMap t = randomRunMap(w, h, seed);
            for (auto stage : {aa::trimRunsInRows, aa::trimRunsInColumns, aa::pruneRunsInRows,
                               aa::pruneRunsInColumns}) {
                stage(t.cells.data(), w, h);
            }
            EXPECT_EQ(t.cells, randomRunMap(w, h, seed).cells) << w << "x" << h;
        }
    }
}

}  // namespace
}  // namespace quillon::aatest
