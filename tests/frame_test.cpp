#include <doctest/doctest.h>

#include <algorithm>
#include <sstream>

#include "account_query/query_layout.h"
#include "id_repair/repair_layout.h"

// All places in the order of their IDs, each as "ID x,y width*height ".
static std::string TextOf(auto places) {
    std::sort(places.begin(), places.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    std::ostringstream text;
    for (const auto& [id, x, y, width, height] : places)
        text << id << ' ' << x << ',' << y << ' ' << width << '*' << height << ' ';
    return text.str();
}

TEST_CASE("every control of both windows has its one place") {
    CHECK(TextOf(QueryLayout(981, 621)) ==
          "1001 112,156 263*28 1002 595,156 264*28 1003 385,156 96*28 1004 869,156 96*28 1005 16,268 949*307 "
          "1006 16,583 949*30 1007 112,196 369*28 1008 595,196 369*28 1009 869,232 96*28 1010 739,232 120*28 "
          "2001 16,158 96*28 2002 499,158 96*28 2003 16,198 96*28 2004 499,198 96*28 ");
    const std::string smallest = TextOf(QueryLayout(600, 400));  // every lower limit at work
    CHECK(
        smallest.starts_with("1001 112,156 160*28 1002 450,156 140*28 1003 240,156 96*28 1004 488,156 96*28 "
                             "1005 16,268 568*120 "));
    CHECK(TextOf(RepairLayout(1161)) ==
          "3001 80,160 496*26 3002 650,160 90*26 3003 814,160 332*26 3004 80,194 496*26 3005 650,194 496*26 "
          "3006 80,228 496*26 3007 584,228 120*26 3008 14,264 1133*180 3009 476,565 280*26 3010 106,603 "
          "420*26 3011 899,603 120*26 3012 14,643 1133*150 3013 1027,603 120*26 3014 14,799 1133*42 3015 "
          "106,565 280*26 3016 712,228 200*26 3017 14,452 1133*105 3101 14,162 66*26 3102 584,162 66*26 3103 "
          "748,162 66*26 3104 14,196 66*26 3105 584,196 66*26 3106 14,230 66*26 3107 14,567 88*26 3108 "
          "404,567 68*26 3109 14,605 88*26 ");
    for (const auto& [width, places] : {std::pair(630, "180*26 3010 106,603 260*26"),
                                        {795, "180*26 3010 106,603 419*26"},
                                        {927, "181*26 3010 106,603 420*26"},
                                        {1025, "279*26 3010 106,603 420*26"}})
        CHECK(TextOf(RepairLayout(width)).find(places) != std::string::npos);
}
