// Chain linking: regroups the segment list into chains of adjacent segments.
//
// In list order, every segment not yet consumed opens a chain. The segments
// after it are then scanned once, in list order: a candidate of the chain's
// family whose start touches the chain's tail is appended, otherwise one whose
// end touches the chain's head is prepended. Row chains call indices adjacent
// when they differ by at most 1; column chains when they are equal or differ
// by exactly W. The family is fixed by the opening segment: a segment whose
// start row is not above its end row gathers segments going strictly upward,
// any other gathers segments going strictly downward, so a flat segment can
// open a chain but never join one.
//
// The single scan is answered through two sorted indexes (by start and by
// end index), which find the first candidate after the current scan position
// that touches the tail or the head. Since tail and head only change when a
// segment joins, the first such candidate is exactly the one the plain
// list-order scan would join next, and the scan then continues after it.
//
// The indexes order their keys so that the three indices touching a point
// are neighbours: row chains key on the pixel index itself (u - 1, u, u + 1),
// column chains on the index read column by column (x * H + y, where u - W,
// u, u + W become consecutive). One search then finds the three of them, and
// a per-line table of key positions keeps that search within one row (or
// column) of keys.
//
// A chain is built in two parts: appended segments go straight to the chain's
// place in the output, prepended ones to a side list in the order they join.
// When the chain is closed, its appended part moves up by the prepended
// part's length and the side list fills the front, last joined first. Each
// segment is moved a bounded number of times, so linking stays linear in the
// number of segments however the chains grow.
#include <algorithm>
#include <climits>
#include <cstdlib>

#include "antialias/AntiAliasStages.h"

namespace quillon::aa {

namespace {

constexpr int32_t kUpward = 0;    // start row below end row
constexpr int32_t kDownward = 1;  // start row above end row
constexpr int32_t kFlat = 2;

struct Key {
    int32_t family;
    int32_t key;  // the index, in the index's key order
    int32_t segment;
};

bool keyLess(const Key& l, const Key& r) {
    if (l.family != r.family) {
        return l.family < r.family;
    }
    if (l.key != r.key) {
        return l.key < r.key;
    }
    return l.segment < r.segment;
}

// Pixel index to key: identity for row chains, column-major for column
// chains. `lines` keys lines of `lineLength` keys cover every index.
struct KeyOrder {
    int32_t width;
    int32_t height;
    bool columnMajor;

    int32_t key(int32_t index) const {
        return columnMajor ? (index % width) * height + index / width : index;
    }
    int32_t lineLength() const { return columnMajor ? height : width; }
    int32_t lines() const { return columnMajor ? width : height; }
};

class CandidateIndex {
public:
    bool build(const int32_t* segments, int32_t segmentCount, const uint8_t* family, int32_t side,
               const KeyOrder& order) {
        order_ = order;
        const std::size_t lines = static_cast<std::size_t>(order.lines());
        if (!keys_.resize(static_cast<std::size_t>(segmentCount)) ||
            !lineStart_.resize(2 * (lines + 1))) {
            return false;
        }
        std::size_t used = 0;
        for (int32_t s = 0; s < segmentCount; ++s) {
            if (family[s] != kFlat) {
                keys_[used++] = Key{family[s], order.key(segments[2 * s + side]), s};
            }
        }
        count_ = used;
        std::sort(keys_.data(), keys_.data() + used, keyLess);
        // lineStart_[f * (lines + 1) + l]: first key of family f on line l or
        // later; the entry after the last line ends the family.
        lineStart_.fill(0);
        int32_t* starts = lineStart_.data();
        for (std::size_t i = 0; i < used; ++i) {
            const std::size_t f = static_cast<std::size_t>(keys_[i].family);
            const std::size_t line = static_cast<std::size_t>(keys_[i].key / order.lineLength());
            ++starts[f * (lines + 1) + line + 1];
        }
        int32_t running = 0;
        for (std::size_t f = 0; f < 2; ++f) {
            int32_t* s = starts + f * (lines + 1);
            s[0] = running;
            for (std::size_t l = 1; l <= lines; ++l) {
                running += s[l];
                s[l] = running;
            }
        }
        return true;
    }

    // Calls visit(segment) for every segment of the family whose key lies in
    // [lo, hi], in key order.
    template <typename Visit>
    void forEachInRange(int32_t family, int64_t lo, int64_t hi, Visit&& visit) const {
        const std::size_t lines = static_cast<std::size_t>(order_.lines());
        const int32_t* starts = lineStart_.data() + static_cast<std::size_t>(family) * (lines + 1);
        const int64_t from = std::max<int64_t>(lo, 0);
        const std::size_t line = static_cast<std::size_t>(from / order_.lineLength());
        if (line >= lines || hi < from) {
            return;
        }
        const Key* end = keys_.data() + starts[lines];
        const Key* k =
            std::lower_bound(keys_.data() + starts[line], keys_.data() + starts[line + 1], from,
                             [](const Key& a, int64_t v) { return a.key < v; });
        for (; k != end && k->key <= hi; ++k) {
            visit(k->segment);
        }
    }

private:
    WorkArray<Key> keys_;
    WorkArray<int32_t> lineStart_;
    std::size_t count_ = 0;
    KeyOrder order_{1, 1, false};
};

bool linkChains(const int32_t* segments, std::size_t entryCount, int32_t width, int32_t near,
                ChainSet& chains) {
    chains.count = 0;
    if (width <= 0 || entryCount / 2 > static_cast<std::size_t>(INT32_MAX / 2)) {
        return false;
    }
    const int32_t segmentCount = static_cast<int32_t>(entryCount / 2);
    const std::size_t pairEntries = static_cast<std::size_t>(segmentCount) * 2;
    WorkArray<uint8_t> family;
    WorkArray<uint8_t> consumed;
    WorkArray<int32_t> front;  // prepended pairs of the open chain, in joining order
    CandidateIndex byStart;
    CandidateIndex byEnd;
    // Every segment lands in exactly one chain: pairEntries points, and at
    // most one chain a segment.
    if (!chains.points.resize(pairEntries) ||
        !chains.ends.resize(static_cast<std::size_t>(segmentCount)) ||
        !family.resize(static_cast<std::size_t>(segmentCount)) ||
        !consumed.resize(static_cast<std::size_t>(segmentCount)) || !front.resize(pairEntries)) {
        return false;
    }
    consumed.fill(0);
    int32_t maxIndex = 0;
    for (std::size_t e = 0; e < pairEntries; ++e) {
        if (segments[e] < 0) {
            return false;  // not a pixel index
        }
        maxIndex = std::max(maxIndex, segments[e]);
    }
    const int32_t lines = maxIndex / width + 1;
    if (int64_t{lines} * width > INT32_MAX) {
        return false;  // keys of such a frame would not fit in 32 bits
    }
    const KeyOrder order{width, lines, near != 1};
    for (int32_t s = 0; s < segmentCount; ++s) {
        const int32_t fromRow = segments[2 * s] / width;
        const int32_t toRow = segments[2 * s + 1] / width;
        family[s] = static_cast<uint8_t>(fromRow > toRow   ? kUpward
                                         : fromRow < toRow ? kDownward
                                                           : kFlat);
    }
    if (!byStart.build(segments, segmentCount, family.data(), 0, order) ||
        !byEnd.build(segments, segmentCount, family.data(), 1, order)) {
        return false;
    }

    int32_t* p = chains.points.data();
    int32_t* ends = chains.ends.data();
    auto adjacent = [near](int32_t u, int32_t v) {
        const int32_t d = std::abs(u - v);
        return d == 0 || (near == 1 ? d == 1 : d == near);
    };
    int32_t* f = front.data();
    int32_t c = 0;
    for (int32_t s = 0; s < segmentCount; ++s) {
        if (consumed[s]) {
            continue;
        }
        const int32_t base = c == 0 ? 0 : ends[c - 1];
        const int32_t a = segments[2 * s];
        const int32_t b = segments[2 * s + 1];
        p[base] = a;
        p[base + 1] = b;
        consumed[s] = 1;
        int32_t backLen = 2;   // entries from base: the opening pair and appended pairs
        int32_t frontLen = 0;  // entries in f: prepended pairs
        int32_t head = a;
        int32_t tail = b;
        const int32_t wanted = a / width >= b / width ? kUpward : kDownward;
        int32_t position = s;
        for (;;) {
            // The first candidate after the scan position whose start touches
            // the tail or whose end touches the head.
            int32_t next = INT32_MAX;
            auto consider = [&](int32_t touching, int32_t side, const CandidateIndex& index) {
                const int64_t key = order.key(touching);
                index.forEachInRange(wanted, key - 1, key + 1, [&](int32_t candidate) {
                    if (candidate > position && candidate < next && !consumed[candidate] &&
                        adjacent(touching, segments[2 * candidate + side])) {
                        next = candidate;
                    }
                });
            };
            consider(tail, 0, byStart);
            consider(head, 1, byEnd);
            if (next == INT32_MAX) {
                break;
            }
            const int32_t na = segments[2 * next];
            const int32_t nb = segments[2 * next + 1];
            if (adjacent(tail, na)) {
                p[base + backLen] = na;
                p[base + backLen + 1] = nb;
                backLen += 2;
                tail = nb;
            } else {
                f[frontLen] = na;
                f[frontLen + 1] = nb;
                frontLen += 2;
                head = na;
            }
            consumed[next] = 1;
            position = next;
        }
        if (frontLen > 0) {
            std::copy_backward(p + base, p + base + backLen, p + base + frontLen + backLen);
            for (int32_t i = 0; i < frontLen; i += 2) {
                p[base + i] = f[frontLen - 2 - i];
                p[base + i + 1] = f[frontLen - 1 - i];
            }
        }
        ends[c] = base + frontLen + backLen;
        ++c;
    }
    chains.count = c;
    return true;
}

}  // namespace

bool linkRowChains(const int32_t* segments, std::size_t entryCount, int32_t width,
                   ChainSet& chains) {
    return linkChains(segments, entryCount, width, 1, chains);
}

bool linkColumnChains(const int32_t* segments, std::size_t entryCount, int32_t width,
                      ChainSet& chains) {
    return linkChains(segments, entryCount, width, width, chains);
}

}  // namespace quillon::aa
