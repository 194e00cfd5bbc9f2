#include <doctest/doctest.h>

#include <algorithm>
#include <string>

#include "account_query/query_layout.h"
#include "app/caption.h"
#include "id_repair/repair_layout.h"

namespace {

// All places in the order of their IDs, each as "ID x,y width*height ".
template <size_t N>
std::string TextOf(std::array<ControlPlace, N> places) {
    std::sort(places.begin(), places.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    std::string text;
    for (const auto& [id, x, y, width, height] : places) {
        text += std::to_string(id) + " " + std::to_string(x) + "," + std::to_string(y) + " " +
                std::to_string(width) + "*" + std::to_string(height) + " ";
    }
    return text;
}

}  // namespace

TEST_CASE("the caption strip ends after row 67 and its glyphs begin 132 pixels from the right") {
    struct Row {
        int x, y;
        bool drag, glyph;
    };
    for (const Row& row :
         {Row{0, 0, true, false}, Row{847, 67, true, false}, Row{848, 67, false, true},
          Row{979, 0, false, true}, Row{847, 68, false, false}, Row{848, 68, false, false}}) {
        CAPTURE(row.x);
        CHECK(IsDragArea(row.x, row.y, 980) == row.drag);
        CHECK(IsGlyphArea(row.x, row.y, 980) == row.glyph);
    }
    using enum CaptionAction;
    for (const auto& [x, action] : {std::pair(848, Minimize),
                                    {891, Minimize},
                                    {892, ToggleMaximize},
                                    {935, ToggleMaximize},
                                    {936, Close},
                                    {979, Close},
                                    {980, None}}) {
        CAPTURE(x);
        CHECK(static_cast<int>(CaptionActionAt(x, 980)) == static_cast<int>(action));
    }
}

TEST_CASE("every control of the query window has its one place") {
    CHECK(TextOf(QueryLayout(981, 621)) ==
          "1001 112,156 263*28 1002 595,156 264*28 1003 385,156 96*28 1004 869,156 96*28 1005 16,268 949*307 "
          "1006 16,583 949*30 1007 112,196 369*28 1008 595,196 369*28 1009 869,232 96*28 1010 739,232 120*28 "
          "2001 16,158 96*28 2002 499,158 96*28 2003 16,198 96*28 2004 499,198 96*28 ");
    CHECK(TextOf(QueryLayout(600, 400)) ==  // every lower limit at work
          "1001 112,156 160*28 1002 450,156 140*28 1003 240,156 96*28 1004 488,156 96*28 1005 16,268 568*120 "
          "1006 16,362 568*30 1007 112,196 224*28 1008 450,196 224*28 1009 488,232 96*28 1010 358,232 120*28 "
          "2001 16,158 96*28 2002 354,158 96*28 2003 16,198 96*28 2004 354,198 96*28 ");
}

TEST_CASE("every control of the repair window has its one place") {
    CHECK(
        TextOf(RepairLayout(1161)) ==
        "3001 80,160 496*26 3002 650,160 90*26 3003 814,160 332*26 3004 80,194 496*26 3005 650,194 496*26 "
        "3006 80,228 496*26 3007 584,228 120*26 3008 14,264 1133*180 3009 476,565 280*26 3010 106,603 420*26 "
        "3011 899,603 120*26 3012 14,643 1133*150 3013 1027,603 120*26 3014 14,799 1133*42 3015 106,565 "
        "280*26 "
        "3016 712,228 200*26 3017 14,452 1133*105 3101 14,162 66*26 3102 584,162 66*26 3103 748,162 66*26 "
        "3104 14,196 66*26 3105 584,196 66*26 3106 14,230 66*26 3107 14,567 88*26 3108 404,567 68*26 "
        "3109 14,605 88*26 ");
    struct Row {
        int window;
        const char *combo, *newId;
    };
    for (const Row& row :
         {Row{500, "180", "260"}, Row{636, "180", "260"}, Row{637, "180", "261"}, Row{795, "180", "419"},
          Row{797, "180", "420"}, Row{927, "181", "420"}, Row{1025, "279", "420"}, Row{1027, "280", "420"}}) {
        CAPTURE(row.window);
        const std::string places = TextOf(RepairLayout(row.window));
        CHECK(places.find(std::string("3009 476,565 ") + row.combo + "*26 ") != std::string::npos);
        CHECK(places.find(std::string("3010 106,603 ") + row.newId + "*26 ") != std::string::npos);
    }
}
