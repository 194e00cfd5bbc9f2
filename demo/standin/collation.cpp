#include "collation.h"

#include <unicode/ucol.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "text.h"

namespace standin {
namespace {

constexpr unsigned char kNoRank = 0;

/// ICU's Chinese collator, and the order that it gives the printable ASCII characters. These have no accents
/// and form no contractions, so two texts of such characters alone compare character by character as ICU
/// compares them.
class Collator {
public:
    Collator() {
        UErrorCode status = U_ZERO_ERROR;
        icu_.reset(ucol_open("zh", &status));
        ucol_setStrength(icu_.get(), UCOL_SECONDARY);
        ucol_setReorderCodes(icu_.get(), nullptr, 0, &status);  // ICU puts Han characters before letters
        if (U_FAILURE(status)) std::abort();                    // the system's collation data are missing
        std::array<char16_t, 0x7F - 0x20> order{};
        for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<char16_t>(0x20 + i);
        std::sort(order.begin(), order.end(), [this](char16_t a, char16_t b) { return Units(a, b) < 0; });
        unsigned char rank = kNoRank;
        for (std::size_t i = 0; i < order.size(); ++i) {
            if (i == 0 || Units(order[i - 1], order[i]) != 0) ++rank;
            ranks_[order[i]] = rank;
        }
    }

    unsigned char RankOf(unsigned c) const noexcept { return c < ranks_.size() ? ranks_[c] : kNoRank; }

    int Texts(std::string_view a, std::string_view b) const noexcept {
        UErrorCode status = U_ZERO_ERROR;
        return ucol_strcollUTF8(icu_.get(), a.data(), static_cast<std::int32_t>(a.size()), b.data(),
                                static_cast<std::int32_t>(b.size()), &status);
    }

    int Units(char16_t a, char16_t b) const noexcept { return ucol_strcoll(icu_.get(), &a, 1, &b, 1); }

private:
    struct Close {
        void operator()(UCollator* icu) const noexcept { ucol_close(icu); }
    };
    std::unique_ptr<UCollator, Close> icu_;
    std::array<unsigned char, 0x7F> ranks_{};
};

const Collator& TheCollator() {
    static const Collator collator;
    return collator;
}

bool IsSurrogate(char16_t unit) noexcept {
    return (unit & 0xF800) == 0xD800;
}

int CompareUnits(char16_t a, char16_t b) noexcept {
    const Collator& collator = TheCollator();
    const int left = collator.RankOf(a), right = collator.RankOf(b);
    if (left != kNoRank && right != kNoRank) return left - right;
    return a == b || IsSurrogate(a) || IsSurrogate(b) ? a - b : collator.Units(a, b);
}

class LikePattern {
public:
    LikePattern(std::u16string_view pattern, char16_t escape) : pattern_(pattern), escape_(escape) {}

    std::size_t Size() const { return pattern_.size(); }
    bool IsMany(std::size_t at) const {
        return at < pattern_.size() && pattern_[at] == u'%' && escape_ != u'%';
    }

    /// Matches one unit against the element at `at`; `next` becomes the place behind that element.
    bool MatchOne(std::size_t at, char16_t unit, std::size_t& next) const {
        const char16_t c = pattern_[at];
        next = at + 1;
        if (escape_ != 0 && c == escape_) {
            return next < pattern_.size() && CompareUnits(pattern_[next++], unit) == 0;
        }
        if (c == u'_') return true;
        if (c == u'[') return MatchSet(at + 1, unit, next);
        return CompareUnits(c, unit) == 0;
    }

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
            hit = hit || (CompareUnits(first, unit) <= 0 && CompareUnits(unit, last) <= 0);
        }
        next = at + 1;
        return at < pattern_.size() && hit != inverted;  // a set that is never closed matches nothing
    }

    std::u16string_view pattern_;
    char16_t escape_;
};

}  // namespace

int CompareText(std::string_view a, std::string_view b) noexcept {
    const Collator& collator = TheCollator();
    a = TrimBlanksBehind(a);
    b = TrimBlanksBehind(b);
    int difference = 0;
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int left = collator.RankOf(static_cast<unsigned char>(a[i]));
        const int right = collator.RankOf(static_cast<unsigned char>(b[i]));
        if (left == kNoRank || right == kNoRank) return collator.Texts(a, b);
        if (difference == 0) difference = left - right;
    }
    for (const char c : (a.size() > common ? a : b).substr(common)) {
        if (collator.RankOf(static_cast<unsigned char>(c)) == kNoRank) return collator.Texts(a, b);
    }
    if (difference != 0) return difference;
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
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

}  // namespace standin
