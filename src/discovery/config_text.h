#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

// How the game server's configuration files are decoded and read. Pure functions; none throws for malformed
// input.

/// Decodes a text file: UTF-8 when its bytes are valid UTF-8 or begin with EF BB BF (which is dropped), the
/// system's ANSI code page otherwise.
std::wstring DecodeText(std::string_view bytes);

using IniSection = std::map<std::wstring, std::wstring, std::less<>>;
using IniText = std::map<std::wstring, IniSection, std::less<>>;

/// Splits an INI text into sections and keys, both compared exactly. Keys before the first section belong to
/// the section with the empty name; a repeated key keeps its later value.
IniText ParseIni(std::wstring_view text);

/// The value of a key, empty when the section or the key is absent.
std::wstring IniValue(const IniText& ini, std::wstring_view section, std::wstring_view key);

/// Position of the first `"key"`, quotes included, anywhere in the text: nesting is not tracked, because the
/// game server's own reader does not track it either.
std::optional<size_t> FindJsonKey(std::string_view text, std::string_view key);

/// The object that is a key's value, both braces included; a view into `text`. Empty when the key is missing,
/// its value is no object, or the object has no end.
std::string_view JsonObject(std::string_view text, std::string_view key);

/// The string that is a key's value, unescaped. Empty when the key is missing, its value is no string, or the
/// string has no end.
std::wstring JsonString(std::string_view text, std::string_view key);

/// The integer that is a key's value: an optional "-" and decimal digits up to the first other byte.
/// `defaultValue` when the key is missing or its value does not begin so (a quoted number does not). Overflow
/// wraps around.
std::int32_t JsonInt(std::string_view text, std::string_view key, std::int32_t defaultValue);

/// Resolves the escapes of a JSON string's raw bytes; the bytes between escapes are UTF-8. A malformed \u is
/// dropped and what follows it is ordinary text; an unknown escape gives its own byte.
std::wstring UnescapeJsonString(std::string_view raw);
