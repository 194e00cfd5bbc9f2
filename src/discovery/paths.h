#pragma once

#include <string>
#include <string_view>

// Operations on path strings; none accesses the disk. Both "\" and "/" separate components.

/// The path without its last component and without the separators before that; the root ("C:\", "\\server\")
/// is its own parent. A relative path of one component has the empty parent.
std::wstring_view ParentPath(std::wstring_view path) noexcept;

/// The part after the last separator; empty for a root that ends in one.
std::wstring_view LastComponent(std::wstring_view path) noexcept;

/// The path without the separators at its end ("C:\" becomes "C:").
std::wstring_view WithoutTrailingSeparators(std::wstring_view path) noexcept;

/// Directory and file name with exactly one separator between them.
std::wstring JoinPath(std::wstring_view directory, std::wstring_view name);
