// The anti-aliasing pass. Detection on edge maps: grey image,
// classification, isolated cells, run trimming and pruning (expected maps
// worked out by hand from the rules), segment extraction, chain linking
// against a plain model. Smoothing: window size, spot weights, the blend and
// the tracing walk against plain models. Whole frames: edge cases, stress
// pictures, the effect on a staircase, the 16-bit detection, allocation
// failure, and the pass inside ProcessFrame.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "antialias/AntiAlias.h"
#include "antialias/AntiAliasStages.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "tests/support/TestSupport.h"

namespace quillon::aatest {
namespace {

using Rows = std::vector<std::string>;

// An edge map; as text, rows of '.' (no edge), '1' and '2'.
struct TextMap {
    int32_t width, height;
    std::vector<uint8_t> cells;

    static TextMap parse(const Rows& rows) {
        TextMap m{static_cast<int32_t>(rows.front().size()), static_cast<int32_t>(rows.size()), {}};
        for (const std::string& row : rows) {
            for (char ch : row) {
                m.cells.push_back(ch == '.' ? 0 : static_cast<uint8_t>(ch - '0'));
            }
        }
        return m;
    }

    Rows text() const {
        Rows rows(static_cast<std::size_t>(height));
        for (std::size_t i = 0; i < cells.size(); ++i) {
            rows[i / static_cast<std::size_t>(width)].push_back(
                cells[i] == 0 ? '.' : static_cast<char>('0' + cells[i]));
        }
        return rows;
    }

    TextMap transposed() const {
        TextMap t{height, width, cells};
        for (int32_t i = 0; i < width * height; ++i) {
            t.cells[static_cast<std::size_t>((i % width) * height + i / width)] =
                cells[static_cast<std::size_t>(i)];
        }
        return t;
    }
};

// Random map whose codes come in runs of 1 to 5, so that every rule fires.
TextMap randomRunMap(int32_t width, int32_t height, uint32_t seed) {
    std::mt19937 rng(seed);
    TextMap m{width, height, {}};
    while (m.cells.size() < static_cast<std::size_t>(width) * height) {
        m.cells.insert(m.cells.end(), 1 + rng() % 5, static_cast<uint8_t>(rng() % 3));
    }
    m.cells.resize(static_cast<std::size_t>(width) * height);
    return m;
}

using Stage = void (*)(uint8_t*, int32_t, int32_t);

// Runs a map stage on rows of text, on the transposed map for `columns`.
Rows applied(Stage stage, const Rows& rows, bool columns) {
    TextMap m = columns ? TextMap::parse(rows).transposed() : TextMap::parse(rows);
    stage(m.cells.data(), m.width, m.height);
    return (columns ? m.transposed() : m).text();
}

// (sum * 21844 + 32768) >> 16: sums 765, 1, 2, 150 and 3 give 255, 0, 1,
// 50 and 1; at 16 bits only the high bytes count (255 x 3, then 1 + 0 + 0).
TEST(AntiAliasGrey, RoundsWithTheNarrowMultiplierOnHighBytes) {
    const uint8_t pixels[] = {255, 255, 255, 9, 0, 0, 1, 9, 1, 1, 0, 9, 100, 50, 0, 9, 3, 0, 0, 0};
    const uint16_t wide[] = {0xFFFF, 0xFF00, 0xFF7F, 0x1234, 0x01FF, 0x00FF, 0x00FF, 0xFFFF};
    uint8_t grey[7] = {};
    aa::makeGrey8(pixels, grey, 5);
    aa::makeGrey16(wide, grey + 5, 2);
    EXPECT_EQ(std::vector<uint8_t>(grey, grey + 7),
              (std::vector<uint8_t>{255, 0, 1, 50, 1, 255, 0}));
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

// Rows, W = 10: cells 0..8 are scanned. Cell 0 ends (single) at the 0, cell
// 4 ends at the 0, cell 6 ends at the 1; the run 7..8 is still open at the
// last scanned cell and cell 9 is never looked at. A single cell at the last
// scanned column is kept; the last row is not scanned at all.
// Columns: column 0 of a 2-wide map (column 1 empty, written here as row 1),
// in the fixed row order: row 0 against row 1, then the pairs (2, 3), (4, 5)
// ..., then the last row against the one before it.
TEST(AntiAliasIsolated, SingleCellsGoInTheFixedScanOrder) {
    for (const auto& [columns, before, after] : std::vector<std::tuple<bool, Rows, Rows>>{
             {false, {"1.221.2111", ".1.2.1.2.."}, {"..22...111", ".1.2.1.2.."}},
             {false, {"..2.....1.", ".........."}, {"........1.", ".........."}},
             // H = 8. Row 0 differs from row 1: cleared. Row 1 is never
             // examined, although it differs from both neighbours. Row 6
             // differs from row 5.
             {true, {"12112210", "........"}, {".21122..", "........"}},
             // Row 4 differs from 5 and 3: cleared by the pair test; the
             // last-row test then compares row 6 with row 5 (equal).
             {true, {"22112110", "........"}, {"2211.11.", "........"}},
             // H = 5: only row 0 and the last-row test (row 3 against row 2).
             {true, {"11210", "....."}, {"112..", "....."}},
             // H = 6: one pair (2, 3); the isolated row 2 goes.
             {true, {"112110", "......"}, {"11.11.", "......"}}}) {
        EXPECT_EQ(
            applied(columns ? aa::dropIsolatedInColumns : aa::dropIsolatedInRows, before, columns),
            after);
    }
}

// W = 16, H = 6: only row 2 is scanned (trimming: x = 2 .. 12, pruning:
// x = 3 .. 13); rows 1 and 3 are its neighbours and stay as they are. Each
// case gives rows 1 to 3 and the expected row 2; the column form runs on the
// transposed map and, for pruning, clears an unattached run without the cell
// after it (`columns`, when that differs).
using RowCase = std::array<const char*, 5>;

constexpr const char* kBlank = "................";

void expectEachRule(Stage rows, Stage columns, const std::vector<RowCase>& cases) {
    for (const auto& [above, row, below, expected, forColumns] : cases) {
        for (const bool transposed : {false, true}) {
            const char* want = transposed && forColumns != nullptr ? forColumns : expected;
            EXPECT_EQ(applied(transposed ? columns : rows,
                              {kBlank, above, row, below, kBlank, kBlank}, transposed),
                      (Rows{kBlank, above, want, below, kBlank, kBlank}))
                << (transposed ? "columns" : "rows");
        }
    }
}

TEST(AntiAliasTrim, EachRuleOnRowTwo) {
    const std::vector<RowCase> cases = {
        // Carried on diagonally at both ends: survives.
        {"...11...........", ".....1111.......", ".........11.....", ".....1111......."},
        // Start touching by one cell: the start is marked, and the run goes
        // with the following cell 9.
        {"....1...........", ".....11112......", ".........11.....", kBlank},
        // Unattached at both ends: cleared.
        {kBlank, ".....11112......", kBlank, kBlank},
        // Attached at one end only: survives.
        {kBlank, ".....1111.......", ".........11.....", ".....1111......."},
        // Single cell: cleared.
        {".....1..........", "......1.........", ".......1........", kBlank},
        // Two cells beside a parallel run: cleared.
        {kBlank, ".....11.........", "..11111111......", kBlank},
        // Three cells beside a parallel run: survive.
        {kBlank, ".....111........", "..11111111......", ".....111........"},
        // Two cells below a parallel run: cleared.
        {"..11111111......", ".....11.........", kBlank, kBlank},
        // Run after a single-cell step counted one short: the run 0..2 is
        // open where the scan begins; at x = 2 a start is judged for the 0
        // anyway (len = 1), at x = 3 len drops to 0, so the run 4..7 is
        // counted from x = 4 with length 1 and cleared from x - len + 1 = 5
        // up to 8: its first cell survives.
        {kBlank, "111.2222........", kBlank, "111.2..........."},
    };
    expectEachRule(aa::trimRunsInRows, aa::trimRunsInColumns, cases);
}

TEST(AntiAliasPrune, EachRuleOnRowTwo) {
    const std::vector<RowCase> cases = {
        // Unattached: goes with the cell after it (the 2 left behind by the
        // column form is a single cell and goes too).
        {kBlank, ".....1112.......", kBlank, kBlank},
        // Attached at start: survives (row 1 holds the code diagonally before
        // the start); the single code-2 cell after it is cleared when the
        // code changes.
        {"....1...........", ".....1112.......", kBlank, ".....111........"},
        // Attached at end: survives.
        {kBlank, ".....111........", "........1.......", ".....111........"},
        // Single cell: cleared even when attached.
        {".....1..........", "......1.........", ".......1........", kBlank},
        // Unattached run before an attached one: the cleared run takes the
        // first cell of the 2-run, which leaves the rest a single cell that
        // goes too; the column form leaves the 2-run whole, and it is
        // attached at its end.
        {kBlank, ".....11122......", "..........2.....", kBlank, "........22......"},
    };
    expectEachRule(aa::pruneRunsInRows, aa::pruneRunsInColumns, cases);
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

// ---------------------------------------------------------------- segments

// Each case is a two-row staircase in a 24-wide map: an upper run in row 0
// and a lower run in row 1 (rows 2 and 3 are empty, so the lower run emits
// nothing of its own). The expected pairs follow from the midpoints:
// mid = (i + e + 1) >> 1 on the upper run, lowmid on the lower.

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

// The segment list an extractor appends for map m and grey image g.
template <typename Extract>
std::vector<int32_t> segments(Extract extract, const TextMap& m, const std::vector<uint8_t>& g) {
    aa::IndexList list;
    EXPECT_TRUE(list.reserveExact(4) && extract(m.cells.data(), g.data(), m.width, m.height, list));
    return {list.data(), list.data() + list.size()};
}

Pairs rowSegments(const TextMap& m, std::vector<uint8_t> grey = {}) {
    grey.resize(m.cells.size(), 128);
    const std::vector<int32_t> list = segments(aa::extractRowSegments, m, grey);
    Pairs out;
    for (std::size_t i = 0; i + 1 < list.size(); i += 2) {
        out.emplace_back(list[i], list[i + 1]);
    }
    return out;
}

// Right steps: the lower run starts right of the upper run's first cell, and
// pairs run from the upper row to the lower row. Code 1 chooses by "lead"
// (lower midpoint right of the upper run's end), code 2 by "overlap" (upper
// midpoint at or right of the lower run's start).
// Left steps: the lower run reaches under and left of the upper run's first
// cell (two cells below-left), and pairs run from the lower row to the upper
// row. k1 is the first upper cell without the code below it; j is below-left
// of k1 and ps the start of the lower run.
TEST(AntiAliasSegments, StepTables) {
    // Name, upper run, lower runs, pairs for code 1 and for code 2.
    const std::vector<std::tuple<const char*, int32_t, int32_t, Pairs, Pairs, Pairs>> rows = {
        // Right. mid 4; q at 4, qe at 9, lowmid 7: overlap and lead; code 2
        // pairs (4 + 2) >> 1 with (2 W + 11) >> 1.
        {"right overlap+lead", 2, 6, {{4, 9}}, {{4, W + 7}}, {{3, W + 5}}},
        // mid 5; q 4, qe 7, lowmid 6: overlap, no lead; code 1 pairs
        // (5 + 8) >> 1 with (2 W + 13) >> 1, code 2 3 with (2 W + 10) >> 1.
        {"right overlap", 2, 8, {{4, 7}}, {{6, W + 6}}, {{3, W + 5}}},
        // mid 3; q 4, lowmid 6: lead only.
        {"right lead", 2, 4, {{4, 7}}, {{3, W + 6}}, {{3, W + 6}}},
        // mid 4; q 5, qe 6, lowmid 6: neither; code 1 from (4 + 6) >> 1.
        {"right neither", 2, 6, {{5, 6}}, {{5, W + 6}}, {{4, W + 6}}},
        // Lower run starts right after the upper run: q taken from e ...
        {"from end", 2, 4, {{5, 8}}, {{3, W + 7}}, {{3, W + 7}}},
        // ... but needs two lower cells there.
        {"from end, one cell", 2, 4, {{5, 5}}, {}, {}},
        // Left. mid 9, k1 at 10, j = 9: overlap; lowmid 5 < 6: lead. Code 2
        // ends at (9 + 12) >> 1.
        {"left overlap+lead", 6, 12, {{0, 9}}, {{W + 5, 9}}, {{W + 7, 10}}},
        // Lower run 3..9: lowmid 6, not left of the upper start; code 1 ends
        // at (9 + 6) >> 1.
        {"left overlap", 6, 12, {{3, 9}}, {{W + 4, 7}}, {{W + 7, 10}}},
        // mid 6, k1 at 6, j = 5: no overlap; lowmid 3: lead.
        {"left lead", 4, 8, {{1, 5}}, {{W + 3, 6}}, {{W + 3, 6}}},
        // mid 11, j = 9: no overlap; lowmid 7: no lead.
        {"left neither", 6, 16, {{4, 9}}, {{W + 5, 8}}, {{W + 7, 11}}},
        // Every examined upper cell (4, 5) has the code below it. The first
        // pair joins the middle of the lower run's left part, (W + 4 + W) >> 1,
        // with mid 5; the lower run goes on past e = 6, so a second pair
        // leaves mid towards the middle of its right part, (W + 6 + W + 8) >> 1.
        {"no free cell", 4, 6, {{0, 8}}, {{W + 2, 5}, {5, W + 7}}, {{W + 2, 5}, {5, W + 7}}},
        // Lower runs 0..6 and 8..12 under the upper run 4..10: the left pair
        // goes to the first, and the last examined cell with the code
        // below-right (x = 9, q at x = 10) starts a right-step pair.
        {"both", 4, 10, {{0, 6}, {8, 12}}, {{W + 3, 7}, {7, W + 11}}, {{W + 3, 7}, {7, W + 11}}},
        // A straight edge (one long run) and a run with nothing below.
        {"straight", 1, 20, {{1, 20}}, {}, {}},
        {"nothing below", 3, 9, {}, {}, {}},
    };
    for (const auto& [name, u0, u1, lower, brighter, darker] : rows) {
        EXPECT_EQ(rowSegments(stair(u0, u1, lower, 1)), brighter) << name;
        EXPECT_EQ(rowSegments(stair(u0, u1, lower, 2)), darker) << name;
    }
    // A run whose lower neighbour is the other code.
    TextMap mixed = stair(2, 4, {{5, 8}}, 1);
    std::fill(&mixed.cells[W + 5], &mixed.cells[W + 9], 2);
    EXPECT_TRUE(rowSegments(mixed).empty());
}

TEST(AntiAliasSegments, GreyDifferenceAboveFortyDropsThePair) {
    const TextMap m = stair(2, 4, {{5, 8}}, 1);  // pair (3, W + 7)
    for (int diff : {40, 41}) {
        for (auto [end, grey] : {std::pair{3, 100 + diff}, std::pair{W + 7, 100 - diff}}) {
            std::vector<uint8_t> g(m.cells.size(), 100);
            g[static_cast<std::size_t>(end)] = static_cast<uint8_t>(grey);
            EXPECT_EQ(rowSegments(m, g), Pairs(diff <= 40 ? 1 : 0, {3, W + 7})) << diff;
        }
    }
}

// The column form is the row form on the transposed map and grey image, with
// indices mapped back: checked on random run maps and random grey images.
TEST(AntiAliasSegments, ColumnFormMirrorsTheRowForm) {
    for (uint32_t seed = 1; seed <= 30; ++seed) {
        const int32_t w = 7 + static_cast<int32_t>(seed % 11);
        const int32_t h = 6 + static_cast<int32_t>(seed % 13);
        const TextMap map = randomRunMap(w, h, seed);
        std::mt19937 rng(seed * 7);
        TextMap grey{w, h, {}};
        while (grey.cells.size() < map.cells.size()) {
            grey.cells.push_back(static_cast<uint8_t>(100 + rng() % 60));
        }
        std::vector<int32_t> mapped =
            segments(aa::extractRowSegments, map.transposed(), grey.transposed().cells);
        for (int32_t& v : mapped) {
            v = (v % h) * w + v / h;
        }
        EXPECT_EQ(segments(aa::extractColumnSegments, map, grey.cells), mapped) << "seed " << seed;
    }
}

// ------------------------------------------------------------------ chains

// The linking rule followed literally: one scan of the later segments in
// list order per chain.

using Chains = std::pair<std::vector<int32_t>, std::vector<int32_t>>;  // points, ends

Chains plainLink(const std::vector<int32_t>& s, int32_t width, bool columns) {
    auto row = [width](int32_t v) { return v / width; };
    auto near = [width, columns](int32_t u, int32_t v) {
        const int32_t d = std::abs(u - v);
        return columns ? (d == 0 || d == width) : d <= 1;
    };
    std::vector<bool> used(s.size() / 2, false);
    Chains out;
    for (std::size_t i = 0; i < used.size(); ++i) {
        if (used[i]) {
            continue;
        }
        std::vector<int32_t> chain = {s[2 * i], s[2 * i + 1]};
        const bool upward = row(chain[0]) >= row(chain[1]);
        for (std::size_t j = i + 1; j < used.size(); ++j) {
            const int32_t a = s[2 * j];
            const int32_t b = s[2 * j + 1];
            const bool append = near(chain.back(), a);
            if (!used[j] && (upward ? row(a) > row(b) : row(a) < row(b)) &&
                (append || near(chain.front(), b))) {
                chain.insert(append ? chain.end() : chain.begin(), {a, b});
                used[j] = true;
            }
        }
        out.first.insert(out.first.end(), chain.begin(), chain.end());
        out.second.push_back(static_cast<int32_t>(out.first.size()));
    }
    return out;
}

Chains chainsOf(const aa::ChainSet& c) {
    const int32_t total = c.count == 0 ? 0 : c.ends[c.count - 1];
    return {{c.points.data(), c.points.data() + total}, {c.ends.data(), c.ends.data() + c.count}};
}

TEST(AntiAliasChains, MatchesPlainModelOnRandomLists) {
    for (uint32_t seed = 1; seed <= 200; ++seed) {
        std::mt19937 rng(seed);
        const int32_t w = 3 + static_cast<int32_t>(rng() % 8);
        const int32_t h = 3 + static_cast<int32_t>(rng() % 8);
        const int32_t count = static_cast<int32_t>(rng() % 60);
        std::vector<int32_t> s;
        for (int32_t i = 0; i < count; ++i) {
            const int32_t a = static_cast<int32_t>(rng() % static_cast<uint32_t>(w * h));
            // Ends near the start, so that many segments touch.
            const int32_t b = std::clamp(
                a + static_cast<int32_t>(rng() % 5) - 2 + (static_cast<int32_t>(rng() % 3) - 1) * w,
                0, w * h - 1);
            s.insert(s.end(), {a, b});
        }
        aa::ChainSet rows;
        aa::ChainSet cols;
        ASSERT_TRUE(aa::linkRowChains(s.data(), s.size(), w, rows));
        ASSERT_TRUE(aa::linkColumnChains(s.data(), s.size(), w, cols));
        EXPECT_EQ(chainsOf(rows), plainLink(s, w, false)) << "rows, seed " << seed;
        EXPECT_EQ(chainsOf(cols), plainLink(s, w, true)) << "columns, seed " << seed;
    }
}

// ---------------------------------------------------------------- smoothing

// The request for an anti-aliased enlargement.
support::Request aaRequest(uint32_t srcW, uint32_t srcH, uint32_t dstW, uint32_t dstH,
                           uint32_t amount) {
    return {srcW, srcH, dstW, dstH, OPT_ANTIALIAS, DEPTH_8, KERNEL_CELL, 0, 10, amount};
}

// 4-channel grey frame from `shade(x, y)`; channel 3 holds `marker`.
template <typename Channel, typename Shade>
std::vector<Channel> makeFrame(int32_t width, int32_t height, Shade shade, Channel marker = 77) {
    std::vector<Channel> f(static_cast<std::size_t>(width) * height * 4);
    for (std::size_t i = 0; i < f.size(); ++i) {
        const auto p = static_cast<int32_t>(i / 4);
        f[i] = i % 4 == 3 ? marker : static_cast<Channel>(shade(p % width, p / width));
    }
    return f;
}

// Nearest-neighbour enlargement: a stand-in for the upscale, which keeps the
// staircase of the source fully visible.
template <typename Channel>
std::vector<Channel> enlargeNearest(const std::vector<Channel>& src, int32_t srcW, int32_t srcH,
                                    int32_t dstW, int32_t dstH) {
    std::vector<Channel> d(static_cast<std::size_t>(dstW) * dstH * 4);
    for (std::size_t i = 0; i < d.size(); ++i) {
        const auto p = static_cast<int64_t>(i / 4);
        const int64_t sx = p % dstW * srcW / dstW;
        const int64_t sy = p / dstW * srcH / dstH;
        d[i] = src[static_cast<std::size_t>((sy * srcW + sx) * 4) + i % 4];
    }
    return d;
}

// Bright and dark bands of slope 0.3 (16 rows a period): many parallel
// staircases, so several chains form. The first bright-to-dark edge lies at
// y = 0.3 x + 8, the next ones 16 rows further down each.
int bands(int x, int y) {
    const int v = ((10 * y - 3 * x) % 160 + 160) % 160;
    return v < 80 ? 210 : 40;
}

// ------------------------------------------------------------------- spots

// Ratio 2, spread 2: d = 6, an even layout. Ratio 1.5 rounds to 2 and 1.49
// to 1. Ratio 4 with spread 5: d = 13.
TEST(AntiAliasSpot, WindowSizeFollowsVerticalRatioAndSpread) {
    for (const auto& [srcH, dstH, spread, n, r] :
         {std::tuple{1080u, 2160u, 2.0f, 6, 2}, std::tuple{100u, 150u, 1.0f, 5, 2},
          std::tuple{100u, 149u, 1.0f, 3, 1}, std::tuple{10u, 40u, 5.0f, 13, 6}}) {
        const aa::SpotGeometry g = aa::spotGeometry(srcH, dstH, spread);
        EXPECT_TRUE(g.valid && g.n == n && g.r == r &&
                    g.doubles == static_cast<std::size_t>(3 * n * n))
            << dstH;
    }
    EXPECT_FALSE(aa::spotGeometry(0, 40, 1.0f).valid || aa::spotGeometry(10, 40, NAN).valid);
}

// A Gaussian over the n x n layout, 1.5 at its centre, sigma = c / e for the
// centre offset c; the same for the three channels.
TEST(AntiAliasSpot, WeightsAreAGaussianPeakingAtOnePointFive) {
    for (const std::size_t n : {5, 6, 13}) {
        std::vector<double> w(3 * n * n, -1.0);
        aa::buildSpotWeights(w.data(), w.size());
        const double c = (static_cast<double>(n) - 1) * 0.5;
        const double sigma = c / std::exp(1.0);
        for (std::size_t i = 0; i < w.size(); ++i) {
            const double dy = static_cast<double>(i / 3 / n) - c;
            const double dx = static_cast<double>(i / 3 % n) - c;
            EXPECT_NEAR(w[i], 1.5 * std::exp(-0.5 * (dx * dx + dy * dy) / (sigma * sigma)), 1e-12)
                << n << ": " << i;
        }
    }
    EXPECT_EQ(aa::followDenominatorBase(), std::nextafter(1.95, 2.0));
}

// The blend kernels of every level the machine has; the scalar ones are the
// plain twins.
std::vector<std::pair<const char*, const aa::BlendKernels*>> blendLevels() {
    std::vector<std::pair<const char*, const aa::BlendKernels*>> levels = {
        {"scalar", &aa::kBlendScalar}};
#ifdef QUILLON_X86_KERNELS
    levels.emplace_back("sse2", &aa::kBlendSse2);
    if (GetMachineCpuLevel() >= 2) {
        levels.emplace_back("avx2", &aa::kBlendAvx2);
    }
#endif
    return levels;
}

// Channels 0-2 of every packed window cell (the fourth is the kernels' own).
std::vector<double> usedLanes(const std::vector<double>& window) {
    std::vector<double> used;
    for (std::size_t i = 0; i < window.size(); ++i) {
        if (i % aa::kCellDoubles < 3) {
            used.push_back(window[i]);
        }
    }
    return used;
}

// Plain model of one blended 5 x 5 spot on a packed window.
template <typename Channel>
void modelBlend(std::vector<Channel>& frame, int32_t fw, int32_t fh, std::vector<double>& window,
                const std::vector<double>& weights, double follow, double mix, int32_t maxValue,
                int32_t cx, int32_t cy) {
    for (int32_t y = cy - 2; y <= cy + 2; ++y) {
        for (int32_t x = cx + 2; x >= cx - 2; --x) {
            for (int k = 0; k < 3 && x >= 0 && y >= 0 && x < fw && y < fh; ++k) {
                const auto at = static_cast<std::size_t>(4 * ((y - cy + 2) * 5 + (x - cx + 2)) + k);
                Channel& v = frame[static_cast<std::size_t>((y * fw + x) * 4 + k)];
                window[at] += follow * (v - window[at]) / (std::nextafter(1.95, 2.0) - weights[at]);
                const double t = std::trunc((1.0 - mix * weights[at]) * v +
                                            mix * weights[at] * window[at] + 0.5);
                v = static_cast<Channel>(std::clamp(t, 0.0, static_cast<double>(maxValue)));
            }
        }
    }
}

// A 5 x 5 spot at the centre, the corners and beside the border of a 9 x 7
// frame, at every level; the first call only loads the window (pixels
// outside the frame as 0), the next two blend, the second one pixel to the
// right. Then a one-pixel spot whose window makes the blend round to exactly
// one above the ceiling, to not a number and below zero.
template <typename Channel>
void expectBlend(void (*blend)(const aa::SpotFrame&, int32_t, int32_t, bool*), int32_t ceiling) {
    const double follow = 0.7f / 1.0;
    const double mix = static_cast<double>(static_cast<float>(0.8 / std::pow(20.0, 0.25)));
    std::vector<double> layout(3 * 5 * 5);
    aa::buildSpotWeights(layout.data(), layout.size());
    std::vector<double> weights(4 * 5 * 5);
    aa::packSpotLayout(layout.data(), 5, 5, weights.data());
    for (const auto& [name, kernels] : blendLevels()) {
        for (auto [cx, cy] : {std::pair{4, 3}, std::pair{0, 0}, std::pair{8, 6}, std::pair{1, 5}}) {
            SCOPED_TRACE(testing::Message() << name << " at " << cx << "," << cy);
            auto frame = support::RandomFrame<Channel>(9, 7, static_cast<uint32_t>(ceiling),
                                                       5u + static_cast<uint32_t>(cx));
            std::vector<double> window(weights.size(), 0.0);
            const aa::SpotFrame spot{frame.data(),  9,       7,      weights.data(),
                                     window.data(), 5,       2,      follow,
                                     mix,           ceiling, kernels};
            std::vector<Channel> modelFrame = frame;
            bool first = true;
            blend(spot, cx, cy, &first);
            EXPECT_FALSE(first);
            EXPECT_EQ(frame, modelFrame);
            EXPECT_TRUE(cx != 0 || window[0] == 0.0);
            std::vector<double> modelWindow = window;
            blend(spot, cx, cy, &first);
            blend(spot, cx + 1, cy, &first);
            for (const int32_t x : {cx, cx + 1}) {
                modelBlend(modelFrame, 9, 7, modelWindow, weights, follow, mix, ceiling, x, cy);
            }
            EXPECT_EQ(frame, modelFrame);
            EXPECT_EQ(usedLanes(window), usedLanes(modelWindow));
        }
        std::vector<Channel> pixel = {9, 9, 9, 201};
        const double ones[] = {1.0, 1.0, 1.0, 0.0};
        double window[] = {ceiling + 0.5, NAN, -3.0, 0.0};
        bool first = false;
        blend({pixel.data(), 1, 1, ones, window, 1, 0, 0.0, 1.0, ceiling, kernels}, 0, 0, &first);
        EXPECT_EQ(pixel, (std::vector<Channel>{static_cast<Channel>(ceiling), 0, 0, 201})) << name;
    }
}

TEST(AntiAliasSpot, BlendMatchesPlainModelAndStopsAtTheCeiling) {
    expectBlend<uint8_t>(aa::blendSpot8, 180);
    expectBlend<uint16_t>(aa::blendSpot16, 32768);
}

// Every level's row kernel gives the scalar twin's channels and window on
// rows of 0 to 12 pixels, with window values that push the result exactly
// onto, half below and above the ceiling, below zero, to infinity and to not
// a number; channel 3 is never written.
template <typename Channel>
void expectRowKernels(int32_t ceiling) {
    std::mt19937 rng(21);
    const aa::BlendParams params{0.7, 0.43, aa::followDenominatorBase(), ceiling};
    const double special[] = {static_cast<double>(ceiling),
                              ceiling + 0.5,
                              ceiling - 0.5,
                              ceiling + 1.0,
                              -0.4,
                              -1.0,
                              -7.5,
                              INFINITY,
                              -INFINITY,
                              NAN,
                              1e300,
                              1e-300,
                              -4.9e-324};
    for (int32_t count = 0; count <= 12; ++count) {
        for (int round = 0; round < 20; ++round) {
            const std::size_t cells = static_cast<std::size_t>(count) * aa::kCellDoubles;
            std::vector<double> weights(cells, 0.0);
            std::vector<double> window(cells, 0.0);
            std::vector<Channel> pixels(static_cast<std::size_t>(count) * 4);
            for (std::size_t j = 0; j < cells; ++j) {
                if (j % 4 < 3) {
                    weights[j] = (rng() % 1500) / 1000.0;
                    window[j] = rng() % 3 == 0 ? special[rng() % std::size(special)]
                                               : (rng() % 100000) / 100000.0 * 2.0 * ceiling - 50.0;
                }
                pixels[j] = static_cast<Channel>(rng() % (j % 4 == 3 ? 65536u : ceiling + 1u));
            }
            std::vector<double> expectedWindow = window;
            std::vector<Channel> expected = pixels;
            aa::blendRowOf<Channel>(aa::kBlendScalar)(params, weights.data(), expectedWindow.data(),
                                                      expected.data(), count);
            for (std::size_t j = 3; j < pixels.size(); j += 4) {
                ASSERT_EQ(expected[j], pixels[j]);
            }
            for (const auto& [name, kernels] : blendLevels()) {
                std::vector<double> gotWindow = window;
                std::vector<Channel> got = pixels;
                aa::blendRowOf<Channel> (*kernels)(params, weights.data(), gotWindow.data(),
                                                   got.data(), count);
                EXPECT_EQ(got, expected) << name << " count " << count << " ceiling " << ceiling;
                const auto a = usedLanes(gotWindow);
                const auto b = usedLanes(expectedWindow);
                for (std::size_t j = 0; j < a.size(); ++j) {
                    ASSERT_TRUE(std::bit_cast<uint64_t>(a[j]) == std::bit_cast<uint64_t>(b[j]) ||
                                (std::isnan(a[j]) && std::isnan(b[j])))
                        << name << " entry " << j;
                }
            }
        }
    }
}

TEST(AntiAliasSpot, RowKernelsOfEveryLevelMatchTheScalarTwin) {
    expectRowKernels<uint8_t>(180);
    expectRowKernels<uint8_t>(255);
    expectRowKernels<uint16_t>(32768);
    expectRowKernels<uint16_t>(65535);
}

// ----------------------------------------------------------------- tracing

using Call = std::tuple<int32_t, int32_t, bool>;  // x, y, first
std::vector<Call> gCalls;

void recordBlend(const aa::SpotFrame&, int32_t x, int32_t y, bool* firstFlag) {
    gCalls.emplace_back(x, y, *firstFlag);
    *firstFlag = false;
}

// The blend calls of tracing the chains (ends after each) of a 10 x 10 map.
std::vector<Call> trace(const ScaleContext* ctx, const std::vector<int32_t>& points,
                        const std::vector<int32_t>& ends, bool columns = false) {
    aa::ChainSet chains;
    EXPECT_TRUE(chains.points.resize(points.size() + 1) && chains.ends.resize(ends.size() + 1));
    std::copy(points.begin(), points.end(), chains.points.data());
    std::copy(ends.begin(), ends.end(), chains.ends.data());
    chains.count = static_cast<int32_t>(ends.size());
    gCalls.clear();
    (columns ? aa::traceColumnChains : aa::traceRowChains)(ctx, chains, {}, recordBlend);
    return gCalls;
}

// A row-chain pair from (x0, y0) to (x1, y1) covers source columns x0..x1 - 1
// and rows y0..y1 - 1 (in order). Every destination column of those source
// columns gets one spot at the row nearest to the line, the first of equally
// near rows, searched here through the index and fraction tables. A rising
// line measures its target from the bottom. Tracing the transposed pair as a
// column chain gives the transposed calls. Chain 0 is never traced.
TEST(AntiAliasTrace, WalkPicksTheNearestRowPerColumn) {
    for (const int32_t dst : {20, 25}) {
        support::Context ctx(aaRequest(10, 10, dst, dst, 6));
        const ScaleContext* c = ctx.get();
        // (x0, y0, x1, y1): slopes 1, 2 (ties between rows), 1/2, falling and rising.
        for (const auto& [x0, y0, x1, y1] : std::vector<std::array<int32_t, 4>>{
                 {2, 3, 4, 5}, {2, 3, 3, 5}, {1, 2, 5, 4}, {2, 5, 4, 3}, {3, 6, 4, 4}}) {
            SCOPED_TRACE(testing::Message()
                         << dst << ": " << x0 << "," << y0 << " -> " << x1 << "," << y1);
            const int32_t ylo = std::min(y0, y1);
            const double slope = static_cast<double>(y1 - y0) / (x1 - x0);
            std::vector<Call> want;
            for (int32_t x = 0; x < dst; ++x) {
                const auto sx = static_cast<int32_t>(c->columnIndex[x]);
                if (sx < x0 || sx >= x1) {
                    continue;
                }
                const double u = (sx - x0 + c->columnFrac[x]) * slope;
                const double target = slope > 0 ? u : std::abs(y1 - y0) + u;
                double best = 10.0;
                int32_t row = -1;
                for (int32_t y = 0; y < dst; ++y) {
                    const auto sy = static_cast<int32_t>(c->rowIndex[y]);
                    const double d = std::fabs(sy - ylo + c->rowFrac[y] - target);
                    if (sy >= ylo && sy < std::max(y0, y1) && d < best) {
                        best = d;
                        row = y;
                    }
                }
                want.emplace_back(x, row, want.empty());
            }
            EXPECT_EQ(trace(c, {0, 0, y0 * 10 + x0, y1 * 10 + x1}, {2, 4}), want);
            std::vector<Call> mirrored;
            for (const auto& [x, y, first] :
                 trace(c, {0, 0, x0 * 10 + y0, x1 * 10 + y1}, {2, 4}, true)) {
                mirrored.emplace_back(y, x, first);
            }
            EXPECT_EQ(mirrored, want);
        }
    }
}

// ------------------------------------------------------------ whole frames

// Source, its nearest enlargement (the destination before the pass) and a
// context for the pair.
struct Scene8 {
    std::vector<uint8_t> src, before;
    support::Context ctx;

    template <typename Shade>
    Scene8(int32_t w, int32_t h, int32_t dw, int32_t dh, uint32_t amount, Shade shade)
        : src(makeFrame<uint8_t>(w, h, shade)),
          before(enlargeNearest(src, w, h, dw, dh)),
          ctx(aaRequest(w, h, dw, dh, amount)) {}

    std::vector<uint8_t> run() const {
        std::vector<uint8_t> dst = before;
        EXPECT_TRUE(antiAlias8(src.data(), dst.data(), ctx.get()));
        return dst;
    }
};

// A flat frame; then a bright wedge between a shallow and a steep edge: one
// row chain and one column chain. Chain 0 is never traced, so nothing is
// smoothed.
TEST(AntiAliasPass, FlatFrameAndOneChainPerDirectionAreUnchanged) {
    Scene8 flat(40, 30, 80, 60, 10, [](int, int) { return 90; });
    EXPECT_EQ(flat.run(), flat.before);
    Scene8 s(48, 48, 96, 96, 10,
             [](int x, int y) { return (10 * y > 3 * x + 40 && 10 * x > 3 * y + 40) ? 220 : 30; });
    std::vector<uint8_t> grey(48 * 48);
    aa::makeGrey8(s.src.data(), grey.data(), grey.size());
    aa::Detection d;
    ASSERT_TRUE(aa::detectChains(grey.data(), 48, 48, d));
    ASSERT_TRUE(d.rowChains.count == 1 && d.columnChains.count == 1);
    EXPECT_EQ(s.run(), s.before);
}

// Sub-pixel position of one bright-to-dark edge of `bands` in each destination
// column of a 2x enlargement (the edge lies near Y = 0.3 X + 48), from the
// brightness summed over a window around it, and the staircase measure: the
// sum of absolute second differences of that position along the edge.
double staircase(const std::vector<uint8_t>& f) {
    std::vector<double> pos;
    for (int32_t x = 8; x < 120; ++x) {
        const int32_t centre = static_cast<int32_t>(std::lround(0.3 * x + 48.0));
        double sum = centre - 7;
        for (int32_t y = centre - 7; y <= centre + 7; ++y) {
            sum += (f[(static_cast<std::size_t>(y) * 128 + x) * 4 + 1] - 40) / 170.0;
        }
        pos.push_back(sum);
    }
    double total = 0.0;
    for (std::size_t i = 1; i + 1 < pos.size(); ++i) {
        total += std::fabs(pos[i + 1] - 2.0 * pos[i] + pos[i - 1]);
    }
    return total;
}

TEST(AntiAliasPass, ReducesTheStaircaseOfShallowDiagonalEdges) {
    for (uint32_t amount : {1u, 6u, 10u}) {
        Scene8 s(64, 48, 128, 96, amount, bands);
        // Small amounts follow the frame closely and smooth less.
        EXPECT_LT(staircase(s.run()), (amount < 6 ? 0.95 : 0.8) * staircase(s.before)) << amount;
    }
}

// Stress pictures: a one-pixel checkerboard, then the densest segment lists
// found: slanted bands two rows thick, and two crossing band sets (many short
// chains in both directions).
int stressShade(int kind, int x, int y) {
    const auto band = [](int a, int b) { return ((10 * a - 3 * b) % 40 + 40) % 40 < 20; };
    if (kind == 0) {
        return ((x + y) & 1) * 250;
    }
    return (kind == 1 ? band(y, x) : band(y, x) != band(x, y)) ? 210 : 40;
}

// At many sizes, with the ceiling set to 250: no channel above it, channel 3
// untouched, and the same result on a second run.
TEST(AntiAliasStress, DensePicturesAtManySizes) {
    const auto check = [](int kind, int32_t w, int32_t h, int32_t dw, int32_t dh, uint32_t amount) {
        SCOPED_TRACE(testing::Message()
                     << kind << ": " << w << "x" << h << " -> " << dw << "x" << dh);
        const Scene8 s(w, h, dw, dh, amount,
                       [kind](int x, int y) { return stressShade(kind, x, y); });
        const std::vector<uint8_t> dst = s.run();
        for (std::size_t i = 0; i < dst.size(); ++i) {
            ASSERT_TRUE(i % 4 == 3 ? dst[i] == 77 : dst[i] <= 250) << i;
        }
        ASSERT_EQ(s.run(), dst);
    };
    support::CeilingGuard ceiling(250);
    for (const int kind : {0, 1, 2}) {
        for (auto [w, h] : {std::pair{6, 6}, std::pair{7, 9}, std::pair{13, 6}, std::pair{31, 17},
                            std::pair{64, 64}}) {
            check(kind, w, h, 2 * w, 2 * h, 6);
            check(kind, w, h, 3 * w + 1, 2 * h + 3, 25);
            check(kind, w, h, w, h, 0);
        }
    }
    check(1, 1920, 1080, 2400, 1350, 6);
    check(2, 480, 270, 960, 540, 10);
}

// Two frames alike in their high bytes: a diagonal edge and a step of
// exactly 20 (no edge), which the low bytes of one frame would push above 20.
// Detection sees only the high bytes, so the passes write the same pixels.
TEST(AntiAlias16, LowBytesDoNotTakePartInDetection) {
    std::mt19937 rng(9);
    const auto high = [](int x, int y) { return bands(x, y) > 100 ? 200 : (x > 30 ? 80 : 60); };
    const auto a = makeFrame<uint16_t>(
        48, 40, [&](int x, int y) { return high(x, y) << 8 | static_cast<int>(rng() & 0xFF); });
    const auto b = makeFrame<uint16_t>(
        48, 40, [&](int x, int y) { return high(x, y) << 8 | (x > 30 ? 0xFF : 0x00); });
    const support::Context ctx(aaRequest(48, 40, 96, 80, 8));
    const std::vector<uint16_t> before = enlargeNearest(a, 48, 40, 96, 80);
    std::vector<uint16_t> outA = before, outB = before;
    ASSERT_TRUE(antiAlias16(a.data(), outA.data(), ctx.get()));
    ASSERT_TRUE(antiAlias16(b.data(), outB.data(), ctx.get()));
    EXPECT_EQ(outA, outB);
    EXPECT_NE(outA, before);
}

TEST(AntiAliasPass, FailedAllocationLeavesTheDestinationAlone) {
    const Scene8 s(40, 30, 80, 60, 10, bands);
    const std::vector<uint8_t> reference = s.run();
    ASSERT_NE(reference, s.before);
    bool succeeded = false;
    for (int allowed = 0; allowed < 200 && !succeeded; ++allowed) {
        std::vector<uint8_t> dst = s.before;
        {
            support::AllocationLimit limit(allowed);
            succeeded = antiAlias8(s.src.data(), dst.data(), s.ctx.get());
        }
        EXPECT_EQ(dst, succeeded ? reference : s.before) << "allowed " << allowed;
    }
    EXPECT_TRUE(succeeded);
}

// The pipeline with the pass equals the pass run, with the same context, on
// the pipeline's plain upscale; the pass does change it (at 8 bits reducing
// the staircase) and never touches channel 3.
template <typename Channel>
void expectPassAfterUpscale(const std::vector<Channel>& src, support::Request r, int32_t ceiling) {
    support::Context withPass(r);
    ASSERT_TRUE(withPass.ok());
    std::vector<Channel> out(std::size_t{r.dstWidth} * r.dstHeight * 4);
    ASSERT_EQ(ProcessFrame(src.data(), out.data(), withPass.get()), 0);
    r.options &= ~uint32_t{OPT_ANTIALIAS};
    const std::vector<Channel> upscaled = support::RunFrame(r, src);
    std::vector<Channel> manual = upscaled;
    if constexpr (sizeof(Channel) == 1) {
        ASSERT_TRUE(antiAlias8(src.data(), manual.data(), withPass.get()));
        EXPECT_LT(staircase(out), staircase(upscaled));
    } else {
        ASSERT_TRUE(antiAlias16(src.data(), manual.data(), withPass.get()));
    }
    EXPECT_EQ(out, manual);
    EXPECT_NE(out, upscaled);
    for (std::size_t i = 0; i < out.size(); ++i) {
        ASSERT_TRUE(out[i] <= ceiling && (i % 4 != 3 || out[i] == upscaled[i])) << i;
    }
}

TEST(AntiAliasEndToEnd, ProcessFrameRunsThePassAfterTheUpscale) {
    const std::vector<uint8_t> src = makeFrame<uint8_t>(64, 48, bands);
    for (const uint32_t variant : {uint32_t{KERNEL_CELL}, uint32_t{KERNEL_TWO_PASS}}) {
        support::Request r = aaRequest(64, 48, 128, 96, 6);
        r.options |= OPT_LANCZOS;
        r.variant = variant;
        expectPassAfterUpscale(src, r, 255);
    }
    const auto src16 = makeFrame<uint16_t>(
        40, 30, [](int x, int y) { return bands(x, y) > 100 ? 30000 : 4000; }, 1234);
    support::CeilingGuard ceiling(255, 32768);
    support::Request r = aaRequest(40, 30, 80, 60, 10);
    r.depth = DEPTH_16;
    expectPassAfterUpscale(src16, r, 32768);
}

// ---------------------------------------------------------- hostile pictures

// Dense-edge pictures at test size: stairs of several slopes two rows thick,
// rings, a spiral, binary noise, a checkerboard and blocky noise.
int hostileShade(int kind, int x, int y) {
    const auto hash = [](uint32_t a, uint32_t b) {
        uint32_t h = a * 0x9E3779B1u ^ (b + 0x7F4A7C15u) * 0x85EBCA77u;
        h ^= h >> 15;
        h *= 0x2C1B3C6Du;
        return h ^ (h >> 12);
    };
    const double dx = x - 80.0;
    const double dy = y - 45.0;
    const double radius = std::sqrt(dx * dx + dy * dy);
    switch (kind) {
        case 0:
        case 1:
        case 2: {
            const int run = kind == 0 ? 2 : kind == 1 ? 7 : 37;
            return ((run * y - x) % (4 * run) + 4 * run) % (4 * run) < 2 * run ? 220 : 30;
        }
        case 3:
            return static_cast<int>(radius / 2.0) % 2 == 0 ? 220 : 30;
        case 4:
            return static_cast<int64_t>(std::floor(radius / 3.0 + std::atan2(dy, dx) * 1.27)) % 2 ==
                           0
                       ? 220
                       : 30;
        case 5:
            return (hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y)) >> 31) != 0 ? 220 : 30;
        case 6:
            return (x / 3 + y / 3) % 2 == 0 ? 220 : 30;
        default:
            return (hash(static_cast<uint32_t>(x / 4), static_cast<uint32_t>(y / 4)) >> 31) != 0
                       ? 220
                       : 30;
    }
}
constexpr int kHostileKinds = 8;

// The plain model of a spot (load for the first spot of a chain, otherwise
// the blend, entry by entry), for any spot size.
template <typename Channel>
void modelSpot(const aa::SpotFrame& spot, int32_t cx, int32_t cy, bool* firstFlag) {
    auto* frame = static_cast<Channel*>(spot.frame);
    for (int32_t y = cy - spot.r; y <= cy + spot.r; ++y) {
        for (int32_t x = cx - spot.r; x <= cx + spot.r; ++x) {
            const bool inside = x >= 0 && y >= 0 && x < spot.width && y < spot.height;
            for (int k = 0; k < 3; ++k) {
                const auto at = static_cast<std::size_t>(
                    aa::kCellDoubles * ((y - cy + spot.r) * spot.n + (x - cx + spot.r)) + k);
                Channel* v = inside ? &frame[static_cast<std::size_t>((y * spot.width + x) * 4 + k)]
                                    : nullptr;
                if (*firstFlag) {
                    spot.window[at] = inside ? *v : 0.0;
                } else if (inside) {
                    const double w = spot.weights[at];
                    double& m = spot.window[at];
                    m += spot.follow * (*v - m) / (std::nextafter(1.95, 2.0) - w);
                    const double t = std::trunc((1.0 - spot.mix * w) * *v + spot.mix * w * m + 0.5);
                    *v = static_cast<Channel>(
                        std::clamp(t, 0.0, static_cast<double>(spot.maxValue)));
                }
            }
        }
    }
    *firstFlag = false;
}

// The pass put together from the product's detection and tracing with the
// plain linking and spot models in place of the product's linking and blend.
template <typename Channel>
std::vector<Channel> modelPass(const std::vector<Channel>& src, std::vector<Channel> dst,
                               const ScaleContext* ctx, int32_t ceiling) {
    const auto w = static_cast<int32_t>(ctx->srcWidth);
    const auto h = static_cast<int32_t>(ctx->srcHeight);
    std::vector<uint8_t> grey(static_cast<std::size_t>(w) * h);
    if constexpr (sizeof(Channel) == 1) {
        aa::makeGrey8(src.data(), grey.data(), grey.size());
    } else {
        aa::makeGrey16(src.data(), grey.data(), grey.size());
    }
    aa::Detection d;
    EXPECT_TRUE(aa::detectChains(grey.data(), w, h, d));
    const auto toSet = [](const Chains& c, aa::ChainSet& set) {
        EXPECT_TRUE(set.points.resize(c.first.size() + 1) && set.ends.resize(c.second.size() + 1));
        std::copy(c.first.begin(), c.first.end(), set.points.data());
        std::copy(c.second.begin(), c.second.end(), set.ends.data());
        set.count = static_cast<int32_t>(c.second.size());
    };
    const std::vector<int32_t> rowSegs(d.rowSegments.data(),
                                       d.rowSegments.data() + d.rowSegments.size());
    const std::vector<int32_t> colSegs(d.columnSegments.data(),
                                       d.columnSegments.data() + d.columnSegments.size());
    aa::ChainSet rows;
    aa::ChainSet cols;
    toSet(plainLink(rowSegs, w, false), rows);
    toSet(plainLink(colSegs, w, true), cols);
    const aa::SpotGeometry g = aa::spotGeometry(ctx->srcHeight, ctx->dstHeight, ctx->aaSpread);
    std::vector<double> layout(g.doubles);
    aa::buildSpotWeights(layout.data(), layout.size());
    const int32_t side = 2 * g.r + 1;
    std::vector<double> weights(static_cast<std::size_t>(side * side) * aa::kCellDoubles);
    std::vector<double> window(weights.size(), 0.0);
    aa::packSpotLayout(layout.data(), g.n, side, weights.data());
    const aa::SpotFrame spot{dst.data(),
                             static_cast<int32_t>(ctx->dstWidth),
                             static_cast<int32_t>(ctx->dstHeight),
                             weights.data(),
                             window.data(),
                             side,
                             g.r,
                             static_cast<double>(ctx->aaFollow),
                             static_cast<double>(ctx->aaMix),
                             ceiling};
    aa::traceRowChains(ctx, rows, spot, modelSpot<Channel>);
    aa::traceColumnChains(ctx, cols, spot, modelSpot<Channel>);
    return dst;
}

// Linking on the segment lists of hostile pictures (long chains that grow at
// both ends, many short ones) equals the plain list-order scan.
TEST(AntiAliasHostile, LinkingMatchesThePlainScan) {
    for (int kind = 0; kind < kHostileKinds; ++kind) {
        const auto src =
            makeFrame<uint8_t>(160, 90, [kind](int x, int y) { return hostileShade(kind, x, y); });
        std::vector<uint8_t> grey(160 * 90);
        aa::makeGrey8(src.data(), grey.data(), grey.size());
        aa::Detection d;
        ASSERT_TRUE(aa::detectChains(grey.data(), 160, 90, d));
        const std::vector<int32_t> rowSegs(d.rowSegments.data(),
                                           d.rowSegments.data() + d.rowSegments.size());
        const std::vector<int32_t> colSegs(d.columnSegments.data(),
                                           d.columnSegments.data() + d.columnSegments.size());
        EXPECT_EQ(chainsOf(d.rowChains), plainLink(rowSegs, 160, false)) << "kind " << kind;
        EXPECT_EQ(chainsOf(d.columnChains), plainLink(colSegs, 160, true)) << "kind " << kind;
        // Checkerboards and blocky noise give no segments; the rest give many chains.
        EXPECT_TRUE(kind >= 6 || d.rowChains.count + d.columnChains.count > 10) << kind;
    }
}

// The whole pass on hostile pictures, at both depths, whole and fractional
// ratios and three amounts (spot sizes), equals the model composition.
TEST(AntiAliasHostile, PassMatchesTheModelComposition) {
    support::CeilingGuard ceiling(250, 32768);
    for (int kind = 0; kind < kHostileKinds; ++kind) {
        const auto shade = [kind](int x, int y) { return hostileShade(kind, x, y); };
        for (const auto& [dw, dh, amount] :
             {std::tuple{320, 180, 10u}, std::tuple{401, 233, 3u}, std::tuple{480, 270, 25u}}) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << " -> " << dw << "x" << dh);
            const Scene8 s(160, 90, dw, dh, amount, shade);
            const std::vector<uint8_t> expected8 = modelPass(s.src, s.before, s.ctx.get(), 250);
            for (const auto& [name, kernels] : blendLevels()) {
                std::vector<uint8_t> out8 = s.before;
                ASSERT_TRUE(antiAlias8(s.src.data(), out8.data(), s.ctx.get(), kernels));
                EXPECT_EQ(out8, expected8) << name;
                EXPECT_TRUE(kind >= 6 || out8 != s.before) << name;
            }
            const auto src16 = makeFrame<uint16_t>(
                160, 90, [&](int x, int y) { return shade(x, y) * 128 + (x & 31); });
            support::Request r =
                aaRequest(160, 90, static_cast<uint32_t>(dw), static_cast<uint32_t>(dh), amount);
            r.depth = DEPTH_16;
            const support::Context ctx16(r);
            const std::vector<uint16_t> before16 = enlargeNearest(src16, 160, 90, dw, dh);
            const std::vector<uint16_t> expected16 = modelPass(src16, before16, ctx16.get(), 32768);
            for (const auto& [name, kernels] : blendLevels()) {
                std::vector<uint16_t> out16 = before16;
                ASSERT_TRUE(antiAlias16(src16.data(), out16.data(), ctx16.get(), kernels));
                EXPECT_EQ(out16, expected16) << name;
            }
        }
    }
}

}  // namespace
}  // namespace quillon::aatest
