#pragma once

#include <string_view>

/// True for a character's unique ID: 1 to 50 ASCII digits. IDs are compared as text: 0012 and 12 differ.
bool IsRoleId(std::wstring_view id) noexcept;

/// Refuses what is not a character's unique ID.
/// @param what  which ID it is, for the message.
/// @throws RuntimeError `what` directly followed by "必须是纯数字唯一 ID".
void RequireRoleId(std::wstring_view id, std::wstring_view what);
