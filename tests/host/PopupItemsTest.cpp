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

TEST(PopupItems, CountsDefaultsAndTexts) {
    const struct {
        const SizePreset* table;
        int count, defaultPosition;
        uint32_t width, height;
        const char* head;
        const char* inside;
        const char* tail;
    } cases[] = {
        {kAfterEffects4KPresets, 28, 0, 972, 720,
         "Fit To Comp Height|Fit To Comp Width|(-|1280 x 720 Fit To Height|",
         "|Ultra HD (3840 x 2160) Fit To Height |Ultra HD (3840 x 2160) Fit To Width|(-|Custom",
         "|(-|Custom"},
        {kPremiere4KPresets, 25, 0, 972, 720, "1280 x 720 Fit To Height|", "|", "|(-|Custom"},
        {kAfterEffectsOutputSizePresets, 51, 51, 0, 0,
         "640 x 480 Multimedia Large|648 x 486 NTSC D1 Square Pixel|", "|", "|Custom|none"},
        {kPremiereOutputSizePresets, 59, 10, 972, 720, "",
         "|(-|1280 x 720 (972 x 720) NTSC DV|1280 x 720 (1296 x 720)", "|Custom"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.count);
        PopupItems items;
        BuildPopupItems(k.table, items);
        const std::string text = items.text;
        EXPECT_EQ(items.count, k.count);
        EXPECT_EQ(CountBars(text), k.count - 1);
        EXPECT_EQ(items.defaultPosition, k.defaultPosition);
        EXPECT_EQ(items.defaultWidth, k.width);
        EXPECT_EQ(items.defaultHeight, k.height);
        EXPECT_EQ(text.find('!'), std::string::npos);  // the default mark is dropped
        EXPECT_EQ(text.rfind(k.head, 0), 0u);
        EXPECT_NE(text.find(k.inside), std::string::npos);
        EXPECT_EQ(text.substr(text.size() - std::string(k.tail).size()), k.tail);
    }
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
