// Segment extraction. Each case is a two-row staircase in a 24-wide map:
// an upper run in row 0 and a lower run in row 1 (rows 2 and 3 are empty, so
// the lower run emits nothing of its own). The expected pairs follow from
// the midpoints: mid = (i + e + 1) >> 1 on the upper run, lowmid on the lower.
#include <gtest/gtest.h>

#include <utility>

#include "AntiAliasTestSupport.h"

namespace quillon::aatest {
namespace {

constexpr int32_t W = 24;
using Pairs = std::vector<std::pair<int32_t, int32_t>>;

// Upper run [u0, u1] in row 0, lower runs in row 1, all of code `code`.
TextMap stair(int32_t u0, int32_t u1, const Pairs& lower, uint8_t code) {
    TextMap m{W, 4, std::vector<uint8_t>(4 * W, 0)};
    std::fill(&m.cells[static_cast<std::size_t>(u0)], &m.cells[static_cast<std::size_t>(u1 + 1)],
              code);
    for (auto [l0, l1] : lower) {
        std::fill(&m.cells[static_cast<std::size_t>(W + l0)],
                  &m.cells[static_cast<std::size_t>(W + l1 + 1)], code);
    }
    return m;
}

Pairs rowSegments(const TextMap& m, std::vector<uint8_t> grey = {}) {
    grey.resize(m.cells.size(), 128);
    aa::IndexList list;
    EXPECT_TRUE(list.reserveExact(4));
    EXPECT_TRUE(aa::extractRowSegments(m.cells.data(), grey.data(), m.width, m.height, list));
    Pairs out;
    for (std::size_t i = 0; i + 1 < list.size(); i += 2) {
        out.emplace_back(list[i], list[i + 1]);
    }
    return out;
}

struct TableRow {
    const char* name;
    int32_t u0, u1;
    Pairs lower;
    Pairs brighter;  // code 1
    Pairs darker;    // code 2
};

// Right steps: the lower run starts right of the upper run's first cell, and
// pairs run from the upper row to the lower row. Code 1 chooses by "lead"
// (lower midpoint right of the upper run's end), code 2 by "overlap" (upper
// midpoint at or right of the lower run's start).
// Left steps: the lower run reaches under and left of the upper run's first
// cell (two cells below-left), and pairs run from the lower row to the upper
// row. k1 is the first upper cell without the code below it; j is below-left
// of k1 and ps the start of the lower run.
TEST(AntiAliasSegments, StepTables) {
    const std::vector<TableRow> rows = {
        // Right. mid 4; q at 4, qe at 9, lowmid 7: overlap and lead.
        {"right overlap+lead", 2, 6, {{4, 9}}, {{4, W + 7}}, {{(4 + 2) >> 1, (2 * W + 11) >> 1}}},
        // mid 5; q 4, qe 7, lowmid 6: overlap, no lead.
        {"right overlap",
         2,
         8,
         {{4, 7}},
         {{(5 + 8) >> 1, (2 * W + 13) >> 1}},
         {{3, (2 * W + 10) >> 1}}},
        // mid 3; q 4, lowmid 6: lead only.
        {"right lead", 2, 4, {{4, 7}}, {{3, W + 6}}, {{3, W + 6}}},
        // mid 4; q 5, qe 6, lowmid 6: neither.
        {"right neither", 2, 6, {{5, 6}}, {{(4 + 6) >> 1, W + 6}}, {{4, W + 6}}},
        // Lower run starts right after the upper run: q taken from e ...
        {"from end", 2, 4, {{5, 8}}, {{3, W + 7}}, {{3, W + 7}}},
        // ... but needs two lower cells there.
        {"from end, one cell", 2, 4, {{5, 5}}, {}, {}},
        // Left. mid 9, k1 at 10, j = 9: overlap; lowmid 5 < 6: lead.
        {"left overlap+lead", 6, 12, {{0, 9}}, {{W + 5, 9}}, {{W + 7, (9 + 12) >> 1}}},
        // Lower run 3..9: lowmid 6, not left of the upper start.
        {"left overlap", 6, 12, {{3, 9}}, {{W + 4, (9 + 6) >> 1}}, {{W + 7, 10}}},
        // mid 6, k1 at 6, j = 5: no overlap; lowmid 3: lead.
        {"left lead", 4, 8, {{1, 5}}, {{W + 3, 6}}, {{W + 3, 6}}},
        // mid 11, j = 9: no overlap; lowmid 7: no lead.
        {"left neither", 6, 16, {{4, 9}}, {{W + 5, 8}}, {{W + 7, 11}}},
        // Every examined upper cell (4, 5) has the code below it. The first
        // pair joins the middle of the lower run's left part (ps = W) with
        // mid 5; the lower run goes on past e = 6, so a second pair leaves mid
        // towards the middle of the lower run's right part (e + W .. W + 8).
        {"left without free cell",
         4,
         6,
         {{0, 8}},
         {{(W + 4 + W) >> 1, 5}, {5, (W + 6 + W + 8) >> 1}},
         {{(W + 4 + W) >> 1, 5}, {5, (W + 6 + W + 8) >> 1}}},
        // Lower runs 0..6 and 8..12 under the upper run 4..10: the left pair
        // goes to the first, and the last examined cell with the code
        // below-right (x = 9, q at x = 10) starts a right-step pair.
        {"left with right continuation",
         4,
         10,
         {{0, 6}, {8, 12}},
         {{W + 3, 7}, {7, W + 11}},
         {{W + 3, 7}, {7, W + 11}}},
        // A straight edge (one long run) and a run with nothing below.
        {"straight", 1, 20, {{1, 20}}, {}, {}},
        {"nothing below", 3, 9, {}, {}, {}},
    };
    for (const TableRow& r : rows) {
        EXPECT_EQ(rowSegments(stair(r.u0, r.u1, r.lower, 1)), r.brighter) << r.name;
        EXPECT_EQ(rowSegments(stair(r.u0, r.u1, r.lower, 2)), r.darker) << r.name;
    }
    // A run whose lower neighbour is the other code.
    TextMap mixed = stair(2, 4, {{5, 8}}, 1);
    std::fill(&mixed.cells[W + 5], &mixed.cells[W + 9], 2);
    EXPECT_TRUE(rowSegments(mixed).empty());
}

TEST(AntiAliasSegments, GreyDifferenceAboveFortyDropsThePair) {
    const TextMap m = stair(2, 4, {{5, 8}}, 1);  // pair (3, W + 7)
    for (int diff : {40, 41}) {
        const std::size_t expected = diff <= 40 ? 1 : 0;
        for (auto [end, grey] : {std::pair{3, 100 + diff}, std::pair{W + 7, 100 - diff}}) {
            std::vector<uint8_t> g(m.cells.size(), 100);
            g[static_cast<std::size_t>(end)] = static_cast<uint8_t>(grey);
            EXPECT_EQ(rowSegments(m, g), Pairs(expected, {3, W + 7})) << diff;
        }
    }
}

// The column form is the row form on the transposed map and grey image, with
// indices mapped back: checked on random run maps and random grey images.
TEST(AntiAliasSegments, ColumnFormMirrorsTheRowForm) {
    for (uint32_t seed = 1; seed <= 30; ++seed) {
        const int32_t w = 7 + static_cast<int32_t>(seed % 11);
        const int32_t h = 6 + static_cast<int32_t>(seed % 13);
        const TextMap columns = randomRunMap(w, h, seed);
        std::mt19937 rng(seed * 7);
        TextMap grey{w, h, std::vector<uint8_t>(columns.cells.size())};
        for (uint8_t& g : grey.cells) {
            g = static_cast<uint8_t>(100 + rng() % 60);
        }
        aa::IndexList got;
        ASSERT_TRUE(got.reserveExact(1));
        ASSERT_TRUE(aa::extractColumnSegments(columns.cells.data(), grey.cells.data(), w, h, got));

        aa::IndexList rowForm;
        ASSERT_TRUE(rowForm.reserveExact(1));
        ASSERT_TRUE(aa::extractRowSegments(columns.transposed().cells.data(),
                                           grey.transposed().cells.data(), h, w, rowForm));
        std::vector<int32_t> mapped;
        for (int32_t v : listOf(rowForm)) {
            mapped.push_back((v % h) * w + v / h);
        }
        EXPECT_EQ(listOf(got), mapped) << "seed " << seed;
    }
}

}  // namespace
}  // namespace quillon::aatest
