#include "text.h"

#include <array>

namespace standin {
namespace {

void AppendUtf8(std::string& out, char32_t c) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | (c >> 6));
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

/// Upper-case letters whose lower-case twin lies a fixed distance (step 1) or one place (step 2) behind.
struct CaseRange {
    char32_t first, last, distance, step;
};
constexpr CaseRange kCaseRanges[] = {
    {'A', 'Z', 32, 1},     {0xC0, 0xD6, 32, 1},   {0xD8, 0xDE, 32, 1},   {0x100, 0x12E, 1, 2},
    {0x132, 0x136, 1, 2},  {0x139, 0x147, 1, 2},  {0x14A, 0x176, 1, 2},  {0x179, 0x17D, 1, 2},
    {0x391, 0x3A1, 32, 1}, {0x3A3, 0x3A9, 32, 1}, {0x400, 0x40F, 80, 1}, {0x410, 0x42F, 32, 1},
    {0x460, 0x480, 1, 2},  {0x48A, 0x4BE, 1, 2},  {0x4D0, 0x52E, 1, 2},  {0xFF21, 0xFF3A, 32, 1},
};

char32_t Lower(char32_t c) noexcept {
    for (const CaseRange& r : kCaseRanges) {
        if (c >= r.first && c <= r.last) return (c - r.first) % r.step == 0 ? c + r.distance : c;
    }
    return c;
}

char32_t Upper(char32_t c) noexcept {
    for (const CaseRange& r : kCaseRanges) {
        if (c >= r.first + r.distance && c <= r.last + r.distance) {
            if ((c - r.first - r.distance) % r.step == 0) return c - r.distance;
        }
    }
    return c;
}

constexpr std::array<unsigned char, 128> kAsciiWeights = [] {
    std::array<unsigned char, 128> weights{};
    const auto isDigit = [](int c) { return c >= '0' && c <= '9'; };
    const auto isUpper = [](int c) { return c >= 'A' && c <= 'Z'; };
    const auto isLower = [](int c) { return c >= 'a' && c <= 'z'; };
    unsigned char next = 0;
    for (int c = 0; c < 128; ++c) {
        if (!isDigit(c) && !isUpper(c) && !isLower(c)) weights[static_cast<std::size_t>(c)] = next++;
    }
    for (int c = '0'; c <= '9'; ++c) weights[static_cast<std::size_t>(c)] = next++;
    for (int c = 'a'; c <= 'z'; ++c) {
        weights[static_cast<std::size_t>(c)] = next;
        weights[static_cast<std::size_t>(c - 32)] = next++;
    }
    return weights;
}();

/// The default collation knows no width: the full-width forms weigh what their ASCII twins do.
char32_t Weight(char32_t c) noexcept {
    if (c >= 0xFF01 && c <= 0xFF5E) c -= 0xFEE0;
    if (c == 0x3000) c = ' ';
    return c < 0x80 ? kAsciiWeights[c] : Lower(c);
}

int CompareTail(std::string_view rest, std::size_t at) noexcept {
    const char32_t blank = Weight(U' ');
    while (at < rest.size()) {
        const char32_t weight = Weight(NextCodePoint(rest, at));
        if (weight != blank) return weight < blank ? -1 : 1;
    }
    return 0;
}

class LikePattern {
public:
    LikePattern(std::u16string_view pattern, char16_t escape) : pattern_(pattern), escape_(escape) {}

    /// Matches one unit against the element at `at`; `next` becomes the place behind that element.
    bool MatchOne(std::size_t at, char16_t unit, std::size_t& next) const {
        const char16_t c = pattern_[at];
        next = at + 1;
        if (escape_ != 0 && c == escape_) {
            if (next == pattern_.size()) return false;
            return Weight(pattern_[next++]) == Weight(unit);
        }
        if (c == u'_') return true;
        if (c == u'[') return MatchSet(at + 1, unit, next);
        return Weight(c) == Weight(unit);
    }

    bool IsMany(std::size_t at) const {
        return at < pattern_.size() && pattern_[at] == u'%' && escape_ != u'%';
    }
    std::size_t Size() const { return pattern_.size(); }

private:
    /// One member of a set; an escaped character is never the closing bracket.
    bool TakeMember(std::size_t& at, char16_t& member) const {
        if (at < pattern_.size() && pattern_[at] == u']') return false;
        if (at < pattern_.size() && escape_ != 0 && pattern_[at] == escape_) ++at;
        if (at >= pattern_.size()) return false;
        member = pattern_[at++];
        return true;
    }

    bool MatchSet(std::size_t at, char16_t unit, std::size_t& next) const {
        const bool inverted = at < pattern_.size() && pattern_[at] == u'^';
        if (inverted) ++at;
        bool hit = false;
        char16_t first = 0;
        while (TakeMember(at, first)) {
            char16_t last = first;
            if (at + 1 < pattern_.size() && pattern_[at] == u'-' && pattern_[at + 1] != u']') {
                ++at;
                TakeMember(at, last);
            }
            hit = hit || (Weight(unit) >= Weight(first) && Weight(unit) <= Weight(last));
        }
        next = at + 1;
        return at < pattern_.size() && hit != inverted;  // a set that is never closed matches nothing
    }

    std::u16string_view pattern_;
    char16_t escape_;
};

template <char32_t (*kMap)(char32_t) noexcept>
std::string MapText(std::string_view utf8) {
    std::string out;
    for (std::size_t at = 0; at < utf8.size();) AppendUtf8(out, kMap(NextCodePoint(utf8, at)));
    return out;
}

}  // namespace

char32_t NextCodePoint(std::string_view utf8, std::size_t& at) noexcept {
    const auto byte = [&](std::size_t i) -> char32_t {
        return i < utf8.size() ? static_cast<unsigned char>(utf8[i]) : 0;
    };
    const char32_t lead = byte(at);
    const std::size_t start = at;
    if (lead < 0xC0) return ++at, lead;
    const auto tail = [&](std::size_t i) { return byte(start + i) & 0x3F; };
    if (lead < 0xE0) return at += 2, ((lead & 0x1F) << 6) | tail(1);
    if (lead < 0xF0) return at += 3, ((lead & 0x0F) << 12) | (tail(1) << 6) | tail(2);
    return at += 4, ((lead & 0x07) << 18) | (tail(1) << 12) | (tail(2) << 6) | tail(3);
}

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

int CompareText(std::string_view a, std::string_view b) noexcept {
    std::size_t i = 0;
    std::size_t k = 0;
    while (i < a.size() && k < b.size()) {
        const char32_t left = Weight(NextCodePoint(a, i));
        const char32_t right = Weight(NextCodePoint(b, k));
        if (left != right) return left < right ? -1 : 1;
    }
    return i < a.size() ? CompareTail(a, i) : -CompareTail(b, k);
}

bool LikeMatches(std::u16string_view value, std::u16string_view pattern, char16_t escape) {
    const LikePattern like(pattern, escape);
    constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::size_t v = 0;
    std::size_t p = 0;
    std::size_t resumePattern = kNone;
    std::size_t resumeValue = 0;
    while (v < value.size()) {
        std::size_t next = 0;
        if (like.IsMany(p)) {
            resumePattern = ++p;
            resumeValue = v;
        } else if (p < like.Size() && like.MatchOne(p, value[v], next)) {
            p = next;
            ++v;
        } else if (resumePattern != kNone) {
            p = resumePattern;
            v = ++resumeValue;
        } else {
            return false;
        }
    }
    while (like.IsMany(p)) ++p;
    return p == like.Size();
}

std::size_t TextLength(std::string_view utf8, bool wide) noexcept {
    std::size_t length = 0;
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t c = NextCodePoint(utf8, at);
        length += (wide ? c >= 0x10000 : c >= 0x80) ? 2 : 1;
    }
    return length;
}

std::string_view CutText(std::string_view utf8, std::size_t length, bool wide) noexcept {
    std::size_t used = 0;
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t start = at;
        const char32_t c = NextCodePoint(utf8, at);
        used += (wide ? c >= 0x10000 : c >= 0x80) ? 2 : 1;
        if (used > length) return utf8.substr(0, start);
    }
    return utf8;
}

std::string LowerText(std::string_view utf8) {
    return MapText<Lower>(utf8);
}
std::string UpperText(std::string_view utf8) {
    return MapText<Upper>(utf8);
}

std::string_view TrimBlanks(std::string_view text) noexcept {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

bool IsLetter(char32_t c) noexcept {
    struct Range {
        char32_t first, last;
    };
    constexpr Range kLetters[] = {{'A', 'Z'},       {'a', 'z'},        {0xC0, 0xD6},     {0xD8, 0xF6},
                                  {0xF8, 0x24F},    {0x370, 0x52F},    {0x3005, 0x3007}, {0x3040, 0x30FF},
                                  {0x3400, 0x9FFF}, {0xAC00, 0xD7A3},  {0xF900, 0xFAFF}, {0xFF21, 0xFF3A},
                                  {0xFF41, 0xFF5A}, {0x20000, 0x3FFFF}};
    for (const Range& r : kLetters) {
        if (c >= r.first && c <= r.last) return true;
    }
    return false;
}

}  // namespace standin
