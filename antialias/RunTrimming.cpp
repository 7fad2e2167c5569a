// Run trimming and pruning of the edge maps.
//
// A run is a maximal stretch of equal non-zero codes along a line: a row of
// the row-edge map or a column of the column-edge map. Both operations are
// written once over a line view; the column forms are the row forms with
// rows and columns exchanged. Cells are cleared while the scan goes on, so
// later tests on the same line see earlier clearings.
//
// The run length bookkeeping is kept exactly as the scan defines it: a run
// already open where the scan starts, or one that begins right after a
// single-cell run in the trimming, is counted one cell short.
#include "antialias/AntiAliasStages.h"

namespace quillon::aa {

namespace {

// cell(a, b): position a along line b.
struct LineView {
    uint8_t* map;
    std::size_t alongStride;
    std::size_t lineStride;
    int32_t alongCount;
    int32_t lineCount;

    uint8_t& cell(int32_t a, int32_t b) const {
        return map[static_cast<std::size_t>(a) * alongStride +
                   static_cast<std::size_t>(b) * lineStride];
    }
};

LineView rowLines(uint8_t* map, int32_t width, int32_t height) {
    return {map, 1, static_cast<std::size_t>(width), width, height};
}

LineView columnLines(uint8_t* map, int32_t width, int32_t height) {
    return {map, static_cast<std::size_t>(width), 1, height, width};
}

// Both operations need more than five rows and more than five columns.
bool largeEnough(int32_t width, int32_t height) {
    return width > 5 && height > 5;
}

struct TrimState {
    int32_t len = 0;
    bool startOK = true;
    bool endOK = true;
    bool mark = false;
};

// A run of code k begins at a + 1 on line b.
void judgeStart(const LineView& m, int32_t a, int32_t b, uint8_t k, TrimState& s) {
    if (m.cell(a, b - 1) == k && m.cell(a - 1, b - 1) != k) {
        s.mark = true;
    } else if (m.cell(a, b - 1) != k && m.cell(a, b + 1) != k) {
        s.startOK = false;
    } else if (m.cell(a, b + 1) == k && m.cell(a - 1, b + 1) != k) {
        s.mark = true;
    } else {
        s.startOK = true;
    }
}

// A run of code k and length s.len ends at a on line b.
void judgeEnd(const LineView& m, int32_t a, int32_t b, uint8_t k, TrimState& s) {
    if (m.cell(a + 1, b - 1) == k && m.cell(a + 2, b - 1) != k) {
        s.mark = true;
    } else if (m.cell(a + 1, b - 1) != k && m.cell(a + 1, b + 1) != k) {
        s.endOK = false;
    } else if (m.cell(a + 1, b + 1) == k && m.cell(a + 2, b + 1) != k) {
        s.mark = true;
    } else if (s.len == 2 && (m.cell(a, b + 1) == k || m.cell(a, b - 1) == k)) {
        s.mark = true;
    } else {
        s.endOK = true;
    }
}

// Lines 2 .. lineCount - 4, positions 2 .. alongCount - 4, each cell compared
// with the next one along the line.
void trimRuns(const LineView& m) {
    for (int32_t b = 2; b <= m.lineCount - 4; ++b) {
        TrimState s;
        for (int32_t a = 2; a <= m.alongCount - 4; ++a) {
            const uint8_t c = m.cell(a, b);
            const uint8_t next = m.cell(a + 1, b);
            if (c == next) {
                if (c != kNoEdge) {
                    ++s.len;
                }
            } else if (s.len == 0) {
                // Judged even when the next cell is 0.
                judgeStart(m, a, b, next, s);
                s.len = 1;
            } else if (s.len == 1) {
                m.cell(a, b) = kNoEdge;
                s.len = 0;
                s.startOK = next == m.cell(a, b - 1) || next == m.cell(a, b + 1);
                if (s.startOK) {
                    s.endOK = true;
                }
            } else {
                judgeEnd(m, a, b, c, s);
                if ((!s.startOK && !s.endOK) || s.mark) {
                    // The run and the one cell after it.
                    for (int32_t i = a - s.len + 1; i <= a + 1; ++i) {
                        m.cell(i, b) = kNoEdge;
                    }
                    s.startOK = true;
                    s.endOK = true;
                    s.mark = false;
                }
                s.len = 0;
                const uint8_t now = m.cell(a + 1, b);
                if (now != kNoEdge) {
                    judgeStart(m, a, b, now, s);
                    s.len = 1;
                }
            }
        }
    }
}

// Lines 2 .. lineCount - 4, positions 3 .. alongCount - 3, each cell compared
// with the previous one. A run is attached at an end when a neighbouring line
// carries its code diagonally before its start or right after its end.
void pruneRuns(const LineView& m, bool clearCellAfter) {
    for (int32_t b = 2; b <= m.lineCount - 4; ++b) {
        int32_t len = 0;
        bool startAttached = true;  // a run open where the scan begins counts as attached
        for (int32_t a = 3; a <= m.alongCount - 3; ++a) {
            const uint8_t c = m.cell(a, b);
            const uint8_t previous = m.cell(a - 1, b);
            if (c == previous) {
                if (c != kNoEdge) {
                    ++len;
                }
                continue;
            }
            if (len == 1) {
                m.cell(a - 1, b) = kNoEdge;
            } else if (len >= 2) {
                const bool endAttached =
                    m.cell(a, b - 1) == previous || m.cell(a, b + 1) == previous;
                if (!startAttached && !endAttached) {
                    const int32_t last = clearCellAfter ? a : a - 1;
                    for (int32_t i = a - len; i <= last; ++i) {
                        m.cell(i, b) = kNoEdge;
                    }
                }
            }
            len = 0;
            const uint8_t now = m.cell(a, b);
            if (now != kNoEdge) {
                startAttached = m.cell(a - 1, b - 1) == now || m.cell(a - 1, b + 1) == now;
                len = 1;
            }
        }
    }
}

}  // namespace

void trimRunsInRows(uint8_t* rowEdges, int32_t width, int32_t height) {
    if (largeEnough(width, height)) {
        trimRuns(rowLines(rowEdges, width, height));
    }
}

void trimRunsInColumns(uint8_t* columnEdges, int32_t width, int32_t height) {
    if (largeEnough(width, height)) {
        trimRuns(columnLines(columnEdges, width, height));
    }
}

void pruneRunsInRows(uint8_t* rowEdges, int32_t width, int32_t height) {
    if (largeEnough(width, height)) {
        pruneRuns(rowLines(rowEdges, width, height), true);
    }
}

// The column form clears an unattached run exactly, without the cell after
// it. The asymmetry with the row form is deliberate.
void pruneRunsInColumns(uint8_t* columnEdges, int32_t width, int32_t height) {
    if (largeEnough(width, height)) {
        pruneRuns(columnLines(columnEdges, width, height), false);
    }
}

}  // namespace quillon::aa
