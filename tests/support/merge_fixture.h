#pragma once

#include <string>
#include <vector>

#include "id_repair/new_ids.h"
#include "support/test_database.h"

/// Both plans of a batch repair.
struct BatchPlan {
    std::vector<RoleRepairPlan> roles;
    std::vector<GuildRepairPlan> guilds;
};

/// How often the second zone refers to an ID: the columns that hold it, and their rows.
struct References {
    size_t columns, rows;
    constexpr References operator+(const References& other) const {
        return {columns + other.columns, rows + other.rows};
    }
};
// No two IDs have the same number of rows or nearly so: a part that is left out or done twice is told from
// every other by the total. Whoever adds a column adds it here.
inline constexpr References kRole0012 = {3, 3}, kRole1001 = {13, 18}, kRole1002 = {5, 5}, kRole77 = {1, 1};
inline constexpr References kGuildA1 = {2, 7}, kGuildBBBB = {2, 9};
inline constexpr References kAllRoles = kRole0012 + kRole1001 + kRole1002 + kRole77;
inline constexpr References kAllGuilds = kGuildA1 + kGuildBBBB;
inline constexpr References kEverything = kAllRoles + kAllGuilds;
inline constexpr size_t kDuplicateRoles = 4, kDuplicateGuilds = 2,
                        kDuplicates = kDuplicateRoles + kDuplicateGuilds;

/// The statements of a repair that replaces IDs in so many columns: for each column an update and a count
/// behind it; for one character a count before, for each ID of a batch one before and two behind. Counts
/// alone fetch a row.
constexpr size_t RoleStatements(size_t columns) {
    return 1 + 2 * columns;
}
constexpr size_t RoleFetches(size_t columns) {
    return 1 + columns;
}
constexpr size_t BatchStatements(size_t ids, size_t columns) {
    return 3 * ids + 2 * columns;
}
constexpr size_t BatchFetches(size_t ids, size_t columns) {
    return 3 * ids + columns;
}
/// Two zones to be merged and a third one. Characters 0012, 1001, 1002 and 77 and the guilds {A'1} and {BBBB}
/// (in the second zone {bbbb}) live in both. Every column of the second zone that can refer to a character
/// holds 1001, one of them padded and several in other schemas; it also stands as a number in a column that
/// only looks like a reference. The third zone holds the largest ID, 100234.
class MergeFixture {
public:
    MergeFixture();

    const std::wstring& A() const noexcept { return a_.Name(); }
    const std::wstring& B() const noexcept { return b_.Name(); }
    const std::wstring& Third() const noexcept { return third_.Name(); }

    Content Contents() const { return ContentOf({A(), B(), Third()}); }
    /// The first cell that is not as it was, with both values; empty when all are.
    std::wstring ChangeSince(const Content& before) const;

    /// A plan that repairs the second zone.
    /// @throws RuntimeError when it is not about as many characters and guilds as are duplicate.
    BatchPlan Plan() const;

private:
    TestDatabase a_, b_, third_;
};
