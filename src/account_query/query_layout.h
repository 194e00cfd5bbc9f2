#pragma once

#include <array>

#include "app/control_place.h"

/// The account query window's controls by their IDs.
enum QueryControl : int {
    kZoneCombo = 1001,
    kKeywordEdit = 1002,
    kRefreshButton = 1003,
    kQueryButton = 1004,
    kAccountList = 1005,
    kQueryStatus = 1006,
    kTableEdit = 1007,
    kFieldEdit = 1008,
    kSaveButton = 1009,
    kRepairToolButton = 1010,
    kZoneLabel = 2001,
    kKeywordLabel = 2002,
    kTableLabel = 2003,
    kFieldLabel = 2004,
};

inline constexpr int kQueryControlCount = 14;

/// The place of each control in a client area of `width` by `height` pixels.
std::array<ControlPlace, kQueryControlCount> QueryLayout(int width, int height) noexcept;
