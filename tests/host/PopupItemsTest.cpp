// Popup item strings and defaults built from the preset tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/Parameters.h"

namespace quillon::host {
namespace {

int CountBars(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '|'));
}

TEST(PopupItems, AfterEffects4KHasNoMarkedRow) {
    PopupItems items;
    BuildPopupItems(kAfterEffects4KPresets, items);
    const std::string text = items.text;
    EXPECT_EQ(items.count, 28);
    EXPECT_EQ(items.defaultPosition, 0);
    EXPECT_EQ(items.defaultWidth, 972u);
    EXPECT_EQ(items.defaultHeight, 720u);
    EXPECT_EQ(CountBars(text), 27);
    EXPECT_EQ(text.rfind("Fit To Comp Height|Fit To Comp Width|(-|1280 x 720 Fit To Height|", 0),
              0u);
    EXPECT_NE(text.find("|Ultra HD (3840 x 2160) Fit To Height |Ultra HD (3840 x 2160) Fit To "
                        "Width|(-|Custom"),
              std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 10), "|(-|Custom");
}

TEST(PopupItems, AfterEffectsOutputSizeDefaultsToNone) {
    PopupItems items;
    BuildPopupItems(kAfterEffectsOutputSizePresets, items);
    const std::string text = items.text;
    EXPECT_EQ(items.count, 51);
    EXPECT_EQ(items.defaultPosition, 51);
    EXPECT_EQ(items.defaultWidth, 0u);
    EXPECT_EQ(items.defaultHeight, 0u);
    EXPECT_EQ(text.find('!'), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 12), "|Custom|none");
    EXPECT_EQ(text.rfind("640 x 480 Multimedia Large|648 x 486 NTSC D1 Square Pixel|", 0), 0u);
}

TEST(PopupItems, PremiereOutputSizeDefaultsTo972By720) {
    PopupItems items;
    BuildPopupItems(kPremiereOutputSizePresets, items);
    const std::string text = items.text;
    EXPECT_EQ(items.count, 59);
    EXPECT_EQ(items.defaultPosition, 10);
    EXPECT_EQ(items.defaultWidth, 972u);
    EXPECT_EQ(items.defaultHeight, 720u);
    EXPECT_EQ(text.find('!'), std::string::npos);
    EXPECT_NE(text.find("|(-|1280 x 720 (972 x 720) NTSC DV|1280 x 720 (1296 x 720)"),
              std::string::npos);
    EXPECT_EQ(CountBars(text), 58);
}

TEST(PopupItems, Premiere4K) {
    PopupItems items;
    BuildPopupItems(kPremiere4KPresets, items);
    EXPECT_EQ(items.count, 25);
    EXPECT_EQ(items.defaultPosition, 0);
    EXPECT_EQ(std::string(items.text).rfind("1280 x 720 Fit To Height|", 0), 0u);
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
