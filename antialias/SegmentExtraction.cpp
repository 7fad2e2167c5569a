// Segment extraction: cuts each staircase of an edge map into straight
// segments from the middle of one stair to the middle of the next.
//
// The row form scans the row-edge map row by row. The column form is the row
// form applied to the transposed column-edge map (scanned column by column),
// every emitted index being mapped back to y * W + x; its halvings are
// therefore taken on row numbers within one column, with the same +1
// wherever the row form has one. Every halving is an arithmetic shift of a
// sum of indices.
//
// Size of the output: every run start (a column x in 1 .. L - 3 of a line
// where the code changes) emits at most two pairs, so a map of L cells a line
// and K lines yields at most 4 * (L - 3) * (K - 2) entries. The list grows on
// demand, so no picture can overrun it.
#include <cstdlib>

#include "antialias/AntiAliasStages.h"

namespace quillon::aa {

namespace {

// The grey test and the write of one pair; `mapBack` turns a scan index
// into a pixel index of the source frame.
template <typename MapBack>
struct PairSink {
    const uint8_t* grey;
    IndexList* segments;
    MapBack mapBack;
    bool ok = true;

    void emit(int32_t from, int32_t to) {
        const int32_t a = mapBack(from);
        const int32_t b = mapBack(to);
        if (std::abs(int{grey[a]} - int{grey[b]}) > kSegmentGreyLimit) {
            return;  // withdrawn
        }
        if (!segments->push(a) || !segments->push(b)) {
            ok = false;
        }
    }
};

// One run of code c on scan line y: cells i .. e, first column x.
struct Run {
    int32_t i;
    int32_t e;
    int32_t x;
    int32_t ex;  // column of e
    int32_t mid;
    uint8_t c;
};

// Right-step pair from the upper line to the lower line, starting from the
// lower run's first cell q; `column` is the counter column that q's
// rightward walk starts from.
template <typename Sink>
void emitRightStep(const uint8_t* m, int32_t lineLength, const Run& run, int32_t q, int32_t column,
                   Sink& sink) {
    int32_t qe = q;
    while (column < lineLength - 2 && m[qe] == m[qe + 1]) {
        ++qe;
        ++column;
    }
    const int32_t lowmid = (q + qe + 1) >> 1;
    const bool overlap = run.mid >= q - lineLength;
    const bool lead = lowmid > run.e + lineLength;
    if (run.c == kBrighter) {
        if (lead) {
            sink.emit(run.mid, lowmid);
        } else {
            sink.emit((run.mid + run.e) >> 1, (lowmid + qe) >> 1);
        }
    } else {
        if (overlap) {
            sink.emit((run.mid + run.i) >> 1, (lowmid + q) >> 1);
        } else {
            sink.emit(run.mid, lowmid);
        }
    }
}

// Scans a map of `lineCount` lines of `lineLength` cells.
template <typename Sink>
void extractSegments(const uint8_t* m, int32_t lineLength, int32_t lineCount, Sink& sink) {
    const int32_t w = lineLength;
    for (int32_t y = 0; y <= lineCount - 3 && sink.ok; ++y) {
        int32_t x = 1;
        while (x < w - 2) {
            const int32_t i = y * w + x;
            const uint8_t c = m[i];
            if (c == kNoEdge || c == m[i - 1]) {
                ++x;
                continue;
            }
            // The two cells below-left of the first cell carry the code.
            const bool leftStep = m[i + w - 1] == c && m[i + w - 2] == c;

            int32_t k = i;
            int32_t kx = x;
            int32_t k1 = -1;
            int32_t k1x = 0;
            int32_t q = -1;
            int32_t qx = 0;  // column of the cell that recorded q
            bool rightContinuation = false;
            if (m[i + 1] == c) {
                for (;;) {
                    if (kx >= w - 2) {
                        break;
                    }
                    if (leftStep) {
                        if (k1 < 0 && m[k] != m[k + w]) {
                            k1 = k;
                            k1x = kx;
                        }
                        if (k1 >= 0 && m[k] == m[k + w + 1]) {
                            q = k + w + 1;
                            qx = kx;
                            rightContinuation = true;
                        }
                    } else if (m[k] != m[k + w] && m[k] == m[k + w + 1]) {
                        q = k + w + 1;
                        qx = kx;
                    }
                    ++k;
                    ++kx;
                    if (m[k] != m[k + 1]) {
                        break;
                    }
                }
            }
            const Run run{i, k, x, kx, (i + k + 1) >> 1, c};
            const int32_t e = run.e;
            const int32_t mid = run.mid;

            if (leftStep && k1 >= 0) {
                const int32_t j = k1 + w - 1;
                int32_t ps = j;
                for (int32_t steps = 0; steps < k1x && ps > 0 && m[ps] == m[ps - 1]; ++steps) {
                    --ps;
                }
                const int32_t lowmid = (ps + j + 1) >> 1;
                const bool overlap = mid <= j - w;
                const bool lead = lowmid < i + w;
                if (c == kBrighter) {
                    if (lead) {
                        sink.emit(lowmid, mid);
                    } else {
                        sink.emit((lowmid + ps) >> 1, (mid + i) >> 1);
                    }
                } else {
                    if (overlap) {
                        sink.emit((lowmid + j) >> 1, (mid + e) >> 1);
                    } else {
                        sink.emit(lowmid, mid);
                    }
                }
                if (rightContinuation && m[e + w + 1] == c && m[e + w + 2] == c) {
                    emitRightStep(m, w, run, q, qx + 1, sink);
                }
            } else if (leftStep) {
                // Every examined cell has its own code below it.
                int32_t ps = i + w;
                for (int32_t steps = 0; steps < x && m[ps] == m[ps - 1]; ++steps) {
                    --ps;
                }
                sink.emit((i + w + ps) >> 1, mid);
                if (m[e + w + 1] == c) {
                    int32_t qe = e + w;
                    for (int32_t column = run.ex; column < w - 2 && m[qe] == m[qe + 1]; ++column) {
                        ++qe;
                    }
                    sink.emit(mid, (e + w + qe) >> 1);
                }
            } else if (q >= 0) {
                emitRightStep(m, w, run, q, qx + 1, sink);
            } else if (m[e + w + 1] == c && m[e + w + 2] == c) {
                emitRightStep(m, w, run, e + w + 1, run.ex + 1, sink);
            }
            x = run.ex + 1;
        }
    }
}

bool pixelCountFits(int32_t width, int32_t height) {
    return width > 0 && height > 0 && int64_t{width} * height <= INT32_MAX;
}

}  // namespace

bool extractRowSegments(const uint8_t* rowEdges, const uint8_t* grey, int32_t width, int32_t height,
                        IndexList& segments) {
    if (!pixelCountFits(width, height) || width < 4 || height < 3) {
        return true;
    }
    auto identity = [](int32_t index) { return index; };
    PairSink<decltype(identity)> sink{grey, &segments, identity};
    extractSegments(rowEdges, width, height, sink);
    return sink.ok;
}

bool extractColumnSegments(const uint8_t* columnEdges, const uint8_t* grey, int32_t width,
                           int32_t height, IndexList& segments) {
    if (!pixelCountFits(width, height) || height < 4 || width < 3) {
        return true;
    }
    // Transposed map: line x holds column x, top to bottom.
    const std::size_t w = static_cast<std::size_t>(width);
    const std::size_t h = static_cast<std::size_t>(height);
    WorkArray<uint8_t> transposed;
    if (!transposed.resize(w * h)) {
        return false;
    }
    uint8_t* t = transposed.data();
    for (std::size_t y = 0; y < h; ++y) {
        const uint8_t* line = columnEdges + y * w;
        for (std::size_t x = 0; x < w; ++x) {
            t[x * h + y] = line[x];
        }
    }
    auto mapBack = [width, height](int32_t index) {
        return (index % height) * width + index / height;
    };
    PairSink<decltype(mapBack)> sink{grey, &segments, mapBack};
    extractSegments(t, height, width, sink);
    return sink.ok;
}

}  // namespace quillon::aa
