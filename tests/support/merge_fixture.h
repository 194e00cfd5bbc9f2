#pragma once

#include <string>
#include <vector>

#include "id_repair/new_ids.h"
#include "support/test_database.h"

/// The contents of a fixture's databases.
struct AllContents {
    Content a, b, third;
    bool operator==(const AllContents&) const = default;
};

/// Both plans of a batch repair.
struct BatchPlan {
    std::vector<RoleRepairPlan> roles;
    std::vector<GuildRepairPlan> guilds;
};

/// Two zones to be merged and a third one. Characters 0012, 1001 and 1002 and the guilds {A'1} and {BBBB} (in
/// the second zone {bbbb}) live in both; character 1001 occurs in 12 columns of the second zone, one of them
/// padded and several in other schemas, and as a number in a column that only looks like a reference. The
/// third zone holds the largest ID, 100234.
class MergeFixture {
public:
    MergeFixture();

    const std::wstring& A() const noexcept { return a_.Name(); }
    const std::wstring& B() const noexcept { return b_.Name(); }
    const std::wstring& Third() const noexcept { return third_.Name(); }

    AllContents Contents() const { return {ContentOf(A()), ContentOf(B()), ContentOf(Third())}; }

    /// A plan that repairs the second zone.
    BatchPlan Plan() const;

private:
    TestDatabase a_, b_, third_;
};
