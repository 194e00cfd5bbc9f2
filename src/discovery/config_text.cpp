#include "discovery/config_text.h"

#include "text/text.h"

namespace {

// isspace and isdigit of the C locale, defined for negative values of char as well.
bool IsSpaceByte(char byte) noexcept {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}
bool IsDigitByte(char byte) noexcept {
    return byte >= '0' && byte <= '9';
}

// From the first byte of a key's value to the end of the text; empty when there is no value.
std::string_view JsonValue(std::string_view text, std::string_view key) {
    const std::optional<size_t> position = FindJsonKey(text, key);
    if (!position) return {};
    size_t start = text.find(':', *position);
    if (start == std::string_view::npos) return {};
    do ++start;
    while (start < text.size() && IsSpaceByte(text[start]));
    return text.substr(start);
}

// `open` is the position of a quotation mark; returns the position of the closing one, or npos.
size_t ClosingQuote(std::string_view text, size_t open) noexcept {
    for (size_t i = open + 1; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == '"') {
            return i;
        }
    }
    return std::string_view::npos;
}

std::optional<wchar_t> HexUnit(std::string_view text, size_t position) noexcept {
    if (position > text.size() || text.size() - position < 4) return std::nullopt;
    unsigned unit = 0;
    for (const char digit : text.substr(position, 4)) {
        unit <<= 4;
        if (IsDigitByte(digit)) {
            unit |= static_cast<unsigned>(digit - '0');
        } else if (digit >= 'a' && digit <= 'f') {
            unit |= static_cast<unsigned>(digit - 'a' + 10);
        } else if (digit >= 'A' && digit <= 'F') {
            unit |= static_cast<unsigned>(digit - 'A' + 10);
        } else {
            return std::nullopt;
        }
    }
    return static_cast<wchar_t>(unit);
}

wchar_t SimpleEscape(char byte) noexcept {
    switch (byte) {
        case 'b':
            return L'\b';
        case 'f':
            return L'\f';
        case 'n':
            return L'\n';
        case 'r':
            return L'\r';
        case 't':
            return L'\t';
        default:
            return static_cast<wchar_t>(static_cast<unsigned char>(byte));
    }
}

}  // namespace

std::wstring DecodeText(std::string_view bytes) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (bytes.starts_with(kByteOrderMark)) return StrictUtf8ToWide(bytes.substr(kByteOrderMark.size()));
    std::wstring text = StrictUtf8ToWide(bytes);
    return text.empty() ? AnsiToWide(bytes) : text;
}

IniText ParseIni(std::wstring_view text) {
    IniText ini;
    IniSection* section = &ini[std::wstring()];
    while (!text.empty()) {
        const size_t lineEnd = text.find(L'\n');
        const std::wstring_view line = TrimView(text.substr(0, lineEnd));
        text.remove_prefix(lineEnd == std::wstring_view::npos ? text.size() : lineEnd + 1);
        if (line.empty() || line.front() == L';' || line.front() == L'#') continue;
        if (line.front() == L'[' && line.back() == L']') {
            section = &ini[Trim(line.substr(1, line.size() - 2))];
            continue;
        }
        const size_t equals = line.find(L'=');
        if (equals == std::wstring_view::npos) continue;
        section->insert_or_assign(Trim(line.substr(0, equals)), Trim(line.substr(equals + 1)));
    }
    return ini;
}

std::wstring IniValue(const IniText& ini, std::wstring_view section, std::wstring_view key) {
    const auto foundSection = ini.find(section);
    if (foundSection == ini.end()) return {};
    const auto foundKey = foundSection->second.find(key);
    return foundKey == foundSection->second.end() ? std::wstring() : foundKey->second;
}

std::optional<size_t> FindJsonKey(std::string_view text, std::string_view key) {
    std::string quoted;
    quoted.reserve(key.size() + 2);
    quoted.append(1, '"').append(key).append(1, '"');
    const size_t position = text.find(quoted);
    if (position == std::string_view::npos) return std::nullopt;
    return position;
}

std::string_view JsonObject(std::string_view text, std::string_view key) {
    const std::string_view value = JsonValue(text, key);
    if (!value.starts_with('{')) return {};
    size_t depth = 0;
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '"') {
            i = ClosingQuote(value, i);
            if (i == std::string_view::npos) return {};
        } else if (value[i] == '{') {
            ++depth;
        } else if (value[i] == '}' && --depth == 0) {
            return value.substr(0, i + 1);
        }
    }
    return {};
}

std::wstring JsonString(std::string_view text, std::string_view key) {
    const std::string_view value = JsonValue(text, key);
    if (!value.starts_with('"')) return {};
    const size_t end = ClosingQuote(value, 0);
    if (end == std::string_view::npos) return {};
    return UnescapeJsonString(value.substr(1, end - 1));
}

std::int32_t JsonInt(std::string_view text, std::string_view key, std::int32_t defaultValue) {
    std::string_view value = JsonValue(text, key);
    const bool negative = value.starts_with('-');
    if (negative) value.remove_prefix(1);
    if (value.empty() || !IsDigitByte(value.front())) return defaultValue;
    std::uint32_t number = 0;  // unsigned: overflow wraps around instead of being undefined
    for (const char digit : value) {
        if (!IsDigitByte(digit)) break;
        number = number * 10 + static_cast<std::uint32_t>(digit - '0');
    }
    return static_cast<std::int32_t>(negative ? 0u - number : number);
}

std::wstring UnescapeJsonString(std::string_view raw) {
    std::wstring text;
    size_t runStart = 0;
    for (size_t i = raw.find('\\'); i != std::string_view::npos; i = raw.find('\\', i)) {
        text += Utf8ToWide(raw.substr(runStart, i - runStart));
        ++i;
        if (i == raw.size()) return text;
        const char escape = raw[i++];
        if (escape != 'u') {
            text += SimpleEscape(escape);
        } else if (const std::optional<wchar_t> unit = HexUnit(raw, i)) {
            // A surrogate pair is two escapes in a row, each one UTF-16 unit: they need no special case.
            text += *unit;
            i += 4;
        }
        runStart = i;
    }
    return text += Utf8ToWide(raw.substr(runStart));
}
