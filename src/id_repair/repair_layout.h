#pragma once

#include <array>

#include "app/control_place.h"

/// The ID repair window's controls by their IDs.
enum RepairControl : int {
    kServerEdit = 3001,
    kPortEdit = 3002,
    kUserEdit = 3003,
    kPasswordEdit = 3004,
    kDatabaseAEdit = 3005,
    kDatabaseBEdit = 3006,
    kDetectButton = 3007,
    kRoleList = 3008,
    kTargetCombo = 3009,
    kNewIdEdit = 3010,
    kAnalyzeButton = 3011,
    kFieldList = 3012,
    kRepairButton = 3013,
    kRepairStatus = 3014,
    kSelectedIdEdit = 3015,
    kRepairAllButton = 3016,
    kGuildList = 3017,
    kServerLabel = 3101,
    kPortLabel = 3102,
    kUserLabel = 3103,
    kPasswordLabel = 3104,
    kDatabaseALabel = 3105,
    kDatabaseBLabel = 3106,
    kSelectedIdLabel = 3107,
    kTargetLabel = 3108,
    kNewIdLabel = 3109,
};

inline constexpr int kRepairControlCount = 26;

/// The place of each control in a client area of `width` pixels; the height does not matter.
std::array<ControlPlace, kRepairControlCount> RepairLayout(int width) noexcept;
