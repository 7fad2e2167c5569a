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

std::string runRow(int32_t first, int32_t last, char code) {
    std::string row(W, '.');
    for (int32_t x = first; x <= last; ++x) {
        row[static_cast<std::size_t>(x)] = code;
    }
    return row;
}

// Upper run [u0, u1] in row 0, lower runs in row 1, code `code`.
TextMap stair(int32_t u0, int32_t u1, const std::vector<std::pair<int32_t, int32_t>>& lower,
              char code) {
    std::string below(W, '.');
    for (auto [l0, l1] : lower) {
        for (int32_t x = l0; x <= l1; ++x) {
            below[static_cast<std::size_t>(x)] = code;
        }
    }
    return TextMap::parse({runRow(u0, u1, code), below, std::string(W, '.'), std::string(W, '.')});
}

Pairs rowSegments(const TextMap& m, const std::vector<uint8_t>& grey) {
    aa::IndexList list;
    EXPECT_TRUE(list.reserveExact(4));
    EXPECT_TRUE(aa::extractRowSegments(m.cells.data(), grey.data(), m.width, m.height, list));
    Pairs out;
    for (std::size_t i = 0; i + 1 < list.size(); i += 2) {
        out.emplace_back(list[i], list[i + 1]);
    }
    return out;
}

Pairs rowSegments(const TextMap& m) {
    return rowSegments(m, std::vector<uint8_t>(m.cells.size(), 128));
}

struct TableRow {
    const char* name;
    int32_t u0, u1;
    std::vector<std::pair<int32_t, int32_t>> lower;
    Pairs brighter;  // code 1
    Pairs darker;    // code 2
};

// Right steps: the lower run starts right of the upper run's first cell, and
// pairs run from the upper row to the lower row. Code 1 chooses by "lead"
// (lower midpoint right of the upper run's end), code 2 by "overlap" (upper
// midpoint at or right of the lower run's start).
TEST(AntiAliasSegments, RightStepTable) {
    const std::vector<TableRow> rows = {
        // mid 4; q at 4, qe at 9, lowmid 7: overlap and lead.
        {"overlap+lead", 2, 6, {{4, 9}}, {{4, W + 7}}, {{(4 + 2) >> 1, (2 * W + 11) >> 1}}},
        // mid 5; q 4, qe 7, lowmid 6: overlap, no lead.
        {"overlap", 2, 8, {{4, 7}}, {{(5 + 8) >> 1, (2 * W + 13) >> 1}}, {{3, (2 * W + 10) >> 1}}},
        // mid 3; q 4, lowmid 6: lead only.
        {"lead", 2, 4, {{4, 7}}, {{3, W + 6}}, {{3, W + 6}}},
        // mid 4; q 5, qe 6, lowmid 6: neither.
        {"neither", 2, 6, {{5, 6}}, {{(4 + 6) >> 1, W + 6}}, {{4, W + 6}}},
        // Lower run starts right after the upper run: q taken from e.
        {"from end", 2, 4, {{5, 8}}, {{3, W + 7}}, {{3, W + 7}}},
        // ... but needs two lower cells there.
        {"from end, one cell", 2, 4, {{5, 5}}, {}, {}},
    };
    for (const TableRow& r : rows) {
        EXPECT_EQ(rowSegments(stair(r.u0, r.u1, r.lower, '1')), r.brighter) << r.name;
        EXPECT_EQ(rowSegments(stair(r.u0, r.u1, r.lower, '2')), r.darker) << r.name;
    }
}

// Left steps: the lower run reaches under and left of the upper run's first
// cell (two cells below-left), and pairs run from the lower row to the upper
// row. k1 is the first upper cell without the code below it; j is below-left
// of k1 and ps the start of the lower run.
TEST(AntiAliasSegments, LeftStepTable) {
    const std::vector<TableRow> rows = {
        // mid 9, k1 at 10, j = 9: overlap; lowmid 5 < 6: lead.
        {"overlap+lead", 6, 12, {{0, 9}}, {{W + 5, 9}}, {{W + 7, (9 + 12) >> 1}}},
        // Lower run 3..9: lowmid 6, not left of the upper start.
        {"overlap", 6, 12, {{3, 9}}, {{W + 4, (9 + 6) >> 1}}, {{W + 7, 10}}},
        // mid 6, k1 at 6, j = 5: no overlap; lowmid 3: lead.
        {"lead", 4, 8, {{1, 5}}, {{W + 3, 6}}, {{W + 3, 6}}},
        // mid 11, j = 9: no overlap; lowmid 7: no lead.
        {"neither", 6, 16, {{4, 9}}, {{W + 5, 8}}, {{W + 7, 11}}},
    };
    for (const TableRow& r : rows) {
        EXPECT_EQ(rowSegments(stair(r.u0, r.u1, r.lower, '1')), r.brighter) << r.name;
        EXPECT_EQ(rowSegments(stair(r.u0, r.u1, r.lower, '2')), r.darker) << r.name;
    }
}

TEST(AntiAliasSegments, LeftStepWithoutFirstFreeCellEmitsBothHalves) {
    // Every examined upper cell (4, 5) has the code below it. The first pair
    // joins the middle of the lower run's left part (ps = W) with mid 5; the
    // lower run goes on past e = 6, so a second pair leaves mid towards the
    // middle of the lower run's right part (e + W .. W + 8).
    const Pairs expected = {{(W + 4 + W) >> 1, 5}, {5, (W + 6 + W + 8) >> 1}};
    EXPECT_EQ(rowSegments(stair(4, 6, {{0, 8}}, '1')), expected);
    EXPECT_EQ(rowSegments(stair(4, 6, {{0, 8}}, '2')), expected);
}

TEST(AntiAliasSegments, LeftStepWithRightContinuation) {
    // Lower runs 0..6 and 8..12 under the upper run 4..10: the left pair goes
    // to the first, and the last examined cell with the code below-right
    // (x = 9, q at x = 10) starts a right-step pair into the second.
    const Pairs expected = {{W + 3, 7}, {7, W + 11}};
    EXPECT_EQ(rowSegments(stair(4, 10, {{0, 6}, {8, 12}}, '1')), expected);
}

TEST(AntiAliasSegments, RunsWithoutStepsYieldNothing) {
    // A straight edge (one long run), a run with nothing below, and a run
    // whose lower neighbour is the other code.
    EXPECT_TRUE(rowSegments(stair(1, 20, {{1, 20}}, '1')).empty());
    EXPECT_TRUE(rowSegments(stair(3, 9, {}, '2')).empty());
    TextMap mixed = stair(2, 4, {{5, 8}}, '1');
    for (int x = 5; x <= 8; ++x) {
        mixed.cells[static_cast<std::size_t>(W + x)] = 2;
    }
    EXPECT_TRUE(rowSegments(mixed).empty());
}

TEST(AntiAliasSegments, GreyDifferenceAboveFortyDropsThePair) {
    const TextMap m = stair(2, 4, {{5, 8}}, '1');  // pair (3, W + 7)
    for (int diff : {40, 41}) {
        std::vector<uint8_t> grey(m.cells.size(), 100);
        grey[3] = static_cast<uint8_t>(100 + diff);
        const Pairs got = rowSegments(m, grey);
        if (diff <= 40) {
            EXPECT_EQ(got, (Pairs{{3, W + 7}})) << diff;
        } else {
            EXPECT_TRUE(got.empty()) << diff;
        }
        grey[3] = 100;
        grey[static_cast<std::size_t>(W + 7)] = static_cast<uint8_t>(100 - diff);
        EXPECT_EQ(rowSegments(m, grey).size(), diff <= 40 ? 1u : 0u) << diff;
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
        std::vector<uint8_t> grey(columns.cells.size());
        for (uint8_t& g : grey) {
            g = static_cast<uint8_t>(100 + rng() % 60);
        }
        aa::IndexList got;
        ASSERT_TRUE(got.reserveExact(1));
        ASSERT_TRUE(aa::extractColumnSegments(columns.cells.data(), grey.data(), w, h, got));

        const TextMap t = columns.transposed();
        std::vector<uint8_t> tGrey(grey.size());
        for (int32_t y = 0; y < h; ++y) {
            for (int32_t x = 0; x < w; ++x) {
                tGrey[static_cast<std::size_t>(x * h + y)] =
                    grey[static_cast<std::size_t>(y * w + x)];
            }
        }
        aa::IndexList rowForm;
        ASSERT_TRUE(rowForm.reserveExact(1));
        ASSERT_TRUE(aa::extractRowSegments(t.cells.data(), tGrey.data(), h, w, rowForm));
        std::vector<int32_t> mapped;
        for (std::size_t i = 0; i < rowForm.size(); ++i) {
            const int32_t v = rowForm[i];
            mapped.push_back((v % h) * w + v / h);
        }
        EXPECT_EQ(listOf(got), mapped) << "seed " << seed;
    }
}

}  // namespace
}  // namespace quillon::aatest
