#include "id_repair/repair_layout.h"

#include <algorithm>

namespace {

int TargetComboWidth(int width) noexcept {
    constexpr int kNarrowest = 180;
    constexpr int kWidest = 280;
    return std::clamp(std::max(width - 262, 534) - 484, kNarrowest, kWidest);
}

int NewIdWidth(int width) noexcept {
    constexpr int kNarrowest = 260;
    constexpr int kWidest = 420;
    return std::max(std::min(width - 376, kWidest), kNarrowest);
}

}  // namespace

std::array<ControlPlace, kRepairControlCount> RepairLayout(int width) noexcept {
    const int half = (width - 36) / 2;
    const int whole = width - 28;
    return {{
        {kServerLabel, 14, 162, 66, 26},
        {kServerEdit, 80, 160, half - 66, 26},
        {kPortLabel, half + 22, 162, 66, 26},
        {kPortEdit, half + 88, 160, 90, 26},
        {kUserLabel, half + 186, 162, 66, 26},
        {kUserEdit, half + 252, 160, half - 230, 26},
        {kPasswordLabel, 14, 196, 66, 26},
        {kPasswordEdit, 80, 194, half - 66, 26},
        {kDatabaseALabel, half + 22, 196, 66, 26},
        {kDatabaseAEdit, half + 88, 194, half - 66, 26},
        {kDatabaseBLabel, 14, 230, 66, 26},
        {kDatabaseBEdit, 80, 228, half - 66, 26},
        {kDetectButton, half + 22, 228, 120, 26},
        {kRepairAllButton, half + 150, 228, 200, 26},
        {kRoleList, 14, 264, whole, 180},
        {kGuildList, 14, 452, whole, 105},
        {kSelectedIdLabel, 14, 567, 88, 26},
        {kSelectedIdEdit, 106, 565, 280, 26},
        {kTargetLabel, 404, 567, 68, 26},
        {kTargetCombo, 476, 565, TargetComboWidth(width), 26},
        {kNewIdLabel, 14, 605, 88, 26},
        {kNewIdEdit, 106, 603, NewIdWidth(width), 26},
        {kAnalyzeButton, width - 262, 603, 120, 26},
        {kRepairButton, width - 134, 603, 120, 26},
        {kFieldList, 14, 643, whole, 150},
        {kRepairStatus, 14, 799, whole, 42},
    }};
}
