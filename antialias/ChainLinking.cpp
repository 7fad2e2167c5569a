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
    int32_t index;
    int32_t segment;
};

bool keyLess(const Key& l, const Key& r) {
    if (l.family != r.family) {
        return l.family < r.family;
    }
    if (l.index != r.index) {
        return l.index < r.index;
    }
    return l.segment < r.segment;
}

class CandidateIndex {
public:
    bool build(const int32_t* segments, int32_t segmentCount, const uint8_t* family, int32_t side) {
        if (!keys_.resize(static_cast<std::size_t>(segmentCount))) {
            return false;
        }
        std::size_t used = 0;
        for (int32_t s = 0; s < segmentCount; ++s) {
            if (family[s] != kFlat) {
                keys_[used++] = Key{family[s], segments[2 * s + side], s};
            }
        }
        count_ = used;
        std::sort(keys_.data(), keys_.data() + used, keyLess);
        return true;
    }

    // First unconsumed segment after `after` of the family with this index;
    // INT32_MAX when there is none.
    int32_t firstAfter(int32_t family, int64_t wideIndex, int32_t after,
                       const uint8_t* consumed) const {
        if (wideIndex < 0 || wideIndex > INT32_MAX) {
            return INT32_MAX;  // no segment holds an index outside the frame
        }
        const int32_t index = static_cast<int32_t>(wideIndex);
        const Key probe{family, index, after + 1};
        const Key* end = keys_.data() + count_;
        for (const Key* k = std::lower_bound(keys_.data(), end, probe, keyLess);
             k != end && k->family == family && k->index == index; ++k) {
            if (!consumed[k->segment]) {
                return k->segment;
            }
        }
        return INT32_MAX;
    }

private:
    WorkArray<Key> keys_;
    std::size_t count_ = 0;
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
    CandidateIndex byStart;
    CandidateIndex byEnd;
    // Every segment lands in exactly one chain: pairEntries points, and at
    // most one chain a segment.
    if (!chains.points.resize(pairEntries) ||
        !chains.ends.resize(static_cast<std::size_t>(segmentCount)) ||
        !family.resize(static_cast<std::size_t>(segmentCount)) ||
        !consumed.resize(static_cast<std::size_t>(segmentCount))) {
        return false;
    }
    consumed.fill(0);
    for (int32_t s = 0; s < segmentCount; ++s) {
        const int32_t fromRow = segments[2 * s] / width;
        const int32_t toRow = segments[2 * s + 1] / width;
        family[s] = static_cast<uint8_t>(fromRow > toRow   ? kUpward
                                         : fromRow < toRow ? kDownward
                                                           : kFlat);
    }
    if (!byStart.build(segments, segmentCount, family.data(), 0) ||
        !byEnd.build(segments, segmentCount, family.data(), 1)) {
        return false;
    }

    int32_t* p = chains.points.data();
    int32_t* ends = chains.ends.data();
    const int32_t offsets[3] = {-near, 0, near};
    auto adjacent = [near](int32_t u, int32_t v) {
        const int32_t d = std::abs(u - v);
        return d == 0 || (near == 1 ? d == 1 : d == near);
    };
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
        int32_t len = 0;
        const int32_t wanted = a / width >= b / width ? kUpward : kDownward;
        int32_t position = s;
        for (;;) {
            const int32_t tail = p[base + len + 1];
            const int32_t head = p[base];
            int32_t next = INT32_MAX;
            for (int32_t d : offsets) {
                next = std::min(
                    next, byStart.firstAfter(wanted, int64_t{tail} + d, position, consumed.data()));
                next = std::min(
                    next, byEnd.firstAfter(wanted, int64_t{head} + d, position, consumed.data()));
            }
            if (next == INT32_MAX) {
                break;
            }
            const int32_t na = segments[2 * next];
            const int32_t nb = segments[2 * next + 1];
            if (adjacent(tail, na)) {
                p[base + len + 2] = na;
                p[base + len + 3] = nb;
            } else {
                std::copy_backward(p + base, p + base + len + 2, p + base + len + 4);
                p[base] = na;
                p[base + 1] = nb;
            }
            consumed[next] = 1;
            len += 2;
            position = next;
        }
        ends[c] = base + 2 + len;
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
