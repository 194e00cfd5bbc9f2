#include "text.h"

#include <unicode/ucol.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdlib>

namespace standin {
namespace {

/// What a byte of a UTF-8 text adds to its length: the first of a character all of it, the others nothing.
std::size_t UnitsOf(char c, bool wide) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) == 0x80) return 0;
    return byte >= (wide ? 0xF0 : 0x80) ? 2 : 1;
}

/// ICU's Chinese collator, taking what differs in case, width or kana alone for equal.
UCollator* Collator() {
    static UCollator* const collator = [] {  // for the life of the process
        UErrorCode status = U_ZERO_ERROR;
        UCollator* icu = ucol_open("zh", &status);
        ucol_setStrength(icu, UCOL_SECONDARY);
        ucol_setReorderCodes(icu, nullptr, 0, &status);  // ICU puts Han characters before letters
        if (U_FAILURE(status)) std::abort();             // ICU's data are missing
        return icu;
    }();
    return collator;
}

/// The order of the digits and letters of ASCII, as ICU gives it; 0 for every other character.
int PlainOrder(unsigned c) noexcept {
    if (c >= 'A' && c <= 'Z') return static_cast<int>(c - 'A' + 'a');
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ? static_cast<int>(c) : 0;
}

int CompareUnits(char16_t a, char16_t b) noexcept {
    const auto isSurrogate = [](char16_t unit) { return (unit & 0xF800) == 0xD800; };
    const int left = PlainOrder(a), right = PlainOrder(b);
    if (left != 0 && right != 0) return left - right;
    return a == b || isSurrogate(a) || isSurrogate(b) ? a - b : ucol_strcoll(Collator(), &a, 1, &b, 1);
}

/// The next character of a LIKE pattern, by itself or behind the escape character.
char16_t TakeUnit(std::u16string_view& pattern, char16_t escape) noexcept {
    if (escape != 0 && pattern[0] == escape && pattern.size() > 1) pattern.remove_prefix(1);
    const char16_t unit = pattern[0];
    pattern.remove_prefix(1);
    return unit;
}

/// Matches one unit against a set, whose opening bracket is taken already.
bool MatchSet(std::u16string_view& pattern, char16_t unit, char16_t escape) noexcept {
    const bool inverted = pattern.starts_with(u'^');
    if (inverted) pattern.remove_prefix(1);
    bool hit = false;
    while (!pattern.empty() && pattern[0] != u']') {
        const char16_t first = TakeUnit(pattern, escape);
        char16_t last = first;
        if (pattern.size() > 1 && pattern[0] == u'-' && pattern[1] != u']') {
            pattern.remove_prefix(1);
            last = TakeUnit(pattern, escape);
        }
        hit = hit || (CompareUnits(first, unit) <= 0 && CompareUnits(unit, last) <= 0);
    }
    if (pattern.empty()) return false;  // a set that is never closed matches nothing
    pattern.remove_prefix(1);
    return hit != inverted;
}

/// Matches one unit against the pattern's first element, which is taken.
bool MatchOne(std::u16string_view& pattern, char16_t unit, char16_t escape) noexcept {
    const char16_t sign = pattern[0] == escape ? u'\0' : pattern[0];
    if (sign == u'[') {
        pattern.remove_prefix(1);
        return MatchSet(pattern, unit, escape);
    }
    return CompareUnits(TakeUnit(pattern, escape), unit) == 0 || sign == u'_';
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
    std::string utf8;
    icu::UnicodeString(false, text.data(), static_cast<std::int32_t>(text.size())).toUTF8String(utf8);
    return utf8;
}

std::u16string ToUtf16(std::string_view utf8) {
    const bool plain = std::all_of(utf8.begin(), utf8.end(), [](char c) { return (c & 0x80) == 0; });
    if (plain) return {utf8.begin(), utf8.end()};  // most texts are, and ICU takes its time
    const icu::UnicodeString text =
        icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<std::int32_t>(utf8.size())));
    return {text.getBuffer(), static_cast<std::size_t>(text.length())};
}

std::size_t TextLength(std::string_view utf8, bool wide) noexcept {
    std::size_t length = 0;
    for (const char c : utf8) length += UnitsOf(c, wide);
    return length;
}

std::string_view CutText(std::string_view utf8, std::size_t length, bool wide) noexcept {
    std::size_t used = 0;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        used += UnitsOf(utf8[i], wide);
        if (used > length) return utf8.substr(0, i);
    }
    return utf8;
}

std::string_view TrimEnd(std::string_view text) noexcept {
    while (text.ends_with(' ')) text.remove_suffix(1);
    return text;
}

std::string_view Trim(std::string_view text) noexcept {
    while (text.starts_with(' ')) text.remove_prefix(1);
    return TrimEnd(text);
}

std::string UpperAscii(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return upper;
}

int CompareText(std::string_view a, std::string_view b) noexcept {
    a = TrimEnd(a);
    b = TrimEnd(b);
    UErrorCode status = U_ZERO_ERROR;
    return ucol_strcollUTF8(Collator(), a.data(), static_cast<std::int32_t>(a.size()), b.data(),
                            static_cast<std::int32_t>(b.size()), &status);
}

bool LikeMatches(std::u16string_view value, std::u16string_view pattern, char16_t escape) noexcept {
    while (!pattern.empty()) {
        if (pattern[0] == u'%' && escape != u'%') {
            pattern.remove_prefix(1);
            if (pattern.empty()) return true;
            for (; !value.empty(); value.remove_prefix(1)) {
                if (LikeMatches(value, pattern, escape)) return true;
            }
            continue;
        }
        if (value.empty() || !MatchOne(pattern, value[0], escape)) return false;
        value.remove_prefix(1);
    }
    return value.empty();
}

}  // namespace standin
