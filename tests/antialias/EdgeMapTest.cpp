// Detection on edge maps: grey image, classification, isolated cells, run
// trimming and pruning. Expected maps are worked out by hand from the rules.
#include <gtest/gtest.h>

#include "AntiAliasTestSupport.h"

namespace quillon::aatest {
namespace {

using Rows = std::vector<std::string>;

// ---------------------------------------------------------------- grey ----

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

// -------------------------------------------------------- classification --

std::vector<uint8_t> greyOf(const std::vector<std::vector<int>>& rows) {
    std::vector<uint8_t> g;
    for (const auto& r : rows) {
        for (int v : r) {
            g.push_back(static_cast<uint8_t>(v));
        }
    }
    return g;
}

TEST(AntiAliasClassify, ThresholdIsStrictlyAboveTwenty) {
    // Steps of exactly 20 are no edge, 21 is, in both directions and signs.
    const auto g = greyOf({{100, 120, 99, 78},    // right: +20, -21, -21
                           {121, 100, 120, 57},   // right: -21, +20, -63
                           {100, 200, 0, 100}});  // last row: never classified
    std::vector<uint8_t> rows(12, 9);
    std::vector<uint8_t> cols(12, 9);
    aa::classifyEdges(g.data(), rows.data(), cols.data(), 4, 3);
    // Column map: the pixel to the right; the last column and row read 0.
    EXPECT_EQ(cols, (std::vector<uint8_t>{0, 2, 2, 0,  //
                                          2, 0, 2, 0,  //
                                          0, 0, 0, 0}));
    // Row map: the pixel below. Row 0 -> 1: +21, -20, +21, (-21 in the last
    // column, never classified). Row 1 -> 2: -21, +100, -120, (+43).
    EXPECT_EQ(rows, (std::vector<uint8_t>{1, 0, 1, 0,  //
                                          2, 1, 2, 0,  //
                                          0, 0, 0, 0}));
}

// ---------------------------------------------------------- isolated cells --

TEST(AntiAliasIsolated, RowsDropSingleCellRunsWhenTheyEnd) {
    // W = 10: cells 0..8 are scanned. Cell 0 ends (single) at the 0, cell 4
    // ends at the 0, cell 6 ends at the 1; the run 7..8 is still open at the
    // last scanned cell and cell 9 is never looked at.
    TextMap m = TextMap::parse({"1.221.2111", ".........."});
    aa::dropIsolatedInRows(m.cells.data(), m.width, m.height);
    EXPECT_EQ(m.text(), (Rows{"..22...111", ".........."}));

    // A single cell at the last scanned column is kept; the last row is not
    // scanned at all.
    TextMap open = TextMap::parse({"..2.....1.", ".1.2.1.2.."});
    aa::dropIsolatedInRows(open.cells.data(), open.width, open.height);
    EXPECT_EQ(open.text(), (Rows{"........1.", ".1.2.1.2.."}));
}

TextMap column(const std::string& cells) {
    Rows rows;
    for (char c : cells) {
        rows.push_back(std::string(1, c) + ".");
    }
    return TextMap::parse(rows);
}

std::string columnText(const TextMap& m) {
    std::string s;
    for (const std::string& r : m.text()) {
        s.push_back(r[0]);
    }
    return s;
}

TEST(AntiAliasIsolated, ColumnsFollowTheFixedRowOrder) {
    // H = 8: row 0 vs 1; pairs (2,3) and (4,5); last row 6 vs 5.
    // Row 0 (1) differs from row 1 (2): cleared. Row 1 is never examined,
    // although it differs from both neighbours. Row 6 differs from row 5.
    TextMap m = column("12112210");
    aa::dropIsolatedInColumns(m.cells.data(), m.width, m.height);
    EXPECT_EQ(columnText(m), ".21122..");

    // Row 5 is cleared by the pair test (differs from 6 and 4); the last row
    // test then compares row 6 with the cleared row 5.
    TextMap n = column("22112110");
    aa::dropIsolatedInColumns(n.cells.data(), n.width, n.height);
    // r = 3: row 2 (1) vs 3 (1): kept; row 3 kept. r = 5: row 4 (2) differs
    // from 5 (1) and 3 (1): cleared; row 5 (1) vs 6 (1): kept. Last: 5 == 6.
    EXPECT_EQ(columnText(n), "2211.11.");
}

TEST(AntiAliasIsolated, ColumnsOfFiveRowsSkipTheMiddlePairs) {
    // H = 5: only row 0 and the last row test (row 3 against row 2).
    TextMap five = column("11210");
    aa::dropIsolatedInColumns(five.cells.data(), five.width, five.height);
    EXPECT_EQ(columnText(five), "112..");
    // H = 6: one pair (2, 3); the isolated row 2 goes.
    TextMap six = column("112110");
    aa::dropIsolatedInColumns(six.cells.data(), six.width, six.height);
    EXPECT_EQ(columnText(six), "11.11.");
}

// ------------------------------------------------------ trimming, pruning --
// W = 16, H = 6: only row 2 is scanned (trimming: x = 2 .. 12, pruning:
// x = 3 .. 13); rows 1 and 3 are its neighbours and stay as they are. Each
// case gives rows 1 to 3 and the expected row 2.

struct RowCase {
    const char* rule;
    const char* above;
    const char* row;
    const char* below;
    const char* expected;
};

TEST(AntiAliasTrim, EachRuleOnRowTwo) {
    const char* blank = "................";
    const RowCase cases[] = {
        {"carried on diagonally at both ends: survives", "...11...........", ".....1111.......",
         ".........11.....", ".....1111......."},
        // The start is marked, and the run goes with the following cell 9.
        {"start touching by one cell: run and cell after cleared", "....1...........",
         ".....11112......", ".........11.....", blank},
        {"unattached at both ends: cleared", blank, ".....11112......", blank, blank},
        {"attached at one end only: survives", blank, ".....1111.......", ".........11.....",
         ".....1111......."},
        {"single cell: cleared", ".....1..........", "......1.........", ".......1........", blank},
        {"two cells beside a parallel run: cleared", blank, ".....11.........", "..11111111......",
         blank},
        {"three cells beside a parallel run: survive", blank, ".....111........",
         "..11111111......", ".....111........"},
        {"two cells below a parallel run: cleared", "..11111111......", ".....11.........", blank,
         blank},
        // The run 0..2 is open where the scan begins; at x = 2 a start is
        // judged for the 0 anyway (len = 1), at x = 3 len drops to 0, so the
        // run 4..7 is counted from x = 4 with length 1 and cleared from
        // x - len + 1 = 5 up to 8: its first cell survives.
        {"run after a single-cell step counted one short", blank, "111.2222........", blank,
         "111.2..........."},
    };
    for (const RowCase& c : cases) {
        TextMap m = TextMap::parse({blank, c.above, c.row, c.below, blank, blank});
        aa::trimRunsInRows(m.cells.data(), m.width, m.height);
        EXPECT_EQ(m.text(), (Rows{blank, c.above, c.expected, c.below, blank, blank})) << c.rule;
    }
}

TEST(AntiAliasPrune, EachRuleOnRowTwo) {
    const char* blank = "................";
    const RowCase cases[] = {
        {"unattached: goes with the cell after it", blank, ".....1112.......", blank, blank},
        // Row 1 holds the code diagonally before the start; the single
        // code-2 cell is cleared when the code changes after it.
        {"attached at start: survives, single cell after goes", "....1...........",
         ".....1112.......", blank, ".....111........"},
        {"attached at end: survives", blank, ".....111........", "........1.......",
         ".....111........"},
        {"single cell: cleared even when attached", ".....1..........", "......1.........",
         ".......1........", blank},
        // The cleared run takes the first cell of the 2-run, which leaves the
        // rest a single cell that goes too.
        {"unattached run before an attached one", blank, ".....11122......", "..........2.....",
         blank},
    };
    for (const RowCase& c : cases) {
        TextMap m = TextMap::parse({blank, c.above, c.row, c.below, blank, blank});
        aa::pruneRunsInRows(m.cells.data(), m.width, m.height);
        EXPECT_EQ(m.text(), (Rows{blank, c.above, c.expected, c.below, blank, blank})) << c.rule;
    }
}

TEST(AntiAliasTrim, ColumnsAreTheTransposedRule) {
    for (uint32_t seed = 1; seed <= 40; ++seed) {
        const TextMap m = randomRunMap(9 + seed % 7, 8 + seed % 5, seed);
        TextMap rows = m;
        aa::trimRunsInRows(rows.cells.data(), rows.width, rows.height);
        TextMap cols = m.transposed();
        aa::trimRunsInColumns(cols.cells.data(), cols.width, cols.height);
        EXPECT_EQ(cols.transposed().cells, rows.cells) << "seed " << seed;
    }
}

TEST(AntiAliasTrim, MapsOfFiveRowsOrColumnsPassUnchanged) {
    for (uint32_t seed = 1; seed <= 10; ++seed) {
        for (auto [w, h] : {std::pair{5, 12}, std::pair{12, 5}, std::pair{4, 4}}) {
            const TextMap m = randomRunMap(w, h, seed);
            TextMap t = m;
            aa::trimRunsInRows(t.cells.data(), w, h);
            aa::trimRunsInColumns(t.cells.data(), w, h);
            aa::pruneRunsInRows(t.cells.data(), w, h);
            aa::pruneRunsInColumns(t.cells.data(), w, h);
            EXPECT_EQ(t.cells, m.cells) << w << "x" << h;
        }
    }
}

TEST(AntiAliasPrune, ColumnFormClearsExactlyTheRun) {
    // The last row case along column 2 of a 6 x 16 map: rows 5..7 hold an
    // unattached run of 1, rows 8..9 a run of 2 attached at its end (column
    // 1, row 10). The column form clears the 1-run only; the 2-run survives.
    TextMap columnForm =
        TextMap::parse({"................", "................", ".....11122......",
                        "..........2.....", "................", "................"})
            .transposed();
    // Move the attaching cell from column 3 to column 1 (both are neighbours).
    columnForm.cells[static_cast<std::size_t>(10 * 6 + 3)] = 0;
    columnForm.cells[static_cast<std::size_t>(10 * 6 + 1)] = 2;
    TextMap expected = columnForm;
    for (int y = 5; y <= 7; ++y) {
        expected.cells[static_cast<std::size_t>(y * 6 + 2)] = 0;
    }
    aa::pruneRunsInColumns(columnForm.cells.data(), columnForm.width, columnForm.height);
    EXPECT_EQ(columnForm.text(), expected.text());
}

}  // namespace
}  // namespace quillon::aatest
