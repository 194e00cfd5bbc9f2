#include "text.h"

namespace standin {
namespace {

void AppendUtf8(std::string& out, char32_t c) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
        put(0xC0 | (c >> 6));
    } else {
        if (c < 0x10000) {
            put(0xE0 | (c >> 12));
        } else {
            put(0xF0 | (c >> 18));
            put(0x80 | ((c >> 12) & 0x3F));
        }
        put(0x80 | ((c >> 6) & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

/// Reads the code point at `at` and moves behind it; a text that ends too early is filled up with zeros.
char32_t NextCodePoint(std::string_view utf8, std::size_t& at) noexcept {
    const auto next = [&]() -> char32_t {
        const std::size_t i = at++;
        return i < utf8.size() ? static_cast<unsigned char>(utf8[i]) : 0;
    };
    const char32_t lead = next();
    if (lead < 0xC0) return lead;
    char32_t c = lead < 0xE0 ? lead & 0x1F : lead < 0xF0 ? lead & 0x0F : lead & 0x07;
    for (int tails = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3; tails > 0; --tails)
        c = (c << 6) | (next() & 0x3F);
    return c;
}

std::size_t UnitsOf(char32_t c, bool wide) noexcept {
    return (wide ? c >= 0x10000 : c >= 0x80) ? 2 : 1;
}

std::string MapAscii(std::string_view text, char first, char last) {
    std::string out(text);
    for (char& c : out) {
        if (c >= first && c <= last) c = static_cast<char>(c ^ ('a' ^ 'A'));
    }
    return out;
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 2);
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00U);
        }
        AppendUtf8(out, c);
    }
    return out;
}

std::u16string ToUtf16(std::string_view utf8) {
    std::u16string out;
    out.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t c = NextCodePoint(utf8, at);
        if (c < 0x10000) {
            out.push_back(static_cast<char16_t>(c));
        } else {
            out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        }
    }
    return out;
}

std::size_t TextLength(std::string_view utf8, bool wide) noexcept {
    std::size_t length = 0;
    for (std::size_t at = 0; at < utf8.size();) length += UnitsOf(NextCodePoint(utf8, at), wide);
    return length;
}

std::string_view CutText(std::string_view utf8, std::size_t length, bool wide) noexcept {
    std::size_t used = 0;
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t start = at;
        used += UnitsOf(NextCodePoint(utf8, at), wide);
        if (used > length) return utf8.substr(0, start);
    }
    return utf8;
}

std::string_view TrimBlanksBehind(std::string_view text) noexcept {
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

std::string_view TrimBlanks(std::string_view text) noexcept {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    return TrimBlanksBehind(text);
}

std::string UpperAscii(std::string_view text) {
    return MapAscii(text, 'a', 'z');
}
std::string LowerAscii(std::string_view text) {
    return MapAscii(text, 'A', 'Z');
}

}  // namespace standin
