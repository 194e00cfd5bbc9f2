#include "account_query/query_layout.h"

#include <algorithm>

std::array<ControlPlace, kQueryControlCount> QueryLayout(int width, int height) noexcept {
    const int middle = std::max((width - 50) / 2, 320);
    const int right = width - 112;  // left edge of the buttons at the right
    return {{
        {kZoneLabel, 16, 158, 96, 28},
        {kZoneCombo, 112, 156, std::max(middle - 202, 160), 28},
        {kRefreshButton, middle - 80, 156, 96, 28},
        {kKeywordLabel, middle + 34, 158, 96, 28},
        {kKeywordEdit, middle + 130, 156, std::max(right - (middle + 130) - 10, 140), 28},
        {kQueryButton, right, 156, 96, 28},
        {kTableLabel, 16, 198, 96, 28},
        {kTableEdit, 112, 196, middle - 96, 28},
        {kFieldLabel, middle + 34, 198, 96, 28},
        {kFieldEdit, middle + 130, 196, middle - 96, 28},
        {kSaveButton, right, 232, 96, 28},
        {kRepairToolButton, width - 242, 232, 120, 28},
        {kAccountList, 16, 268, width - 32, std::max(height - 314, 120)},
        {kQueryStatus, 16, height - 38, width - 32, 30},
    }};
}
