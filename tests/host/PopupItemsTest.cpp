// Popup item strings and defaults built from the preset tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/Parameters.h"

namespace quillon::host {
namespace {

// Counts, defaults and texts of the real tables are checked through the
// parameters each host receives; the 4K tables mark no row, which only shows here.
TEST(PopupItems, UnmarkedTableDefaultsTo972By720) {
    PopupItems items;
    BuildPopupItems(kAfterEffects4KPresets, items);
    const std::string text = items.text;
    EXPECT_EQ(items.count, 28);
    EXPECT_EQ(std::count(text.begin(), text.end(), '|'), 27);
    EXPECT_EQ(items.defaultPosition, 0);
    EXPECT_EQ(items.defaultWidth, 972u);
    EXPECT_EQ(items.defaultHeight, 720u);
    BuildPopupItems(kAfterEffectsOutputSizePresets, items);
    EXPECT_EQ(std::string(items.text).find('!'), std::string::npos);  // the mark is dropped
    EXPECT_EQ(items.defaultWidth + items.defaultHeight, 0u);
}

TEST(PopupItems, OverlongTablesAreCutAtTheBuffer) {
    const std::string longText(1000, 'x');
    std::vector<SizePreset> rows(10, SizePreset{longText.c_str(), 0, 0, 0, 0});
    rows.push_back(SizePreset{"!last", 7, 9, 0, 0});
    rows.push_back(SizePreset{nullptr, 0, 0, 0, 0});
    PopupItems items;
    BuildPopupItems(rows.data(), items);
    EXPECT_EQ(items.count, 11);
    EXPECT_EQ(items.defaultPosition, 11);
    EXPECT_EQ(items.defaultWidth, 7u);
    EXPECT_EQ(std::string(items.text).size(), static_cast<std::size_t>(kPopupItemsCapacity - 1));
}

}  // namespace
}  // namespace quillon::host
