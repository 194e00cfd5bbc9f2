#pragma once

#include <optional>

#include "tests/support/test_database.h"

/// Two zones to be merged, all of whose characters and guilds live in both, and a third zone with the largest
/// ID. In the second zone every character is referred to from 12 columns of seven tables, every guild from
/// two.
class MergeZones {
public:
    MergeZones(int roles, int guilds) : roles_(roles), guilds_(guilds) { Renew(); }

    /// Makes all databases anew, under the same names and with the same content.
    void Renew();

    const std::wstring& A() const noexcept { return a_->Name(); }
    const std::wstring& B() const noexcept { return b_->Name(); }
    const std::wstring& Third() const noexcept { return third_->Name(); }

private:
    int roles_;
    int guilds_;
    std::optional<TestDatabase> a_, b_, third_;
};

/// Many rows for one INSERT: `expression`, in which every "#" stands for a number from 0 to `count` - 1,
/// selected for each of these numbers.
std::wstring SelectNumbered(std::wstring_view expression, int count);
